// CSDKelMN: the shell context-menu handler, one object per context menu. It holds the
// selection and what it shows in menus; the work is done by the selection, menu and hand-off
// routines it calls.
#pragma once
#include <windows.h>
#include <shlobj.h>

#include <atomic>

#include "menu/menu_presentation.h"
#include "quillet_idl.h"
#include "selection/selected_item.h"

namespace quillet {

// The opaque names (CSDKelMN, IFTKelMN, FTKel) are kept on purpose: they are what registration
// has written on every machine, and a new name would add a second handler, not replace the first.
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
    LONG m_refCount = 0;

private:
    HRESULT m_hrComInit = E_FAIL;
    MenuPresentation m_menu;
    SelectedItems m_selectedItems;
};

// The GDI+ token of the most recently constructed handler, shared by all of them on all threads.
extern std::atomic<ULONG_PTR> g_gdiplusToken;

} // namespace quillet
