#pragma once

#include "host/CConsole.h"

#include <cstdint>
#include <string>
#include <vector>

/// What a sync did, or in a dry run would do.
struct CSyncReport {
    struct CSent {
        std::string Source;
        std::string Target; ///< on the device, without its root
        int64_t Bytes = 0;
        bool IsReplaced = false; ///< an older copy went first
    };
    struct CNamed {
        std::string Path;
        std::string Reason;
    };

    std::string Device;
    bool IsDryRun = false;
    std::vector<CSent> Sent;
    size_t Kept = 0;
    std::vector<std::string> Deleted; ///< on the device, without its root
    std::vector<std::string>
        Leftovers; ///< sent by an earlier sync, no longer in the library, and still there
    std::vector<CNamed> Skipped;
    std::vector<CNamed> Failed;
    std::vector<std::string> PlaylistsSent;
    size_t PlaylistsKept = 0;
    int64_t Bytes = 0; ///< of the files sent
    double Seconds = 0;
    uint64_t TotalSpace = 0;
    uint64_t AvailableSpace = 0;
    std::string Error; ///< why the sync ended early; empty when it came to its end
    ExitCode Code = kExitDone;

    /// A short table for people; with `withNames` each file that goes either way, as a dry run
    /// shows it.
    std::string ToText(bool withNames) const;
    /// One JSON document with a line end.
    std::string ToJSON() const;
};
