#include "plugin/VnDllApp.h"

#include "core/VnStringManager.h"
#include "runtime/VnSiblingModules.h"

#include <csignal>

int32_t VnDllApp::OnStart(uintptr_t handle, intptr_t second, int32_t third) {
    if (VnApp::OnStart(handle, second, third) == 0) {
        return 0;
    }
    VnStringGlobals::Get().RebuildTables(/*useEnvironmentLocale=*/true);
    OnDllStart();
    return LoadToolsModule();
}

int32_t VnDllApp::OnExit() {
    VnSiblingModules::GetInstance().UnloadAll(/*detachFirst=*/true);
    return VnApp::OnExit();
}

int32_t VnDllApp::LoadToolsModule() {
    return VnLoadTools(VnString(), /*report=*/true, /*exitOnFailure=*/false) ? 1 : 0;
}

int32_t VnDllApp::IgnoreAbortSignal() {
    std::signal(SIGABRT, SIG_IGN);
    return 1;
}

void VnDllApp::OnDllHook() {
}

int32_t VnDllApp::OnDllStart() {
    return 1;
}
