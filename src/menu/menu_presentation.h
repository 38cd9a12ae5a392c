// What one handler shows in menus: chosen and loaded by the menu routines, owned by the handler.
#pragma once
#include <windows.h>

#include "platform/handles.h"

namespace quillet {

// Room for the caption, terminator included.
inline constexpr int kCaptionLength = 128;

struct MenuPresentation {
    wchar_t m_menuCaption[kCaptionLength] = {}; // chosen once, when the handler is made
    UniqueBitmap m_hbmpMenuIcon;                 // Windows Vista and later; loaded once and kept
    UniqueBitmap m_hbmpMenuCheck;                // older systems' check-mark-sized picture
    UniqueFont m_hMenuFont;                      // made from m_menuLogFont for the owner-drawn item
    LOGFONTW m_menuLogFont = {};
    int m_captionWidth = 0;
    // The owner-drawn item's picture size: nothing sets it, so that item paints no picture.
    UINT m_iconWidth = 0;
    UINT m_iconHeight = 0;
    UINT m_idCmdFirst = 0;   // the item's identifier in the menu filled last
    int m_menuItemState = 0; // the command offset InvokeCommand accepts besides 0
};

// Where pictures and captions are loaded from, and the lock under which the copies of them
// kept for the whole process are made.
struct MenuResources {
    HINSTANCE module;
    CRITICAL_SECTION& lock;
};

} // namespace quillet
