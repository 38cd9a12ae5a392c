#include "module/module_state.h"

#include <optional>

#include "module/object_map.h"
#include "module/type_info.h"
#include "platform/handles.h"

namespace quillet {
namespace {

HINSTANCE g_instance = nullptr;
LONG g_lockCount = 0;
// Live from InitializeModule to TerminateModule, which DllMain calls at process attach and detach.
std::optional<CriticalSection> g_classObjectLock;
std::optional<CriticalSection> g_moduleLock;

} // namespace

HINSTANCE ModuleInstance() { return g_instance; }
void SetModuleInstance(HINSTANCE instance) { g_instance = instance; }

LONG ModuleLock() { return InterlockedIncrement(&g_lockCount); }
LONG ModuleUnlock() { return InterlockedDecrement(&g_lockCount); }
LONG ModuleLockCount() { return InterlockedCompareExchange(&g_lockCount, 0, 0); }

CRITICAL_SECTION& ClassObjectLock() { return g_classObjectLock->get(); }
CRITICAL_SECTION& ModuleCriticalSection() { return g_moduleLock->get(); }

void InitializeModule(HINSTANCE instance)
{
    g_instance = instance;
    if (g_moduleLock)
        return;
    g_classObjectLock.emplace();
    g_moduleLock.emplace();
}

void TerminateModule(bool processTerminating)
{
    if (!g_moduleLock)
        return;
    if (!processTerminating) {
        ReleaseCachedClassObjects();
        ReleaseTypeInfo();
    }
    g_classObjectLock.reset();
    g_moduleLock.reset();
}

} // namespace quillet
