// The caption chosen once, when a handler is made.
#include "menu/caption.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "platform/handles.h"
#include "resources/resource_ids.h"
#include "sender/sender_installation.h"

namespace quillet {
namespace {

// Filled once under the resources' lock, never changed afterwards.
std::optional<LanguageTable> g_sharedLanguageTable;

// True when the language's caption was copied and is not empty.
bool CopyTableCaption(const LanguageTable& table, const std::wstring& language, wchar_t (&caption)[kCaptionLength])
{
    const std::wstring text = GetValue(table, language, L"MENU_FS_TEXT", L"");
    lstrcpynW(caption, text.c_str(), static_cast<int>(kTableCaptionBytes / sizeof(wchar_t)));
    return caption[0] != L'\0';
}

} // namespace

const LanguageTable& SharedLanguageTable(const MenuResources& resources)
{
    CriticalSectionScope lock(resources.lock);
    if (!g_sharedLanguageTable) {
        // A parse that runs out of memory leaves nothing behind, and the next creation tries again.
        LanguageTable table;
        LoadLanguageTable(resources.module, L"FILE", IDR_LANGUAGE_TABLE, table);
        g_sharedLanguageTable = std::move(table);
    }
    return *g_sharedLanguageTable;
}

void ChooseCaption(const LanguageTable& table, const std::wstring& wantedLanguage, HINSTANCE module,
                   wchar_t (&caption)[kCaptionLength])
{
    caption[0] = L'\0';
    const std::vector<std::wstring> allowed = SplitAndTrim(GetValue(table, L"default", L"languages", L""), L';');
    const auto isAllowed = [&](const std::wstring& language) {
        return std::find(allowed.begin(), allowed.end(), language) != allowed.end();
    };
    if (!wantedLanguage.empty() && isAllowed(wantedLanguage) && CopyTableCaption(table, wantedLanguage, caption))
        return;
    const std::wstring appName = GetValue(table, L"default", L"appname", L"");
    if (isAllowed(appName) && CopyTableCaption(table, appName, caption))
        return;
    LoadStringW(module, IDS_FALLBACK_CAPTION, caption, kCaptionLength);
}

void ChooseMenuCaption(const MenuResources& resources, wchar_t (&caption)[kCaptionLength])
{
    try {
        const LanguageTable& table = SharedLanguageTable(resources);
        ChooseCaption(table, ReadSenderLanguage(), resources.module, caption);
    } catch (...) {
        // Creation never fails over the caption: out of memory gives the plain one.
        LoadStringW(resources.module, IDS_FALLBACK_CAPTION, caption, kCaptionLength);
    }
}

} // namespace quillet
