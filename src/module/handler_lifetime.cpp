// What a handler acquires when it is made and gives back when it goes.
#include "menu/caption.h"
#include "module/handler.h"
#include "module/module_state.h"
#include "platform/gdiplus.h"

namespace quillet {

std::atomic<ULONG_PTR> g_gdiplusToken{};

CSDKelMN::CSDKelMN()
{
    ModuleLock();
}

CSDKelMN::~CSDKelMN()
{
    ModuleUnlock();
}

HRESULT CSDKelMN::FinalConstruct()
{
    // Kept for the object's life: the shell link, GDI+ and the caption lookup all need COM.
    m_hrComInit = CoInitialize(nullptr);
    ChooseMenuCaption({ModuleInstance(), ModuleCriticalSection()}, m_menu.m_menuCaption);

    Gdiplus::GdiplusStartupInput input; // version 1, no callback, no suppression
    // Started outside any lock; a start-up that fails leaves the token as it found it.
    ULONG_PTR token = g_gdiplusToken.load();
    Gdiplus::GdiplusStartup(&token, &input, nullptr);
    g_gdiplusToken.store(token);
    return S_OK;
}

void CSDKelMN::FinalRelease()
{
    if (SUCCEEDED(m_hrComInit)) {
        CoUninitialize();
        m_hrComInit = E_FAIL;
    }
    // The pictures and the font go before GDI+ does.
    m_menu.m_hbmpMenuIcon.reset();
    m_menu.m_hbmpMenuCheck.reset();
    m_menu.m_hMenuFont.reset();
    // Deliberately the latest token, once per destroyed object: GDI+ counts start-ups itself.
    if (const ULONG_PTR token = g_gdiplusToken.load(); token != 0)
        Gdiplus::GdiplusShutdown(token);
}

} // namespace quillet
