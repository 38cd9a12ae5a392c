// What a test program was run as, and where its files are.
#pragma once
#include <cstdlib>
#include <string>

#include "common/files.h"

namespace quillet::test {

// The Windows version name the runner asked Wine for ("winxp", ...), or "" for the default.
inline std::string RequestedWindowsVersion()
{
    const char* value = std::getenv("QUILLET_WINVER");
    return value ? value : "";
}

// The display DPI the runner set, or 0 when it set none.
inline int RequestedDpi()
{
    const char* value = std::getenv("QUILLET_DPI");
    return value ? std::atoi(value) : 0;
}

// An environment variable of this process, and so of what it starts, for a scope.
class ScopedVariable {
public:
    ScopedVariable(const wchar_t* name, const std::wstring& value) : m_name(name)
    {
        m_old.resize(GetEnvironmentVariableW(name, nullptr, 0));
        m_had = !m_old.empty() && GetEnvironmentVariableW(name, m_old.data(), static_cast<DWORD>(m_old.size())) > 0;
        SetEnvironmentVariableW(name, value.c_str());
    }
    ~ScopedVariable() { SetEnvironmentVariableW(m_name, m_had ? m_old.c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const wchar_t* m_name;
    std::wstring m_old;
    bool m_had = false;
};

// A fresh folder under the temporary folder, removed with its contents at the end.
struct TempFolder {
    explicit TempFolder(const std::wstring& hint) : path(MakeTempFolder(hint)) {}
    ~TempFolder() { RemoveTree(path); }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    // A file of four bytes, a folder, or a shortcut to target made in it (a failure fails the
    // test); its full path.
    std::wstring File(const std::wstring& name) const;
    std::wstring Folder(const std::wstring& name) const;
    std::wstring Shortcut(const std::wstring& name, const std::wstring& target) const;
    const std::wstring path;
};

// TMP and TEMP pointed at folder, where the module's list files then land.
struct ScopedTemp {
    explicit ScopedTemp(const std::wstring& folder) : tmp(L"TMP", folder), temp(L"TEMP", folder) {}
    ScopedVariable tmp, temp;
};

// A fresh folder that TMP and TEMP name while the object lives, so that files the module puts
// in the temporary folder stay countable and go with it.
struct RedirectedTempFolder {
    explicit RedirectedTempFolder(const std::wstring& hint) : folder(hint), temp(folder.path) {}
    const std::wstring& path() const { return folder.path; }
    TempFolder folder;
    ScopedTemp temp;
};

} // namespace quillet::test
