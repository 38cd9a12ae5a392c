// Counts of what a process holds, to show that repeated work gives everything back.
#pragma once
#include <windows.h>

namespace quillet::test {

struct ResourceCensus {
    DWORD gdiObjects = 0;     // GetGuiResources: 0 where the system does not count
    DWORD userObjects = 0;
    DWORD kernelHandles = 0;  // GetProcessHandleCount: 0 where the system does not count
    // Highest slot a fresh object lands in. Objects that leak fill the free slots, so a leak
    // of one per cycle pushes these up by about the number of cycles, wherever the counters
    // above are not kept.
    unsigned gdiHighWater = 0;
    unsigned kernelHighWater = 0;
};

ResourceCensus TakeCensus();

} // namespace quillet::test
