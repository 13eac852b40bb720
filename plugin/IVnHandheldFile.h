#pragma once

#include "plugin/IVnHandheldText.h"

#include <cstdint>

/// One library file, owned by the list that gave it.
class IVnHandheldFile {
public:
    /// Slot 0. The value of a field; `flag` 1 asks for the form in which it is shown.
    virtual VnHandheldText GetField(const wchar_t* name, int32_t flag) = 0;
    /// Slot 1. The file's path in the library.
    virtual VnHandheldText GetLibraryPath() = 0;
    /// Slot 2. An expression of the host's language worked out for this file; `flag` 1 makes each
    /// value safe in a path.
    virtual VnHandheldText Evaluate(const wchar_t* expression, int32_t flag) = 0;
    /// Slot 3. The path to read the data from.
    virtual VnHandheldText GetSourcePath() = 0;
    /// Slot 4. The path of an existing picture file, empty when there is none. `reserved` is 0.
    virtual VnHandheldText GetCoverArtPath(int32_t reserved) = 0;
    /// Slot 5.
    virtual void SetField(const wchar_t* name, const wchar_t* value) = 0;
    /// Slot 6. The names of the fields that belong in a record, separated by "|". `flag` is 1.
    virtual VnHandheldText GetFieldList(int32_t flag) = 0;

protected:
    ~IVnHandheldFile() = default;
};
