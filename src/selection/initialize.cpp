// Selection capture from the shell's data object (not written yet).
#include "module/handler.h"

namespace quillet {

STDMETHODIMP CSDKelMN::Initialize(PCIDLIST_ABSOLUTE, IDataObject*, HKEY)
{
    return E_NOTIMPL;
}

} // namespace quillet
