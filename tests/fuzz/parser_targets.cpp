#include "fuzz/targets.h"

#include <string>
#include <vector>

#include "menu/language_table.h"
#include "registration/registrar_script.h"

namespace quillet::fuzz {

void Parsers(std::string_view input)
{
    const size_t moduleLength = Take<unsigned short>(input);
    // Windows' 16-bit characters, whatever the size of wchar_t here, in a buffer of exactly their
    // size: a read one past the end is outside it.
    std::vector<wchar_t> buffer;
    while (input.size() >= 2)
        buffer.push_back(static_cast<wchar_t>(Take<unsigned short>(input)));
    const std::wstring_view units(buffer.data(), buffer.size());
    LanguageTable table;
    ParseLanguageTable(units, table);
    for (const auto& [section, keys] : table)
        for (const auto& [key, value] : keys)
            Require((section + key + value).find(L'\n') == std::wstring::npos && key.find(L'=') == std::wstring::npos,
                    "a table entry is one line, its key up to the first '='");

    const std::wstring_view module = units.substr(0, moduleLength);
    const auto keys = ParseRegistrarScript(units.substr(module.size()), module);
    for (size_t i = 0; keys && i < keys->size(); ++i)
        Require(((*keys)[i].parent == kTopLevel || (*keys)[i].parent < i) &&
                    (*keys)[i].name.find(L'\\') == std::wstring::npos,
                "a script key comes after its parent and names one level");
}

} // namespace quillet::fuzz
