// A module with the registration exports alone. What they do depends on files in the current
// directory.

#include <unistd.h>

#include <cstdint>
#include <stdexcept>

extern "C" {

/// 0 when the current directory holds a file "here", otherwise a failure.
__attribute__((visibility("default"))) int32_t DllRegisterServer() {
    return access("here", F_OK) == 0 ? 0 : -1;
}

/// Throws when the current directory holds a file "here", otherwise 7.
__attribute__((visibility("default"))) int32_t DllUnregisterServer() {
    if (access("here", F_OK) == 0) {
        throw std::runtime_error("cannot unregister");
    }
    return 7;
}
}
