// Right-click to sender through the registry, as Explorer would do it: regsvr32, the
// Explorer-like host, the menu, the command, and what the stand-in sender received.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <memory>
#include <string>
#include <vector>

#include "common/registry.h"
#include "sender/sender_installation.h"
#include "support/environment.h"
#include "support/module_library.h"
#include "support/process.h"

using Microsoft::WRL::ComPtr;

namespace quillet::test {
namespace {

const char kCaption[] = "Transferred with Pelloc";

bool MakeShortcut(const std::wstring& target, const std::wstring& linkPath)
{
    ComPtr<IShellLinkW> link;
    ComPtr<IPersistFile> file;
    return SUCCEEDED(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                                      reinterpret_cast<void**>(link.GetAddressOf()))) &&
           SUCCEEDED(link->SetPath(target.c_str())) && SUCCEEDED(link.As(&file)) &&
           SUCCEEDED(file->Save(linkPath.c_str(), TRUE));
}

bool Touch(const std::wstring& path)
{
    return WriteFileBytes(path, "x", 1);
}

class EndToEnd : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        ASSERT_EQ(RunRegsvr32(ModulePath(), false), 0u);
        senderFolder = MakeTempFolder(L"sender home");
        itemsFolder = MakeTempFolder(L"items");
        ASSERT_FALSE(senderFolder.empty());
        ASSERT_TRUE(CopyFileW((ProgramDirectory() + L"sample-sender.exe").c_str(),
                              (senderFolder + L"\\Pelloc.exe").c_str(), FALSE));
        report = senderFolder + L"\\report.txt";
        SetEnvironmentVariableW(L"SAMPLE_SENDER_REPORT", report.c_str());
        appPath = std::make_unique<ScopedRegistryValue>(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue);
        appPath->SetString(senderFolder);
        menuOption = std::make_unique<ScopedRegistryValue>(HKEY_LOCAL_MACHINE, kSenderProfileKey, kMenuOptionValue,
                                                           KEY_WOW64_32KEY);
    }

    static void TearDownTestSuite()
    {
        menuOption.reset();
        appPath.reset();
        RunRegsvr32(ModulePath(), true);
        RemoveTree(senderFolder);
        RemoveTree(itemsFolder);
        CoUninitialize();
    }

    void SetUp() override { DeleteFileW(report.c_str()); }

    static ProcessResult Host(const std::wstring& arguments)
    {
        return RunProcess(L"\"" + ProgramDirectory() + L"shellhost.exe\" " + arguments);
    }

    static std::wstring Quoted(const std::wstring& path) { return L"\"" + path + L"\""; }

    static std::string SenderReport()
    {
        return WaitForFile(report, 20000) ? ReadFileBytes(report) : std::string("<the sender never reported>");
    }

    static std::wstring senderFolder, itemsFolder, report;
    static std::unique_ptr<ScopedRegistryValue> appPath, menuOption;
};

std::wstring EndToEnd::senderFolder, EndToEnd::itemsFolder, EndToEnd::report;
std::unique_ptr<ScopedRegistryValue> EndToEnd::appPath, EndToEnd::menuOption;

TEST_F(EndToEnd, FilesFoldersShortcutsAndNonLatinNamesReachTheSender)
{
    const std::wstring plain = itemsFolder + L"\\report.txt";
    const std::wstring spaced = itemsFolder + L"\\with space.txt";
    const std::wstring cyrillic = itemsFolder + L"\\\x041f\x0440\x0438\x0432\x0435\x0442.txt";
    const std::wstring folder = itemsFolder + L"\\\x6587\x4ef6\x5939";
    const std::wstring shortcut = itemsFolder + L"\\report.lnk";
    ASSERT_TRUE(Touch(plain) && Touch(spaced) && Touch(cyrillic));
    ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    ASSERT_TRUE(MakeShortcut(plain, shortcut));

    const ProcessResult host = Host(L"--invoke 0 " + Quoted(folder) + L" " + Quoted(plain) + L" " + Quoted(spaced) +
                                    L" " + Quoted(cyrillic) + L" " + Quoted(shortcut));
    ASSERT_EQ(host.exitCode, 0u) << host.output;
    EXPECT_NE(host.output.find(kCaption), std::string::npos) << host.output;
    EXPECT_NE(host.output.find("commands: 1"), std::string::npos) << host.output;

    const std::string received = SenderReport();
    EXPECT_NE(received.find("received 4 file(s) and 1 folder(s)"), std::string::npos) << received;
    for (const std::wstring& file : {plain, spaced, cyrillic, shortcut})
        EXPECT_NE(received.find("file:   " + Utf8(file) + "\n"), std::string::npos) << Utf8(file) << "\n" << received;
    EXPECT_NE(received.find("folder: " + Utf8(folder) + "\n"), std::string::npos) << received;
    EXPECT_NE(received.find("/transferfilelist=\""), std::string::npos) << received;
}

TEST_F(EndToEnd, ItemsFromSeveralFoldersAndTheCaptionAsVerb)
{
    const std::wstring other = MakeTempFolder(L"other");
    const std::wstring first = itemsFolder + L"\\first.txt";
    const std::wstring second = other + L"\\second.txt";
    ASSERT_TRUE(Touch(first) && Touch(second));

    const ProcessResult host = Host(L"--verb \"TRANSFERRED WITH PELLOC\" " + Quoted(first) + L" " + Quoted(second));
    ASSERT_EQ(host.exitCode, 0u) << host.output;
    const std::string received = SenderReport();
    EXPECT_NE(received.find("file:   " + Utf8(first) + "\n"), std::string::npos) << received;
    EXPECT_NE(received.find("file:   " + Utf8(second) + "\n"), std::string::npos) << received;
    RemoveTree(other);
}

TEST_F(EndToEnd, NoCommandWhenHiddenBySettingOrWithoutSender)
{
    const std::wstring file = itemsFolder + L"\\hidden.txt";
    ASSERT_TRUE(Touch(file));

    menuOption->SetDword(0);
    ProcessResult host = Host(L"--invoke 0 " + Quoted(file));
    EXPECT_EQ(host.exitCode, 3u) << host.output;
    EXPECT_NE(host.output.find("commands: 0"), std::string::npos) << host.output;
    menuOption->Delete();

    appPath->Delete();
    host = Host(L"--invoke 0 " + Quoted(file));
    EXPECT_EQ(host.exitCode, 3u) << host.output;
    EXPECT_EQ(host.output.find(kCaption), std::string::npos) << host.output;
    appPath->SetString(senderFolder);
    EXPECT_EQ(GetFileAttributesW(report.c_str()), INVALID_FILE_ATTRIBUTES) << "the sender must not have run";
}

TEST_F(EndToEnd, CaptionFollowsTheSendersLanguage)
{
    const std::wstring config = senderFolder + L"\\config.ini";
    ASSERT_TRUE(WritePrivateProfileStringW(L"UI", L"language", L"ru", config.c_str()));
    const std::wstring file = itemsFolder + L"\\language.txt";
    ASSERT_TRUE(Touch(file));
    const ProcessResult host = Host(Quoted(file));
    DeleteFileW(config.c_str());
    EXPECT_EQ(host.exitCode, 0u) << host.output;
    EXPECT_NE(host.output.find(Utf8(L"\x041f\x0435\x0440\x0435\x0434\x0430\x043d\x044b \x0441 \x043f\x043e\x043c\x043e\x0449\x044c\x044e Pelloc")),
              std::string::npos)
        << host.output;
}

// Under Wine each new file in a crowded folder costs a scan of the folder, so the test run
// prepares the 10,000 files from outside (QUILLET_MANY_FILES names the folder); without it
// the test makes them itself.
TEST_F(EndToEnd, TenThousandFilesArriveInOneList)
{
    constexpr int kFiles = 10000;
    wchar_t prepared[MAX_PATH] = {};
    std::wstring many;
    if (GetEnvironmentVariableW(L"QUILLET_MANY_FILES", prepared, MAX_PATH) > 0) {
        many = prepared;
    } else {
        many = MakeTempFolder(L"many");
        for (int i = 0; i < kFiles; ++i)
            ASSERT_TRUE(Touch(many + L"\\file" + std::to_wstring(i) + L".dat"));
    }
    const ProcessResult host = Host(L"--invoke 0 --all-in " + Quoted(many));
    EXPECT_EQ(host.exitCode, 0u) << host.output.substr(0, 2000);
    EXPECT_NE(host.output.find("selection: 10000 item(s)"), std::string::npos) << host.output.substr(0, 2000);
    const std::string received = SenderReport();
    EXPECT_NE(received.find("received 10000 file(s) and 0 folder(s)"), std::string::npos) << received.substr(0, 2000);
    EXPECT_NE(received.find("file:   " + Utf8(many + L"\\file9999.dat") + "\n"), std::string::npos);
    if (!prepared[0])
        RemoveTree(many);
}

TEST_F(EndToEnd, AfterUnregistrationNoCommandAppears)
{
    const std::wstring file = itemsFolder + L"\\gone.txt";
    ASSERT_TRUE(Touch(file));
    ASSERT_EQ(RunRegsvr32(ModulePath(), true), 0u);
    const ProcessResult host = Host(Quoted(file));
    ASSERT_EQ(RunRegsvr32(ModulePath(), false), 0u);
    EXPECT_EQ(host.exitCode, 3u) << host.output;
    EXPECT_EQ(host.output.find("{F2196025-497B-4A61-AEA7-27325149132A}"), std::string::npos) << host.output;
}

} // namespace
} // namespace quillet::test
