#pragma once

#include <cstdint>

/// The object that the host gives to CreatePortableDrive. Owned by the host, which keeps it alive
/// as long as the drive. All calls come on the thread that called the plug-in.
class IVnHandheldHost {
public:
    /// Slot 0. What the host shows of the device is out of date: a folder or playlist was deleted
    /// from the menu.
    virtual void OnContentsChanged() = 0;
    /// Slot 1. The device database was deleted; the device's files must be examined anew.
    virtual void OnDatabaseRemoved() = 0;
    /// Slot 2. Called after every chunk of a transfer, in bytes. Setting `*cancel` to true ends the
    /// transfer.
    virtual void OnProgress(int64_t bytesDone, int64_t bytesInAll, bool* cancel) = 0;

protected:
    ~IVnHandheldHost() = default;
};
