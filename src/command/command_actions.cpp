// What the command's methods do, in the words of the classic handler's routines.
#include <shlwapi.h>
#include <wrl/client.h>

#include "command/explorer_command.h"
#include "handoff/invoke_command.h"
#include "platform/handles.h"
#include "resources/resource_ids.h"
#include "selection/selection_capture.h"
#include "sender/sender_installation.h"

namespace quillet {
namespace {

// Items come in batches: one call per item would cost a cross-object call each.
constexpr ULONG kItemBatch = 64;

// SFGAO_FILESYSTEM comes from the item IDs themselves: asking for it touches no file and no
// network.
bool AnyFileSystemItem(IShellItemArray* items)
{
    SFGAOF attributes{};
    return items && SUCCEEDED(items->GetAttributes(SIATTRIBFLAGS_OR, SFGAO_FILESYSTEM, &attributes)) &&
           (attributes & SFGAO_FILESYSTEM) != 0;
}

} // namespace

EXPCMDSTATE CommandState(IShellItemArray* items)
{
    if (ReadMenuOption() == 0 || !IsSenderInstalled() || !AnyFileSystemItem(items))
        return ECS_HIDDEN;
    return ECS_ENABLED;
}

void CollectFileSystemItems(IShellItemArray* items, SelectedItems& selection)
{
    Microsoft::WRL::ComPtr<IEnumShellItems> enumerator;
    if (!items || FAILED(items->EnumItems(enumerator.GetAddressOf())) || !enumerator)
        return;
    for (;;) {
        // Cleared for every batch: an enumerator may report more items than it hands over, and
        // the last batch's pointers are released by now.
        IShellItem* batch[kItemBatch] = {};
        ULONG fetched = 0;
        if (FAILED(enumerator->Next(kItemBatch, batch, &fetched)))
            return;
        for (ULONG i = 0; i < fetched && i < kItemBatch; ++i) {
            Microsoft::WRL::ComPtr<IShellItem> item;
            item.Attach(batch[i]);
            UniqueCoTaskString path;
            // A shortcut's path is the shortcut file's own: the item is never resolved.
            if (item && SUCCEEDED(item->GetDisplayName(SIGDN_FILESYSPATH, path.put())) && path)
                selection.push_back(MakeSelectedItem(path.get()));
        }
        if (fetched < kItemBatch)
            return;
    }
}

HRESULT RunExplorerCommand(IShellItemArray* items)
{
    SelectedItems selection;
    CollectFileSystemItems(items, selection);
    // Checked here and not left to the hand-over, which would reserve a list file's name first.
    if (selection.empty())
        return E_INVALIDARG;
    return HandOverSelection(selection);
}

std::wstring CommandIconLocation(HINSTANCE module)
{
    std::wstring path(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
        if (length == 0)
            return std::wstring();
        if (length < path.size()) {
            path.resize(length);
            break;
        }
        // Cut to fit: try again with room for a long path.
        path.resize(path.size() * 2);
    }
    return path + L",-" + std::to_wstring(IDI_COMMAND_ICON);
}

} // namespace quillet
