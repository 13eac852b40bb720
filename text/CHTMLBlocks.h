#pragma once

#include "core/VnString.h"

#include <cstdint>
#include <vector>

/// The blocks of an HTML text: where one begins that also ends. Found in two passes over the text,
/// however many starts there are without an end.
class CHTMLBlocks {
public:
    struct CBlock {
        int32_t Type = 0; ///< one of CHTMLTree::ItemTypes
        int32_t Start = 0;
        int32_t End = 0; ///< behind the end text
    };

    explicit CHTMLBlocks(const VnString& text);

    /// The first block at or behind `start` that ends no later than `limit`. Calls must move
    /// forward: what lies ahead of an earlier `start` is not looked at again.
    bool FindNext(int32_t start, int32_t limit, CBlock& block);

    /// Whether a block of that type has a start item with children.
    static bool HasContent(int32_t type);

private:
    std::vector<CBlock> Blocks; ///< all starts in their order; End is 0 for one without an end
    size_t Next = 0;
};
