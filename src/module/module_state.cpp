#include "module/module_state.h"

#include "module/object_map.h"
#include "module/type_info.h"

namespace quillet {
namespace {

HINSTANCE g_instance = nullptr;
LONG g_lockCount = 0;
CRITICAL_SECTION g_classObjectLock;
CRITICAL_SECTION g_moduleLock;
bool g_initialized = false;

} // namespace

HINSTANCE ModuleInstance() { return g_instance; }
void SetModuleInstance(HINSTANCE instance) { g_instance = instance; }

LONG ModuleLock() { return InterlockedIncrement(&g_lockCount); }
LONG ModuleUnlock() { return InterlockedDecrement(&g_lockCount); }
LONG ModuleLockCount() { return InterlockedCompareExchange(&g_lockCount, 0, 0); }

CRITICAL_SECTION& ClassObjectLock() { return g_classObjectLock; }
CRITICAL_SECTION& ModuleCriticalSection() { return g_moduleLock; }

void InitializeModule(HINSTANCE instance)
{
    g_instance = instance;
    if (g_initialized)
        return;
    InitializeCriticalSection(&g_classObjectLock);
    InitializeCriticalSection(&g_moduleLock);
    g_initialized = true;
}

void TerminateModule(bool processTerminating)
{
    if (!g_initialized)
        return;
    if (!processTerminating) {
        ReleaseCachedClassObjects();
        ReleaseTypeInfo();
    }
    DeleteCriticalSection(&g_classObjectLock);
    DeleteCriticalSection(&g_moduleLock);
    g_initialized = false;
}

} // namespace quillet
