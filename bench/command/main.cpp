// command_bench: QuilletCommand.dll as Windows 11's menu calls it, beside floors measured in the
// same run on the same items, rows taken in turn:
//   GetState (warm, one file)  vs  the calls it cannot skip: "MenuOption" and App Paths read,
//                                  the sender's existence test, the items' SFGAO_FILESYSTEM query
//   Invoke (N files)           vs  a GetDisplayName(SIGDN_FILESYSPATH) loop with each path's
//                                  attributes read, plus one WriteFile of the list's bytes
// Items are real shell items (SHParseDisplayName, SHCreateShellItemArrayFromIDLists); Invoke runs
// with no sender registered, so it writes the list and starts nothing. The files (empty, a
// hundred per folder) stay in the temporary folder for the next run unless --clean is given.
//
//   command_bench [--clean] [--iterations N] [count ...]     default: 2000; 1000 10000 100000
#include <windows.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <wrl/client.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command/command_class.h"
#include "common/files.h"
#include "common/module_library.h"
#include "common/registry.h"
#include "common/shell_items.h"
#include "platform/handles.h"
#include "sender/sender_installation.h"

namespace {

using Clock = std::chrono::steady_clock;
using Microsoft::WRL::ComPtr;

double Microseconds(Clock::time_point start)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

double Percentile(std::vector<double> values, double fraction)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(fraction * static_cast<double>(values.size() - 1))];
}

constexpr size_t kFilesPerFolder = 100;

// Taken once: the Invoke rows point TMP elsewhere while they run.
std::wstring BenchFolder()
{
    static const std::wstring folder = [] {
        wchar_t temp[MAX_PATH + 1] = {};
        GetTempPathW(MAX_PATH + 1, temp);
        return std::wstring(temp) + L"quillet-command-bench";
    }();
    return folder;
}

std::vector<std::wstring> MakeFiles(size_t count)
{
    const std::wstring root = BenchFolder();
    CreateDirectoryW(root.c_str(), nullptr);
    std::vector<std::wstring> paths;
    for (size_t i = 0; i < count; ++i) {
        const std::wstring group = root + L"\\" + std::to_wstring(i / (kFilesPerFolder * kFilesPerFolder));
        const std::wstring folder = group + L"\\" + std::to_wstring(i / kFilesPerFolder);
        if (i % (kFilesPerFolder * kFilesPerFolder) == 0)
            CreateDirectoryW(group.c_str(), nullptr);
        if (i % kFilesPerFolder == 0)
            CreateDirectoryW(folder.c_str(), nullptr);
        paths.push_back(folder + L"\\f" + std::to_wstring(i) + L".dat");
        if (GetFileAttributesW(paths.back().c_str()) == INVALID_FILE_ATTRIBUTES)
            quillet::UniqueFileHandle(CreateFileW(paths.back().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                                  FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    return paths;
}

ComPtr<IShellItemArray> ItemArray(const std::vector<std::wstring>& paths)
{
    std::vector<std::wstring> unparsed;
    ComPtr<IShellItemArray> items = quillet::test::ShellItemArray(paths, &unparsed);
    if (!items || !unparsed.empty())
        std::fprintf(stderr, "%zu of %zu paths parsed\n", paths.size() - unparsed.size(), paths.size());
    return items;
}

// What GetState cannot do without.
bool StateFloor(IShellItemArray* items)
{
    DWORD option = 1, size = sizeof(option);
    HKEY profile = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, quillet::kSenderProfileKey, 0, KEY_QUERY_VALUE | KEY_WOW64_32KEY,
                      &profile) == ERROR_SUCCESS) {
        RegQueryValueExW(profile, quillet::kMenuOptionValue, nullptr, nullptr, reinterpret_cast<BYTE*>(&option),
                         &size);
        RegCloseKey(profile);
    }
    wchar_t folder[MAX_PATH] = {};
    size = sizeof(folder);
    RegGetValueW(HKEY_LOCAL_MACHINE, quillet::kSenderAppPathsKey, quillet::kSenderPathValue, RRF_RT_REG_SZ, nullptr,
                 folder, &size);
    PathAppendW(folder, quillet::kSenderFileName);
    const bool exists = PathFileExistsW(folder) != FALSE;
    SFGAOF attributes = 0;
    items->GetAttributes(SIATTRIBFLAGS_OR, SFGAO_FILESYSTEM, &attributes);
    return option != 0 && exists && (attributes & SFGAO_FILESYSTEM);
}

// What Invoke cannot do without, short of the list's bytes.
size_t InvokeFloor(IShellItemArray* items)
{
    ComPtr<IEnumShellItems> enumerator;
    items->EnumItems(enumerator.GetAddressOf());
    IShellItem* batch[64] = {};
    ULONG fetched = 0;
    size_t found = 0;
    while (SUCCEEDED(enumerator->Next(64, batch, &fetched)) && fetched > 0) {
        for (ULONG i = 0; i < fetched; ++i) {
            LPWSTR path = nullptr;
            if (SUCCEEDED(batch[i]->GetDisplayName(SIGDN_FILESYSPATH, &path)))
                found += GetFileAttributesW(path) != INVALID_FILE_ATTRIBUTES;
            CoTaskMemFree(path);
            batch[i]->Release();
        }
        if (fetched < 64)
            break;
    }
    return found;
}

std::wstring TakeListFile(const std::wstring& folder, std::string& bytes)
{
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((folder + L"\\~ft*.tmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return L"";
    FindClose(search);
    const std::wstring path = folder + L"\\" + found.cFileName;
    bytes = quillet::test::ReadFileBytes(path);
    DeleteFileW(path.c_str());
    return path;
}

void WriteFloor(const std::wstring& path, const std::string& bytes)
{
    quillet::UniqueFileHandle file(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void BenchState(IExplorerCommand* command, const std::wstring& file, int iterations)
{
    const std::wstring senderFolder = quillet::test::MakeTempFolder(L"bench-sender");
    quillet::test::WriteFileBytes(senderFolder + L"\\" + quillet::kSenderFileName, "", 0);
    quillet::test::ScopedRegistryValue path(HKEY_LOCAL_MACHINE, quillet::kSenderAppPathsKey,
                                            quillet::kSenderPathValue);
    path.SetString(senderFolder);
    ComPtr<IShellItemArray> items = ItemArray({file});
    std::vector<double> ours, floor;
    for (int i = 0; i < iterations + 50; ++i) {
        Clock::time_point start = Clock::now();
        EXPCMDSTATE state = ECS_HIDDEN;
        command->GetState(items.Get(), FALSE, &state);
        const double a = Microseconds(start);
        start = Clock::now();
        const bool shown = StateFloor(items.Get());
        const double b = Microseconds(start);
        if (state != ECS_ENABLED || !shown)
            std::fprintf(stderr, "GetState did not show the command\n");
        if (i >= 50) { // warm
            ours.push_back(a);
            floor.push_back(b);
        }
    }
    std::printf("GetState, warm, %d calls (us)   median   p95\n", iterations);
    std::printf("  QuilletCommand             %8.1f %7.1f\n", Percentile(ours, 0.5), Percentile(ours, 0.95));
    std::printf("  floor                      %8.1f %7.1f\n", Percentile(floor, 0.5), Percentile(floor, 0.95));
    std::printf("  ratio                      %8.2fx %6.2fx\n", Percentile(ours, 0.5) / Percentile(floor, 0.5),
                Percentile(ours, 0.95) / Percentile(floor, 0.95));
    quillet::test::RemoveTree(senderFolder);
}

void BenchInvoke(IExplorerCommand* command, size_t count)
{
    const std::vector<std::wstring> paths = MakeFiles(count);
    ComPtr<IShellItemArray> items = ItemArray(paths);
    if (!items)
        return;
    const std::wstring temp = quillet::test::MakeTempFolder(L"bench-lists");
    wchar_t oldTmp[MAX_PATH] = {}, oldTemp[MAX_PATH] = {};
    GetEnvironmentVariableW(L"TMP", oldTmp, MAX_PATH);
    GetEnvironmentVariableW(L"TEMP", oldTemp, MAX_PATH);
    SetEnvironmentVariableW(L"TMP", temp.c_str());
    SetEnvironmentVariableW(L"TEMP", temp.c_str());
    const int rounds = count >= 100000 ? 1 : 3;
    std::vector<double> ours, floor;
    std::string bytes;
    for (int round = 0; round < rounds; ++round) {
        Clock::time_point start = Clock::now();
        const HRESULT hr = command->Invoke(items.Get(), nullptr);
        ours.push_back(Microseconds(start) / 1000);
        const std::wstring list = TakeListFile(temp, bytes);
        if (hr != S_OK || list.empty())
            std::fprintf(stderr, "Invoke %08lx for %zu items\n", static_cast<unsigned long>(hr), count);
        start = Clock::now();
        const size_t found = InvokeFloor(items.Get());
        WriteFloor(temp + L"\\floor.tmp", bytes);
        floor.push_back(Microseconds(start) / 1000);
        if (found != count)
            std::fprintf(stderr, "floor found %zu of %zu\n", found, count);
    }
    const double a = Percentile(ours, 0.5), b = Percentile(floor, 0.5);
    std::printf("Invoke %7zu items: %9.1f ms, floor %9.1f ms, ratio %.2fx (%d round%s, list %zu bytes)\n", count, a,
                b, a / b, rounds, rounds == 1 ? "" : "s", bytes.size());
    SetEnvironmentVariableW(L"TMP", oldTmp);
    SetEnvironmentVariableW(L"TEMP", oldTemp);
    quillet::test::RemoveTree(temp);
}

} // namespace

int main(int argc, char** argv)
{
    bool clean = false;
    int iterations = 2000;
    std::vector<size_t> counts;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--clean") == 0)
            clean = true;
        else if (std::strcmp(argv[i], "--iterations") == 0 && i + 1 < argc)
            iterations = std::atoi(argv[++i]);
        else
            counts.push_back(std::strtoul(argv[i], nullptr, 10));
    }
    if (counts.empty())
        counts = {1000, 10000, 100000};
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    {
        quillet::test::ModuleLibrary module(quillet::test::CommandModulePath());
        ComPtr<IClassFactory> factory;
        ComPtr<IExplorerCommand> command;
        if (FAILED(module.GetClassObject(quillet::CLSID_QuilletCommand, IID_PPV_ARGS(&factory))) ||
            FAILED(factory->CreateInstance(nullptr, IID_PPV_ARGS(&command)))) {
            std::fprintf(stderr, "no command from QuilletCommand.dll\n");
            return 1;
        }
        quillet::test::ScopedRegistryValue option(HKEY_LOCAL_MACHINE, quillet::kSenderProfileKey,
                                                  quillet::kMenuOptionValue, KEY_WOW64_32KEY);
        option.Delete();
        BenchState(command.Get(), MakeFiles(1).front(), iterations);
        quillet::test::ScopedRegistryValue path(HKEY_LOCAL_MACHINE, quillet::kSenderAppPathsKey,
                                                quillet::kSenderPathValue);
        path.Delete(); // nothing is started
        for (size_t count : counts)
            BenchInvoke(command.Get(), count);
    }
    if (clean)
        quillet::test::RemoveTree(BenchFolder());
    CoUninitialize();
    return 0;
}
