// The four functions COM and regsvr32 call.
#include <windows.h>
#include <olectl.h>

#include "module/module_state.h"
#include "module/object_map.h"
#include "platform/com_guard.h"
#include "registration/server_registration.h"
#include "registration/shell_handler_keys.h"

using namespace quillet;

namespace {

// Every class of the object map from its script, stopping at the first failure, then the type
// library they share.
HRESULT UpdateServerEntries(RegistrarMode mode)
{
    const HINSTANCE module = ModuleInstance();
    for (const ObjectMapEntry& entry : ObjectMap()) {
        const HRESULT hr = UpdateClassEntries(module, entry.registrationScriptId, mode);
        if (FAILED(hr))
            return hr;
    }
    return UpdateTypeLibrary(module, mode);
}

} // namespace

STDAPI DllCanUnloadNow()
{
    return CanUnloadServer();
}

STDAPI DllGetClassObject(REFCLSID rclsid, REFIID riid, LPVOID* ppv)
{
    return GuardedCall([&] { return GetClassObjectFromMap(ObjectMap(), ClassObjectLock(), rclsid, riid, ppv); });
}

STDAPI DllRegisterServer()
{
    return GuardedCall([] {
        // Written before, and independently of, the class they point to.
        WriteShellHandlerKeys();
        return UpdateServerEntries(RegistrarMode::Register);
    });
}

STDAPI DllUnregisterServer()
{
    return GuardedCall([] {
        DeleteShellHandlerKeys();
        return UpdateServerEntries(RegistrarMode::Unregister);
    });
}
