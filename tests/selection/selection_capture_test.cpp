// From the shell's data object to the selection and the path list.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <cstring>
#include <utility>
#include <vector>

#include "common/drop_data_object.h"
#include "platform/handles.h"
#include "selection/selection_capture.h"
#include "support/environment.h"

namespace quillet {
namespace {

using Microsoft::WRL::ComPtr;
using Records = std::vector<std::pair<std::wstring, int>>;

class InitializeTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        CoInitialize(nullptr);
        m_folder = test::MakeTempFolder(L"selection");
        ASSERT_FALSE(m_folder.empty());
    }

    void TearDown() override
    {
        test::RemoveTree(m_folder);
        CoUninitialize();
    }

    HRESULT Initialize(IDataObject* data) { return CaptureSelection(data, m_items, m_paths); }
    HRESULT Select(const std::vector<std::wstring>& paths)
    {
        return Initialize(test::DropDataObject::Create(test::WideDropFiles(paths)).Get());
    }

    Records Selection()
    {
        Records records;
        for (const SelectedItem& item : m_items)
            records.emplace_back(item.path, item.isFolder);
        return records;
    }

    std::wstring Path(const std::wstring& name) const { return m_folder + L"\\" + name; }

    std::wstring MakeFile(const std::wstring& name)
    {
        const std::wstring path = Path(name);
        EXPECT_TRUE(test::WriteFileBytes(path, "data", 4)) << "cannot create " << testing::PrintToString(path);
        return path;
    }

    std::wstring MakeFolder(const std::wstring& name)
    {
        const std::wstring path = Path(name);
        EXPECT_TRUE(CreateDirectoryW(path.c_str(), nullptr));
        return path;
    }

    // A real shortcut file, written by the shell's link object.
    std::wstring MakeShortcut(const std::wstring& name, const std::wstring& target)
    {
        const std::wstring path = Path(name);
        ComPtr<IShellLinkW> link;
        ComPtr<IPersistFile> file;
        EXPECT_TRUE(SUCCEEDED(
            CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&link))));
        if (!link)
            return path;
        EXPECT_TRUE(SUCCEEDED(link->SetPath(target.c_str())));
        EXPECT_TRUE(SUCCEEDED(link.As(&file)));
        EXPECT_TRUE(file && SUCCEEDED(file->Save(path.c_str(), TRUE)));
        return path;
    }

    std::wstring m_folder;
    SelectedItems m_items;
    std::vector<std::wstring> m_paths;
};

TEST_F(InitializeTest, RecordsTenThousandItemsInDropListOrderAndGivesTheMediumBack)
{
    std::vector<std::wstring> paths;
    for (int i = 0; i < 10000; ++i)
        paths.push_back(Path(L"item-" + std::to_wstring((i * 7919) % 10000) + L".dat"));
    const auto data = test::DropDataObject::Create(test::WideDropFiles(paths));

    ASSERT_EQ(Initialize(data.Get()), S_OK);

    const Records records = Selection();
    ASSERT_EQ(records.size(), paths.size());
    for (size_t i = 0; i < paths.size(); ++i)
        ASSERT_EQ(records[i], std::make_pair(paths[i], 1)) << "index " << i; // none exists: folder section
    EXPECT_EQ(m_paths, paths);
    EXPECT_EQ(data->References(), 1u) << "medium not released";
    EXPECT_EQ(GlobalFlags(data->Block()) & GMEM_LOCKCOUNT, 0u) << "drop list left locked";
}

TEST_F(InitializeTest, ClassifiesFoldersDrivesAndItemsThatCannotBeRead)
{
    wchar_t absentDrive[] = L"?:";
    const DWORD drives = GetLogicalDrives();
    for (wchar_t letter = L'Z'; letter >= L'D'; --letter)
        if (!(drives & (1u << (letter - L'A'))))
            absentDrive[0] = letter;
    ASSERT_NE(absentDrive[0], L'?') << "every drive letter is in use";

    const std::wstring file = MakeFile(L"plain.txt");
    const std::wstring locked = MakeFile(L"locked.txt");
    const std::wstring vanished = MakeFile(L"vanished.txt");
    ASSERT_TRUE(DeleteFileW(vanished.c_str()));
    UniqueFileHandle lock(
        CreateFileW(locked.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(lock);

    const std::wstring folder = MakeFolder(L"folder.d");
    const std::wstring absentRoot = std::wstring(absentDrive) + L"\\";
    ASSERT_EQ(Select({folder, L"C:\\", absentDrive, absentRoot, file, locked, vanished}), S_OK);

    EXPECT_EQ(Selection(), (Records{{folder, 1},
                                    {L"C:\\", 1},
                                    {absentDrive, 1},
                                    {absentRoot, 1},
                                    {file, 0},
                                    {locked, 0}, // its attributes still read
                                    {vanished, 1}}));
}

TEST_F(InitializeTest, ShortcutGoesOverAsItselfAndItsTargetLeadsInThePathList)
{
    const std::wstring target = MakeFile(L"report.txt");
    const std::wstring shortcut = MakeShortcut(L"Report.LNK", target);
    const std::wstring gone = MakeShortcut(L"gone.Lnk", MakeFile(L"gone.txt"));
    ASSERT_TRUE(DeleteFileW(Path(L"gone.txt").c_str()));
    const std::wstring fake = MakeFile(L"x.lnk"); // a plain file

    ASSERT_EQ(Select({shortcut, gone, fake}), S_OK);

    EXPECT_EQ(Selection(), (Records{{shortcut, 0}, {gone, 0}, {fake, 0}}));
    EXPECT_EQ(m_paths, (std::vector<std::wstring>{target, shortcut, gone, fake}));
}

TEST_F(InitializeTest, ExtensionIsTakenAfterTheLastDotOfTheWholePath)
{
    const std::wstring target = MakeFile(L"target.txt");
    MakeFolder(L"data.old");
    MakeFolder(L"data.lnk");
    MakeFolder(L"links.d");
    const std::wstring readme = MakeFile(L"data.old\\README");
    // Real shortcuts: only the one whose name ends in .lnk is read as one.
    const std::wstring disguised = MakeShortcut(L"data.lnk\\README", target);
    const std::wstring named = MakeShortcut(L"links.d\\Plain.lNk", target);

    ASSERT_EQ(Select({readme, disguised, named}), S_OK);

    EXPECT_EQ(m_paths, (std::vector<std::wstring>{readme, disguised, target, named}));
}

TEST_F(InitializeTest, LongPathsAreCutInThePathListButKeptWholeInTheSelection)
{
    std::wstring longPath = m_folder;
    while (longPath.size() < 300 - 101) {
        longPath += L"\\" + std::wstring(100, L'd');
        ASSERT_TRUE(CreateDirectoryW((L"\\\\?\\" + longPath).c_str(), nullptr));
    }
    longPath += L"\\" + std::wstring(300 - longPath.size() - 1, L'f');
    ASSERT_EQ(longPath.size(), 300u);
    ASSERT_TRUE(test::WriteFileBytes(L"\\\\?\\" + longPath, "x", 1));
    const std::wstring tooLong = L"C:\\" + std::wstring(1100, L'n'); // longer than any record

    ASSERT_EQ(Select({longPath, tooLong}), S_OK);

    const Records records = Selection();
    ASSERT_EQ(records.size(), 2u);
    EXPECT_EQ(records[0].first, longPath);
    EXPECT_EQ(records[1].first, tooLong.substr(0, 1023));
    EXPECT_EQ(m_paths, (std::vector<std::wstring>{longPath.substr(0, 259), tooLong.substr(0, 259)}));
}

TEST_F(InitializeTest, WithoutADropListThePreviousSelectionStays)
{
    const std::wstring file = MakeFile(L"kept.txt");
    ASSERT_EQ(Select({file}), S_OK);

    EXPECT_EQ(Initialize(test::DropDataObject::CreateWithoutDropList().Get()), E_FAIL);
    EXPECT_EQ(Initialize(nullptr), E_FAIL);

    EXPECT_EQ(Selection(), (Records{{file, 0}}));
    EXPECT_EQ(m_paths, (std::vector<std::wstring>{file}));
}

TEST_F(InitializeTest, DropListThatCannotBeLockedEmptiesTheSelectionOnly)
{
    const std::wstring file = MakeFile(L"before.txt");
    ASSERT_EQ(Select({file}), S_OK);
    const auto data = test::DropDataObject::Create(UniqueGlobal(GlobalAlloc(GMEM_MOVEABLE, 0)));

    EXPECT_EQ(Initialize(data.Get()), E_FAIL);

    EXPECT_TRUE(Selection().empty());
    EXPECT_EQ(m_paths, (std::vector<std::wstring>{file}));
    EXPECT_EQ(data->References(), 1u) << "medium not released";
}

// Wine counts the empty first name of a list as one name, Windows as none; either way nothing
// is selected, and only a list counted empty fails.
TEST_F(InitializeTest, EmptyDropListSelectsNothing)
{
    ASSERT_EQ(Select({MakeFile(L"before.txt")}), S_OK);
    const std::vector<BYTE> empty = test::WideDropFiles({});
    const UniqueGlobal probe = test::MakeGlobal(empty);
    const UINT count = DragQueryFileW(static_cast<HDROP>(probe.get()), 0xFFFFFFFF, nullptr, 0);

    EXPECT_EQ(Initialize(test::DropDataObject::Create(empty).Get()), count < 1 ? E_FAIL : S_OK);

    EXPECT_TRUE(Selection().empty());
}

TEST_F(InitializeTest, OneUnreadableNameDiscardsTheWholeSelection)
{
    const std::wstring a = MakeFile(L"a.txt");
    const std::wstring b = MakeFile(L"b.txt");
    const std::vector<BYTE> list = test::WideDropFiles({L"", a, b}); // begins with an empty name
    const UniqueGlobal probe = test::MakeGlobal(list);
    if (DragQueryFileW(static_cast<HDROP>(probe.get()), 0xFFFFFFFF, nullptr, 0) < 3)
        GTEST_SKIP() << "this system counts no names after an empty one";
    ASSERT_EQ(Select({a}), S_OK);

    EXPECT_EQ(Initialize(test::DropDataObject::Create(list).Get()), S_OK);

    EXPECT_TRUE(Selection().empty());
    EXPECT_EQ(m_paths, (std::vector<std::wstring>{a, b}));
}

// Blocks that DragQueryFileW itself would read past: nothing is selected, nothing faults.
TEST_F(InitializeTest, ListsThatLeaveTheirBlockAreReadOnlyInsideIt)
{
    const std::wstring file = MakeFile(L"a.txt");
    std::vector<BYTE> farOffset = test::WideDropFiles({file});
    const DWORD offset = 0x7FFFFFF0;
    std::memcpy(farOffset.data(), &offset, sizeof(offset));
    std::vector<BYTE> shortHeader = {0xF0, 0xFF, 0xFF};

    for (const auto& block : {farOffset, shortHeader}) {
        ASSERT_EQ(Select({file}), S_OK);
        const HRESULT hr = Initialize(test::DropDataObject::Create(block).Get());
        EXPECT_TRUE(hr == S_OK || hr == E_FAIL) << std::hex << hr;
        EXPECT_TRUE(Selection().empty());
    }
}

TEST_F(InitializeTest, AnsiDropListIsConvertedWithTheAnsiCodePage)
{
    const std::string narrowName = "caf\xE9 \xC0 la carte.txt";
    wchar_t wideName[64] = {};
    ASSERT_GT(MultiByteToWideChar(CP_ACP, 0, narrowName.c_str(), -1, wideName, 64), 0);
    const std::wstring file = MakeFile(wideName);
    char narrowFolder[MAX_PATH] = {};
    ASSERT_GT(WideCharToMultiByte(CP_ACP, 0, m_folder.c_str(), -1, narrowFolder, MAX_PATH, nullptr, nullptr), 0);

    ASSERT_EQ(Initialize(test::DropDataObject::Create(
                             test::AnsiDropFiles({std::string(narrowFolder) + "\\" + narrowName, "C:\\"}))
                             .Get()),
              S_OK);

    EXPECT_EQ(Selection(), (Records{{file, 0}, {L"C:\\", 1}}));
}

TEST_F(InitializeTest, TakesTheShellsOwnDataObjectForRealFiles)
{
    const std::vector<std::wstring> paths = {MakeFile(L"one.txt"), MakeFolder(L"two"), MakeFile(L"three.bin")};
    std::vector<PIDLIST_ABSOLUTE> absolute;
    for (const std::wstring& path : paths) {
        PIDLIST_ABSOLUTE pidl = nullptr;
        ASSERT_TRUE(SUCCEEDED(SHParseDisplayName(path.c_str(), nullptr, &pidl, 0, nullptr)));
        absolute.push_back(pidl);
    }
    ComPtr<IShellFolder> parent;
    std::vector<PCUITEMID_CHILD> children;
    for (PIDLIST_ABSOLUTE pidl : absolute) {
        PCUITEMID_CHILD child = nullptr;
        if (SUCCEEDED(SHBindToParent(pidl, IID_PPV_ARGS(parent.ReleaseAndGetAddressOf()), &child)))
            children.push_back(child);
    }
    ComPtr<IDataObject> data;
    HRESULT hr = E_FAIL;
    if (parent && children.size() == paths.size())
        hr = parent->GetUIObjectOf(nullptr, static_cast<UINT>(children.size()), children.data(), IID_IDataObject,
                                   nullptr, reinterpret_cast<void**>(data.GetAddressOf()));
    for (PIDLIST_ABSOLUTE pidl : absolute)
        CoTaskMemFree(pidl);
    ASSERT_TRUE(SUCCEEDED(hr) && data);

    ASSERT_EQ(Initialize(data.Get()), S_OK);

    EXPECT_EQ(Selection(), (Records{{paths[0], 0}, {paths[1], 1}, {paths[2], 0}}));
    EXPECT_EQ(m_paths, paths);
}

} // namespace
} // namespace quillet
