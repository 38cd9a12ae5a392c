// The classes this server hands out: one entry, the context-menu handler.
#pragma once
#include <span>

#include "com/object_map.h"

namespace quillet {

std::span<ObjectMapEntry> ObjectMap();

} // namespace quillet
