#include "command/explorer_command.h"

#include <shlwapi.h>

#include <new>

#include "com/server_module.h"
#include "command/command_class.h"
#include "menu/caption.h"
#include "platform/com_guard.h"

namespace quillet {
namespace {

class CQuilletCommand final : public IExplorerCommand {
public:
    CQuilletCommand() { ModuleLock(); }
    ~CQuilletCommand() { ModuleUnlock(); }
    CQuilletCommand(const CQuilletCommand&) = delete;
    CQuilletCommand& operator=(const CQuilletCommand&) = delete;

    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override
    {
        static const QITAB kInterfaces[] = {QITABENT(CQuilletCommand, IExplorerCommand), {}};
        return QISearch(this, kInterfaces, riid, ppv);
    }
    // The surrogate calls on one apartment, but nothing stops a host from sharing the object.
    STDMETHODIMP_(ULONG) AddRef() override { return static_cast<ULONG>(InterlockedIncrement(&m_refCount)); }
    STDMETHODIMP_(ULONG) Release() override
    {
        const LONG count = InterlockedDecrement(&m_refCount);
        if (count == 0)
            delete this;
        return static_cast<ULONG>(count);
    }

    STDMETHODIMP GetTitle(IShellItemArray*, LPWSTR* name) override
    {
        return GuardedCall([&] {
            if (!name)
                return E_POINTER;
            *name = nullptr;
            // Chosen at each call, as the classic handler chooses it for each menu.
            wchar_t caption[kCaptionLength] = {};
            ChooseMenuCaption({ModuleInstance(), ModuleCriticalSection()}, caption);
            return SHStrDupW(caption, name);
        });
    }
    STDMETHODIMP GetIcon(IShellItemArray*, LPWSTR* icon) override
    {
        return GuardedCall([&] {
            if (!icon)
                return E_POINTER;
            *icon = nullptr;
            const std::wstring location = CommandIconLocation(ModuleInstance());
            return location.empty() ? E_FAIL : SHStrDupW(location.c_str(), icon);
        });
    }
    STDMETHODIMP GetToolTip(IShellItemArray*, LPWSTR* tip) override
    {
        if (tip)
            *tip = nullptr;
        return E_NOTIMPL;
    }
    STDMETHODIMP GetCanonicalName(GUID* name) override
    {
        if (!name)
            return E_POINTER;
        *name = CLSID_QuilletCommand;
        return S_OK;
    }
    // Fast enough for the UI thread, so never E_PENDING: two registry reads, one existence test
    // and the items' attributes.
    STDMETHODIMP GetState(IShellItemArray* items, BOOL, EXPCMDSTATE* state) override
    {
        return GuardedCall([&] {
            if (!state)
                return E_POINTER;
            *state = CommandState(items);
            return S_OK;
        });
    }
    STDMETHODIMP Invoke(IShellItemArray* items, IBindCtx*) override
    {
        return GuardedCall([&] { return RunExplorerCommand(items); });
    }
    STDMETHODIMP GetFlags(EXPCMDFLAGS* flags) override
    {
        if (!flags)
            return E_POINTER;
        *flags = ECF_DEFAULT;
        return S_OK;
    }
    STDMETHODIMP EnumSubCommands(IEnumExplorerCommand** commands) override
    {
        if (commands)
            *commands = nullptr;
        return E_NOTIMPL;
    }

private:
    LONG m_refCount = 1;
};

} // namespace

HRESULT CreateExplorerCommand(IUnknown*, REFIID riid, void** ppv)
{
    *ppv = nullptr;
    auto* command = new (std::nothrow) CQuilletCommand();
    if (!command)
        return E_OUTOFMEMORY;
    const HRESULT hr = command->QueryInterface(riid, ppv);
    command->Release(); // the caller's reference remains, or none and the object is gone
    return hr;
}

} // namespace quillet
