#include "module/module_state.h"

#include "module/object_map.h"
#include "module/type_info.h"

namespace quillet {

void InitializeModule(HINSTANCE instance) { InitializeServerModule(instance); }

void TerminateModule(bool processTerminating)
{
    if (!ServerModuleInitialized())
        return;
    if (!processTerminating) {
        ReleaseCachedClassObjects(ObjectMap());
        ReleaseTypeInfo();
    }
    TerminateServerModule();
}

} // namespace quillet
