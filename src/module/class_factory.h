// The class object: IClassFactory bound to a plain and an aggregating creator.
#pragma once
#include "module/object_map.h"

namespace quillet {

HRESULT CreateClassFactory(CreatorFn createPlain, CreatorFn createAggregated, IUnknown** factory);

} // namespace quillet
