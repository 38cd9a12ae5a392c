// A server's table of classes and DllGetClassObject's lookup in it.
#pragma once
#include <windows.h>
#include <unknwn.h>

#include <atomic>
#include <span>

#include "com/class_factory.h"

namespace quillet {

struct ObjectMapEntry {
    const CLSID* clsid;
    CreatorFn createPlain;
    CreatorFn createAggregated;  // null: the class cannot be aggregated
    UINT registrationScriptId;   // 0: registered by something else than the DLL
    // One reference held until the module terminates; read without the lock by other apartments.
    std::atomic<IUnknown*> cachedClassObject;
};

// The cached class factory of the entry for clsid, created on first use under lock.
// E_POINTER without ppv; CLASS_E_CLASSNOTAVAILABLE for a class not in the map.
HRESULT GetClassObjectFromMap(std::span<ObjectMapEntry> map, CRITICAL_SECTION& lock, REFCLSID clsid, REFIID riid,
                              void** ppv);
void ReleaseCachedClassObjects(std::span<ObjectMapEntry> map);

} // namespace quillet
