// Process-wide state of the COM server: instance handle, lock count, critical sections.
#pragma once
#include <windows.h>

namespace quillet {

// The DLL's own handle; every resource is loaded from it.
HINSTANCE ModuleInstance();
void SetModuleInstance(HINSTANCE instance);

// Live handler objects plus outstanding LockServer(TRUE) calls.
LONG ModuleLock();
LONG ModuleUnlock();
LONG ModuleLockCount();

// Creates the critical sections; called once at process attach.
void InitializeModule(HINSTANCE instance);
// Releases the cached class object and type information and deletes the critical sections.
// With processTerminating set, COM objects are left alone: their DLLs may already be gone.
void TerminateModule(bool processTerminating);

// Guards the lazy creation of the cached class object.
CRITICAL_SECTION& ClassObjectLock();
// Guards the once-per-process load of the dispatch type information.
CRITICAL_SECTION& ModuleCriticalSection();

} // namespace quillet
