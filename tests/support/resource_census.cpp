#include "support/resource_census.h"

#include <algorithm>

namespace quillet::test {

ResourceCensus TakeCensus()
{
    ResourceCensus census;
    census.gdiObjects = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
    census.userObjects = GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS);
    GetProcessHandleCount(GetCurrentProcess(), &census.kernelHandles);

    constexpr int kProbes = 32;
    HBITMAP bitmaps[kProbes] = {};
    HANDLE events[kProbes] = {};
    for (int i = 0; i < kProbes; ++i) {
        bitmaps[i] = CreateBitmap(1, 1, 1, 32, nullptr);
        events[i] = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        census.gdiHighWater = std::max(census.gdiHighWater, static_cast<unsigned>(LOWORD(reinterpret_cast<ULONG_PTR>(bitmaps[i]))));
        census.kernelHighWater = std::max(census.kernelHighWater, static_cast<unsigned>(reinterpret_cast<ULONG_PTR>(events[i])));
    }
    for (int i = 0; i < kProbes; ++i) {
        DeleteObject(bitmaps[i]);
        CloseHandle(events[i]);
    }
    return census;
}

} // namespace quillet::test
