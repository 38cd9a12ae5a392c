// cold_bench: the first right-click in a fresh process, beside the same path through a handler
// DLL that makes only the calls ours cannot avoid (floor_handler.dll).
//
//   cold_bench [--quillet PATH] [processes]     (Quillet.dll beside it; 40 per row, at least 30)
//
// scripts/bench-cold gives it the stripped DLL that ships. Each sample is one new process that,
// like a new Explorer, has COM up on its thread and the shell's data object for one file before
// the clock starts; it then loads the DLL, gets the class object, creates the handler, calls
// Initialize and QueryContextMenu, releases everything, and writes the times of these steps into
// a file the parent reads. The two rows take turns, so a busy machine slows both alike.
#include <windows.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "quillet_idl.h"
#include "common/fake_sender.h"
#include "common/files.h"
#include "shell_data.h"

namespace {

// floor_handler.dll's class.
const CLSID kFloorClsid = {0x5a1c0d8e, 0x3b7f, 0x4c55, {0x9e, 0x2a, 0x6d, 0x0f, 0x4b, 0x8c, 0x1e, 0x73}};

constexpr size_t kSteps = 5;
const char* const kStepNames[kSteps] = {"load + class object", "create", "Initialize", "QueryContextMenu", "release"};
using Steps = std::array<double, kSteps>; // microseconds

double Now()
{
    LARGE_INTEGER counter, frequency;
    QueryPerformanceCounter(&counter);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(counter.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}

// One sample, in a process of its own; the step times go to `report`. Exit code 0 when all went well.
int Child(const wchar_t* dllPath, const wchar_t* item, const wchar_t* report)
{
    const bool quillet = !StrStrIW(dllPath, L"floor_handler.dll");
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    IDataObject* data = nullptr;
    if (FAILED(ShellDataObject(item, &data)))
        return 1;
    HMENU menu = CreatePopupMenu();

    using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**);
    IClassFactory* factory = nullptr;
    IShellExtInit* init = nullptr;
    IContextMenu* contextMenu = nullptr;
    Steps steps = {};
    double mark = Now();
    auto step = [&](size_t index) {
        const double now = Now();
        steps[index] = now - mark;
        mark = now;
        return true;
    };
    HMODULE module = LoadLibraryW(dllPath);
    auto get = module ? reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")))
                      : nullptr;
    const bool done =
        get && SUCCEEDED(get(quillet ? CLSID_FTKelMN : kFloorClsid, IID_IClassFactory, reinterpret_cast<void**>(&factory))) &&
        step(0) && SUCCEEDED(factory->CreateInstance(nullptr, IID_IShellExtInit, reinterpret_cast<void**>(&init))) &&
        step(1) && SUCCEEDED(init->Initialize(nullptr, data, nullptr)) && step(2) &&
        SUCCEEDED(init->QueryInterface(IID_IContextMenu, reinterpret_cast<void**>(&contextMenu))) &&
        SUCCEEDED(contextMenu->QueryContextMenu(menu, 0, 100, 0x7FFF, CMF_NORMAL)) && step(3);
    if (contextMenu)
        contextMenu->Release();
    if (init)
        init->Release();
    if (factory)
        factory->Release();
    step(4);
    if (!done || GetMenuItemCount(menu) != 1)
        return 2;

    FILE* file = _wfopen(report, L"w");
    if (!file)
        return 3;
    for (double micros : steps)
        std::fprintf(file, "%.1f\n", micros);
    std::fclose(file);
    return 0;
}

bool RunChild(const std::wstring& dll, const std::wstring& item, const std::wstring& report, Steps& steps)
{
    DeleteFileW(report.c_str());
    std::wstring command = L"\"" + quillet::test::ProgramDirectory() + L"cold_bench.exe\" --child \"" + dll +
                           L"\" \"" + item + L"\" \"" + report + L"\"";
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        return false;
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    FILE* file = code == 0 ? _wfopen(report.c_str(), L"r") : nullptr;
    if (!file)
        return false;
    bool read = true;
    for (double& micros : steps)
        read = read && std::fscanf(file, "%lf", &micros) == 1;
    std::fclose(file);
    return read;
}

struct Row {
    std::wstring dll;
    const char* name;
    std::vector<Steps> samples;

    static double Median(std::vector<double> values)
    {
        std::sort(values.begin(), values.end());
        return values[values.size() / 2];
    }
    std::vector<double> Totals() const
    {
        std::vector<double> totals;
        for (const Steps& steps : samples) {
            double total = 0;
            for (double micros : steps)
                total += micros;
            totals.push_back(total);
        }
        std::sort(totals.begin(), totals.end());
        return totals;
    }
    double Total() const { return Median(Totals()); }
    double P95() const
    {
        const std::vector<double> totals = Totals();
        return totals[(totals.size() * 95 + 99) / 100 - 1];
    }
    double Step(size_t index) const
    {
        std::vector<double> values;
        for (const Steps& steps : samples)
            values.push_back(steps[index]);
        return Median(values);
    }
};

} // namespace

int wmain(int argc, wchar_t** argv)
{
    if (argc == 5 && wcscmp(argv[1], L"--child") == 0)
        return Child(argv[2], argv[3], argv[4]);
    std::wstring quilletPath = quillet::test::ModulePath();
    int processes = 40;
    for (int i = 1; i < argc; ++i) {
        if (wcscmp(argv[i], L"--quillet") == 0 && i + 1 < argc)
            quilletPath = argv[++i];
        else
            processes = std::max(30, _wtoi(argv[i]));
    }

    // The sender "installed" in a folder of our own, and one file to click.
    const quillet::test::FakeSender installed(true, "en");
    const std::wstring item = installed.folder() + L"\\item.txt";
    quillet::test::WriteFileBytes(item, "", 0);
    const std::wstring report = installed.folder() + L"\\steps.txt";

    Row rows[] = {{quilletPath, "Quillet", {}},
                  {quillet::test::ProgramDirectory() + L"floor_handler.dll", "floor handler", {}}};
    bool failed = false;
    // One discarded round first: it brings the files into the cache.
    for (int round = -1; round < processes && !failed; ++round) {
        for (int turn = 0; turn < 2; ++turn) {
            // Each row goes first every other round: the one after pays for its forerunner's exit.
            Row& row = rows[(round + 2 + turn) % 2];
            Steps steps = {};
            if (!RunChild(row.dll, item, report, steps)) {
                std::printf("a process with %ls failed\n", row.dll.c_str());
                failed = true;
                break;
            }
            if (round >= 0)
                row.samples.push_back(steps);
        }
    }

    DeleteFileW(report.c_str());
    if (failed)
        return 1;

    std::printf("first right-click in a fresh process, %d processes per row, taken in turn\n", processes);
    std::printf("Quillet: %ls\n\n", quilletPath.c_str());
    std::printf("  %-22s %16s %16s\n", "(ms, median)", rows[0].name, rows[1].name);
    for (size_t index = 0; index < kSteps; ++index)
        std::printf("  %-22s %16.2f %16.2f\n", kStepNames[index], rows[0].Step(index) / 1000,
                    rows[1].Step(index) / 1000);
    std::printf("  %-22s %16.2f %16.2f\n", "total, median", rows[0].Total() / 1000, rows[1].Total() / 1000);
    std::printf("  %-22s %16.2f %16.2f\n", "total, p95", rows[0].P95() / 1000, rows[1].P95() / 1000);
    std::printf("\nQuillet / floor: %.2fx median, %.2fx p95 (target: 1.3x or less)\n",
                rows[0].Total() / rows[1].Total(), rows[0].P95() / rows[1].P95());
    return 0;
}
