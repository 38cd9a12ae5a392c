// The dispatch type information of IFTKelMN, loaded once per process from the registered library.
#pragma once
#include <windows.h>
#include <oaidl.h>

namespace quillet {

// Hands out the cached ITypeInfo with one added reference (typeInfo not null); loads it first if
// needed.
HRESULT GetHandlerTypeInfo(LCID lcid, ITypeInfo** typeInfo);
void ReleaseTypeInfo();

} // namespace quillet
