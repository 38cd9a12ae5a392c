// Shared set-up of the menu tests: what a handler provides to the menu routines, and pictures
// read back.
#pragma once
#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "common/fake_sender.h"
#include "common/registry.h"
#include "menu/menu_presentation.h"
#include "platform/gdiplus.h"
#include "platform/handles.h"
#include "sender/sender_installation.h"
#include "support/environment.h"

namespace quillet::test {

// The test program's own resources and one lock for the whole process.
inline MenuResources TestResources()
{
    static CriticalSection lock;
    return {GetModuleHandleW(nullptr), lock.get()};
}

// COM and GDI+ on this thread for the object's life, as a handler's creation starts them.
struct HandlerServices {
    HandlerServices()
    {
        CoInitialize(nullptr);
        Gdiplus::GdiplusStartupInput input;
        Gdiplus::GdiplusStartup(&token, &input, nullptr);
    }
    ~HandlerServices()
    {
        Gdiplus::GdiplusShutdown(token);
        CoUninitialize();
    }
    ULONG_PTR token = 0;
};

// Every pixel, top row first, as GDI reads the bitmap back: the same whatever its row order.
inline std::vector<DWORD> TopDownPixels(HBITMAP bitmap)
{
    BITMAP facts = {};
    if (!bitmap || !GetObjectW(bitmap, sizeof(facts), &facts))
        return {};
    BITMAPINFO info = {{sizeof(BITMAPINFOHEADER), facts.bmWidth, -facts.bmHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0}, {}};
    std::vector<DWORD> pixels(static_cast<size_t>(facts.bmWidth) * static_cast<size_t>(facts.bmHeight));
    UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
    GetDIBits(dc.get(), bitmap, 0, static_cast<UINT>(facts.bmHeight), pixels.data(), &info, DIB_RGB_COLORS);
    return pixels;
}

} // namespace quillet::test
