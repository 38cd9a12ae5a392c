// CSDKelMN: the shell context-menu handler, one object per context menu.
#pragma once
#include <windows.h>
#include <shlobj.h>

#include "quillet_idl.h"
#include "selection/selected_item.h"

namespace quillet {

class CSDKelMN : public IFTKelMN, public IContextMenu3, public IShellExtInit {
public:
    CSDKelMN();
    virtual ~CSDKelMN();
    CSDKelMN(const CSDKelMN&) = delete;
    CSDKelMN& operator=(const CSDKelMN&) = delete;

    // Identity: the interface map, searched in order; IUnknown is the IFTKelMN base.
    HRESULT InternalQueryInterface(REFIID riid, void** ppv);
    HRESULT FinalConstruct();
    void FinalRelease();

    // IDispatch (IFTKelMN has no members of its own).
    STDMETHODIMP GetTypeInfoCount(UINT* count) override;
    STDMETHODIMP GetTypeInfo(UINT index, LCID lcid, ITypeInfo** typeInfo) override;
    STDMETHODIMP GetIDsOfNames(REFIID riid, LPOLESTR* names, UINT count, LCID lcid, DISPID* dispIds) override;
    STDMETHODIMP Invoke(DISPID dispId, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* params, VARIANT* result,
                        EXCEPINFO* exception, UINT* argError) override;

    // IShellExtInit
    STDMETHODIMP Initialize(PCIDLIST_ABSOLUTE pidlFolder, IDataObject* pdtobj, HKEY hkeyProgID) override;

    // IContextMenu / IContextMenu2 / IContextMenu3
    STDMETHODIMP QueryContextMenu(HMENU hmenu, UINT indexMenu, UINT idCmdFirst, UINT idCmdLast,
                                  UINT uFlags) override;
    STDMETHODIMP InvokeCommand(CMINVOKECOMMANDINFO* pici) override;
    STDMETHODIMP GetCommandString(UINT_PTR idCmd, UINT uType, UINT* reserved, LPSTR pszName,
                                  UINT cchMax) override;
    STDMETHODIMP HandleMenuMsg(UINT uMsg, WPARAM wParam, LPARAM lParam) override;
    STDMETHODIMP HandleMenuMsg2(UINT uMsg, WPARAM wParam, LPARAM lParam, LRESULT* plResult) override;

protected:
    friend struct HandlerInspector; // tests read the fields directly

    // --- menu presentation (menu/) ---
    // Caption from the language table, chosen once at creation.
    void ChooseMenuCaption();
    void LoadMenuIcon();
    void LoadMenuCheckBitmap();
    void MeasureCaption();
    void RefreshMenuFont();
    void InsertStringItem(HMENU hmenu, UINT indexMenu, UINT idCmdFirst, HBITMAP uncheckedBitmap);
    void InsertOwnerDrawnItem(HMENU hmenu, UINT indexMenu, UINT idCmdFirst);
    // WM_MEASUREITEM and WM_DRAWITEM for the owner-drawn item; false for another item's.
    bool MeasureMenuItem(MEASUREITEMSTRUCT& item);
    bool DrawMenuItem(const DRAWITEMSTRUCT& item);
    HRESULT DispatchMenuMessage(UINT uMsg, LPARAM lParam, LRESULT* result);
    // --- end of menu presentation ---

    // --- selection and hand-off (selection/, handoff/) ---
    // Whether InvokeCommand's verb is this handler's command: its offset or its caption.
    bool AcceptsVerb(const CMINVOKECOMMANDINFO& info) const;
    // --- end of selection and hand-off ---

    LONG m_refCount = 0;
    HBITMAP m_hbmpMenuIcon = nullptr;
    HBITMAP m_hbmpMenuCheck = nullptr;
    wchar_t m_menuCaption[128] = {};
    HRESULT m_hrComInit = E_FAIL;
    UINT m_iconWidth = 0;
    UINT m_iconHeight = 0;
    int m_captionWidth = 0;
    UINT m_idCmdFirst = 0;
    int m_menuItemState = 0;
    HFONT m_hMenuFont = nullptr;
    LOGFONTW m_menuLogFont = {};
    SelectedItems m_selectedItems;
};

// The GDI+ token of the most recently constructed handler (shared by all of them).
extern ULONG_PTR g_gdiplusToken;

} // namespace quillet
