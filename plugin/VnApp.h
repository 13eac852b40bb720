#pragma once

#include "core/VnStringArray.h"
#include "core/VnStringMap.h"

#include <atomic>
#include <cstdint>

/// Base of the one application object of a module or program.
///
/// A module is attached and detached, any number of times: only the first attach and the last
/// detach do any work. A stand-alone program calls one of the run operations instead. A result of 1
/// means success, 0 failure. Attach and detach may come from any thread; only the count is atomic,
/// so that a second attach can return before the first one's start has finished.
class VnApp {
public:
    /// Reasons of AttachEntry.
    enum AttachReason : int32_t {
        kReasonDetach = 0,
        kReasonAttach = 1,
    };

    VnApp();
    virtual ~VnApp();
    VnApp(const VnApp&) = delete;
    VnApp& operator=(const VnApp&) = delete;

    /// The application object of this module; null as long as none was made.
    static VnApp* GetCurrent() { return Current; }

    /// Handle of the first attach or of a run call, 0 before it.
    uintptr_t GetModuleHandle() const { return ModuleHandle; }

    /// Third argument of RunWithHangupHandler.
    int32_t GetStartArgument() const { return StartArgument; }

    /// What a run call returns.
    int32_t GetExitCode() const { return ExitCode; }
    void SetExitCode(int32_t code) { ExitCode = code; }

    int32_t GetAttachCount() const { return AttachCount.load(); }

    /// Counts an attach (reason 1) or detach (reason 0). The first attach stores the handle and
    /// calls OnStart; when that fails OnExit follows, the result is 0, and the count stays at 1.
    /// The last detach calls OnExit. Every other call only counts, other reasons do nothing, and
    /// the result is 1.
    virtual int32_t AttachEntry(uintptr_t handle, int32_t reason, intptr_t reserved);

    /// Stores handle and `third`, and runs the program: OnStart, OnMain under a handler for the
    /// hang-up signal, OnExit. Returns the exit code; after a failed start OnMain is left out.
    virtual int32_t RunWithHangupHandler(uintptr_t handle, intptr_t second, int32_t third);

    /// As RunWithHangupHandler, but stores nothing and installs no handler.
    virtual int32_t Run(uintptr_t handle);

    /// Called before any work; 0 refuses the start.
    virtual int32_t OnStart(uintptr_t handle, intptr_t second, int32_t third);

    /// Called behind all work, and after a refused start.
    virtual int32_t OnExit();

    /// The program's work.
    virtual void OnMain();

    /// Hooks for derived classes that nothing here calls.
    virtual int32_t OnFirstHook();
    virtual void OnSecondHook();
    virtual int32_t OnThirdHook();

private:
    static inline VnApp* Current = nullptr;

    uintptr_t ModuleHandle = 0;
    int32_t StartArgument = 0;
    VnStringArray FirstTexts;
    [[maybe_unused]] int64_t FirstValue = 0;
    [[maybe_unused]] int64_t SecondValue = 0;
    int32_t ExitCode = 0;
    VnStringUniqueList<VnString, false> Names;
    std::atomic<int32_t> AttachCount{0};
    VnStringArray SecondTexts;
};

/// Asks the process to end; the hang-up handler has the same effect.
void VnRequestExit();

/// True once the end of the process was asked for.
bool VnIsExitRequested();
