#pragma once

#include "core/VnString.h"

#include <cstddef>
#include <string>
#include <string_view>
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
    /// The same for the bytes of a record as they stand in the file.
    bool Read(std::string_view bytes);
    const std::vector<CField>& GetFields() const { return Fields; }

private:
    /// Name or value of a field, as it stands in the text.
    struct CSlice {
        size_t Start;
        size_t Length;
    };
    template<typename CHARACTER>
    bool ReadText(std::basic_string_view<CHARACTER> text);
    template<typename CHARACTER>
    bool FindSlices(std::basic_string_view<CHARACTER> text);

    std::vector<CSlice> Slices; ///< name and value in turn
    std::wstring Storage;       ///< decoded texts, each with its terminator
    std::vector<CField> Fields;
};
