#include "menu/menu_insertion.h"

#include <shlobj.h>

#include "menu/caption_measure.h"
#include "menu/menu_icon.h"
#include "platform/os_version.h"
#include "sender/sender_installation.h"

namespace quillet {
namespace {

// One command identifier used: idCmdFirst + 0.
constexpr HRESULT kOneCommandAdded = MAKE_HRESULT(SEVERITY_SUCCESS, 0, 1);

void InsertStringItem(MenuPresentation& menu, HMENU hmenu, UINT indexMenu, UINT idCmdFirst, HBITMAP uncheckedBitmap)
{
    menu.m_idCmdFirst = idCmdFirst;
    menu.m_menuItemState = 0;
    InsertMenuW(hmenu, indexMenu, MF_BYPOSITION | MF_STRING, idCmdFirst, menu.m_menuCaption);
    // The picture takes the unchecked slot; the item is never checked.
    SetMenuItemBitmaps(hmenu, indexMenu, MF_BYPOSITION, uncheckedBitmap, nullptr);
}

void InsertOwnerDrawnItem(MenuPresentation& menu, HMENU hmenu, UINT indexMenu, UINT idCmdFirst)
{
    menu.m_idCmdFirst = idCmdFirst;
    menu.m_menuItemState = 0;
    MENUITEMINFOW info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_ID | MIIM_TYPE;
    info.fType = MFT_OWNERDRAW; // no text: WM_DRAWITEM paints m_menuCaption
    info.wID = idCmdFirst;
    InsertMenuItemW(hmenu, indexMenu, TRUE, &info);
}

} // namespace

HRESULT InsertMenuCommand(MenuPresentation& menu, const MenuResources& resources, std::atomic<HMENU>& lastQueriedMenu,
                          HMENU hmenu, UINT indexMenu, UINT idCmdFirst, UINT flags)
{
    if (flags & CMF_VERBSONLY)
        return E_FAIL;
    if (ReadMenuOption() == 0)
        return E_FAIL;
    const bool senderInstalled = IsSenderInstalled();

    // Remembered even when the sender turns out to be missing, and never forgotten: deliberate,
    // the shell asks more than once for one menu. One exchange both tests and
    // records, so two threads with one menu cannot both fill it.
    if (lastQueriedMenu.exchange(hmenu) == hmenu)
        return E_FAIL;

    if (IsVistaOrLater()) {
        LoadMenuIcon(menu, resources);
        MeasureCaption(menu);
        if (!senderInstalled)
            return S_OK;
        InsertStringItem(menu, hmenu, indexMenu, idCmdFirst, menu.m_hbmpMenuIcon.get());
        return kOneCommandAdded;
    }
    if (!(flags & CMF_CANRENAME)) {
        LoadMenuCheckBitmap(menu, resources);
        if (!senderInstalled)
            return S_OK;
        InsertStringItem(menu, hmenu, indexMenu, idCmdFirst, menu.m_hbmpMenuCheck.get());
        return kOneCommandAdded;
    }
    if (senderInstalled)
        InsertOwnerDrawnItem(menu, hmenu, indexMenu, idCmdFirst);
    RefreshMenuFont(menu);
    return senderInstalled ? kOneCommandAdded : S_OK;
}

} // namespace quillet
