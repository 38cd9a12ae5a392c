// UTF-8, as the tools print and the sample sender reports, to and from Windows' UTF-16.
#pragma once
#include <string>

namespace quillet::test {

std::string Utf8(const std::wstring& text);
std::wstring FromUtf8(const std::string& text);

} // namespace quillet::test
