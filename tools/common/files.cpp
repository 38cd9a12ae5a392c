#include "common/files.h"

#include <vector>

#include "platform/handles.h"

namespace quillet::test {

std::wstring ProgramDirectory()
{
    std::vector<wchar_t> buffer(32768);
    const DWORD length = GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    std::wstring path(buffer.data(), length);
    return path.substr(0, path.find_last_of(L'\\') + 1);
}

std::wstring ModulePath()
{
    return ProgramDirectory() + L"Quillet.dll";
}

std::wstring CommandModulePath()
{
    return ProgramDirectory() + L"QuilletCommand.dll";
}

std::wstring MakeTempFolder(const std::wstring& hint)
{
    wchar_t temp[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH + 1, temp);
    for (unsigned attempt = 0;; ++attempt) {
        std::wstring folder = std::wstring(temp) + L"quillet-" + hint + L"-" +
                              std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(GetTickCount()) +
                              L"-" + std::to_wstring(attempt);
        if (CreateDirectoryW(folder.c_str(), nullptr))
            return folder;
        if (GetLastError() != ERROR_ALREADY_EXISTS || attempt > 1000)
            return L"";
    }
}

void RemoveTree(const std::wstring& folder)
{
    if (folder.size() < 4)
        return;
    // The \\?\ form reaches paths of MAX_PATH characters and more, which tests make on purpose;
    // the shell's own delete gives up on the whole tree at the first of them.
    const std::wstring root = folder.rfind(L"\\\\?\\", 0) == 0 ? folder : L"\\\\?\\" + folder;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW((root + L"\\*").c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            const std::wstring name = found.cFileName;
            if (name == L"." || name == L"..")
                continue;
            const std::wstring path = root + L"\\" + name;
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) &&
                !(found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)) {
                RemoveTree(path);
            } else if (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
                RemoveDirectoryW(path.c_str()); // a link: the folder it names is not ours
            } else {
                SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
                DeleteFileW(path.c_str());
            }
        } while (FindNextFileW(search, &found));
        FindClose(search);
    }
    RemoveDirectoryW(root.c_str());
}

bool WriteFileBytes(const std::wstring& path, const void* data, size_t bytes)
{
    UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return false;
    DWORD written = 0;
    return WriteFile(file.get(), data, static_cast<DWORD>(bytes), &written, nullptr) && written == bytes;
}

std::string ReadFileBytes(const std::wstring& path)
{
    UniqueFileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return {};
    std::string data;
    char chunk[65536];
    DWORD read = 0;
    while (ReadFile(file.get(), chunk, sizeof(chunk), &read, nullptr) && read > 0)
        data.append(chunk, read);
    return data;
}

} // namespace quillet::test
