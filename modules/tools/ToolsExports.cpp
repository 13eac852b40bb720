#include "core/VnStringManager.h"
#include "modules/tools/CToolsRoot.h"

// The exports of this module, as plain symbols. VnTools.map lists them for the linker.
extern "C" {

/// The root of the tools, or null for a version of the interface that this module does not have. It
/// stays the module's.
[[gnu::visibility("default")]] IVnToolsRoot* GetVnToolsDLL(int32_t version) {
    return version == IVnToolsRoot::kVersion ? &CToolsRoot::Get() : nullptr;
}

/// Called behind each load with the number of the load. Character tables follow the process's
/// locale from then on.
[[gnu::visibility("default")]] int32_t Attach([[maybe_unused]] uintptr_t number) {
    VnStringGlobals::Get().RebuildTables(false);
    return 1;
}

/// Called ahead of each unload.
[[gnu::visibility("default")]] int32_t Detach() {
    return 1;
}
}
