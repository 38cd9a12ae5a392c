// The COM server's own entries: its classes from a registration script resource, and its type
// library. `module` is the server's instance handle, which names its file and holds both.
#pragma once
#include <windows.h>

#include "registration/registrar.h"

namespace quillet {

// Runs the "REGISTRY" resource `scriptId` with %MODULE% standing for the module's path. A path
// that fills the whole MAX_PATH buffer may have been cut: ERROR_INSUFFICIENT_BUFFER, nothing run.
HRESULT UpdateClassEntries(HINSTANCE module, UINT scriptId, RegistrarMode mode);

// The module's TYPELIB resource, or failing that a .tlb file beside the module.
HRESULT UpdateTypeLibrary(HINSTANCE module, RegistrarMode mode);

} // namespace quillet
