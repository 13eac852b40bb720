#include "text/VnXMLPath.h"

#include "text/VnXMLDocument.h"
#include "text/VnXMLScanner.h"

#include <vector>

VnXMLPathPiece::VnXMLPathPiece(const wchar_t* text) : Name(text) {
    const wchar_t* at = text;
    while (*at != 0 && !VnXMLScanner::MayFollowName(*at)) {
        ++at;
    }
    if (*at == L'[') {
        ++at;
        if (*at >= L'1' && *at <= L'9') {
            Predicate = kPlace;
            while (*at >= L'0' && *at <= L'9') {
                // No document has so many elements that a longer number could be one's place.
                Place = Place < 100000000 ? Place * 10 + (*at - L'0') : Place;
                ++at;
            }
        } else if (*at == L'@') {
            Predicate = kAttribute;
            Inner = at + 1;
        } else {
            Predicate = *at >= L'0' && *at <= L'9' ? kBad : kChild;
            Inner = at;
        }
        // A value in quotes may hold the bracket.
        wchar_t quote = 0;
        for (; *at != 0 && (quote != 0 || *at != L']'); ++at) {
            if (*at == quote) {
                quote = 0;
            } else if (quote == 0 && (*at == L'"' || *at == L'\'')) {
                quote = *at;
            }
        }
        at += *at == L']' ? 1 : 0;
    }
    if (*at == L'/') {
        Next = at + 1;
    }
}

/// Whether the tag name of an element is the one that `name` begins with; "*" is any.
bool VnXMLDocument::MatchesName(int32_t index, const wchar_t* name) const {
    if (name[0] == L'*' && (name[1] == 0 || VnXMLScanner::MayFollowName(name[1]))) {
        return true;
    }
    const wchar_t* word = nullptr;
    int32_t length = 0;
    GetTagWord(index, word, length);
    const VnXMLScanner scanner(Text.GetText(), Text.GetLength(), Flags);
    if (!scanner.IsSameName(word, name, length)) {
        return false;
    }
    return name[length] == 0 || VnXMLScanner::MayFollowName(name[length]);
}

/// Whether an element matches a piece, but for its place, which depends on how the search walks.
bool VnXMLDocument::MatchesPiece(int32_t index, const VnXMLPathPiece& piece) const {
    if (!MatchesName(index, piece.Name)) {
        return false;
    }
    switch (piece.Predicate) {
    case VnXMLPathPiece::kChild:
        for (int32_t child = Record(index).FirstChild; child != 0;
             child = Record(child).NextSibling) {
            if (MatchesName(child, piece.Inner)) {
                return true;
            }
        }
        return false;
    case VnXMLPathPiece::kAttribute: {
        int32_t length = 0;
        while (piece.Inner[length] != 0 && !VnXMLScanner::MayFollowName(piece.Inner[length])) {
            ++length;
        }
        return HasAttribute(index, VnString(piece.Inner, length));
    }
    case VnXMLPathPiece::kBad:
        return false;
    default:
        return true;
    }
}

/// Number of siblings of that name up to `index`, itself included.
int32_t VnXMLDocument::CountPlace(int32_t index, const wchar_t* name) const {
    int32_t place = 0;
    for (int32_t at = index; at != 0; at = GetPrevious(at)) {
        place += MatchesName(at, name) ? 1 : 0;
    }
    return place;
}

/// Whether an element that matches the piece's name stands at the piece's place. Looks back no
/// further than that place.
bool VnXMLDocument::IsPlace(int32_t index, const VnXMLPathPiece& piece) const {
    if (piece.Predicate != VnXMLPathPiece::kPlace) {
        return true;
    }
    int32_t place = 0;
    for (int32_t at = index; at != 0 && place <= piece.Place; at = GetPrevious(at)) {
        place += MatchesName(at, piece.Name) ? 1 : 0;
    }
    return place == piece.Place;
}

/// The element that a search for `path` comes to, 0 for none. It walks the children of `parent`
/// behind `current` (0: from the first on).
int32_t VnXMLDocument::FindMatch(int32_t parent, int32_t current, const wchar_t* path) const {
    if (path != nullptr && path[0] == L'/') {
        if (path[1] == L'/') {
            return FindAnywhere(parent, current, path + 2);
        }
        parent = 0;
        current = 0;
        ++path;
        if (*path == 0) {
            return 0;
        }
    }
    const int32_t first = current != 0 ? Record(current).NextSibling : Record(parent).FirstChild;
    if (path == nullptr || *path == 0) {
        return first;
    }
    const VnXMLPathPiece piece(path);
    if (piece.Next != nullptr || piece.Predicate == VnXMLPathPiece::kPlace) {
        return first == 0 ? 0 : FindByPieces(first, piece);
    }
    int32_t at = first;
    while (at != 0 && !MatchesPiece(at, piece)) {
        at = Record(at).NextSibling;
    }
    return at;
}

/// Searches the document behind the cursor, at every depth.
int32_t VnXMLDocument::FindAnywhere(int32_t parent, int32_t current, const wchar_t* name) const {
    const VnXMLPathPiece piece(name);
    if (piece.Next != nullptr) {
        return 0;
    }
    int32_t at = GetNextInDocument(current != 0 ? current : parent, /*enterChildren=*/true);
    while (at != 0 && !(MatchesPiece(at, piece) && IsPlace(at, piece))) {
        at = GetNextInDocument(at, /*enterChildren=*/true);
    }
    return at;
}

/// Searches `first` and the siblings behind it. An element that matches one level but has nothing
/// for the next is passed over, and the search goes on behind it.
int32_t VnXMLDocument::FindByPieces(int32_t first, const VnXMLPathPiece& piece) const {
    struct CLevel {
        VnXMLPathPiece Piece;
        int32_t Count; ///< elements of its name so far, where the place matters
    };
    const auto countAhead = [this](int32_t index, const VnXMLPathPiece& at) {
        const int32_t previous = at.Predicate == VnXMLPathPiece::kPlace ? GetPrevious(index) : 0;
        return previous == 0 ? 0 : CountPlace(previous, at.Name);
    };
    std::vector<CLevel> levels{{piece, countAhead(first, piece)}};
    int32_t at = first;
    for (;;) {
        CLevel& level = levels.back();
        bool matches = MatchesPiece(at, level.Piece);
        if (matches && level.Piece.Predicate == VnXMLPathPiece::kPlace) {
            matches = ++level.Count == level.Piece.Place;
        }
        if (matches && level.Piece.Next == nullptr) {
            return at;
        }
        if (matches && Record(at).FirstChild != 0) {
            at = Record(at).FirstChild;
            levels.push_back({VnXMLPathPiece(level.Piece.Next), 0});
            continue;
        }
        while (Record(at).NextSibling == 0) {
            levels.pop_back();
            if (levels.empty()) {
                return 0;
            }
            at = Record(at).Parent;
        }
        at = Record(at).NextSibling;
    }
}

/// The sibling ahead of `current` (0: from the last child of `parent` on) that matches `name`, 0
/// for none.
int32_t
VnXMLDocument::FindPreviousMatch(int32_t parent, int32_t current, const wchar_t* name) const {
    int32_t at = current != 0 ? GetPrevious(current) : GetLastChild(parent);
    if (name == nullptr || *name == 0) {
        return at;
    }
    const VnXMLPathPiece piece(name);
    if (piece.Next != nullptr) {
        return 0;
    }
    while (at != 0 && !(MatchesPiece(at, piece) && IsPlace(at, piece))) {
        at = GetPrevious(at);
    }
    return at;
}
