#include "support/module_library.h"

#include "support/process.h"

namespace quillet::test {

DWORD RunRegsvr32(const std::wstring& modulePath, bool unregister)
{
    return RunProcess(std::wstring(L"regsvr32.exe /s ") + (unregister ? L"/u \"" : L"\"") + modulePath + L"\"", 60000)
        .exitCode;
}

long HeapBlocksLeftByLoads(const std::wstring& path, REFCLSID clsid)
{
    const auto busyBlocks = [] {
        HANDLE heaps[64];
        long busy = 0;
        for (DWORD i = 0, count = GetProcessHeaps(64, heaps); i < count && i < 64; ++i)
            for (PROCESS_HEAP_ENTRY entry = {}; HeapWalk(heaps[i], &entry);)
                busy += (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0;
        return busy;
    };
    const auto load = [&] { ServerModule(path).Create<IUnknown>(clsid); }; // made and freed before the unload
    // Wine keeps a block for each of the first ten or so loads, and no more after them.
    for (int i = 0; i < 10; ++i)
        load();
    const long before = busyBlocks();
    for (int i = 0; i < 20; ++i)
        load();
    return busyBlocks() - before;
}

} // namespace quillet::test
