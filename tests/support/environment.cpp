#include "support/environment.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <shlobj.h>
#include <wrl/client.h>

namespace quillet::test {

std::wstring TempFolder::File(const std::wstring& name) const
{
    EXPECT_TRUE(WriteFileBytes(path + L"\\" + name, "data", 4)) << testing::PrintToString(name);
    return path + L"\\" + name;
}

std::wstring TempFolder::Folder(const std::wstring& name) const
{
    EXPECT_TRUE(CreateDirectoryW((path + L"\\" + name).c_str(), nullptr)) << testing::PrintToString(name);
    return path + L"\\" + name;
}

std::wstring TempFolder::Shortcut(const std::wstring& name, const std::wstring& target) const
{
    Microsoft::WRL::ComPtr<IShellLinkW> shortcut;
    Microsoft::WRL::ComPtr<IPersistFile> file;
    EXPECT_TRUE(SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&shortcut))) &&
                SUCCEEDED(shortcut->SetPath(target.c_str())) && SUCCEEDED(shortcut.As(&file)) &&
                SUCCEEDED(file->Save((path + L"\\" + name).c_str(), TRUE)))
        << testing::PrintToString(name);
    return path + L"\\" + name;
}

} // namespace quillet::test
