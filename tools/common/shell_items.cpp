#include "common/shell_items.h"

#include <shlobj.h>

namespace quillet::test {

Microsoft::WRL::ComPtr<IShellItemArray> ShellItemArray(const std::vector<std::wstring>& names,
                                                       std::vector<std::wstring>* unparsed)
{
    std::vector<PIDLIST_ABSOLUTE> ids;
    for (const std::wstring& name : names) {
        PIDLIST_ABSOLUTE id = nullptr;
        if (SUCCEEDED(SHParseDisplayName(name.c_str(), nullptr, &id, 0, nullptr)))
            ids.push_back(id);
        else if (unparsed)
            unparsed->push_back(name);
    }
    Microsoft::WRL::ComPtr<IShellItemArray> items;
    if (!ids.empty())
        SHCreateShellItemArrayFromIDLists(static_cast<UINT>(ids.size()), const_cast<PCIDLIST_ABSOLUTE*>(ids.data()),
                                          items.GetAddressOf());
    for (PIDLIST_ABSOLUTE id : ids)
        CoTaskMemFree(id);
    return items;
}

} // namespace quillet::test
