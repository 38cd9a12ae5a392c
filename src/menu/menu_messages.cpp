// Menu messages the shell passes on for the owner-drawn item.
#include "module/handler.h"
#include "platform/com_guard.h"

namespace quillet {

HRESULT CSDKelMN::DispatchMenuMessage(UINT uMsg, LPARAM lParam, LRESULT* result)
{
    // A message without its structure is answered, not trusted.
    bool handled = false;
    if (uMsg == WM_DRAWITEM && lParam)
        handled = DrawMenuItem(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
    else if (uMsg == WM_MEASUREITEM && lParam)
        handled = MeasureMenuItem(*reinterpret_cast<MEASUREITEMSTRUCT*>(lParam));
    if (handled && result)
        *result = TRUE;
    return S_OK;
}

STDMETHODIMP CSDKelMN::HandleMenuMsg(UINT uMsg, WPARAM, LPARAM lParam)
{
    return GuardedCall([&] {
        LRESULT ignored = 0;
        return DispatchMenuMessage(uMsg, lParam, &ignored);
    });
}

STDMETHODIMP CSDKelMN::HandleMenuMsg2(UINT uMsg, WPARAM, LPARAM lParam, LRESULT* plResult)
{
    return GuardedCall([&] { return DispatchMenuMessage(uMsg, lParam, plResult); });
}

} // namespace quillet
