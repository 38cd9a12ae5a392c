// QuilletCommand.dll through its exports, as the COM surrogate loads it for Windows 11's menu:
// what each IExplorerCommand method answers, and that choosing the command hands the sender the
// same list Quillet.dll hands it for the same items.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <wrl/client.h>

#include <optional>

#include "command/command_class.h"
#include "common/drop_data_object.h"
#include "common/counted.h"
#include "common/shell_items.h"
#include "handoff/handoff_support.h"
#include "menu/menu_test_support.h"
#include "quillet_idl.h"
#include "support/import_patch.h"
#include "support/module_library.h"

using Microsoft::WRL::ComPtr;

namespace quillet::test {
namespace {

const std::wstring kEnglish = L"Transferred with Pelloc";

// Virtual folders by their parsing names: no file-system path.
const std::wstring kThisPc = L"::{20D04FE0-3AEA-1069-A2D8-08002B30309D}";
const std::wstring kControlPanel = kThisPc + L"\\::{21EC2020-3AEA-1069-A2DD-08002B30309D}";

// The shell item array Explorer hands the command, in the given order; every name must parse.
ComPtr<IShellItemArray> ItemArray(const std::vector<std::wstring>& names)
{
    std::vector<std::wstring> unparsed;
    ComPtr<IShellItemArray> items = ShellItemArray(names, &unparsed);
    EXPECT_EQ(unparsed, std::vector<std::wstring>{});
    return items;
}

// The string GetTitle or GetIcon hands back.
std::wstring TakeString(IExplorerCommand* command, decltype(&IExplorerCommand::GetTitle) method)
{
    UniqueCoTaskString text;
    EXPECT_EQ((command->*method)(nullptr, text.put()), S_OK);
    return text ? text.get() : L"(null)";
}

struct ArrayAndEnumerator : IShellItemArray, IEnumShellItems {};
enum class Enumerator { Reporting, Missing, Silent };

// Shell items that are nothing but their paths, served in batches as Explorer's array does, but
// hostile: every other batch is reported one item longer than it is, an item no one may take lies
// just past what is reported, and the enumerator may be missing or never report a count.
class PathItems final : public Counted<ArrayAndEnumerator> {
    struct Item final : Counted<IShellItem> {
        explicit Item(std::wstring path) : m_path(std::move(path)) {}
        STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
        {
            *ppv = IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IShellItem) ? this : nullptr;
            return *ppv ? (AddRef(), S_OK) : E_NOINTERFACE;
        }
        STDMETHODIMP BindToHandler(IBindCtx*, REFGUID, REFIID, void**) override { return E_NOTIMPL; }
        STDMETHODIMP GetParent(IShellItem**) override { return E_NOTIMPL; }
        STDMETHODIMP GetDisplayName(SIGDN form, LPWSTR* name) override
        {
            return form == SIGDN_FILESYSPATH ? SHStrDupW(m_path.c_str(), name) : E_NOTIMPL;
        }
        STDMETHODIMP GetAttributes(SFGAOF, SFGAOF*) override { return E_NOTIMPL; } // the array answers
        STDMETHODIMP Compare(IShellItem*, SICHINTF, int*) override { return E_NOTIMPL; }
        const std::wstring m_path;
    };

public:
    PathItems(std::vector<std::wstring> paths, Enumerator enumerator)
        : m_enumerator(enumerator), m_paths(std::move(paths)) {}
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        *ppv = nullptr;
        if (IsEqualIID(riid, IID_IEnumShellItems))
            *ppv = static_cast<IEnumShellItems*>(this);
        else if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IShellItemArray))
            *ppv = static_cast<IShellItemArray*>(this);
        return *ppv ? (AddRef(), S_OK) : E_NOINTERFACE;
    }
    STDMETHODIMP BindToHandler(IBindCtx*, REFGUID, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyStore(GETPROPERTYSTOREFLAGS, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHODIMP GetPropertyDescriptionList(REFPROPERTYKEY, REFIID, void**) override { return E_NOTIMPL; }
    STDMETHODIMP GetAttributes(SIATTRIBFLAGS, SFGAOF mask, SFGAOF* attributes) override
    {
        *attributes = m_paths.empty() ? 0 : mask & SFGAO_FILESYSTEM;
        return S_OK;
    }
    STDMETHODIMP GetCount(DWORD*) override { return E_NOTIMPL; } // the command enumerates
    STDMETHODIMP GetItemAt(DWORD, IShellItem**) override { return E_NOTIMPL; }
    // One enumeration at a time is all the command needs.
    STDMETHODIMP EnumItems(IEnumShellItems** items) override
    {
        m_next = m_batches = 0;
        return m_enumerator != Enumerator::Missing ? QueryInterface(IID_PPV_ARGS(items)) : S_OK;
    }
    STDMETHODIMP Next(ULONG wanted, IShellItem** items, ULONG* fetched) override
    {
        ULONG count = 0;
        for (; count < wanted && m_next < m_paths.size(); ++count)
            items[count] = new Item(m_paths[m_next++]);
        const ULONG reported = count + (m_batches++ % 2 == 0);
        if (reported < wanted)
            items[reported] = new Item(L"C:\\not handed over");
        if (fetched && m_enumerator == Enumerator::Reporting)
            *fetched = reported;
        return count == wanted ? S_OK : S_FALSE;
    }
    STDMETHODIMP Skip(ULONG) override { return E_NOTIMPL; }
    STDMETHODIMP Reset() override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IEnumShellItems**) override { return E_NOTIMPL; }

private:
    size_t m_next = 0, m_batches = 0;
    const Enumerator m_enumerator;
    const std::vector<std::wstring> m_paths;
};

ComPtr<IShellItemArray> PathArray(std::vector<std::wstring> paths, Enumerator enumerator = Enumerator::Reporting)
{
    ComPtr<IShellItemArray> items;
    items.Attach(new PathItems(std::move(paths), enumerator));
    return items;
}

struct ExplorerCommandTest : LoadedServer {
    ExplorerCommandTest() : LoadedServer(CommandModulePath(), CLSID_QuilletCommand) { menuOption.Delete(); }
    ComPtr<IExplorerCommand> NewCommand() { return Create<IExplorerCommand>(); }

    // The only list file the last command left in the temporary folder, taken away.
    std::optional<std::string> TakeListFile()
    {
        const std::vector<std::wstring> files = ListFiles(temp.path());
        if (files.size() != 1)
            return std::nullopt;
        std::string bytes = ReadFileBytes(files[0]);
        DeleteFileW(files[0].c_str());
        return bytes;
    }

    // What Quillet.dll writes when the same paths are selected and its command chosen.
    std::optional<std::string> ClassicList(const std::vector<std::wstring>& paths)
    {
        ComPtr<IShellExtInit> init = classic.Create<IShellExtInit>(CLSID_FTKelMN);
        ComPtr<IContextMenu> menu;
        EXPECT_EQ(init->Initialize(nullptr, DropDataObject::Create(WideDropFiles(paths)).Get(), nullptr), S_OK);
        EXPECT_EQ(init.As(&menu), S_OK);
        EXPECT_EQ(InvokeFirst(menu.Get()), S_OK);
        return TakeListFile();
    }

    ServerModule classic{ModulePath()};
    ScopedRegistryValue menuOption{HKEY_LOCAL_MACHINE, kSenderProfileKey, kMenuOptionValue, KEY_WOW64_32KEY};
    RedirectedTempFolder temp{L"command"}; // every list file lands here
    const std::wstring file = temp.folder.File(L"item.txt"), folder = temp.folder.Folder(L"folder");
};

TEST_F(ExplorerCommandTest, TitleIsTheClassicCaptionInTheSendersLanguage)
{
    // The language in config.ini (nothing: no config.ini); the sender's App Paths "Path" registered.
    const struct { std::optional<std::string> language; bool registered; std::wstring title; } cases[] = {
        {"zh-TW", true, L"以Pelloc 傳輸"}, {"ja", true, kEnglish}, // "ja" is in the table, but not an allowed language
        {"ru", false, kEnglish}, // no sender folder: no config.ini to read
    };
    for (const auto& c : cases) {
        FakeSender sender(true, c.language, c.registered);
        EXPECT_EQ(TakeString(NewCommand().Get(), &IExplorerCommand::GetTitle), c.title)
            << c.language.value_or("no config.ini");
    }
}

DWORD WINAPI Nameless(HMODULE, LPWSTR, DWORD) { return 0; }

TEST_F(ExplorerCommandTest, IconNamesAnIconOfTheModuleAtEverySizeExplorerAsks)
{
    ComPtr<IExplorerCommand> object = NewCommand();
    const std::wstring location = TakeString(object.Get(), &IExplorerCommand::GetIcon);
    const size_t comma = location.rfind(L',');
    ASSERT_NE(comma, std::wstring::npos) << std::string(location.begin(), location.end());
    const std::wstring path = location.substr(0, comma);
    EXPECT_EQ(_wcsicmp(path.c_str(), CommandModulePath().c_str()), 0);
    const int index = _wtoi(location.c_str() + comma + 1);
    EXPECT_LT(index, 0) << "a resource id, not an index";
    // ExtractIconExW is what Explorer calls, but Wine's answers 1 and hands back no icon for a
    // negative index; PrivateExtractIconsW reads the same resource at the size asked for.
    for (const int size : {16, 20, 24, 32, 40, 48}) {
        HICON icon = nullptr;
        ASSERT_EQ(PrivateExtractIconsW(path.c_str(), index, size, size, &icon, nullptr, 1, 0), 1u) << size;
        ICONINFO info = {};
        ASSERT_TRUE(GetIconInfo(icon, &info));
        const UniqueBitmap colourPlane(info.hbmColor), maskPlane(info.hbmMask); // GetIconInfo's copies
        BITMAP colour = {};
        GetObjectW(info.hbmColor, sizeof(colour), &colour);
        EXPECT_TRUE(colour.bmWidth == size && colour.bmHeight == size) << colour.bmWidth << " x " << colour.bmHeight;
        EXPECT_EQ(colour.bmBitsPixel, 32) << "the picture keeps its alpha";
        DestroyIcon(icon);
    }

    // A copy loaded from a folder whose path passes MAX_PATH still names its whole path.
    const std::wstring longPath = L"\\\\?\\" + ProgramDirectory() + std::wstring(250, L'f') + L"\\QuilletCommand.dll";
    CreateDirectoryW(longPath.substr(0, longPath.rfind(L'\\')).c_str(), nullptr);
    ASSERT_TRUE(CopyFileW(path.c_str(), longPath.c_str(), FALSE));
    const ServerModule copy(longPath);
    const std::wstring longLocation =
        TakeString(copy.Create<IExplorerCommand>(CLSID_QuilletCommand).Get(), &IExplorerCommand::GetIcon);
    EXPECT_TRUE(longLocation.ends_with(longPath.substr(4) + location.substr(comma))) << longLocation.size();

    // A module that cannot name its own file names no icon.
    const ScopedImport unnamed("kernel32.dll", "GetModuleFileNameW", &Nameless, GetModuleHandleW(path.c_str()));
    LPWSTR none = nullptr;
    EXPECT_EQ(object->GetIcon(nullptr, &none), E_FAIL);
}

TEST_F(ExplorerCommandTest, StateFollowsMenuOptionSenderAndItemKinds)
{
    enum class Sender { Installed, NoFile, Unregistered };
    const std::wstring shortcut = temp.folder.Shortcut(L"item.lnk", file);
    const std::optional<DWORD> unset;
    const struct { std::optional<DWORD> menuOption; Sender sender; ComPtr<IShellItemArray> items; EXPCMDSTATE state; }
        cases[] = {
        {unset, Sender::Installed, ItemArray({file}), ECS_ENABLED},
        {1, Sender::Installed, ItemArray({folder}), ECS_ENABLED},
        {2, Sender::Installed, ItemArray({shortcut}), ECS_ENABLED},
        {unset, Sender::Installed, ItemArray({kThisPc, kControlPanel, file}), ECS_ENABLED}, // one path is enough
        {0, Sender::Installed, ItemArray({file}), ECS_HIDDEN},
        {unset, Sender::NoFile, ItemArray({file}), ECS_HIDDEN},
        {unset, Sender::Unregistered, ItemArray({file}), ECS_HIDDEN},
        {unset, Sender::Installed, ItemArray({kThisPc, kControlPanel}), ECS_HIDDEN},
        {unset, Sender::Installed, PathArray({}), ECS_HIDDEN}, // Wine makes no empty array; Explorer has passed one
        {unset, Sender::Installed, nullptr, ECS_HIDDEN},
    };
    for (const auto& c : cases) {
        const int row = static_cast<int>(&c - cases);
        c.menuOption ? menuOption.SetDword(*c.menuOption) : menuOption.Delete();
        FakeSender sender(c.sender != Sender::NoFile, std::nullopt, c.sender != Sender::Unregistered);
        // Explorer asks on its UI thread first, and again off it only if told E_PENDING.
        for (const BOOL okToBeSlow : {FALSE, TRUE}) {
            EXPCMDSTATE state = static_cast<EXPCMDSTATE>(-1);
            EXPECT_EQ(NewCommand()->GetState(c.items.Get(), okToBeSlow, &state), S_OK) << "row " << row;
            EXPECT_EQ(state, c.state) << "row " << row << ", okToBeSlow " << okToBeSlow;
        }
    }
}

TEST_F(ExplorerCommandTest, InvokeWritesTheListTheClassicCommandWrites)
{
    const std::wstring shortcut = temp.folder.Shortcut(L"Отчёт.lnk", file);
    const std::wstring latinFolder = temp.folder.Folder(L"A folder");
    const std::wstring greekFile = temp.folder.File(L"αρχείο 文件.txt");
    const std::wstring cyrillicFolder = temp.folder.Folder(L"Фотографии");
    const std::vector<std::vector<std::wstring>> cases = {
        {shortcut},                        // the shortcut file itself, never its target
        {greekFile, cyrillicFolder},       // non-Latin names, as UTF-16
        {folder, file, latinFolder, greekFile, shortcut}, // folders given first still list last
    };
    for (const auto& paths : cases) {
        const std::optional<std::string> classic = ClassicList(paths);
        ASSERT_TRUE(classic.has_value());
        EXPECT_EQ(NewCommand()->Invoke(ItemArray(paths).Get(), nullptr), S_OK);
        EXPECT_EQ(TakeListFile(), classic) << paths.size() << " item(s)";
    }

    // Items without a file-system path are left out; the others keep their order.
    const std::optional<std::string> classic = ClassicList({greekFile, folder});
    EXPECT_EQ(NewCommand()->Invoke(ItemArray({kThisPc, greekFile, kControlPanel, folder}).Get(), nullptr), S_OK);
    EXPECT_EQ(TakeListFile(), classic);
}

// Wine's shell spends about a millisecond per item in GetDisplayName and as much again to parse
// a path, so 10,000 real shell items would take most of a minute: here the items come from
// PathItems, and the list is still checked against the classic command's for the same files
// (every other one of the 157 batches reported one item longer than it is).
TEST_F(ExplorerCommandTest, TenThousandItemsGiveTheClassicList)
{
    wchar_t many[MAX_PATH] = {};
    ASSERT_GT(GetEnvironmentVariableW(L"QUILLET_MANY_FILES", many, MAX_PATH), 0u) << "run through ctest";
    std::vector<std::wstring> paths;
    for (int i = 0; i < 10000; ++i)
        paths.push_back(std::wstring(many) + L"\\file" + std::to_wstring(i) + L".dat");
    const std::optional<std::string> classic = ClassicList(paths);
    ASSERT_TRUE(classic.has_value());
    EXPECT_NE(classic->find(std::string("9\0009\0009\0009\0=\0", 10)), std::string::npos) << "line 9999";
    EXPECT_EQ(NewCommand()->Invoke(PathArray(paths).Get(), nullptr), S_OK);
    EXPECT_EQ(TakeListFile(), classic);
}

TEST_F(ExplorerCommandTest, NothingOnTheFileSystemWritesAndStartsNothing)
{
    InstalledSender sender(temp.path() + L"\\sender");
    const struct { ComPtr<IShellItemArray> items; HRESULT result; } cases[] = {
        {ItemArray({kThisPc, kControlPanel}), E_INVALIDARG}, {PathArray({}), E_INVALIDARG},
        {PathArray({file}, Enumerator::Missing), E_INVALIDARG}, // EnumItems succeeds, but with no enumerator
        {PathArray({file}, Enumerator::Silent), E_INVALIDARG},  // items handed over, none reported
        {nullptr, E_INVALIDARG},
        {ItemArray({file}), S_OK}, // the sender does start for a file
    };
    for (const auto& c : cases) {
        const int row = static_cast<int>(&c - cases);
        const bool started = c.result == S_OK;
        EXPECT_EQ(NewCommand()->Invoke(c.items.Get(), nullptr), c.result) << "row " << row;
        EXPECT_EQ(ListFiles(temp.path()).size(), started ? 1u : 0u) << "row " << row;
        EXPECT_EQ(TakeRecord(sender.folder, started ? 20000 : 200).has_value(), started) << "row " << row;
    }
}

TEST_F(ExplorerCommandTest, FixedAnswersAndArgumentChecks)
{
    ComPtr<IExplorerCommand> object = NewCommand();
    EXPCMDFLAGS flags = 0xFF;
    EXPECT_EQ(object->GetFlags(&flags), S_OK);
    EXPECT_EQ(flags, static_cast<EXPCMDFLAGS>(ECF_DEFAULT));
    GUID name = GUID_NULL, published = GUID_NULL;
    EXPECT_EQ(object->GetCanonicalName(&name), S_OK);
    // The CLSID the package and the README name, fixed for good.
    ASSERT_EQ(CLSIDFromString(L"{5BD9714D-3358-4677-BA52-7E98E2ED0814}", &published), S_OK);
    EXPECT_TRUE(IsEqualGUID(name, published) && IsEqualGUID(CLSID_QuilletCommand, published));
    EXPECT_EQ(module.CanUnloadNow(), S_FALSE) << "an object is alive";
    LPWSTR tip = reinterpret_cast<LPWSTR>(1);
    EXPECT_EQ(object->GetToolTip(nullptr, &tip), E_NOTIMPL);
    EXPECT_EQ(tip, nullptr);
    IEnumExplorerCommand* sub = reinterpret_cast<IEnumExplorerCommand*>(1);
    EXPECT_EQ(object->EnumSubCommands(&sub), E_NOTIMPL);
    EXPECT_EQ(sub, nullptr);

    EXPECT_EQ(object->GetTitle(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(object->GetIcon(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(object->GetState(nullptr, FALSE, nullptr), E_POINTER);
    EXPECT_EQ(object->GetFlags(nullptr), E_POINTER);
    EXPECT_EQ(object->GetCanonicalName(nullptr), E_POINTER);
    ComPtr<IContextMenu> classicInterface;
    EXPECT_EQ(object.As(&classicInterface), E_NOINTERFACE);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&classicInterface)), E_NOINTERFACE);
    EXPECT_EQ(object->AddRef(), 2u);
    EXPECT_EQ(object->Release(), 1u);

    void* out = reinterpret_cast<void*>(1);
    EXPECT_EQ(module.GetClassObject(CLSID_FTKelMN, IID_IClassFactory, &out), CLASS_E_CLASSNOTAVAILABLE);
    IUnknown* aggregate = nullptr;
    EXPECT_EQ(factory->CreateInstance(object.Get(), IID_IUnknown, reinterpret_cast<void**>(&aggregate)),
              CLASS_E_NOAGGREGATION);
    EXPECT_EQ(aggregate, nullptr);
}

TEST(CommandModuleUnload, LeavesNoMemoryBehind)
{
    EXPECT_LT(HeapBlocksLeftByLoads(CommandModulePath(), CLSID_QuilletCommand), 10);
}

} // namespace
} // namespace quillet::test
