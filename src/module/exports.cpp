// The four functions COM and regsvr32 call.
#include <windows.h>
#include <olectl.h>

#include "module/module_state.h"
#include "module/object_map.h"
#include "module/server_registration.h"
#include "module/shell_handler_keys.h"
#include "platform/com_guard.h"

using namespace quillet;

STDAPI DllCanUnloadNow()
{
    return ModuleLockCount() == 0 ? S_OK : S_FALSE;
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    return GuardedCall([&] { return GetClassObjectFromMap(rclsid, riid, ppv); });
}

STDAPI DllRegisterServer()
{
    return GuardedCall([] {
        // Written before, and independently of, the class they point to.
        WriteShellHandlerKeys();
        return RegisterServerEntries();
    });
}

STDAPI DllUnregisterServer()
{
    return GuardedCall([] {
        DeleteShellHandlerKeys();
        return UnregisterServerEntries();
    });
}
