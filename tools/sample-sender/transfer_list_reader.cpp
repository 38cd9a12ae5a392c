#include "transfer_list_reader.h"

#include <cwchar>

namespace {

std::wstring LineNumber(size_t index)
{
    return L"line " + std::to_wstring(index + 1) + L": ";
}

// Lines of the file; each must end in CR LF.
bool SplitLines(const std::wstring& text, std::vector<std::wstring>& lines, std::wstring& error)
{
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = text.find(L"\r\n", start);
        if (end == std::wstring::npos) {
            error = LineNumber(lines.size()) + L"does not end in CR LF";
            return false;
        }
        const std::wstring line = text.substr(start, end - start);
        if (line.find(L'\n') != std::wstring::npos || line.find(L'\r') != std::wstring::npos) {
            error = LineNumber(lines.size()) + L"holds a bare CR or LF";
            return false;
        }
        lines.push_back(line);
        start = end + 2;
    }
    return true;
}

bool ReadSection(const std::vector<std::wstring>& lines, size_t& index, std::vector<std::wstring>& paths,
                 std::wstring& error)
{
    for (unsigned expected = 0; index < lines.size() && !lines[index].empty(); ++index, ++expected) {
        const std::wstring& line = lines[index];
        const size_t equals = line.find(L'=');
        const std::wstring number = std::to_wstring(expected);
        if (equals == std::wstring::npos || line.compare(0, equals, number) != 0) {
            error = LineNumber(index) + L"expected an entry numbered " + number + L", found \"" + line + L"\"";
            return false;
        }
        if (equals + 1 == line.size()) {
            error = LineNumber(index) + L"entry " + number + L" has no path";
            return false;
        }
        paths.push_back(line.substr(equals + 1));
    }
    return true;
}

bool Expect(const std::vector<std::wstring>& lines, size_t& index, const wchar_t* text, std::wstring& error)
{
    if (index >= lines.size() || lines[index] != text) {
        error = LineNumber(index) + L"expected \"" + text + L"\", found " +
                (index < lines.size() ? L"\"" + lines[index] + L"\"" : std::wstring(L"the end of the file"));
        return false;
    }
    ++index;
    return true;
}

} // namespace

std::wstring ParseTransferList(const std::string& bytes, TransferList& list)
{
    if (bytes.size() < 2 || static_cast<unsigned char>(bytes[0]) != 0xFF ||
        static_cast<unsigned char>(bytes[1]) != 0xFE)
        return L"no UTF-16LE byte-order mark (FF FE) at the start";
    if (bytes.size() % 2 != 0)
        return L"odd number of bytes: not UTF-16";
    std::wstring text;
    text.reserve(bytes.size() / 2);
    for (size_t i = 2; i + 1 < bytes.size(); i += 2)
        text.push_back(static_cast<wchar_t>(static_cast<unsigned char>(bytes[i]) |
                                            (static_cast<unsigned char>(bytes[i + 1]) << 8)));
    if (text.find(L'\0') != std::wstring::npos)
        return L"holds a NUL character";

    std::vector<std::wstring> lines;
    std::wstring error;
    if (!SplitLines(text, lines, error))
        return error;
    size_t index = 0;
    if (!Expect(lines, index, L"[tag]", error) || !Expect(lines, index, L"tag=1", error) ||
        !Expect(lines, index, L"", error) || !Expect(lines, index, L"[filelist]", error) ||
        !ReadSection(lines, index, list.files, error) || !Expect(lines, index, L"", error) ||
        !Expect(lines, index, L"[pathlist]", error) || !ReadSection(lines, index, list.folders, error))
        return error;
    if (index != lines.size())
        return LineNumber(index) + L"unexpected text after the last entry";
    if (list.files.empty() && list.folders.empty())
        return L"the list names no file and no folder";
    return L"";
}
