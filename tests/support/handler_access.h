// Makes handler objects from the core library and reads their fields, for tests.
#pragma once
#include <windows.h>
#include <wrl/client.h>

#include "module/handler.h"

namespace quillet {

// Friend of CSDKelMN: the one place tests reach into a handler.
struct HandlerInspector {
    static SelectedItems& SelectedItemsOf(CSDKelMN& h) { return h.m_selectedItems; }
    static wchar_t* CaptionOf(CSDKelMN& h) { return h.m_menuCaption; }
    static HBITMAP& MenuIconOf(CSDKelMN& h) { return h.m_hbmpMenuIcon; }
    static HBITMAP& MenuCheckOf(CSDKelMN& h) { return h.m_hbmpMenuCheck; }
    static HFONT& MenuFontOf(CSDKelMN& h) { return h.m_hMenuFont; }
    static LOGFONTW& MenuLogFontOf(CSDKelMN& h) { return h.m_menuLogFont; }
    static int& CaptionWidthOf(CSDKelMN& h) { return h.m_captionWidth; }
    static UINT& IconWidthOf(CSDKelMN& h) { return h.m_iconWidth; }
    static UINT& IconHeightOf(CSDKelMN& h) { return h.m_iconHeight; }
    static UINT& IdCmdFirstOf(CSDKelMN& h) { return h.m_idCmdFirst; }
    static int& MenuItemStateOf(CSDKelMN& h) { return h.m_menuItemState; }
    static HRESULT ComInitOf(CSDKelMN& h) { return h.m_hrComInit; }
    static void LoadMenuIcon(CSDKelMN& h) { h.LoadMenuIcon(); }
    static void LoadMenuCheckBitmap(CSDKelMN& h) { h.LoadMenuCheckBitmap(); }
    static void MeasureCaption(CSDKelMN& h) { h.MeasureCaption(); }
    static void RefreshMenuFont(CSDKelMN& h) { h.RefreshMenuFont(); }
};

namespace test {

// A new handler made by the core's plain creator, as the class object would make it.
Microsoft::WRL::ComPtr<IContextMenu3> MakeHandler();
// The object behind any of its interface pointers.
CSDKelMN& HandlerOf(IContextMenu3* menu);

} // namespace test
} // namespace quillet
