// State and settings behind the menu insertion.
#pragma once
#include <windows.h>

namespace quillet {

// The menu last filled, or refused for a missing sender, by any handler object: the shell
// may ask several times for one menu, and the command must appear in it once.
extern HMENU g_lastQueriedMenu;

// "MenuOption" of the sender's profile: 0 hides the command; anything else, or nothing
// readable, shows it.
DWORD ReadMenuOption();

} // namespace quillet
