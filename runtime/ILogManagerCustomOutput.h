#pragma once

#include <cstdint>

/// A sink for finished log lines; registered with IVnLogManager::AddCustomOutput. Called on the
/// thread that logs.
class ILogManagerCustomOutput {
public:
    /// Slot 0. `text` is `length` characters, valid for the call.
    virtual void Output(uint32_t category, const wchar_t* text, int32_t length) = 0;
    /// Slots 1 and 2.
    virtual ~ILogManagerCustomOutput() = default;
};
