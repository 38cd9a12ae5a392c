#include "module/object_map.h"

#include <cstring>
#include <iterator>

#include "module/class_factory.h"
#include "module/handler_objects.h"
#include "module/module_state.h"
#include "platform/handles.h"
#include "quillet_idl.h"
#include "resources/resource_ids.h"

namespace quillet {
namespace {

ObjectMapEntry g_objectMap[] = {
    {&CLSID_FTKelMN, &CreatePlainHandler, &CreateAggregatedHandler, IDR_REGISTRATION_SCRIPT, nullptr},
};

} // namespace

ObjectMapEntry* ObjectMapBegin() { return std::begin(g_objectMap); }
ObjectMapEntry* ObjectMapEnd() { return std::end(g_objectMap); }

HRESULT GetClassObjectFromMap(REFCLSID clsid, REFIID riid, void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    HRESULT hr = S_OK;
    for (ObjectMapEntry* entry = ObjectMapBegin(); entry != ObjectMapEnd(); ++entry) {
        if (std::memcmp(entry->clsid, &clsid, sizeof(CLSID)) != 0)
            continue;
        if (!entry->cachedClassObject) {
            // A second test under the lock: two apartments asking at once share one factory.
            CriticalSectionScope lock(ClassObjectLock());
            if (!entry->cachedClassObject) {
                IUnknown* factory = nullptr;
                hr = CreateClassFactory(entry->createPlain, entry->createAggregated, &factory);
                if (SUCCEEDED(hr))
                    entry->cachedClassObject = factory;
            }
        }
        if (IUnknown* factory = entry->cachedClassObject.load())
            hr = factory->QueryInterface(riid, ppv);
        break;
    }
    if (*ppv == nullptr && SUCCEEDED(hr))
        hr = CLASS_E_CLASSNOTAVAILABLE;
    return hr;
}

void ReleaseCachedClassObjects()
{
    for (ObjectMapEntry* entry = ObjectMapBegin(); entry != ObjectMapEnd(); ++entry) {
        if (IUnknown* factory = entry->cachedClassObject.exchange(nullptr))
            factory->Release();
    }
}

} // namespace quillet
