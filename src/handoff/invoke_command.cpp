// The chosen command: transfer list and sender launch (not written yet).
#include "module/handler.h"

namespace quillet {

STDMETHODIMP CSDKelMN::InvokeCommand(CMINVOKECOMMANDINFO*)
{
    return E_NOTIMPL;
}

} // namespace quillet
