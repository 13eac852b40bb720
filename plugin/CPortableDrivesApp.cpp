#include "plugin/CPortableDrivesApp.h"

int32_t CPortableDrivesApp::OnStart(uintptr_t handle, intptr_t second, int32_t third) {
    return VnDllApp::OnStart(handle, second, third);
}

int32_t CPortableDrivesApp::OnExit() {
    return VnDllApp::OnExit();
}
