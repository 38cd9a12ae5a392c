#include "blended_picture.h"

HBITMAP ShowPictureBlended(HMENU menu, UINT position)
{
    MENUITEMINFOW item = {};
    item.cbSize = sizeof(item);
    item.fMask = MIIM_CHECKMARKS;
    BITMAP picture = {};
    if (!GetMenuItemInfoW(menu, position, TRUE, &item) || !item.hbmpUnchecked ||
        !GetObjectW(item.hbmpUnchecked, sizeof(picture), &picture))
        return nullptr;

    // 24 bits: no alpha channel left for Wine to misread.
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof(info.bmiHeader);
    info.bmiHeader.biWidth = picture.bmWidth;
    info.bmiHeader.biHeight = picture.bmHeight;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 24;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    const HBITMAP blended = CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!blended)
        return nullptr;

    const HDC target = CreateCompatibleDC(nullptr);
    const HDC source = CreateCompatibleDC(nullptr);
    const HGDIOBJ oldTarget = SelectObject(target, blended);
    const HGDIOBJ oldSource = SelectObject(source, item.hbmpUnchecked);
    const RECT whole = {0, 0, picture.bmWidth, picture.bmHeight};
    FillRect(target, &whole, GetSysColorBrush(COLOR_MENU));
    const BLENDFUNCTION blend = {AC_SRC_OVER, 0, 255, AC_SRC_ALPHA};
    AlphaBlend(target, 0, 0, picture.bmWidth, picture.bmHeight, source, 0, 0, picture.bmWidth, picture.bmHeight,
               blend);
    SelectObject(source, oldSource);
    SelectObject(target, oldTarget);
    DeleteDC(source);
    DeleteDC(target);

    // The picture column of Windows Vista and later holds either a check mark or the picture.
    MENUINFO style = {};
    style.cbSize = sizeof(style);
    style.fMask = MIM_STYLE;
    GetMenuInfo(menu, &style);
    style.dwStyle |= MNS_CHECKORBMP;
    SetMenuInfo(menu, &style);

    MENUITEMINFOW shown = {};
    shown.cbSize = sizeof(shown);
    shown.fMask = MIIM_CHECKMARKS | MIIM_BITMAP;
    shown.hbmpItem = blended;
    SetMenuItemInfoW(menu, position, TRUE, &shown);
    return blended;
}
