#pragma once

#include "text/VnXMLDocument.h"

#include <cstdint>
#include <memory>

/// One entry of the table of saved positions.
struct VnXMLDocument::CSavedPosition {
    /// Which position the record was; none of the first two is the parent.
    enum PositionFlags : uint32_t {
        kMain = 1,
        kChild = 2,
        kInUse = 4,
        kLast = 8, ///< last entry of its array
    };

    VnString Name;
    int32_t Index = 0;
    uint32_t Flags = 0;
};

/// The named positions of a document, in buckets by the sum of the name's characters.
struct VnXMLDocument::CSavedPositions {
    static constexpr int32_t kBuckets = 7;

    std::unique_ptr<CSavedPositions> Clone() const;
    static int32_t GetBucket(const wchar_t* name);
    /// The entry of that name, null when there is none.
    CSavedPosition* Find(const wchar_t* name);
    /// An entry for that name: the one it has, one that is not in use, or one of a larger array.
    CSavedPosition& Make(const wchar_t* name);
    static int32_t GetSize(const CSavedPosition* bucket);

    std::unique_ptr<CSavedPosition[]> Buckets[kBuckets]; ///< each null until its first entry
};
