// The classes this server hands out: one entry, the context-menu handler.
#pragma once
#include <windows.h>
#include <unknwn.h>

#include <atomic>

namespace quillet {

using CreatorFn = HRESULT (*)(IUnknown* outer, REFIID riid, void** ppv);

struct ObjectMapEntry {
    const CLSID* clsid;
    CreatorFn createPlain;
    CreatorFn createAggregated;
    UINT registrationScriptId;
    // One reference held until the module terminates; read without the lock, so atomic.
    std::atomic<IUnknown*> cachedClassObject;
};

ObjectMapEntry* ObjectMapBegin();
ObjectMapEntry* ObjectMapEnd();

// DllGetClassObject's lookup: the cached class factory of the entry, created on first use.
HRESULT GetClassObjectFromMap(REFCLSID clsid, REFIID riid, void** ppv);
void ReleaseCachedClassObjects();

} // namespace quillet
