// handoff_bench: how long Initialize and InvokeCommand take for large selections of existing
// files, beside floors measured in the same run on the same paths:
//   Initialize     vs  a bare GetFileAttributesW loop over the paths
//   InvokeCommand  vs  one WriteFile of as many bytes as the list it wrote
// The selection arrives as a DROPFILES block built here, served by a minimal data object (the
// shell's own data object for 100,000 files would take longer to make than to measure).
// InvokeCommand runs with no sender registered, so it writes the list and starts nothing.
//
// The files (empty, a thousand per folder: Wine looks a new name up case-insensitively by
// reading the whole folder) stay in the temporary folder for the next run unless --clean is given.
//
//   handoff_bench [--clean] [count ...]      default: 1000 10000 100000
#include <windows.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "common/drop_data_object.h"
#include "common/files.h"
#include "common/module_library.h"
#include "platform/handles.h"
#include "quillet_idl.h"
#include "sender/sender_installation.h"

namespace {

using Clock = std::chrono::steady_clock;
using Microsoft::WRL::ComPtr;

double Milliseconds(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

constexpr size_t kFilesPerFolder = 1000;

std::wstring TempFolder()
{
    wchar_t temp[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, temp);
    return std::wstring(temp) + L"quillet-handoff-bench";
}

std::wstring FileFolder(const std::wstring& files, size_t index)
{
    return files + L"\\" + std::to_wstring(index / kFilesPerFolder);
}

// Makes the files that an earlier run has not left behind.
std::vector<std::wstring> MakeFiles(const std::wstring& files, size_t count)
{
    std::vector<std::wstring> paths;
    paths.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        if (i % kFilesPerFolder == 0)
            CreateDirectoryW(FileFolder(files, i).c_str(), nullptr);
        paths.push_back(FileFolder(files, i) + L"\\file-" + std::to_wstring(i) + L".txt");
        quillet::UniqueFileHandle file(
            CreateFileW(paths.back().c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    return paths;
}

std::wstring OnlyListIn(const std::wstring& folder)
{
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((folder + L"\\~ft*.tmp").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return {};
    FindClose(search);
    return folder + L"\\" + found.cFileName;
}

ULONGLONG FileBytes(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data))
        return 0;
    return (static_cast<ULONGLONG>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
}

struct Figures {
    size_t count = 0;
    double initialize = 0, attributesFloor = 0, invoke = 0, writeFloor = 0;
    ULONGLONG listBytes = 0;
};

Figures Measure(IClassFactory* factory, const std::vector<std::wstring>& allPaths, size_t count,
                const std::wstring& lists, int rounds)
{
    const std::vector<std::wstring> paths(allPaths.begin(), allPaths.begin() + static_cast<ptrdiff_t>(count));
    const auto data = quillet::test::DropDataObject::Create(quillet::test::WideDropFiles(paths));
    std::vector<double> initialize, attributes, invoke, write;
    Figures figures;
    figures.count = count;
    for (int round = 0; round < rounds; ++round) {
        ComPtr<IShellExtInit> init;
        if (FAILED(factory->CreateInstance(nullptr, IID_PPV_ARGS(&init))))
            return figures;
        ComPtr<IContextMenu> menu;
        init.As(&menu);

        auto start = Clock::now();
        const HRESULT initialized = init->Initialize(nullptr, data.Get(), nullptr);
        initialize.push_back(Milliseconds(start));

        start = Clock::now();
        DWORD combined = 0;
        for (const std::wstring& path : paths)
            combined |= GetFileAttributesW(path.c_str());
        attributes.push_back(Milliseconds(start));

        CMINVOKECOMMANDINFO info = {};
        info.cbSize = sizeof(info);
        info.lpVerb = MAKEINTRESOURCEA(0);
        start = Clock::now();
        const HRESULT invoked = menu->InvokeCommand(&info);
        invoke.push_back(Milliseconds(start));
        if (initialized != S_OK || invoked != S_OK || combined == INVALID_FILE_ATTRIBUTES)
            std::fprintf(stderr, "round %d for %zu items: Initialize %08lx, InvokeCommand %08lx\n", round, count,
                         static_cast<unsigned long>(initialized), static_cast<unsigned long>(invoked));

        const std::wstring list = OnlyListIn(lists);
        figures.listBytes = FileBytes(list);
        DeleteFileW(list.c_str());

        const std::vector<char> bytes(static_cast<size_t>(figures.listBytes), 'x');
        const std::wstring floorFile = lists + L"\\floor.bin";
        start = Clock::now();
        {
            quillet::UniqueFileHandle file(CreateFileW(floorFile.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                                       FILE_ATTRIBUTE_NORMAL, nullptr));
            DWORD written = 0;
            WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
        }
        write.push_back(Milliseconds(start));
        DeleteFileW(floorFile.c_str());
    }
    figures.initialize = Median(initialize);
    figures.attributesFloor = Median(attributes);
    figures.invoke = Median(invoke);
    figures.writeFloor = Median(write);
    return figures;
}

void RemoveFiles(const std::vector<std::wstring>& paths, const std::wstring& files)
{
    for (size_t i = 0; i < paths.size(); ++i) {
        DeleteFileW(paths[i].c_str());
        if ((i + 1) % kFilesPerFolder == 0 || i + 1 == paths.size())
            RemoveDirectoryW(FileFolder(files, i).c_str());
    }
    RemoveDirectoryW(files.c_str());
}

} // namespace

int main(int argc, char** argv)
{
    CoInitialize(nullptr);
    // The handler as the shell gets it, from the DLL beside this program.
    const quillet::test::ModuleLibrary module(quillet::test::ModulePath());
    ComPtr<IClassFactory> factory;
    if (FAILED(module.GetClassObject(CLSID_FTKelMN, IID_PPV_ARGS(&factory)))) {
        std::fprintf(stderr, "no class object from Quillet.dll\n");
        return 1;
    }

    std::vector<size_t> counts;
    bool clean = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--clean") == 0)
            clean = true;
        else
            counts.push_back(std::strtoul(argv[i], nullptr, 10));
    }
    if (counts.empty())
        counts = {1000, 10000, 100000};
    const size_t largest = *std::max_element(counts.begin(), counts.end());

    if (!quillet::GetSenderDirectory().empty())
        std::printf("note: a sender is registered in this prefix; InvokeCommand times include starting it\n");

    const std::wstring root = TempFolder();
    const std::wstring files = root + L"\\files";
    const std::wstring lists = root + L"\\lists-" + std::to_wstring(GetCurrentProcessId());
    CreateDirectoryW(root.c_str(), nullptr);
    CreateDirectoryW(files.c_str(), nullptr);
    CreateDirectoryW(lists.c_str(), nullptr);
    SetEnvironmentVariableW(L"TMP", lists.c_str());
    SetEnvironmentVariableW(L"TEMP", lists.c_str());

    std::printf(clean ? "making %zu files...\n" : "making %zu files (kept for later runs)...\n", largest);
    const std::vector<std::wstring> paths = MakeFiles(files, largest);

    std::printf("\n%9s %13s %13s %6s %15s %13s %6s %12s\n", "items", "Initialize", "attrib floor", "ratio",
                "InvokeCommand", "write floor", "ratio", "list bytes");
    std::vector<Figures> results;
    for (const size_t count : counts) {
        const Figures f = Measure(factory.Get(), paths, count, lists, count >= 100000 ? 3 : 5);
        results.push_back(f);
        std::printf("%9zu %10.1f ms %10.1f ms %5.2fx %12.1f ms %10.1f ms %5.2fx %12llu\n", f.count, f.initialize,
                    f.attributesFloor, f.initialize / f.attributesFloor, f.invoke, f.writeFloor,
                    f.invoke / f.writeFloor, f.listBytes);
        std::fflush(stdout);
    }
    for (size_t i = 1; i < results.size(); ++i) {
        const Figures& a = results[i - 1];
        const Figures& b = results[i];
        std::printf("growth %zu -> %zu items: Initialize %.1fx, InvokeCommand %.1fx\n", a.count, b.count,
                    b.initialize / a.initialize, b.invoke / a.invoke);
    }
    std::printf("targets at 100000 items: Initialize within 2x its floor, InvokeCommand within 3x its floor; "
                "growth from 10000 to 100000 items at most 12x\n");

    RemoveDirectoryW(lists.c_str());
    if (clean) {
        RemoveFiles(paths, files);
        RemoveDirectoryW(root.c_str());
    }
    factory.Reset();
    CoUninitialize();
    return 0;
}
