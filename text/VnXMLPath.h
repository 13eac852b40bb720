#pragma once

#include <cstdint>

/// One level of a search path, as places in the path's own text.
struct VnXMLPathPiece {
    enum Predicates : int32_t {
        kNone,
        kPlace,     ///< [3]
        kChild,     ///< [child]
        kAttribute, ///< [@attribute]
        kBad,       ///< brackets that nothing can match
    };

    /// Reads the piece at `text`, which is not empty.
    explicit VnXMLPathPiece(const wchar_t* text);

    const wchar_t* Name;
    int32_t Predicate = kNone;
    int32_t Place = 0;              ///< from 1
    const wchar_t* Inner = nullptr; ///< name in the brackets
    const wchar_t* Next = nullptr;  ///< the piece of the next level, null when this is the last
};
