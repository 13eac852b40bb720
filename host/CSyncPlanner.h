#pragma once

#include "host/CDeviceRecord.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct CLibraryItem;

/// What a sync may take off a device.
enum class DeleteMode {
    None,
    Own, ///< what a sync put there and the library no longer has
    All, ///< also files that no sync put there
};

/// A file that the drive reports, with the keys that the device's expressions give for it.
struct CDeviceFile {
    std::string Path;
    std::string MatchKey;
    std::string ChangeKey;
};

/// A library file with the keys that the device's expressions give for it.
struct CSyncItem {
    const CLibraryItem* File = nullptr;
    std::string MatchKey;
    std::string ChangeKey;
};

/// What a sync is going to do. The items are those of the planner's input.
struct CSyncPlan {
    struct CSend {
        const CSyncItem* Item = nullptr;
        std::string Replaces; ///< the device file that goes for it; empty for a new one
    };
    struct CKeep {
        const CSyncItem* Item = nullptr;
        std::string Target;
        bool IsNewOwner =
            false; ///< the file moved in the library: its record is to name the new place
    };
    std::vector<CSend> Sends;
    std::vector<CKeep> Keeps;
    std::vector<std::string>
        Deletes; ///< device files without a place in the library, and their folders' pictures
    std::vector<std::string> Leftovers; ///< the same, where the delete mode lets them stay
    std::vector<std::string>
        Forgotten; ///< record entries whose device file is gone, or has become somebody else's
};

/// Compares a library with a device.
///
/// A library file and a device file are the same item when the host's record says so, or else when
/// their match keys are equal; each device file stands for one item. An item whose record is there
/// is sent again when its size, match key or change key is another, when its time is (if
/// `ResendOnDate`), or when the device file is shorter than what was sent. A file that no sync put
/// on the device is never replaced. What the library could not read, or lies in a folder that could
/// not be listed, counts as still there.
class CSyncPlanner {
public:
    struct CInput {
        std::vector<CSyncItem> Items;
        std::vector<CDeviceFile> Device;
        std::vector<CDeviceRecord::CEntry> Records;
        std::vector<std::string> PassedOver; ///< library paths
        DeleteMode Delete = DeleteMode::None;
        bool ResendOnDate = true;
        /// The size of a regular file on the device, -1 when there is none.
        std::function<int64_t(const std::string&)> GetDeviceSize;
    };

    static CSyncPlan Plan(const CInput& input);
};
