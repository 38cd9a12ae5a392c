// Menu insertion (not written yet).
#include "module/handler.h"

namespace quillet {

STDMETHODIMP CSDKelMN::QueryContextMenu(HMENU, UINT, UINT, UINT, UINT)
{
    return E_NOTIMPL;
}

STDMETHODIMP CSDKelMN::GetCommandString(UINT_PTR, UINT, UINT*, LPSTR, UINT)
{
    return E_NOTIMPL;
}

} // namespace quillet
