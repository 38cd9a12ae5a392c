// DLL entry point: runs under the loader lock, so no COM or registry work here.
#include <windows.h>

#include "module/module_state.h"
#include "platform/runtime_reserve.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved)
{
    quillet::SetModuleInstance(instance);
    if (reason == DLL_PROCESS_ATTACH) {
        quillet::InitializeModule(instance);
        DisableThreadLibraryCalls(instance);
    } else if (reason == DLL_PROCESS_DETACH) {
        // A non-null reserved means the process is ending and other DLLs may be gone already.
        quillet::TerminateModule(reserved != nullptr);
        if (!reserved)
            quillet::ReleaseRuntimeReserve();
    }
    return TRUE;
}
