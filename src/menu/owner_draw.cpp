// Measuring and painting the owner-drawn item of older systems.
#include <algorithm>

#include "module/handler.h"
#include "platform/display_metrics.h"
#include "platform/handles.h"

namespace quillet {

bool CSDKelMN::MeasureMenuItem(MEASUREITEMSTRUCT& item)
{
    if (item.itemID != m_idCmdFirst)
        return false;
    LoadMenuIcon();
    MeasureCaption();
    item.itemWidth = std::max(m_iconWidth, MenuCheckWidth()) + static_cast<UINT>(m_captionWidth);
    item.itemHeight = std::max(m_iconHeight, MenuCheckHeight());
    return true;
}

bool CSDKelMN::DrawMenuItem(const DRAWITEMSTRUCT& item)
{
    if (item.itemID != m_idCmdFirst)
        return false;
    LoadMenuIcon();
    MeasureCaption();

    const int checkWidth = static_cast<int>(MenuCheckWidth());
    const int iconWidth = static_cast<int>(m_iconWidth);
    const int iconHeight = static_cast<int>(m_iconHeight);
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
        SelectionScope icon(memory.get(), m_hbmpMenuIcon);
        const BLENDFUNCTION blend = {AC_SRC_OVER, 0, 255, AC_SRC_ALPHA};
        AlphaBlend(dc, iconLeft, iconTop, iconWidth, iconHeight, memory.get(), 0, 0, iconWidth, iconHeight, blend);
    }

    // The complement of the menu text rather than the highlight-text colour.
    COLORREF textColour = GetSysColor(COLOR_MENUTEXT);
    if (selected)
        textColour = RGB(255 - GetRValue(textColour), 255 - GetGValue(textColour), 255 - GetBValue(textColour));
    RECT textRect = {item.rcItem.left + checkWidth, item.rcItem.top, item.rcItem.right, item.rcItem.bottom};
    SelectionScope font(dc, m_hMenuFont);
    SetTextColor(dc, textColour);
    SetBkMode(dc, TRANSPARENT);
    DrawTextW(dc, m_menuCaption, -1, &textRect, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
    return true;
}

} // namespace quillet
