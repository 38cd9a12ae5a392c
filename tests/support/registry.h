// The registry helpers, shared with the tools.
#pragma once
#include "common/registry.h"
