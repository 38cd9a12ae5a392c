// Choosing the menu caption by language.
#pragma once
#include <windows.h>

#include <string>

#include "menu/language_table.h"
#include "menu/menu_presentation.h"

namespace quillet {

// Table captions are copied into at most 128 bytes (63 characters), deliberately: the caption is
// also the string verb hosts invoke by. Only the string resource fills the buffer.
constexpr size_t kTableCaptionBytes = 128;

// The module's own table, parsed by the first caller in the process and then only read: it
// is part of the module and cannot change while the module is loaded.
const LanguageTable& SharedLanguageTable(const MenuResources& resources);
// The caption of the wanted language when the table allows it, else of the table's own
// language, else string resource 3004 of the module.
void ChooseCaption(const LanguageTable& table, const std::wstring& wantedLanguage, HINSTANCE module,
                   wchar_t (&caption)[kCaptionLength]);
// The caption for the language the sender's settings name now; never fails, and runs out of
// memory into the string resource.
void ChooseMenuCaption(const MenuResources& resources, wchar_t (&caption)[kCaptionLength]);

} // namespace quillet
