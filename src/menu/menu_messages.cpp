// Owner-drawn item messages and pictures (not written yet).
#include "module/handler.h"

namespace quillet {

STDMETHODIMP CSDKelMN::HandleMenuMsg(UINT, WPARAM, LPARAM)
{
    return E_NOTIMPL;
}

STDMETHODIMP CSDKelMN::HandleMenuMsg2(UINT, WPARAM, LPARAM, LRESULT*)
{
    return E_NOTIMPL;
}

void CSDKelMN::LoadMenuIcon() {}
void CSDKelMN::LoadMenuCheckBitmap() {}
void CSDKelMN::MeasureCaption() {}
void CSDKelMN::RefreshMenuFont() {}

} // namespace quillet
