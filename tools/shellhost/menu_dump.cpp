#include "menu_dump.h"

#include <cwchar>

std::wstring DescribeMenu(HMENU menu)
{
    std::wstring text;
    const int count = GetMenuItemCount(menu);
    for (int position = 0; position < count; ++position) {
        wchar_t caption[512] = {};
        MENUITEMINFOW info = {};
        info.cbSize = sizeof(info);
        info.fMask = MIIM_ID | MIIM_FTYPE | MIIM_STRING | MIIM_CHECKMARKS | MIIM_BITMAP;
        info.dwTypeData = caption;
        info.cch = 511;
        if (!GetMenuItemInfoW(menu, static_cast<UINT>(position), TRUE, &info))
            continue;
        wchar_t line[800];
        if (info.fType & MFT_SEPARATOR) {
            swprintf(line, 800, L"  %2d  ----------\n", position);
        } else {
            std::wstring picture;
            HBITMAP bitmap = info.hbmpUnchecked ? info.hbmpUnchecked : info.hbmpItem;
            BITMAP bm = {};
            if (bitmap && GetObjectW(bitmap, sizeof(bm), &bm))
                picture = L"  [icon " + std::to_wstring(bm.bmWidth) + L"x" + std::to_wstring(bm.bmHeight) + L"]";
            if (info.fType & MFT_OWNERDRAW)
                picture += L"  [owner-drawn]";
            swprintf(line, 800, L"  %2d  id %-5u %ls%ls\n", position, info.wID,
                     (info.fType & MFT_OWNERDRAW) ? L"(drawn by the handler)" : caption, picture.c_str());
        }
        text += line;
    }
    return text;
}
