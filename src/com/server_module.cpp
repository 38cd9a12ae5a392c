#include "com/server_module.h"

#include <optional>

#include "platform/handles.h"

namespace quillet {
namespace {

HINSTANCE g_instance = nullptr;
LONG g_lockCount = 0;
// Live from InitializeServerModule to TerminateServerModule, at process attach and detach.
std::optional<CriticalSection> g_classObjectLock;
std::optional<CriticalSection> g_moduleLock;

} // namespace

HINSTANCE ModuleInstance() { return g_instance; }
void SetModuleInstance(HINSTANCE instance) { g_instance = instance; }

LONG ModuleLock() { return InterlockedIncrement(&g_lockCount); }
LONG ModuleUnlock() { return InterlockedDecrement(&g_lockCount); }
LONG ModuleLockCount() { return InterlockedCompareExchange(&g_lockCount, 0, 0); }
HRESULT CanUnloadServer() { return ModuleLockCount() == 0 ? S_OK : S_FALSE; }

CRITICAL_SECTION& ClassObjectLock() { return g_classObjectLock->get(); }
CRITICAL_SECTION& ModuleCriticalSection() { return g_moduleLock->get(); }

void InitializeServerModule(HINSTANCE instance)
{
    g_instance = instance;
    if (g_moduleLock)
        return;
    g_classObjectLock.emplace();
    g_moduleLock.emplace();
}

bool ServerModuleInitialized() { return g_moduleLock.has_value(); }

void TerminateServerModule()
{
    g_classObjectLock.reset();
    g_moduleLock.reset();
}

} // namespace quillet
