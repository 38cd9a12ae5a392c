// What a handler acquires when it is made and gives back when it goes.
#include "module/handler.h"
#include "module/module_state.h"
#include "platform/gdiplus.h"

namespace quillet {

ULONG_PTR g_gdiplusToken = 0;

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
    ChooseMenuCaption();

    m_hbmpMenuIcon = nullptr;
    m_hbmpMenuCheck = nullptr;
    m_hMenuFont = nullptr;
    m_iconWidth = 0;
    m_iconHeight = 0;
    m_captionWidth = 0;
    m_idCmdFirst = 0;
    m_menuItemState = 0;
    ZeroMemory(&m_menuLogFont, sizeof(m_menuLogFont));

    Gdiplus::GdiplusStartupInput input; // version 1, no callback, no suppression
    Gdiplus::GdiplusStartup(&g_gdiplusToken, &input, nullptr);
    return S_OK;
}

void CSDKelMN::FinalRelease()
{
    if (SUCCEEDED(m_hrComInit)) {
        CoUninitialize();
        m_hrComInit = E_FAIL;
    }
    if (m_hbmpMenuIcon) {
        DeleteObject(m_hbmpMenuIcon);
        m_hbmpMenuIcon = nullptr;
    }
    if (m_hbmpMenuCheck) {
        DeleteObject(m_hbmpMenuCheck);
        m_hbmpMenuCheck = nullptr;
    }
    if (m_hMenuFont) {
        DeleteObject(m_hMenuFont);
        m_hMenuFont = nullptr;
    }
    // Deliberately the latest token, once per destroyed object: GDI+ counts start-ups itself.
    if (g_gdiplusToken != 0)
        Gdiplus::GdiplusShutdown(g_gdiplusToken);
}

} // namespace quillet
