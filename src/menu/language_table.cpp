#include "menu/language_table.h"

#include <cstring>

namespace quillet {
namespace {

// Anything larger is not a caption table.
constexpr DWORD kMaxTableBytes = 999999;

} // namespace

void LoadLanguageTable(HINSTANCE module, LPCWSTR resourceType, UINT resourceId, LanguageTable& table)
{
    HRSRC info = FindResourceW(module, MAKEINTRESOURCEW(resourceId), resourceType);
    if (!info)
        return;
    const DWORD size = SizeofResource(module, info);
    HGLOBAL resource = LoadResource(module, info);
    if (const void* bytes = resource ? LockResource(resource) : nullptr)
        ReadLanguageTable(bytes, size, table);
}

void ReadLanguageTable(const void* bytes, DWORD size, LanguageTable& table)
{
    if (size > kMaxTableBytes)
        return;
    // One spare character: the text always ends in a zero, whatever the resource holds.
    std::wstring buffer(size / sizeof(wchar_t) + 1, L'\0');
    std::memcpy(buffer.data(), bytes, size);
    std::wstring_view text(buffer.c_str());
    if (!text.empty() && text.front() == 0xFEFF)
        text.remove_prefix(1);
    ParseLanguageTable(text, table);
}

void ParseLanguageTable(std::wstring_view text, LanguageTable& table)
{
    std::wstring section;
    for (const std::wstring& line : SplitAndTrim(text, L'\n')) {
        const size_t close = line.find(L']');
        if (line.find(L'[') == 0 && close != std::wstring::npos) {
            section = line.substr(1, close - 1);
            continue;
        }
        const size_t equals = line.find(L'=');
        if (equals != std::wstring::npos)
            table[section][line.substr(0, equals)] = line.substr(equals + 1); // a later line wins
    }
}

std::wstring GetValue(const LanguageTable& table, const std::wstring& section, const std::wstring& key,
                      const std::wstring& defaultValue)
{
    const auto keys = table.find(section);
    if (keys == table.end())
        return defaultValue;
    const auto value = keys->second.find(key);
    return value == keys->second.end() ? defaultValue : value->second;
}

std::vector<std::wstring> SplitAndTrim(std::wstring_view text, wchar_t separator)
{
    std::vector<std::wstring> pieces;
    for (size_t at = text.find(separator); at != std::wstring_view::npos; at = text.find(separator)) {
        std::wstring_view piece = text.substr(0, at);
        const size_t last = piece.find_last_not_of(L" \n\r\t");
        pieces.emplace_back(last == std::wstring_view::npos ? std::wstring_view() : piece.substr(0, last + 1));
        text.remove_prefix(at + 1);
    }
    if (!text.empty())
        pieces.emplace_back(text);
    return pieces;
}

} // namespace quillet
