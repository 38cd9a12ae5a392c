#include "module/object_map.h"

#include "module/handler_objects.h"
#include "quillet_idl.h"
#include "resources/resource_ids.h"

namespace quillet {
namespace {

ObjectMapEntry g_objectMap[] = {
    {&CLSID_FTKelMN, &CreatePlainHandler, &CreateAggregatedHandler, IDR_REGISTRATION_SCRIPT, nullptr},
};

} // namespace

std::span<ObjectMapEntry> ObjectMap() { return g_objectMap; }

} // namespace quillet
