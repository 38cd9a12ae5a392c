// sample-sender: installed as Pelloc.exe for demos and tests.
//
//   Pelloc.exe /transferfilelist="<file>"
//
// Checks the list file and reports how it was started (command line, folder, window show state and
// start-up flags) and what it received, on standard output and appended to a UTF-8 file (a sender
// started from Explorer has no console to show): the one SAMPLE_SENDER_REPORT names, else
// sender-report.txt beside the program, in one write. Exit code 0: the list was read; 2: bad command
// line; 3: the file could not be read; 4: the file is malformed.
// SAMPLE_SENDER_PROBE, when the tests set it, is the value of an event of theirs, signalled here
// if this process holds it: a sign that it was started with their handles.
#include <windows.h>
#include <shellapi.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <vector>

#include "common/text.h"
#include "transfer_list_reader.h"

namespace {

const wchar_t kSwitch[] = L"/transferfilelist=";

bool ReadAll(const std::wstring& path, std::string& bytes)
{
    HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    char chunk[65536];
    DWORD read = 0;
    bool ok = true;
    while ((ok = ReadFile(file, chunk, sizeof(chunk), &read, nullptr) != FALSE) && read > 0)
        bytes.append(chunk, read);
    CloseHandle(file);
    return ok;
}

int Report(const std::wstring& text, int exitCode)
{
    const std::string utf8 = quillet::test::Utf8(text);
    std::fwrite(utf8.data(), 1, utf8.size(), stdout);
    std::fflush(stdout);
    std::vector<wchar_t> buffer(32768);
    std::wstring reportPath(buffer.data(), GetEnvironmentVariableW(L"SAMPLE_SENDER_REPORT", buffer.data(), 32768));
    if (reportPath.empty()) {
        reportPath.assign(buffer.data(), GetModuleFileNameW(nullptr, buffer.data(), 32768));
        reportPath.replace(reportPath.find_last_of(L'\\') + 1, std::wstring::npos, L"sender-report.txt");
    }
    // Open until the report is whole: a reader that opens the file for itself alone sees all of it.
    HANDLE file = CreateFileW(reportPath.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                              FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        DWORD written = 0;
        WriteFile(file, utf8.data(), static_cast<DWORD>(utf8.size()), &written, nullptr);
        CloseHandle(file);
    }
    return exitCode;
}

} // namespace

int wmain()
{
    // The tests' inheritable event: signalled only if the start handed this process its handles.
    wchar_t probe[16] = {};
    if (GetEnvironmentVariableW(L"SAMPLE_SENDER_PROBE", probe, 16) != 0)
        SetEvent(ULongToHandle(std::wcstoul(probe, nullptr, 10)));
    const std::wstring commandLine = GetCommandLineW();
    int argc = 0;
    LPWSTR* argv = CommandLineToArgvW(GetCommandLineW(), &argc);
    std::wstring listFile;
    for (int i = 1; argv && i < argc; ++i) {
        if (_wcsnicmp(argv[i], kSwitch, wcslen(kSwitch)) == 0)
            listFile = argv[i] + wcslen(kSwitch);
    }
    if (argv)
        LocalFree(argv);

    std::vector<wchar_t> folder(32768);
    folder.resize(GetCurrentDirectoryW(32768, folder.data()));
    STARTUPINFOW startup = {};
    GetStartupInfoW(&startup);
    std::wstring text = L"sender: command line: " + commandLine + L"\nsender: started in: " +
                        std::wstring(folder.begin(), folder.end()) + L"\nsender: shown: " +
                        std::to_wstring(startup.wShowWindow) + L" flags " + std::to_wstring(startup.dwFlags) + L"\n";
    if (listFile.empty())
        return Report(text + L"sender: error: no /transferfilelist=\"<file>\" argument\n", 2);
    text += L"sender: list file: " + listFile + L"\n";

    std::string bytes;
    if (!ReadAll(listFile, bytes))
        return Report(text + L"sender: error: cannot read the list file (error " + std::to_wstring(GetLastError()) +
                          L")\n",
                      3);
    TransferList list;
    const std::wstring problem = ParseTransferList(bytes, list);
    if (!problem.empty())
        return Report(text + L"sender: error: malformed list file: " + problem + L"\n", 4);

    text += L"sender: received " + std::to_wstring(list.files.size()) + L" file(s) and " +
            std::to_wstring(list.folders.size()) + L" folder(s)\n";
    for (const std::wstring& path : list.files)
        text += L"  file:   " + path + L"\n";
    for (const std::wstring& path : list.folders)
        text += L"  folder: " + path + L"\n";
    return Report(text, 0);
}
