#include "common/text.h"

#include <windows.h>

namespace quillet::test {

std::string Utf8(const std::wstring& text)
{
    std::string out(text.size() * 3, '\0');
    out.resize(static_cast<size_t>(WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                                       out.data(), static_cast<int>(out.size()), nullptr, nullptr)));
    return out;
}

std::wstring FromUtf8(const std::string& text)
{
    std::wstring out(text.size(), L'\0');
    out.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                                       out.data(), static_cast<int>(out.size()))));
    return out;
}

} // namespace quillet::test
