#pragma once

#include "core/VnString.h"

#include <cstdint>
#include <string>
#include <vector>

/// Reader for the text of one record in the plain form that this system writes: `Field` elements
/// with the one attribute Name in double quotes and content without markup, white space at most
/// behind each. It gives what the XML parser would give, without an index; a text of any other form
/// is left to the parser.
class CItemText {
public:
    /// One field, decoded. The texts live until the next Read.
    struct CField {
        const wchar_t* Name;
        const wchar_t* Value;
    };

    /// Takes a record's text apart. False, with no fields, when it is not of the plain form.
    bool Read(const VnString& text);
    const std::vector<CField>& GetFields() const { return Fields; }

private:
    struct CSlice {
        const wchar_t* Start;
        int32_t Length;
    };
    bool FindSlices(const VnString& text);
    void Store(const CSlice& slice);

    std::vector<CSlice> Slices; ///< name and value in turn, as they stand in the text
    std::wstring Storage;       ///< decoded texts, each with its terminator
    std::vector<size_t> Offsets;
    std::vector<CField> Fields;
};
