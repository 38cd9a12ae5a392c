// The menu font and the caption's width in it.
#pragma once
#include "menu/menu_presentation.h"

namespace quillet {

// m_captionWidth: the caption's width in m_hMenuFont, or in the screen's own font without one.
void MeasureCaption(MenuPresentation& menu);
// m_hMenuFont made anew, only when the system's menu font differs from m_menuLogFont.
void RefreshMenuFont(MenuPresentation& menu);

} // namespace quillet
