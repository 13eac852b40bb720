#pragma once

#include "plugin/IVnHandheldText.h"

#include <cstdint>

class IVnHandheldFile;

/// A set of library files, owned by the host and used only during the call that it is given to.
class IVnHandheldFileList {
public:
    /// Slot 0.
    virtual int32_t GetCount() = 0;
    /// Slot 1. Owned by the list; null for an index that holds nothing.
    virtual IVnHandheldFile* GetItem(int32_t index) = 0;
    /// Slot 2. A new record at the end of the list, owned by it, or null when the host wants no
    /// more.
    virtual IVnHandheldFile* CreateRecord() = 0;
    /// Slot 3. The names of the fields that the host wants in each record, separated by "|". `flag`
    /// is 1.
    virtual VnHandheldText GetFieldList(int32_t flag) = 0;
    /// Slot 4. Writes the list as a playlist at `path`, in the format of the path's extension;
    /// `kind` is "handheld". Non-zero on success.
    virtual int32_t WritePlaylist(const wchar_t* path, const wchar_t* kind) = 0;

protected:
    ~IVnHandheldFileList() = default;
};
