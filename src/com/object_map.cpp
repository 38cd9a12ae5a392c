#include "com/object_map.h"

#include <cstring>

#include "platform/handles.h"

namespace quillet {

HRESULT GetClassObjectFromMap(std::span<ObjectMapEntry> map, CRITICAL_SECTION& lock, REFCLSID clsid, REFIID riid,
                              void** ppv)
{
    if (!ppv)
        return E_POINTER;
    *ppv = nullptr;
    HRESULT hr = S_OK;
    for (ObjectMapEntry& entry : map) {
        if (std::memcmp(entry.clsid, &clsid, sizeof(CLSID)) != 0)
            continue;
        IUnknown* cached = entry.cachedClassObject.load(std::memory_order_acquire);
        if (!cached) {
            // A second test under the lock: two apartments asking at once share one factory.
            CriticalSectionScope scope(lock);
            cached = entry.cachedClassObject.load(std::memory_order_acquire);
            if (!cached) {
                hr = CreateClassFactory(entry.createPlain, entry.createAggregated, &cached);
                if (SUCCEEDED(hr))
                    entry.cachedClassObject.store(cached, std::memory_order_release);
            }
        }
        if (cached)
            hr = cached->QueryInterface(riid, ppv);
        break;
    }
    if (*ppv == nullptr && SUCCEEDED(hr))
        hr = CLASS_E_CLASSNOTAVAILABLE;
    return hr;
}

void ReleaseCachedClassObjects(std::span<ObjectMapEntry> map)
{
    for (ObjectMapEntry& entry : map) {
        if (IUnknown* cached = entry.cachedClassObject.exchange(nullptr))
            cached->Release();
    }
}

} // namespace quillet
