#pragma once

#include "core/VnBuffer.h"
#include "core/VnString.h"
#include "drive/CDatabaseText.h"

#include <cstdint>
#include <string_view>
#include <vector>

/// The records of a database file as the bytes that they were read from, found by path. A scan that
/// meets nothing new needs no more of a record than its fields, and as wide text, one block a
/// record, a large database takes six times the memory of its file and most of the scan's time.
///
/// It answers only for paths that are spelled as in their records and has no two records of one
/// path in any letter case: everything else is for the map that the records go into otherwise.
class CStoredRecords {
public:
    /// Takes the bytes of a file over and finds the records in them. False, with the bytes left to
    /// the caller, when the file is not of the plain form or two of its paths are the same in any
    /// letter case.
    bool Open(VnBuffer& bytes);
    void Close();

    int32_t GetCount() const { return Text.GetCount(); }
    /// The record of a path, -1 when there is none that spells it so.
    int32_t Find(const VnString& path);
    /// The bytes of a record, trimmed; they live until Close.
    std::string_view GetBytes(int32_t index) const { return Text.GetBytes(index); }
    VnString GetItemText(int32_t index) { return Text.GetItemText(index); }
    /// The path in a record; empty when it has none.
    VnString GetKey(int32_t index) {
        ReadKey(index);
        return Key;
    }

private:
    struct CSlot {
        uint32_t Hash;
        int32_t Index; ///< of the record, -1 for a free slot
    };
    std::string_view GetKeyBytes(int32_t index) const;
    void ReadKey(int32_t index);
    bool HasKey(int32_t index, const VnString& path);
    bool AddToTable(int32_t index);

    VnBuffer Bytes;
    CDatabaseText Text;
    std::vector<CSlot> Table; ///< a power of two of slots, at most half of them taken
    VnString Key;             ///< of the record that was looked at last
};
