#pragma once

#include "drive/CPortableDriveGeneric.h"

/// Where the field values of a new record come from: a library file of the host, or an item of the
/// tag reader. Neither is owned.
class CPortableDriveGeneric::CRecordSource {
public:
    explicit CRecordSource(IVnHandheldFile* file) : File(file) {}
    explicit CRecordSource(IVnTagReaderItem* item) : Item(item) {}

    /// Empty when the source has no such field.
    VnString GetField(const VnString& name) const;

private:
    IVnHandheldFile* File = nullptr;
    IVnTagReaderItem* Item = nullptr;
};
