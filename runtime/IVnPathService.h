#pragma once

#include <cstdint>

/// Questions about local paths. Any thread may call.
class IVnPathService {
public:
    /// Slot 0. Whether a file, no directory, stands at the path. `option` is 0 here; 2 follows no
    /// link.
    virtual bool FileExists(const wchar_t* path, int32_t option) = 0;
    /// Slot 1. Whether a directory stands at the path; a last segment of "*" is left out of the
    /// test.
    virtual bool DirectoryExists(const wchar_t* path) = 0;
    /// Slot 2. False for a path that cannot be reached: empty, or below something that is no
    /// directory.
    virtual bool IsPathAvailable(const wchar_t* path) = 0;

protected:
    ~IVnPathService() = default;
};
