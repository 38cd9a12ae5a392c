// What every COM server DLL of ours keeps process-wide: its instance handle, its lock count and
// two critical sections. Each DLL links its own copy, so the two servers never share a count.
#pragma once
#include <windows.h>

namespace quillet {

// The DLL's own handle; every resource is loaded from it.
HINSTANCE ModuleInstance();
void SetModuleInstance(HINSTANCE instance);

// Live objects plus outstanding LockServer(TRUE) calls, changed only by interlocked operations.
LONG ModuleLock();
LONG ModuleUnlock();
LONG ModuleLockCount();
// DllCanUnloadNow's answer: S_OK once nothing holds the server, else S_FALSE.
HRESULT CanUnloadServer();

// Creates the critical sections; called once at process attach.
void InitializeServerModule(HINSTANCE instance);
// Deletes them; called at process detach, after the caches they guard are released.
void TerminateServerModule();
bool ServerModuleInitialized();

// Guards the lazy creation of the cached class objects.
CRITICAL_SECTION& ClassObjectLock();
// Guards what the server loads once per process (type information, the caption table, pictures).
CRITICAL_SECTION& ModuleCriticalSection();

} // namespace quillet
