// shellhost: shows the context menu Explorer would show for some paths, and runs a command of it.
//
//   shellhost [--invoke OFFSET | --verb TEXT | --verb-ansi TEXT] [--clsid {...}] [--flags HEX]
//             [--all-in FOLDER] PATH...
//   shellhost --modern [--module DLL] [--invoke 0] [--all-in FOLDER] PATH...
//
// --all-in selects everything in FOLDER, as Ctrl+A would (for selections too long for a command line).
// --modern plays Windows 11's top-level menu instead: QuilletCommand.dll (beside shellhost, or
// --module) loaded as the COM surrogate loads a packaged command, GetState, GetTitle and GetIcon
// on a shell item array of the paths, and with --invoke its Invoke.
//
// Exit codes: 0 done; 1 bad arguments; 2 a path or its data object could not be had;
// 3 no handler put a command into the menu; 4 the chosen command failed.
#include <windows.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "command/command_class.h"
#include "common/files.h"
#include "common/module_library.h"
#include "common/shell_items.h"
#include "common/text.h"
#include "handler_keys.h"
#include "menu_dump.h"
#include "selection.h"

using Microsoft::WRL::ComPtr;

namespace {

constexpr UINT kFirstCommand = 100;
constexpr UINT kLastCommand = 0x7FFF;

struct Options {
    std::vector<std::wstring> paths;
    enum class Invoke { None, Offset, Verb, VerbAnsi } invoke = Invoke::None;
    UINT offset = 0;
    std::wstring verb;
    std::wstring onlyClsid;
    UINT flags = CMF_NORMAL;
    bool modern = false;
    std::wstring module;
};

void Print(const std::wstring& text)
{
    const std::string utf8 = quillet::test::Utf8(text);
    std::fwrite(utf8.data(), 1, utf8.size(), stdout);
    std::fflush(stdout);
}

std::wstring Hex(HRESULT hr)
{
    wchar_t text[16];
    swprintf(text, 16, L"0x%08lX", static_cast<unsigned long>(hr));
    return text;
}

void AddFolderContents(const std::wstring& given, std::vector<std::wstring>& paths)
{
    wchar_t full[32768];
    const DWORD length = GetFullPathNameW(given.c_str(), 32768, full, nullptr);
    const std::wstring folder = length ? std::wstring(full, length) : given;
    WIN32_FIND_DATAW found = {};
    HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return;
    do {
        if (wcscmp(found.cFileName, L".") != 0 && wcscmp(found.cFileName, L"..") != 0)
            paths.push_back(folder + L"\\" + found.cFileName);
    } while (FindNextFileW(search, &found));
    FindClose(search);
}

bool ParseArguments(int argc, wchar_t** argv, Options& options)
{
    for (int i = 1; i < argc; ++i) {
        const std::wstring arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == L"--invoke" && hasValue) {
            options.invoke = Options::Invoke::Offset;
            options.offset = static_cast<UINT>(wcstoul(argv[++i], nullptr, 0));
        } else if (arg == L"--verb" && hasValue) {
            options.invoke = Options::Invoke::Verb;
            options.verb = argv[++i];
        } else if (arg == L"--verb-ansi" && hasValue) {
            options.invoke = Options::Invoke::VerbAnsi;
            options.verb = argv[++i];
        } else if (arg == L"--clsid" && hasValue) {
            options.onlyClsid = argv[++i];
        } else if (arg == L"--all-in" && hasValue) {
            AddFolderContents(argv[++i], options.paths);
        } else if (arg == L"--modern") {
            options.modern = true;
        } else if (arg == L"--module" && hasValue) {
            options.module = argv[++i];
        } else if (arg == L"--flags" && hasValue) {
            options.flags = static_cast<UINT>(wcstoul(argv[++i], nullptr, 16));
        } else if (arg.rfind(L"--", 0) == 0) {
            return false;
        } else {
            wchar_t full[32768];
            const DWORD length = GetFullPathNameW(arg.c_str(), 32768, full, nullptr);
            options.paths.push_back(length ? std::wstring(full, length) : arg);
        }
    }
    return !options.paths.empty();
}

struct LoadedHandler {
    HandlerEntry entry;
    ComPtr<IContextMenu> menu;
    UINT first = 0;
    UINT added = 0;
};

HRESULT Invoke(const Options& options, IContextMenu* menu)
{
    CMINVOKECOMMANDINFOEX info = {};
    info.cbSize = sizeof(info);
    info.nShow = SW_SHOWNORMAL;
    std::string ansiVerb;
    if (options.invoke == Options::Invoke::Offset) {
        info.lpVerb = MAKEINTRESOURCEA(options.offset);
        info.lpVerbW = MAKEINTRESOURCEW(options.offset);
    } else if (options.invoke == Options::Invoke::Verb) {
        info.fMask = CMIC_MASK_UNICODE;
        info.lpVerbW = options.verb.c_str();
        ansiVerb.assign(options.verb.size() * 4 + 1, '\0');
        WideCharToMultiByte(CP_ACP, 0, options.verb.c_str(), -1, ansiVerb.data(), static_cast<int>(ansiVerb.size()),
                            nullptr, nullptr);
        info.lpVerb = ansiVerb.c_str();
    } else {
        // The older, narrow structure: only lpVerb is there.
        ansiVerb.assign(options.verb.size() * 4 + 1, '\0');
        WideCharToMultiByte(CP_ACP, 0, options.verb.c_str(), -1, ansiVerb.data(), static_cast<int>(ansiVerb.size()),
                            nullptr, nullptr);
        info.cbSize = sizeof(CMINVOKECOMMANDINFO);
        info.lpVerb = ansiVerb.c_str();
    }
    return menu->InvokeCommand(reinterpret_cast<CMINVOKECOMMANDINFO*>(&info));
}

// Windows 11's menu: the state first on the UI thread (fOkToBeSlow false), again off it when the
// command answers E_PENDING; then the title and icon it shows, and Invoke when chosen.
int RunModern(const Options& options)
{
    quillet::test::ModuleLibrary library(options.module.empty() ? quillet::test::CommandModulePath()
                                                                 : options.module);
    ComPtr<IClassFactory> factory;
    ComPtr<IExplorerCommand> command;
    HRESULT hr = library.GetClassObject(quillet::CLSID_QuilletCommand, IID_PPV_ARGS(&factory));
    if (SUCCEEDED(hr))
        hr = factory->CreateInstance(nullptr, IID_PPV_ARGS(&command));
    if (FAILED(hr)) {
        Print(L"shellhost: the command could not be created, " + Hex(hr) + L"\n");
        return 2;
    }
    std::vector<std::wstring> unparsed;
    const ComPtr<IShellItemArray> items = quillet::test::ShellItemArray(options.paths, &unparsed);
    for (const std::wstring& path : unparsed)
        Print(L"shellhost: cannot find " + path + L"\n");
    if (!items)
        return 2;
    Print(L"selection: " + std::to_wstring(options.paths.size() - unparsed.size()) + L" item(s)\n");

    EXPCMDSTATE state = ECS_HIDDEN;
    hr = command->GetState(items.Get(), FALSE, &state);
    std::wstring line = L"GetState " + Hex(hr);
    if (hr == E_PENDING) {
        hr = command->GetState(items.Get(), TRUE, &state);
        line += L", again off the UI thread " + Hex(hr);
    }
    Print(line + L": " + (state == ECS_ENABLED ? L"ECS_ENABLED" : state == ECS_HIDDEN ? L"ECS_HIDDEN" : Hex(state)) +
          L"\n");
    LPWSTR title = nullptr, icon = nullptr;
    const HRESULT titleResult = command->GetTitle(items.Get(), &title);
    const HRESULT iconResult = command->GetIcon(items.Get(), &icon);
    Print(L"GetTitle " + Hex(titleResult) + L": " + (title ? title : L"") + L"\n");
    Print(L"GetIcon " + Hex(iconResult) + L": " + (icon ? icon : L"") + L"\n");
    Print(L"menu (Windows 11, top level):\n");
    const bool shown = SUCCEEDED(hr) && state == ECS_ENABLED;
    if (shown)
        Print(L"  [icon] " + std::wstring(title ? title : L"") + L"\n");
    else
        Print(L"  (no command)\n");
    CoTaskMemFree(title);
    CoTaskMemFree(icon);
    if (options.invoke == Options::Invoke::None)
        return shown ? 0 : 3;
    if (!shown) {
        Print(L"invoke: the command is not shown\n");
        return 3;
    }
    hr = command->Invoke(items.Get(), nullptr);
    Print(L"invoke QuilletCommand: " + Hex(hr) + L"\n");
    return SUCCEEDED(hr) ? 0 : 4;
}

int Run(const Options& options)
{
    if (options.modern)
        return RunModern(options);
    ShellSelection selection;
    std::wstring error;
    if (FAILED(MakeShellSelection(options.paths, selection, error))) {
        Print(L"shellhost: " + error + L"\n");
        return 2;
    }
    Print(L"selection: " + std::to_wstring(options.paths.size()) + L" item(s)\n");

    const std::vector<std::wstring> classes = ClassesOf(options.paths[0]);
    std::vector<LoadedHandler> handlers;
    HMENU popup = CreatePopupMenu();
    UINT nextId = kFirstCommand;
    for (const HandlerEntry& entry : FindHandlers(classes)) {
        if (!options.onlyClsid.empty() && _wcsicmp(options.onlyClsid.c_str(), entry.clsidText.c_str()) != 0)
            continue;
        LoadedHandler handler{entry, nullptr, nextId, 0};
        std::wstring line = L"handler " + entry.clsidText + L" (" + entry.name + L", under " + entry.keyClass + L"):";
        ComPtr<IShellExtInit> init;
        HRESULT hr = CoCreateInstance(entry.clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IShellExtInit,
                                      reinterpret_cast<void**>(init.GetAddressOf()));
        if (FAILED(hr)) {
            Print(line + L" not created, " + Hex(hr) + L"\n");
            continue;
        }
        HKEY progIdKey = nullptr;
        RegOpenKeyExW(HKEY_CLASSES_ROOT, entry.keyClass.c_str(), 0, KEY_READ, &progIdKey);
        hr = init->Initialize(selection.folder, selection.dataObject.Get(), progIdKey);
        if (progIdKey)
            RegCloseKey(progIdKey);
        line += L" Initialize " + Hex(hr);
        if (SUCCEEDED(hr) && SUCCEEDED(init.As(&handler.menu))) {
            hr = handler.menu->QueryContextMenu(popup, static_cast<UINT>(GetMenuItemCount(popup)), nextId,
                                                kLastCommand, options.flags);
            line += L", QueryContextMenu " + Hex(hr);
            if (SUCCEEDED(hr)) {
                handler.added = HRESULT_CODE(hr);
                nextId += handler.added;
            }
        }
        Print(line + L"\n");
        handlers.push_back(std::move(handler));
    }

    Print(L"menu:\n" + DescribeMenu(popup));
    UINT commands = 0;
    for (const LoadedHandler& handler : handlers)
        commands += handler.added;
    Print(L"commands: " + std::to_wstring(commands) + L"\n");

    int result = commands ? 0 : 3;
    if (options.invoke != Options::Invoke::None) {
        const LoadedHandler* target = nullptr;
        for (const LoadedHandler& handler : handlers)
            if (!target && handler.added)
                target = &handler;
        if (!target) {
            Print(L"invoke: no handler added a command\n");
        } else {
            const HRESULT hr = Invoke(options, target->menu.Get());
            Print(L"invoke " + target->entry.clsidText + L": " + Hex(hr) + L"\n");
            result = SUCCEEDED(hr) ? 0 : 4;
        }
    }
    handlers.clear();
    DestroyMenu(popup);
    return result;
}

} // namespace

int wmain(int argc, wchar_t** argv)
{
    Options options;
    if (!ParseArguments(argc, argv, options)) {
        Print(L"usage: shellhost [--invoke OFFSET | --verb TEXT | --verb-ansi TEXT] [--clsid {...}] "
              L"[--flags HEX] [--all-in FOLDER] PATH...\n"
              L"       shellhost --modern [--module DLL] [--invoke 0] [--all-in FOLDER] PATH...\n");
        return 1;
    }
    if (FAILED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED))) {
        Print(L"shellhost: COM could not start\n");
        return 2;
    }
    const int result = Run(options);
    CoUninitialize();
    return result;
}
