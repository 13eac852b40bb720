#pragma once

#include "core/VnString.h"
#include "core/VnTextFolding.h"

#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// What VnXMLScanner::NextToken found. A name is a place in the scanner's text, so that a token
/// costs no string; only an error token makes one, for its message.
struct VnXMLToken {
    /// Types beside the VnXMLDocument::NodeTypes.
    enum Types : int32_t {
        kEndTag = 0,
        kError = -1,
        kEnd = -2,
    };
    static constexpr uint32_t kSelfClosed = 0x10000; ///< the tag ends in "/>"

    int32_t Type = kEnd;
    int32_t Offset = 0;
    int32_t Length = 0;
    uint32_t Flags = 0;
    int32_t NameOffset = 0;
    int32_t NameLength = 0;
    VnString Message; ///< of an error token; may be empty
};

/// A set of characters below 64, as bits, that always holds the zero character.
class VnXMLCharacterSet {
public:
    constexpr explicit VnXMLCharacterSet(const char* members) {
        for (; *members != 0; ++members) {
            Bits |= uint64_t{1} << static_cast<unsigned char>(*members);
        }
    }

    bool Has(wchar_t ch) const {
        const auto code = static_cast<uint32_t>(ch);
        return code < 64 && (Bits >> code & 1U) != 0;
    }

private:
    uint64_t Bits = 1;
};

/// Cuts a text into tokens. The text must end in a zero character, and the first one ends the scan.
class VnXMLScanner {
public:
    /// `text` is not copied. `documentFlags` are those of VnXMLDocument.
    VnXMLScanner(const wchar_t* text, int32_t length, uint32_t documentFlags, int32_t start = 0)
        : Next(start)
        , Text(text)
        , Flags(documentFlags)
        , Length(length) {}

    /// Reads the token at Next, moves Next behind it and returns its type. At the end that is kEnd,
    /// with length 0, again and again.
    int32_t NextToken(VnXMLToken& token);

    /// Reads the start tag that begins at Next. False, and no move, when the text ends inside it.
    bool ScanStartTag(VnXMLToken& token);
    /// The same for an end tag.
    bool ScanEndTag(VnXMLToken& token);

    /// Moves Next to the first "<" at or behind it, or to the end.
    void SkipText() { Next = static_cast<int32_t>(FindOpening(Text + Next, Text + Length) - Text); }

    /// Whether both runs of `length` characters are the same name.
    bool IsSameName(const wchar_t* left, const wchar_t* right, int32_t length) const {
        for (int32_t index = 0; index < length; ++index) {
            if (left[index] != right[index] && !IsSameFolded(left[index], right[index])) {
                return false;
            }
        }
        return true;
    }

    static bool IsWhiteSpace(wchar_t ch) {
        return ch == L' ' || ch == L'\t' || ch == L'\n' || ch == L'\r';
    }
    /// Whether a tag name may begin with `ch`.
    static bool IsNameStart(wchar_t ch) {
        return (ch >= L'A' && ch <= L'Z') || ch > 0x60 || ch == L':' || ch == L'_';
    }
    /// Whether `ch` may stand behind a name that matched: the rest of a tag, or of a path.
    static bool MayFollowName(wchar_t ch) {
        return ch == L' ' || ch == L'=' || ch == L'/' || ch == L'[' || ch == L']';
    }
    /// The name that starts at `name` ends at white space, "/", ">" or the end of the text.
    static const wchar_t* FindNameEnd(const wchar_t* name) {
        while (!kNameEnds.Has(*name)) {
            ++name;
        }
        return name;
    }

    int32_t TokenStart = 0;
    int32_t TokenEnd = 0;
    int32_t Next;
    const wchar_t* Text;
    uint32_t Flags;
    int32_t Length;

private:
    static constexpr VnXMLCharacterSet kNameEnds{" \t\n\r/>"};
    static constexpr VnXMLCharacterSet kTagStops{"\"'>"};
    static constexpr VnXMLCharacterSet kNameStops{" \t\n\r/>\"'"};

    bool IsSameFolded(wchar_t left, wchar_t right) const;
    static const wchar_t* FindOpening(const wchar_t* at, const wchar_t* end);
    static const wchar_t* FindTagEnd(const wchar_t* at);
    static const wchar_t* FindClosing(const wchar_t* at, const wchar_t* closing);
    static const wchar_t* FindErrorEnd(const wchar_t* at);
    const wchar_t* ScanMarkup(const wchar_t* at, VnXMLToken& token);
    const wchar_t* ScanExclamation(const wchar_t* at, VnXMLToken& token);
    const wchar_t* ScanDeclaration(const wchar_t* at, VnXMLToken& token);
    const wchar_t* ScanNested(const wchar_t* at, VnXMLToken& token);
    const wchar_t* ScanError(const wchar_t* at, VnXMLToken& token, const wchar_t* what);
    void SetIncorrect(VnXMLToken& token, const wchar_t* what) const;
    void SetUnterminated(VnXMLToken& token);
    void SetName(VnXMLToken& token, const wchar_t* name) const {
        token.NameOffset = static_cast<int32_t>(name - Text);
        token.NameLength = static_cast<int32_t>(FindNameEnd(name) - name);
    }
    void Finish(VnXMLToken& token, const wchar_t* end) {
        token.Length = static_cast<int32_t>(end - Text) - token.Offset;
        TokenStart = token.Offset;
        TokenEnd = token.Offset + token.Length;
        Next = TokenEnd;
    }
};

/// First "<" or zero character at or behind `at`. Most of a document is text, so this looks at
/// eight characters at a time and only then at single ones; it never reads behind `end`, where a
/// zero stands.
inline const wchar_t* VnXMLScanner::FindOpening(const wchar_t* at, const wchar_t* end) {
#if defined(__SSE2__)
    static_assert(sizeof(wchar_t) == 4);
    const __m128i opening = _mm_set1_epi32(L'<');
    const __m128i zero = _mm_setzero_si128();
    for (; end - at >= 8; at += 8) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + 4));
        const __m128i lowHits =
            _mm_or_si128(_mm_cmpeq_epi32(low, opening), _mm_cmpeq_epi32(low, zero));
        const __m128i highHits =
            _mm_or_si128(_mm_cmpeq_epi32(high, opening), _mm_cmpeq_epi32(high, zero));
        // Two bits for each of the eight characters.
        const int hits = _mm_movemask_epi8(_mm_packs_epi32(lowHits, highHits));
        if (hits != 0) {
            return at + __builtin_ctz(static_cast<unsigned>(hits)) / 2;
        }
    }
#endif
    while (at < end && *at != L'<' && *at != 0) {
        ++at;
    }
    return at;
}

/// The ">" that ends a start tag: one outside quotes. At a zero character there is none.
inline const wchar_t* VnXMLScanner::FindTagEnd(const wchar_t* at) {
    for (;; ++at) {
        while (!kTagStops.Has(*at)) {
            ++at;
        }
        if (*at == L'>' || *at == 0) {
            return at;
        }
        const wchar_t quote = *at;
        do {
            ++at;
        } while (*at != quote && *at != 0);
        if (*at == 0) {
            return at;
        }
    }
}

inline bool VnXMLScanner::ScanStartTag(VnXMLToken& token) {
    const wchar_t* const at = Text + Next;
    const wchar_t* nameEnd = at + 1;
    while (!kNameStops.Has(*nameEnd)) {
        ++nameEnd;
    }
    // A quote that stands in the name itself counts for the end of the tag, as any other.
    const wchar_t* const end = FindTagEnd(nameEnd);
    nameEnd = FindNameEnd(nameEnd);
    if (*end == 0) {
        return false;
    }
    token.Type = 1;
    token.Offset = Next;
    token.NameOffset = Next + 1;
    token.NameLength = static_cast<int32_t>(nameEnd - at) - 1;
    token.Flags = end[-1] == L'/' ? VnXMLToken::kSelfClosed : 0;
    Finish(token, end + 1);
    return true;
}

inline bool VnXMLScanner::ScanEndTag(VnXMLToken& token) {
    const wchar_t* const at = Text + Next;
    const wchar_t* const nameEnd = FindNameEnd(at + 2);
    const wchar_t* end = nameEnd;
    while (*end != L'>') {
        if (*end == 0) {
            return false;
        }
        ++end;
    }
    token.Type = VnXMLToken::kEndTag;
    token.Offset = Next;
    token.NameOffset = Next + 2;
    token.NameLength = static_cast<int32_t>(nameEnd - at) - 2;
    token.Flags = 0;
    Finish(token, end + 1);
    return true;
}
