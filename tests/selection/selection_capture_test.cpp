// From the shell's data object to the selection and the path list.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <utility>
#include <vector>

#include "common/drop_data_object.h"
#include "platform/handles.h"
#include "selection/drop_list_reader.h"
#include "selection/selection_capture.h"
#include "support/environment.h"
#include "support/import_patch.h"

namespace quillet {
namespace {

using Microsoft::WRL::ComPtr;
using test::DropDataObject, test::WideDropFiles;
using Paths = std::vector<std::wstring>;
using Records = std::vector<std::pair<std::wstring, int>>; // path, isFolder

Paths PathsOf(const Records& records)
{
    Paths paths;
    for (const auto& record : records)
        paths.push_back(record.first);
    return paths;
}

struct InitializeTest : ::testing::Test {
    void SetUp() override { CoInitialize(nullptr); }
    void TearDown() override { CoUninitialize(); }

    HRESULT Initialize(IDataObject* data)
    {
        const HRESULT hr = CaptureSelection(data, m_items, m_shared);
        m_paths = m_shared.Copy();
        return hr;
    }
    HRESULT Select(const Paths& paths) { return Initialize(DropDataObject::Create(WideDropFiles(paths)).Get()); }
    Records Selection() const
    {
        Records records;
        for (const SelectedItem& item : m_items)
            records.emplace_back(item.path, item.isFolder);
        return records;
    }

    const test::TempFolder m_temp{L"selection"};
    const std::wstring& m_folder = m_temp.path;
    SelectedItems m_items;
    SelectedPathList m_shared;
    Paths m_paths;
};

DWORD WINAPI NoAttributes(LPCWSTR) { return INVALID_FILE_ATTRIBUTES; }
HANDLE WINAPI OpensAnything(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)
{
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

TEST_F(InitializeTest, MarksEachItemFileOrFolder)
{
    const std::wstring locked = m_temp.File(L"locked.txt");
    UniqueFileHandle lock(
        CreateFileW(locked.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(lock);
    const std::wstring vanished = m_temp.File(L"vanished.txt");
    ASSERT_TRUE(DeleteFileW(vanished.c_str()));
    const Records expected = {
        {m_temp.Folder(L"folder.d"), 1}, {L"C:\\", 1}, {m_temp.File(L"plain.txt"), 0},
        {locked, 0}, // its attributes still read
        {vanished, 1},
        {L"\\\\.\\NUL", 0}, // no attributes, yet it opens for reading
    };
    ASSERT_EQ(Select(PathsOf(expected)), S_OK);
    EXPECT_EQ(Selection(), expected);

    // No path of Wine's has no attributes and opens where a drive is named: a Windows that reads
    // no attributes and opens every path still sends drives, as drives without a medium, to the
    // folder section.
    const test::ScopedImport attributes("kernel32.dll", "GetFileAttributesW", &NoAttributes);
    const test::ScopedImport open("kernel32.dll", "CreateFileW", &OpensAnything);
    const Records drives = {{L"E:", 1}, {L"E:\\", 1}, {L"E:\\x", 0}, {L"E:x", 0}, {L"ab", 0}};
    ASSERT_EQ(Select(PathsOf(drives)), S_OK);
    EXPECT_EQ(Selection(), drives);
}

// A shortcut goes over as itself, its target, when it exists, before it in the path list. A
// shortcut is a name whose text after the last dot of the whole path is "lnk" in any case.
TEST_F(InitializeTest, ShortcutTargetLeadsItInThePathList)
{
    const std::wstring target = m_temp.File(L"report.txt");
    for (const wchar_t* name : {L"data.old", L"data.lnk", L"links.d"})
        m_temp.Folder(name);
    const Paths selected = {
        m_temp.Shortcut(L"Report.LNK", target), m_temp.Shortcut(L"gone.Lnk", m_temp.File(L"gone.txt")),
        m_temp.File(L"x.lnk"), // no shortcut inside
        m_temp.File(L"data.old\\README"), m_temp.Shortcut(L"data.lnk\\README", target),
        m_temp.Shortcut(L"links.d\\Plain.lNk", target),
    };
    ASSERT_TRUE(DeleteFileW((m_folder + L"\\gone.txt").c_str()));

    ASSERT_EQ(Select(selected), S_OK);

    Records files;
    for (const std::wstring& path : selected)
        files.emplace_back(path, 0);
    EXPECT_EQ(Selection(), files);
    EXPECT_EQ(m_paths, (Paths{target, selected[0], selected[1], selected[2], selected[3], selected[4], target,
                              selected[5]}));
}

TEST_F(InitializeTest, LongPathsAreCutInThePathListButKeptWholeInTheSelection)
{
    std::wstring longPath = m_folder;
    while (longPath.size() < 300 - 101) {
        longPath += L"\\" + std::wstring(100, L'd');
        ASSERT_TRUE(CreateDirectoryW((L"\\\\?\\" + longPath).c_str(), nullptr));
    }
    longPath += L"\\" + std::wstring(300 - longPath.size() - 1, L'f');
    ASSERT_TRUE(test::WriteFileBytes(L"\\\\?\\" + longPath, "x", 1));
    const std::wstring tooLong = L"C:\\" + std::wstring(1100, L'n'); // longer than any record

    ASSERT_EQ(Select({longPath, tooLong}), S_OK);

    EXPECT_EQ(Selection(), (Records{{longPath, 0}, {tooLong.substr(0, 1023), 1}}));
    EXPECT_EQ(m_paths, (Paths{longPath.substr(0, 259), tooLong.substr(0, 259)}));
}

// Each after a selection of a.txt. Wine counts an empty first name as a name, Windows does not:
// a row is for the count given, and skipped on a system that counts otherwise.
TEST_F(InitializeTest, DataObjectsOutOfTheOrdinary)
{
    const std::wstring a = m_temp.File(L"a.txt"), b = m_temp.File(L"b.txt");
    std::vector<BYTE> farList = WideDropFiles({a});
    farList[3] = 0x7F; // the list's offset, the header's first field, now near 2 GB
    std::vector<BYTE> halfList = WideDropFiles({L"?"});
    halfList.resize(sizeof(DROPFILES) + 1); // the list's only byte the low half of '?'
    const Records kept = {{a, 0}};
    // count: 0 for any
    const struct { const char* what; ComPtr<DropDataObject> data; UINT count; HRESULT hr; Records selection;
        Paths paths; } cases[] = {
        {"no data object", nullptr, 0, E_FAIL, kept, {a}},
        {"no drop list", DropDataObject::Create(UniqueGlobal()), 0, E_FAIL, kept, {a}},
        {"a block that cannot be locked", DropDataObject::Create(UniqueGlobal(GlobalAlloc(GMEM_MOVEABLE, 0))), 0,
         E_FAIL, {}, {a}},
        {"an empty list", DropDataObject::Create(WideDropFiles({})), 1, S_OK, {}, {}},
        {"an unreadable first name", DropDataObject::Create(WideDropFiles({L"", a, b})), 3, S_OK, {}, {a, b}},
        {"a medium other than global memory", DropDataObject::Create(WideDropFiles({b}), TYMED_GDI), 0, E_FAIL, kept,
         {a}},
        {"a list far outside its block", DropDataObject::Create(farList), 0, S_OK, {}, {}},
        {"half a character", DropDataObject::Create(halfList), 0, S_OK, {{L"?", 1}}, {L"?"}},
    };
    for (const auto& c : cases) {
        if (c.count && DragQueryFileW(static_cast<HDROP>(c.data->Block()), 0xFFFFFFFF, nullptr, 0) != c.count)
            continue;
        ASSERT_EQ(Select({a}), S_OK);
        EXPECT_EQ(Initialize(c.data.Get()), c.hr) << c.what;
        EXPECT_EQ(Selection(), c.selection) << c.what;
        EXPECT_EQ(m_paths, c.paths) << c.what;
        EXPECT_TRUE(!c.data || c.data->References() == 1) << c.what << ": medium not released";
    }
    EXPECT_EQ(DropListReader(nullptr, 0).QueryFile(0xFFFFFFFF, nullptr, 0), 0u) << "a reader given no block";
}

} // namespace
} // namespace quillet
