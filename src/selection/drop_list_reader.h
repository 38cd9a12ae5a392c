// Reads a CF_HDROP block once, then answers for any index as DragQueryFileW would.
//
// DragQueryFileW walks the list from its start at every call, so asking for each index in
// turn costs quadratic time: tens of seconds for tens of thousands of selected items. This
// reader finds every name in one walk. It never reads past the block: whatever lies beyond
// its last byte is taken to be zeros, which is what DragQueryFileW sees when the memory after
// a malformed (unterminated or misplaced) list happens to be zeroed.
#pragma once
#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

namespace quillet {

class DropListReader {
public:
    // block: the locked drop list (a DROPFILES header and its names), or null;
    // blockBytes: the size of the block (GlobalSize of its handle).
    DropListReader(const void* block, SIZE_T blockBytes);

    // As DragQueryFileW(drop, index, buffer, size): index 0xFFFFFFFF gives the count; a known
    // index gives its name's length when buffer is null or size 0, else copies at most
    // size - 1 characters and a terminator into buffer and gives the number copied; an index
    // past the end gives 0 and leaves buffer alone. An ANSI list is converted with CP_ACP.
    UINT QueryFile(UINT index, wchar_t* buffer, UINT size);

    // The number of names, as the count query gives it.
    UINT Count() const;

    // Whether the header and the whole list, down to its closing empty name, lie inside the
    // block: only then can DragQueryFileW walk it without reading past the block's end.
    bool EndsInsideBlock() const { return m_endsInsideBlock; }

private:
    struct Name {
        size_t offset; // in characters of the list's own width
        size_t length;
    };

    // Returns whether the closing empty name was found among the first whole units.
    template <typename Unit>
    bool FindNames(const Unit* units, size_t count, size_t wholeUnits);
    std::wstring_view NameText(const Name& name);

    bool m_present{};
    bool m_wide{};
    bool m_endsInsideBlock{};
    const char* m_ansi{};
    const wchar_t* m_wideUnits{};
    size_t m_unitCount{};
    std::vector<wchar_t> m_wideCopy; // the list when it is misaligned or ends mid-character
    std::vector<Name> m_names;
    std::vector<wchar_t> m_converted; // the ANSI name converted last
    std::string m_ansiTail;           // an ANSI name cut off by the end of the block, terminated
};

// The count query on a locked drop list: DragQueryFileW's own answer when it can walk the list
// safely, otherwise the reader's (what DragQueryFileW gives when zeros follow the block) rather
// than a walk through whatever memory follows it, or a fault.
UINT CountDropList(HDROP dropList, const DropListReader& reader);

} // namespace quillet
