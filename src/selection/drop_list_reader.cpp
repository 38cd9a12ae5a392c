#include "selection/drop_list_reader.h"

#include <shellapi.h>
#include <shlobj.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <cwchar>

namespace quillet {

DropListReader::DropListReader(const void* block, SIZE_T blockBytes)
{
    // DragQueryFileW answers 0 to everything when the block cannot be locked.
    if (!block)
        return;
    m_present = true;

    const auto* bytes = static_cast<const unsigned char*>(block);
    DROPFILES header = {};
    std::memcpy(&header, bytes, std::min<SIZE_T>(blockBytes, sizeof(header)));
    m_wide = header.fWide != FALSE;

    const SIZE_T start = std::min<SIZE_T>(header.pFiles, blockBytes);
    const unsigned char* list = bytes + start;
    const SIZE_T listBytes = blockBytes - start;

    const bool headerInside = blockBytes >= sizeof(header);
    if (!m_wide) {
        m_ansi = reinterpret_cast<const char*>(list);
        m_unitCount = listBytes;
        m_endsInsideBlock = FindNames(m_ansi, m_unitCount, listBytes) && headerInside;
        return;
    }
    m_unitCount = (listBytes + 1) / sizeof(wchar_t);
    if (reinterpret_cast<UINT_PTR>(list) % alignof(wchar_t) == 0 && listBytes % sizeof(wchar_t) == 0) {
        m_wideUnits = reinterpret_cast<const wchar_t*>(list);
    } else {
        // Odd offset or odd size: copy once; a last half character reads as if a zero byte followed.
        m_wideCopy.assign(m_unitCount, L'\0');
        if (listBytes != 0) // an empty vector may have no storage, and memcpy takes no null
            std::memcpy(m_wideCopy.data(), list, listBytes);
        m_wideUnits = m_wideCopy.data();
    }
    m_endsInsideBlock = FindNames(m_wideUnits, m_unitCount, listBytes / sizeof(wchar_t)) && headerInside;
}

// The walk of DragQueryFileW: the first name always counts, even when empty; each later one
// counts while the character after the previous name's terminator is not zero.
template <typename Unit>
bool DropListReader::FindNames(const Unit* units, size_t count, size_t wholeUnits)
{
    size_t start = 0;
    for (;;) {
        const Unit* terminator = std::char_traits<Unit>::find(units + start, count - start, Unit{});
        const size_t end = terminator ? static_cast<size_t>(terminator - units) : count;
        m_names.push_back({start, end - start});
        const size_t next = end + 1;
        if (next >= count)
            return false;
        if (units[next] == Unit{})
            return next < wholeUnits;
        start = next;
    }
}

UINT DropListReader::Count() const
{
    return static_cast<UINT>(m_names.size());
}

std::wstring_view DropListReader::NameText(const Name& name)
{
    if (m_wide)
        return std::wstring_view(m_wideUnits + name.offset, name.length);

    // Converted whole with its terminator, as DragQueryFileW does before it cuts the copy.
    const char* source = m_ansi + name.offset;
    if (name.offset + name.length >= m_unitCount) {
        m_ansiTail.assign(source, name.length);
        source = m_ansiTail.c_str();
    }
    const int sourceLength = static_cast<int>(std::min<size_t>(name.length + 1, INT_MAX));
    const int needed = MultiByteToWideChar(CP_ACP, 0, source, sourceLength, nullptr, 0);
    if (needed <= 0)
        return {};
    m_converted.resize(static_cast<size_t>(needed));
    const int converted = MultiByteToWideChar(CP_ACP, 0, source, sourceLength, m_converted.data(), needed);
    if (converted <= 0)
        return {};
    return std::wstring_view(m_converted.data(), wcsnlen(m_converted.data(), static_cast<size_t>(converted)));
}

UINT DropListReader::QueryFile(UINT index, wchar_t* buffer, UINT size)
{
    if (!m_present)
        return 0;
    if (index == 0xFFFFFFFF)
        return Count();
    if (index >= m_names.size())
        return 0;
    const std::wstring_view name = NameText(m_names[index]);
    if (!buffer || size == 0)
        return static_cast<UINT>(name.size());
    const size_t copied = std::min<size_t>(name.size(), size - 1);
    std::wmemcpy(buffer, name.data(), copied);
    buffer[copied] = L'\0';
    return static_cast<UINT>(copied);
}

UINT CountDropList(HDROP dropList, const DropListReader& reader)
{
    if (!dropList || reader.EndsInsideBlock())
        return DragQueryFileW(dropList, 0xFFFFFFFF, nullptr, 0);
    return reader.Count();
}

} // namespace quillet
