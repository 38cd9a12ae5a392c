// recording-sender: installed by tests as Pelloc.exe.
//
// Writes into the folder named by QUILLET_SENDER_RECORD_DIR (or, without it, its own folder):
//   command-line.txt       GetCommandLineW, UTF-16LE, no byte-order mark
//   current-directory.txt  the folder it was started in, same form
//   transfer-list.bin      a copy of the file named by /transferfilelist="..." (absent if unreadable)
//   record.done            written last, so that a test polling for it sees a complete record
// Exit code 0, or the number in QUILLET_SENDER_EXIT_CODE.
#include <windows.h>

#include <cwchar>
#include <string>
#include <vector>

namespace {

std::wstring Environment(const wchar_t* name)
{
    const DWORD size = GetEnvironmentVariableW(name, nullptr, 0);
    if (size == 0)
        return {};
    std::wstring value(size, L'\0');
    value.resize(GetEnvironmentVariableW(name, value.data(), size));
    return value;
}

std::wstring RecordFolder()
{
    std::wstring folder = Environment(L"QUILLET_SENDER_RECORD_DIR");
    if (folder.empty()) {
        std::vector<wchar_t> self(32768);
        const DWORD length = GetModuleFileNameW(nullptr, self.data(), static_cast<DWORD>(self.size()));
        folder.assign(self.data(), length);
        folder.erase(folder.find_last_of(L'\\') + 1);
    }
    if (!folder.empty() && folder.back() != L'\\')
        folder.push_back(L'\\');
    return folder;
}

void WriteText(const std::wstring& path, const std::wstring& text)
{
    HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return;
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size() * sizeof(wchar_t)), &written, nullptr);
    CloseHandle(file);
}

// The name inside /transferfilelist="...", up to the closing quote or the end of a cut line.
std::wstring ListFileName(const std::wstring& commandLine)
{
    static const wchar_t kSwitch[] = L"/transferfilelist=\"";
    const size_t at = commandLine.find(kSwitch);
    if (at == std::wstring::npos)
        return {};
    const size_t start = at + std::wcslen(kSwitch);
    const size_t end = commandLine.find(L'"', start);
    return commandLine.substr(start, end == std::wstring::npos ? std::wstring::npos : end - start);
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int)
{
    const std::wstring folder = RecordFolder();
    const std::wstring commandLine = GetCommandLineW();
    WriteText(folder + L"command-line.txt", commandLine);

    std::vector<wchar_t> current(32768);
    const DWORD length = GetCurrentDirectoryW(static_cast<DWORD>(current.size()), current.data());
    WriteText(folder + L"current-directory.txt", std::wstring(current.data(), length));

    const std::wstring listFile = ListFileName(commandLine);
    if (!listFile.empty())
        CopyFileW(listFile.c_str(), (folder + L"transfer-list.bin").c_str(), FALSE);

    WriteText(folder + L"record.done", L"");
    return static_cast<int>(std::wcstol(Environment(L"QUILLET_SENDER_EXIT_CODE").c_str(), nullptr, 10));
}
