// The class object: IClassFactory bound to a plain and an aggregating creator.
#pragma once
#include <windows.h>
#include <unknwn.h>

namespace quillet {

using CreatorFn = HRESULT (*)(IUnknown* outer, REFIID riid, void** ppv);

// createAggregated may be null for a class that cannot be aggregated: an outer object then gets
// CLASS_E_NOAGGREGATION.
HRESULT CreateClassFactory(CreatorFn createPlain, CreatorFn createAggregated, IUnknown** factory);

} // namespace quillet
