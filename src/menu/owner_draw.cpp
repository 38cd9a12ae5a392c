#include "menu/owner_draw.h"

#include <algorithm>

#include "menu/caption_measure.h"
#include "menu/menu_icon.h"
#include "platform/display_metrics.h"
#include "platform/handles.h"

namespace quillet {
namespace {

bool MeasureMenuItem(MenuPresentation& menu, const MenuResources& resources, MEASUREITEMSTRUCT& item)
{
    if (item.itemID != menu.m_idCmdFirst)
        return false;
    LoadMenuIcon(menu, resources);
    MeasureCaption(menu);
    item.itemWidth = std::max(menu.m_iconWidth, MenuCheckWidth()) + static_cast<UINT>(menu.m_captionWidth);
    item.itemHeight = std::max(menu.m_iconHeight, MenuCheckHeight());
    return true;
}

bool DrawMenuItem(MenuPresentation& menu, const MenuResources& resources, const DRAWITEMSTRUCT& item)
{
    if (item.itemID != menu.m_idCmdFirst)
        return false;
    LoadMenuIcon(menu, resources);
    MeasureCaption(menu);

    const int checkWidth = static_cast<int>(MenuCheckWidth());
    const int iconWidth = static_cast<int>(menu.m_iconWidth);
    const int iconHeight = static_cast<int>(menu.m_iconHeight);
    int iconLeft = (checkWidth - iconWidth) / 2;
    if (iconLeft < 0 || iconLeft >= 5)
        iconLeft = 2;
    const int iconTop = (item.rcItem.top + item.rcItem.bottom - iconHeight) / 2;
    const bool selected = (item.itemState & ODS_SELECTED) != 0;
    const HDC dc = item.hDC;

    SetBkColor(dc, GetSysColor(selected ? COLOR_HIGHLIGHT : COLOR_MENU));
    ExtTextOutW(dc, 0, 0, ETO_OPAQUE, &item.rcItem, nullptr, 0, nullptr);

    UniqueMemoryDc memory(CreateCompatibleDC(dc));
    {
        SelectionScope icon(memory.get(), menu.m_hbmpMenuIcon.get());
        const BLENDFUNCTION blend = {AC_SRC_OVER, 0, 255, AC_SRC_ALPHA};
        AlphaBlend(dc, iconLeft, iconTop, iconWidth, iconHeight, memory.get(), 0, 0, iconWidth, iconHeight, blend);
    }

    // Deliberately the complement of the menu text rather than the highlight-text colour: the
    // item has always looked this way on the systems that draw it.
    COLORREF textColour = GetSysColor(COLOR_MENUTEXT);
    if (selected)
        textColour = RGB(255 - GetRValue(textColour), 255 - GetGValue(textColour), 255 - GetBValue(textColour));
    RECT textRect = {item.rcItem.left + checkWidth, item.rcItem.top, item.rcItem.right, item.rcItem.bottom};
    SelectionScope font(dc, menu.m_hMenuFont.get());
    SetTextColor(dc, textColour);
    SetBkMode(dc, TRANSPARENT);
    DrawTextW(dc, menu.m_menuCaption, -1, &textRect, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
    return true;
}

} // namespace

void HandleMenuMessage(MenuPresentation& menu, const MenuResources& resources, UINT message, LPARAM lParam,
                       LRESULT* result)
{
    // A message without its structure is answered, not trusted.
    bool handled = false;
    if (message == WM_DRAWITEM && lParam)
        handled = DrawMenuItem(menu, resources, *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam));
    else if (message == WM_MEASUREITEM && lParam)
        handled = MeasureMenuItem(menu, resources, *reinterpret_cast<MEASUREITEMSTRUCT*>(lParam));
    if (handled && result)
        *result = TRUE;
}

} // namespace quillet
