// Whether and how the command goes into a context menu.
#include <shlwapi.h>

#include <string>

#include "handoff/sender_directory.h"
#include "menu/menu_insertion.h"
#include "module/handler.h"
#include "platform/com_guard.h"
#include "platform/os_version.h"

namespace quillet {

HMENU g_lastQueriedMenu = nullptr;

namespace {

// One command identifier used: idCmdFirst + 0.
constexpr HRESULT kOneCommandAdded = MAKE_HRESULT(SEVERITY_SUCCESS, 0, 1);

} // namespace

void CSDKelMN::InsertStringItem(HMENU hmenu, UINT indexMenu, UINT idCmdFirst, HBITMAP uncheckedBitmap)
{
    m_idCmdFirst = idCmdFirst;
    m_menuItemState = 0;
    InsertMenuW(hmenu, indexMenu, MF_BYPOSITION | MF_STRING, idCmdFirst, m_menuCaption);
    // The picture takes the unchecked slot; the item is never checked.
    SetMenuItemBitmaps(hmenu, indexMenu, MF_BYPOSITION, uncheckedBitmap, nullptr);
}

void CSDKelMN::InsertOwnerDrawnItem(HMENU hmenu, UINT indexMenu, UINT idCmdFirst)
{
    m_idCmdFirst = idCmdFirst;
    m_menuItemState = 0;
    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_ID | MIIM_TYPE;
    info.fType = MFT_OWNERDRAW; // no text: WM_DRAWITEM paints m_menuCaption
    info.wID = idCmdFirst;
    InsertMenuItemW(hmenu, indexMenu, TRUE, &info);
}

STDMETHODIMP CSDKelMN::QueryContextMenu(HMENU hmenu, UINT indexMenu, UINT idCmdFirst, UINT, UINT uFlags)
{
    return GuardedCall([&]() -> HRESULT {
        if (uFlags & CMF_VERBSONLY)
            return E_FAIL;
        if (ReadMenuOption() == 0)
            return E_FAIL;
        const std::wstring sender = GetSenderDirectory() + L"Pelloc.exe";
        const bool senderInstalled = PathFileExistsW(sender.c_str()) != FALSE;

        // Remembered even when the sender turns out to be missing.
        if (hmenu == g_lastQueriedMenu)
            return E_FAIL;
        g_lastQueriedMenu = hmenu;

        if (IsVistaOrLater()) {
            LoadMenuIcon();
            MeasureCaption();
            if (!senderInstalled)
                return S_OK;
            InsertStringItem(hmenu, indexMenu, idCmdFirst, m_hbmpMenuIcon);
            return kOneCommandAdded;
        }
        if (!(uFlags & CMF_CANRENAME)) {
            LoadMenuCheckBitmap();
            if (!senderInstalled)
                return S_OK;
            InsertStringItem(hmenu, indexMenu, idCmdFirst, m_hbmpMenuCheck);
            return kOneCommandAdded;
        }
        if (senderInstalled)
            InsertOwnerDrawnItem(hmenu, indexMenu, idCmdFirst);
        RefreshMenuFont();
        return senderInstalled ? kOneCommandAdded : S_OK;
    });
}

// No verb, help text or validation: the command is reached only by its identifier.
STDMETHODIMP CSDKelMN::GetCommandString(UINT_PTR, UINT, UINT*, LPSTR, UINT)
{
    return E_INVALIDARG;
}

} // namespace quillet
