// The handler's shell methods: each hands its work to the routine that does it.
#include "module/handler.h"

#include <atomic>

#include "handoff/invoke_command.h"
#include "menu/menu_insertion.h"
#include "menu/owner_draw.h"
#include "module/module_state.h"
#include "platform/com_guard.h"
#include "selection/selection_capture.h"

namespace quillet {
namespace {

// Every path of the last selection that had items, each shortcut preceded by its target.
// Deliberately kept though nothing in the module reads it.
SelectedPathList g_selectedPaths;

// The menu last filled, or refused for a missing sender, by any handler object on any thread.
std::atomic<HMENU> g_lastQueriedMenu{nullptr};

MenuResources Resources()
{
    return {ModuleInstance(), ModuleCriticalSection()};
}

} // namespace

STDMETHODIMP CSDKelMN::Initialize(PCIDLIST_ABSOLUTE, IDataObject* pdtobj, HKEY)
{
    return GuardedCall([&] { return CaptureSelection(pdtobj, m_selectedItems, g_selectedPaths); });
}

STDMETHODIMP CSDKelMN::QueryContextMenu(HMENU hmenu, UINT indexMenu, UINT idCmdFirst, UINT, UINT uFlags)
{
    return GuardedCall([&] {
        return InsertMenuCommand(m_menu, Resources(), g_lastQueriedMenu, hmenu, indexMenu, idCmdFirst, uFlags);
    });
}

STDMETHODIMP CSDKelMN::InvokeCommand(CMINVOKECOMMANDINFO* pici)
{
    return GuardedCall(
        [&] { return RunCommand(pici, m_menu.m_menuCaption, m_menu.m_menuItemState, m_selectedItems); });
}

// No verb, help text or validation, deliberately: the command is reached only by its identifier
// or its caption, and the shell shows no status-bar help for it.
STDMETHODIMP CSDKelMN::GetCommandString(UINT_PTR, UINT, UINT*, LPSTR, UINT)
{
    return E_INVALIDARG;
}

STDMETHODIMP CSDKelMN::HandleMenuMsg(UINT uMsg, WPARAM, LPARAM lParam)
{
    return GuardedCall([&] {
        LRESULT ignored{};
        HandleMenuMessage(m_menu, Resources(), uMsg, lParam, &ignored);
        return S_OK;
    });
}

STDMETHODIMP CSDKelMN::HandleMenuMsg2(UINT uMsg, WPARAM, LPARAM lParam, LRESULT* plResult)
{
    return GuardedCall([&] {
        HandleMenuMessage(m_menu, Resources(), uMsg, lParam, plResult);
        return S_OK;
    });
}

} // namespace quillet
