#pragma once

#include <cstdint>

/// Root object of the image, player and television modules. The module owns it. Slots are only
/// appended.
class IVnModuleRoot {
public:
    /// Slot 0. Called once behind the entry.
    virtual bool Initialize(int32_t flag) = 0;
    /// Slot 1. Called once before the module is closed.
    virtual bool Uninitialize(int32_t flag) = 0;

protected:
    ~IVnModuleRoot() = default;
};
