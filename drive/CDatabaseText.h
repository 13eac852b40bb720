#pragma once

#include "core/VnString.h"

#include <cstdint>
#include <string_view>
#include <vector>

/// Reader for the bytes of a database in exactly the form that SaveDatabase writes, for which no
/// document has to be built: a large device loads in a fraction of the time and memory. It gives
/// the records that the XML parser would give; a file of any other form is left to the parser.
class CDatabaseText {
public:
    /// Looks the whole text over. False when it is not of that form; no record is given then. The
    /// bytes must outlive the object.
    bool Open(std::string_view bytes);
    /// Forgets the records.
    void Close();
    int32_t GetCount() const { return static_cast<int32_t>(Records.size()); }
    /// The bytes of record number `index`, trimmed.
    std::string_view GetBytes(int32_t index) const { return Records[static_cast<size_t>(index)]; }
    /// The text of record number `index`, trimmed, decoded so that every name of a file comes back.
    VnString GetItemText(int32_t index);

private:
    bool SkipRecord(std::string_view bytes, size_t& position);

    std::vector<std::string_view> Records;
    VnString Scratch;
};
