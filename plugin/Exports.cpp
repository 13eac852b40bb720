#include "plugin/CPortableDrivesApp.h"
#include "plugin/Registration.h"

#include <cstdint>
#include <ios>

namespace {

// The application object comes first of all static objects, the streams next; the sibling modules
// follow. The order of destruction is the reverse, so that the application object outlives
// everything that looks for it.
[[gnu::init_priority(201)]] CPortableDrivesApp Application;
[[gnu::init_priority(202)]] std::ios_base::Init Streams;

} // namespace

extern "C" {

/// Attaches the plug-in under the host's module handle. 1, or 0 when the first start failed.
[[gnu::visibility("default")]] int32_t Attach(uintptr_t moduleHandle) {
    VnApp* application = VnApp::GetCurrent();
    return application == nullptr ? 0
                                  : application->AttachEntry(moduleHandle, VnApp::kReasonAttach, 0);
}

/// Takes one attach back. Always 1.
[[gnu::visibility("default")]] int32_t Detach() {
    if (VnApp* application = VnApp::GetCurrent()) {
        application->AttachEntry(0, VnApp::kReasonDetach, 0);
    }
    return 1;
}

/// Writes the plug-in's registration into the host's settings tree. Always 0.
[[gnu::visibility("default")]] int32_t DllRegisterServer() {
    VnRegisterPortableDrives();
    return 0;
}

/// Removes the registration. Always 0.
[[gnu::visibility("default")]] int32_t DllUnregisterServer() {
    VnUnregisterPortableDrives();
    return 0;
}

} // extern "C"
