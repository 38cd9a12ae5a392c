// The caption table embedded in the module: section -> key -> value.
#pragma once
#include <windows.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace quillet {

using LanguageTable = std::map<std::wstring, std::map<std::wstring, std::wstring>>;

// Parses the UTF-16 table resource; a missing or oversized resource leaves the table empty.
void LoadLanguageTable(HINSTANCE module, LPCWSTR resourceType, UINT resourceId, LanguageTable& table);
// The same for the resource's bytes, with or without a byte-order mark.
void ReadLanguageTable(const void* bytes, DWORD size, LanguageTable& table);
// Parses table text (without the byte-order mark) into the table.
void ParseLanguageTable(std::wstring_view text, LanguageTable& table);
std::wstring GetValue(const LanguageTable& table, const std::wstring& section, const std::wstring& key,
                      const std::wstring& defaultValue);
// Every piece before a separator is kept, even empty, without trailing white space; the
// remainder after the last separator is kept as it stands when not empty.
std::vector<std::wstring> SplitAndTrim(std::wstring_view text, wchar_t separator);

} // namespace quillet
