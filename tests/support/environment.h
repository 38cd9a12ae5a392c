// What a test program was run as, and where its files are.
#pragma once
#include <string>

#include "common/files.h"

namespace quillet::test {

// The Windows version name the runner asked Wine for ("winxp", ...), or "" for the default.
std::string RequestedWindowsVersion();
// The display DPI the runner set, or 0 when it set none.
int RequestedDpi();

// Sets an environment variable ("" removes it) and returns its old value.
std::wstring SwapEnvironmentVariable(const wchar_t* name, const std::wstring& value);

// A fresh folder that TMP and TEMP name while the object lives, so that files the module puts
// in the temporary folder stay countable and go with it.
class RedirectedTempFolder {
public:
    explicit RedirectedTempFolder(const std::wstring& hint)
        : m_path(MakeTempFolder(hint)), m_tmp(SwapEnvironmentVariable(L"TMP", m_path)),
          m_temp(SwapEnvironmentVariable(L"TEMP", m_path))
    {
    }
    ~RedirectedTempFolder()
    {
        SwapEnvironmentVariable(L"TMP", m_tmp);
        SwapEnvironmentVariable(L"TEMP", m_temp);
        RemoveTree(m_path);
    }
    RedirectedTempFolder(const RedirectedTempFolder&) = delete;
    const std::wstring& path() const { return m_path; }

private:
    const std::wstring m_path, m_tmp, m_temp;
};

} // namespace quillet::test
