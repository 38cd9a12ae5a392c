// The classes this server hands out: one entry, the context-menu handler.
#pragma once
#include <windows.h>
#include <unknwn.h>

namespace quillet {

using CreatorFn = HRESULT (*)(IUnknown* outer, REFIID riid, void** ppv);

struct ObjectMapEntry {
    const CLSID* clsid;
    CreatorFn createPlain;
    CreatorFn createAggregated;
    UINT registrationScriptId;
    IUnknown* cachedClassObject; // one reference held until the module terminates
};

ObjectMapEntry* ObjectMapBegin();
ObjectMapEntry* ObjectMapEnd();

// DllGetClassObject's lookup: the cached class factory of the entry, created on first use.
HRESULT GetClassObjectFromMap(REFCLSID clsid, REFIID riid, void** ppv);
void ReleaseCachedClassObjects();

} // namespace quillet
