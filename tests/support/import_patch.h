// A Windows function a module imports, answered by another for a scope: how a test plays a
// Windows that fails, or answers, where Wine never would.
#pragma once
#include <windows.h>

#include <dbghelp.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace quillet::test {

class ScopedImport {
public:
    // Every import of name from dll by module (the test program when null) goes to replacement; a
    // name the module does not import fails the test.
    template <typename Function>
    ScopedImport(const char* dll, const char* name, Function* replacement, HMODULE module = nullptr)
    {
        auto* base = reinterpret_cast<BYTE*>(module ? module : GetModuleHandleW(nullptr));
        ULONG size = 0;
        auto* entry = static_cast<const IMAGE_IMPORT_DESCRIPTOR*>(
            ImageDirectoryEntryToData(base, TRUE, IMAGE_DIRECTORY_ENTRY_IMPORT, &size));
        for (; entry && entry->Name; ++entry) {
            if (_stricmp(reinterpret_cast<const char*>(base + entry->Name), dll) != 0)
                continue;
            // The names, and beside them the slots the loader bound.
            auto* slot = reinterpret_cast<void**>(base + entry->FirstThunk);
            for (auto* named = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + entry->OriginalFirstThunk);
                 named->u1.AddressOfData; ++named, ++slot) {
                const auto* imported = reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + named->u1.AddressOfData);
                if (!IMAGE_SNAP_BY_ORDINAL(named->u1.Ordinal) && std::strcmp(imported->Name, name) == 0) {
                    m_original = *slot;
                    Store(m_slots.emplace_back(slot), reinterpret_cast<void*>(replacement));
                }
            }
        }
        EXPECT_FALSE(m_slots.empty()) << name << " is not imported";
    }
    ~ScopedImport() { std::ranges::for_each(m_slots, [this](void** slot) { Store(slot, m_original); }); }
    ScopedImport(const ScopedImport&) = delete;
    ScopedImport& operator=(const ScopedImport&) = delete;

private:
    static void Store(void** slot, void* value)
    {
        DWORD protection = 0;
        VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
        *slot = value;
        VirtualProtect(slot, sizeof(*slot), protection, &protection);
    }
    void* m_original = nullptr;
    std::vector<void**> m_slots;
};

// The function itself, for a replacement that passes a call on: calling it by name would come back
// to the replacement.
template <typename Function>
Function WindowsFunction(const wchar_t* dll, const char* name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(dll), name)));
}

// Registry arguments Windows documents as reserved or limited, refused as a later Windows may
// refuse them (Wine takes any) in what module (the test program when null) calls.
struct StrictRegistry {
    explicit StrictRegistry(HMODULE module = nullptr)
        : open("advapi32.dll", "RegOpenKeyExW", &Open, module), set("advapi32.dll", "RegSetValueExW", &Set, module) {}
    static LONG WINAPI Open(HKEY key, LPCWSTR name, DWORD options, REGSAM access, PHKEY opened)
    {
        if (options & ~REG_OPTION_OPEN_LINK)
            return ERROR_INVALID_PARAMETER;
        return WindowsFunction<decltype(&Open)>(L"advapi32.dll", "RegOpenKeyExW")(key, name, options, access, opened);
    }
    static LONG WINAPI Set(HKEY key, LPCWSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size)
    {
        if (reserved != 0)
            return ERROR_INVALID_PARAMETER;
        return WindowsFunction<decltype(&Set)>(L"advapi32.dll", "RegSetValueExW")(key, name, 0, type, data, size);
    }
    const ScopedImport open, set;
};

} // namespace quillet::test
