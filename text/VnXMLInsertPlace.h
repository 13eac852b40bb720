#pragma once

#include "text/VnXMLDocument.h"

#include <cstdint>
#include <string_view>

/// Where a change puts new text, and how the text around it is rewritten.
struct VnXMLDocument::CInsertPlace {
    int32_t Parent = 0;
    int32_t Reference = 0; ///< element at which the text goes, 0 for none
    bool IsAtNode = false; ///< it goes at the current node instead

    // Set by PrepareInsert.
    int32_t Before = 0;         ///< the child of the parent ahead of the new text, 0 for none
    int32_t Offset = 0;         ///< of what is replaced
    int32_t ReplacedLength = 0; ///< of the text that gives way
    int32_t EndTagLength = 0;   ///< of the end tag that the parent gets, 0 when it has one
    std::wstring_view Ahead;    ///< goes in ahead of the new text
    std::wstring_view Behind;   ///< goes in behind it
    VnString EndTag;            ///< holds Behind when that is no constant
};
