// Process-wide state of the context-menu server: the shared server state (instance handle, lock
// count, critical sections) plus its type information and cached class object.
#pragma once
#include <windows.h>

#include "com/server_module.h"

namespace quillet {

// Creates the critical sections; called once at process attach.
void InitializeModule(HINSTANCE instance);
// Releases the cached class object and type information and deletes the critical sections.
// With processTerminating set, COM objects are left alone: their DLLs may already be gone.
void TerminateModule(bool processTerminating);

} // namespace quillet
