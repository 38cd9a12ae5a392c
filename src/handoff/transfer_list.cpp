#include "handoff/transfer_list.h"

#include <windows.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cwchar>
#include <iterator>
#include <string_view>

#include "platform/handles.h"
#include "platform/thread_locale.h"

namespace quillet {
namespace {

constexpr std::wstring_view kHeader = L"\xFEFF[tag]\r\ntag=1\r\n\r\n[filelist]\r\n";
constexpr std::wstring_view kFolderHeader = L"\r\n[pathlist]\r\n";
constexpr std::wstring_view kLineEnd = L"\r\n";
// Room for the temporary folder and for the list file's name in it.
constexpr DWORD kTempPathLength = 520;

// Gathers the list in one reused buffer and hands it to the stream a buffer at a time: a
// formatted write per line costs several times the disk write itself for large selections.
class ListWriter {
public:
    explicit ListWriter(FILE* file) : m_file(file) { m_buffer.reserve(kBufferSize); }
    ListWriter(const ListWriter&) = delete;
    ListWriter& operator=(const ListWriter&) = delete;

    void Append(std::wstring_view text)
    {
        if (m_buffer.size() + text.size() > kBufferSize)
            Flush();
        m_buffer.append(text);
    }

    // Lines "<n>=<path>\r\n", numbered from 0.
    void AppendSection(SelectedItems::const_iterator first, SelectedItems::const_iterator last)
    {
        for (size_t number = 0; first != last; ++first, ++number) {
            char digits[20];
            const char* const end = std::to_chars(digits, std::end(digits), number).ptr;
            wchar_t line[21];
            size_t length = 0;
            for (const char* digit = digits; digit != end; ++digit)
                line[length++] = static_cast<wchar_t>(*digit);
            line[length++] = L'=';
            Append(std::wstring_view(line, length));
            Append(first->path);
            Append(kLineEnd);
        }
    }

    // A failed write goes unnoticed: the file was opened, and the sender judges its contents.
    void Flush()
    {
        std::fwrite(m_buffer.data(), sizeof(wchar_t), m_buffer.size(), m_file);
        m_buffer.clear();
    }

private:
    static constexpr size_t kBufferSize = size_t{64} * 1024;
    FILE* m_file;
    std::wstring m_buffer;
};

} // namespace

std::wstring MakeTempFileName(const wchar_t* prefix)
{
    wchar_t folder[kTempPathLength] = {};
    wchar_t fileName[kTempPathLength] = {};
    GetTempPathW(kTempPathLength, folder);
    // Windows picks the number and creates the file to reserve it; the writer makes it again.
    GetTempFileNameW(folder, prefix, 0, fileName);
    DeleteFileW(fileName);
    return std::wstring(fileName, wcsnlen(fileName, kTempPathLength));
}

bool WriteTransferList(SelectedItems& items, const wchar_t* fileName)
{
    // The bytes of a binary stream do not depend on the locale; it is set for this thread and
    // this write only, where the runtime allows that.
    const ThreadLocaleScope locale("chs");
    if (items.empty() || !fileName)
        return false;
    UniqueCrtFile file;
    if (_wfopen_s(file.put(), fileName, L"w+b") != 0 || !file)
        return false;

    // Files first; within each group the capture order stays.
    const auto folders = std::stable_partition(items.begin(), items.end(),
                                               [](const SelectedItem& item) { return item.isFolder == 0; });
    ListWriter writer(file.get());
    writer.Append(kHeader);
    writer.AppendSection(items.begin(), folders);
    writer.Append(kFolderHeader);
    writer.AppendSection(folders, items.end());
    writer.Flush();
    return true;
}

} // namespace quillet
