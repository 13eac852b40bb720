// A module that exports no entry and no factory.

#include "tests/modules/Journal.h"

#include <cstdint>

extern "C" {

[[gnu::visibility("default")]] int32_t Attach(uintptr_t /*number*/) {
    Note("Attach");
    return 1;
}

[[gnu::visibility("default")]] int32_t Detach() {
    Note("Detach");
    return 1;
}

} // extern "C"
