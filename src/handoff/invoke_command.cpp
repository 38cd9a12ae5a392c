#include "handoff/invoke_command.h"

#include <string>

#include "handoff/sender_launch.h"
#include "handoff/transfer_list.h"

namespace quillet {
namespace {

// CMINVOKECOMMANDINFOEX on 64-bit Windows: only a structure of exactly this size has lpVerbW.
constexpr DWORD kInvokeCommandInfoExSize = 104;
#ifdef _WIN64
static_assert(sizeof(CMINVOKECOMMANDINFOEX) == kInvokeCommandInfoExSize);
#endif

// A narrow verb in the thread's ANSI code page, or null when it cannot be converted.
const wchar_t* WidenVerb(const char* verb, std::wstring& storage)
{
    if (!verb)
        return nullptr;
    const int count = lstrlenA(verb) + 1;
    if (count > 0x3FFFFFFF)
        return nullptr;
    storage.assign(static_cast<size_t>(count), L'\0');
    // The length measured above, terminator included: the string is not walked a second time.
    if (MultiByteToWideChar(CP_THREAD_ACP, 0, verb, count, storage.data(), count) == 0)
        return nullptr;
    return storage.c_str();
}

} // namespace

bool AcceptsVerb(const CMINVOKECOMMANDINFO& info, const wchar_t* caption, int menuItemState)
{
    // A pointer below 0x10000 is a command offset; any other is a string, whatever its low bits.
    if (IS_INTRESOURCE(info.lpVerb)) {
        // 0 is the one command there is; deliberately accepted whatever the insertion recorded.
        const int offset = static_cast<int>(reinterpret_cast<UINT_PTR>(info.lpVerb));
        return offset == menuItemState || offset == 0;
    }

    // The size alone says which verb to read; CMIC_MASK_UNICODE is not consulted.
    std::wstring converted;
    const wchar_t* wideVerb = nullptr;
    if (info.cbSize == kInvokeCommandInfoExSize) {
        wideVerb = reinterpret_cast<const CMINVOKECOMMANDINFOEX&>(info).lpVerbW;
        // An offset there is no string to read: a mismatch, not a crash.
        if (IS_INTRESOURCE(wideVerb))
            return false;
    } else {
        wideVerb = WidenVerb(info.lpVerb, converted);
    }
    // The only string verb answered is the caption itself, in any letter case.
    return wideVerb && _wcsicmp(caption, wideVerb) == 0;
}

HRESULT HandOverSelection(SelectedItems& items)
{
    // "~ft": the prefix senders look for among temporary files; kept as it is on purpose.
    const std::wstring listFile = MakeTempFileName(L"~ft");
    const bool written = WriteTransferList(items, listFile.c_str());
    // The selection is spent either way; a second call needs a new selection.
    items.clear();
    if (!written)
        return E_INVALIDARG;
    return LaunchSender(listFile.c_str()) ? S_OK : E_FAIL;
}

HRESULT RunCommand(const CMINVOKECOMMANDINFO* info, const wchar_t* caption, int menuItemState,
                   SelectedItems& items)
{
    if (!info || !AcceptsVerb(*info, caption, menuItemState))
        return E_INVALIDARG;
    return HandOverSelection(items);
}

} // namespace quillet
