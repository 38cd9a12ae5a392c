// QuilletCommand.dll's entry point and its two exports. A packaged server is registered by its
// package, so there is no DllRegisterServer.
#include <windows.h>

#include "com/object_map.h"
#include "com/server_module.h"
#include "command/command_class.h"
#include "command/explorer_command.h"
#include "platform/com_guard.h"
#include "platform/runtime_reserve.h"

using namespace quillet;

namespace {

ObjectMapEntry g_objectMap[] = {
    {&CLSID_QuilletCommand, &CreateExplorerCommand, nullptr, 0, nullptr},
};

} // namespace

// Runs under the loader lock: no COM or registry work here.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved)
{
    if (reason == DLL_PROCESS_ATTACH) {
        InitializeServerModule(instance);
        DisableThreadLibraryCalls(instance);
    } else if (reason == DLL_PROCESS_DETACH) {
        // A non-null reserved means the process is ending and the factory's DLLs may be gone.
        if (!reserved)
            ReleaseCachedClassObjects(g_objectMap);
        TerminateServerModule();
        if (!reserved)
            ReleaseRuntimeReserve();
    }
    return TRUE;
}

STDAPI DllCanUnloadNow()
{
    return CanUnloadServer();
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    return GuardedCall([&] { return GetClassObjectFromMap(g_objectMap, ClassObjectLock(), rclsid, riid, ppv); });
}
