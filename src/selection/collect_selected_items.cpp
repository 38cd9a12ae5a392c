#include "platform/handles.h"
#include "selection/drop_list_reader.h"
#include "selection/selection_capture.h"

namespace quillet {
namespace {

// Room for a record's path, terminator included: long enough for the paths the sender
// accepts whole.
constexpr UINT kItemPathLength = 1024;

} // namespace

void CollectSelectedItems(HDROP dropList, SIZE_T dropListBytes, SelectedItems& items)
{
    items.clear();
    if (!dropList)
        return;
    DropListReader reader(dropList, dropListBytes);
    const UINT count = CountDropList(dropList, reader);
    if (count < 1)
        return;

    for (UINT index = 0; index < count; ++index) {
        wchar_t buffer[kItemPathLength] = {};
        if (reader.QueryFile(index, buffer, kItemPathLength) == 0) {
            // One unreadable name spoils the whole selection, deliberately: half a selection
            // handed over would look like a complete one to the sender.
            items.clear();
            return;
        }
        items.push_back(MakeSelectedItem(std::wstring(buffer)));
    }
}

SelectedItem MakeSelectedItem(std::wstring path)
{
    SelectedItem item;
    item.path = std::move(path);
    const DWORD attributes = GetFileAttributesW(item.path.c_str());
    if (attributes != INVALID_FILE_ATTRIBUTES) {
        item.isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) ? 1 : 0;
        return item;
    }

    // Unreadable attributes: only something that opens for reading goes over as a file;
    // a drive without a medium, a vanished or a locked item goes to the folder section.
    const std::wstring& text = item.path; // isFolder is still 0, a file, unless a test below says otherwise
    if (text.size() == 2 && text[1] == L':')
        item.isFolder = 1;
    if (text.size() == 3 && text[1] == L':' && text[2] == L'\\')
        item.isFolder = 1;
    UniqueFileHandle file(CreateFileW(text.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        item.isFolder = 1;
    return item;
}

} // namespace quillet
