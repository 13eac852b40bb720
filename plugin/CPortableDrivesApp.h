#pragma once

#include "plugin/VnDllApp.h"

#include <cstdint>

/// The application object of the portable-drives plug-in.
class CPortableDrivesApp final : public VnDllApp {
public:
    int32_t OnStart(uintptr_t handle, intptr_t second, int32_t third) override;
    int32_t OnExit() override;
};
