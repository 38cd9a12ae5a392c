// Shared set-up of the menu tests: a fake sender installation and what a handler provides to
// the menu routines.
#pragma once
#include <windows.h>

#include <optional>
#include <string>
#include <vector>

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
class HandlerServices {
public:
    HandlerServices()
    {
        CoInitialize(nullptr);
        Gdiplus::GdiplusStartupInput input;
        Gdiplus::GdiplusStartup(&m_token, &input, nullptr);
    }
    ~HandlerServices()
    {
        Gdiplus::GdiplusShutdown(m_token);
        CoUninitialize();
    }

private:
    ULONG_PTR m_token = 0;
};

// A folder registered as the sender's App Paths "Path", optionally holding "Pelloc.exe" and a
// "config.ini" with [UI] language=...; registration and folder go away with the object.
class FakeSender {
public:
    explicit FakeSender(bool withExecutable = true, std::optional<std::string> language = std::nullopt)
        : m_folder(MakeTempFolder(L"sender")), m_path(HKEY_LOCAL_MACHINE, kSenderAppPathsKey, kSenderPathValue)
    {
        m_path.SetString(m_folder);
        if (withExecutable)
            WriteFileBytes(m_folder + L"\\" + kSenderFileName, "", 0);
        if (language) {
            const std::string ini = "[Other]\r\nlanguage=de\r\n[UI]\r\nlanguage=" + *language + "\r\n";
            WriteFileBytes(m_folder + L"\\config.ini", ini.data(), ini.size());
        }
    }
    ~FakeSender() { RemoveTree(m_folder); }
    FakeSender(const FakeSender&) = delete;
    FakeSender& operator=(const FakeSender&) = delete;

private:
    std::wstring m_folder;
    ScopedRegistryValue m_path;
};

// Every pixel, top row first, as GDI reads the bitmap back: the same whatever its row order.
inline std::vector<DWORD> TopDownPixels(HBITMAP bitmap)
{
    BITMAP facts = {};
    if (!bitmap || !GetObjectW(bitmap, sizeof(facts), &facts))
        return {};
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(BITMAPINFOHEADER), facts.bmWidth, -facts.bmHeight, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    std::vector<DWORD> pixels(static_cast<size_t>(facts.bmWidth) * static_cast<size_t>(facts.bmHeight));
    UniqueMemoryDc dc(CreateCompatibleDC(nullptr));
    GetDIBits(dc.get(), bitmap, 0, static_cast<UINT>(facts.bmHeight), pixels.data(), &info, DIB_RGB_COLORS);
    return pixels;
}

} // namespace quillet::test
