#include "plugin/CPortableDrivesImpl.h"

/// Makes the handheld object of one device; the host destroys it through its virtual destructor.
/// `host` may be null. An exception of the constructor travels to the caller.
extern "C" __attribute__((visibility("default"))) IVnHandheld*
CreatePortableDrive(IVnHandheldHost* host) {
    return new CPortableDrivesImpl(host);
}
