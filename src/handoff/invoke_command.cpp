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
    if (MultiByteToWideChar(CP_THREAD_ACP, 0, verb, -1, storage.data(), count) == 0)
        return nullptr;
    return storage.c_str();
}

// Whether the verb names the command: the offset 0 or menuItemState, or the caption in any
// letter case.
bool AcceptsVerb(const CMINVOKECOMMANDINFO& info, const wchar_t* caption, int menuItemState)
{
    // Only bits 16 to 31 tell an offset from a string, as the shell's HIWORD test does.
    const auto verb = reinterpret_cast<UINT_PTR>(info.lpVerb);
    if (((verb >> 16) & 0xFFFF) == 0) {
        // 0 is the one command there is; it is accepted whatever the insertion recorded.
        const int offset = static_cast<int>(verb & 0xFFFF);
        return offset == menuItemState || offset == 0;
    }

    // The size alone says which verb to read; CMIC_MASK_UNICODE is not consulted.
    std::wstring converted;
    const wchar_t* wideVerb = info.cbSize == kInvokeCommandInfoExSize
                                  ? reinterpret_cast<const CMINVOKECOMMANDINFOEX&>(info).lpVerbW
                                  : WidenVerb(info.lpVerb, converted);
    // The only string verb answered is the caption itself, in any letter case.
    return wideVerb && _wcsicmp(caption, wideVerb) == 0;
}

} // namespace

HRESULT RunCommand(const CMINVOKECOMMANDINFO* info, const wchar_t* caption, int menuItemState,
                   SelectedItems& items)
{
    if (!info || !AcceptsVerb(*info, caption, menuItemState))
        return E_INVALIDARG;
    const std::wstring listFile = MakeTempFileName(L"~ft");
    const bool written = WriteTransferList(items, listFile.c_str());
    // The selection is spent either way; a second call needs a new Initialize.
    items.clear();
    if (!written)
        return E_INVALIDARG;
    return LaunchSender(listFile.c_str()) ? S_OK : E_FAIL;
}

} // namespace quillet
