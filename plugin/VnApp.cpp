#include "plugin/VnApp.h"

#include <csignal>
#include <cstdio>

namespace {

constexpr char kHangupText[] = "Received a hangup signal, will exit!\n";
constexpr char kNoHandlerText[] = "Linux sigaction failure. Hangup will NOT be caught!\n";

/// Set once somebody asked for the end of the process.
std::atomic<int32_t> ExitRequested{0};

void OnHangup(int /*signal*/) {
    std::fwrite(kHangupText, 1, sizeof(kHangupText) - 1, stderr);
    VnRequestExit();
}

void InstallHangupHandler() {
    struct sigaction action {};
    action.sa_handler = OnHangup;
    sigemptyset(&action.sa_mask);
    if (sigaction(SIGHUP, &action, nullptr) == -1) {
        std::fputs(kNoHandlerText, stderr);
    }
}

} // namespace

VnApp::VnApp() {
    Current = this;
}

VnApp::~VnApp() {
    if (Current == this) {
        Current = nullptr;
    }
}

int32_t VnApp::AttachEntry(uintptr_t handle, int32_t reason, intptr_t /*reserved*/) {
    if (reason == kReasonAttach) {
        if (AttachCount.fetch_add(1) == 0) {
            ModuleHandle = handle;
            if (OnStart(handle, 0, 0) == 0) {
                OnExit();
                return 0;
            }
        }
    } else if (reason == kReasonDetach) {
        if (AttachCount.fetch_sub(1) == 1) {
            OnExit();
        }
    }
    return 1;
}

int32_t VnApp::RunWithHangupHandler(uintptr_t handle, intptr_t second, int32_t third) {
    ModuleHandle = handle;
    StartArgument = third;
    if (OnStart(handle, second, third) != 0) {
        InstallHangupHandler();
        OnMain();
    }
    OnExit();
    return ExitCode;
}

int32_t VnApp::Run(uintptr_t handle) {
    if (OnStart(handle, 0, 0) != 0) {
        OnMain();
    }
    OnExit();
    return ExitCode;
}

int32_t VnApp::OnStart(uintptr_t /*handle*/, intptr_t /*second*/, int32_t /*third*/) {
    return 1;
}

int32_t VnApp::OnExit() {
    return 1;
}

void VnApp::OnMain() {
}

int32_t VnApp::OnFirstHook() {
    return 1;
}

void VnApp::OnSecondHook() {
}

int32_t VnApp::OnThirdHook() {
    return 1;
}

void VnRequestExit() {
    ExitRequested.store(1);
}

bool VnIsExitRequested() {
    return ExitRequested.load() != 0;
}
