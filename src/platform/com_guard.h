// Keeps C++ exceptions inside the module: a COM method answers with an HRESULT instead.
#pragma once
#include <windows.h>

#include <new>

namespace quillet {

template <typename Body>
HRESULT GuardedCall(Body&& body) noexcept
{
    try {
        return body();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

} // namespace quillet
