#pragma once

#include "plugin/VnApp.h"

#include <cstdint>

/// Application object of a loadable module: its start loads the tools module, its exit unloads all
/// sibling modules.
class VnDllApp : public VnApp {
public:
    /// Has the string manager take its tables from the locale of the environment, calls OnDllStart,
    /// and gives the result of LoadToolsModule.
    int32_t OnStart(uintptr_t handle, intptr_t second, int32_t third) override;

    /// Unloads the sibling modules; the tools module is first told which module goes.
    int32_t OnExit() override;

    /// Loads the tools module; a failure is reported on standard error.
    virtual int32_t LoadToolsModule();

    /// Has the process ignore the signal of abort(), SIGABRT. Always 1.
    virtual int32_t IgnoreAbortSignal();

    /// A hook for derived classes that nothing here calls.
    virtual void OnDllHook();

    /// Called by OnStart before the tools are loaded.
    virtual int32_t OnDllStart();
};
