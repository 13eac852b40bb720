#include "core/VnHexDigits.h"
#include "text/VnXMLDocument.h"
#include "text/VnXMLScanner.h"

#include <algorithm>
#include <cwchar>

namespace {

constexpr int32_t kLongestNumber = 7; ///< characters of a numeric reference ahead of its ";"

struct NamedEntity {
    const wchar_t* Name;
    int32_t Length;
    wchar_t Character;
};

constexpr NamedEntity kEntities[] = {
    {L"lt;", 3, L'<'},    {L"amp;", 4, L'&'},  {L"gt;", 3, L'>'},
    {L"apos;", 5, L'\''}, {L"quot;", 5, L'"'},
};

/// Reads the number of a reference in [`at`, `end`), ahead of its ";": white space, a sign and
/// digits. Seven characters cannot exceed 32 bits. 0 when there is no number.
int32_t ReadNumber(const wchar_t* at, const wchar_t* end, int32_t base) {
    while (at < end && VnXMLScanner::IsWhiteSpace(*at)) {
        ++at;
    }
    const bool negative = at < end && *at == L'-';
    if (at < end && (*at == L'-' || *at == L'+')) {
        ++at;
    }
    int32_t value = 0;
    for (; at < end; ++at) {
        const int32_t digit = GetHexDigitValue(*at);
        if (digit < 0 || digit >= base) {
            break;
        }
        value = value * base + digit;
    }
    return negative ? -value : value;
}

/// Decodes the reference at the "&" at `at`. Gives its character and moves `at` behind it; 0, and
/// no move, when there is none.
wchar_t DecodeReference(const wchar_t*& at, const wchar_t* end) {
    const wchar_t* number = at + 1;
    if (number < end && *number == L'#') {
        ++number;
        const bool hexadecimal = number < end && *number == L'x';
        number += hexadecimal ? 1 : 0;
        const wchar_t* const limit = std::min(end, number + kLongestNumber + 1);
        const wchar_t* const close = std::find(number, limit, L';');
        if (close == limit) {
            return 0;
        }
        const int32_t value = ReadNumber(number, close, hexadecimal ? 16 : 10);
        at = value == 0 ? at : close + 1;
        return static_cast<wchar_t>(value);
    }
    for (const NamedEntity& entity : kEntities) {
        if (end - number >= entity.Length
            && std::wmemcmp(number, entity.Name, static_cast<size_t>(entity.Length)) == 0) {
            at = number + entity.Length;
            return entity.Character;
        }
    }
    return 0;
}

} // namespace

VnString VnXMLDocument::DecodeXMLText(const wchar_t* text, int32_t length) {
    const wchar_t* const end = text + length;
    const wchar_t* at = std::find(text, end, L'&');
    if (at == end) {
        return VnString(text, length);
    }
    VnString result;
    wchar_t* const buffer = result.GetBuffer(length, /*exact=*/true, /*keepContents=*/false);
    wchar_t* out = std::copy(text, at, buffer);
    while (at < end) {
        const wchar_t decoded = DecodeReference(at, end);
        *out++ = decoded != 0 ? decoded : *at++;
        const wchar_t* const next = std::find(at, end, L'&');
        out = std::copy(at, next, out);
        at = next;
    }
    result.ReleaseBuffer(static_cast<int32_t>(out - buffer));
    return result;
}

/// The value of an element in the form in which it is written.
VnString VnXMLDocument::EncodeValue(const VnString& value, uint32_t options) {
    if ((options & kInsertCDATA) != 0) {
        return EncodeCDATA(value);
    }
    constexpr int32_t kTextEscapes = 2 | VnString::kEscapeControl | VnString::kEscapeControlAsMark;
    constexpr int32_t kQuoteEscapes = VnString::kEscapeApostrophe | VnString::kEscapeQuote;
    VnString result = value;
    result.EscapeXML((options & kInsertEscapeQuotes) != 0 ? kTextEscapes | kQuoteEscapes
                                                          : kTextEscapes);
    return result;
}

/// A section cannot hold its own end, so that it is split there over two sections.
VnString VnXMLDocument::EncodeCDATA(const VnString& value) {
    VnString result = value;
    result.Replace(L"]]>", L"]]]]><![CDATA[>");
    return L"<![CDATA[" + result + L"]]>";
}

/// The text of a node that is to hold `text`. False for a type that cannot be written, and for a
/// text that its type cannot hold.
bool VnXMLDocument::CreateNodeText(int32_t type,
                                   const VnString& text,
                                   uint32_t options,
                                   VnString& out) {
    switch (type) {
    case kNodeElement:
        out = L"<" + text + L"/>";
        return !text.IsEmpty();
    case kNodeText:
    case kNodeWhiteSpace:
        out = EncodeValue(text, options & kInsertEscapeQuotes);
        return !out.IsEmpty();
    case kNodeCDATA:
        out = L"<![CDATA[" + text + L"]]>";
        return text.Find(L"]]>") < 0;
    case kNodeInstruction:
        out = L"<?" + text + L"?>";
        return true;
    case kNodeComment:
        out = L"<!--" + text + L"-->";
        return true;
    case kNodeDeclaration:
        out = text;
        return !text.IsEmpty();
    default:
        return false;
    }
}

/// The tag name of an element as a place in the text.
void VnXMLDocument::GetTagWord(int32_t index, const wchar_t*& word, int32_t& length) const {
    word = Text.GetText() + Record(index).Start + 1;
    length = static_cast<int32_t>(VnXMLScanner::FindNameEnd(word) - word);
}

/// The place behind the white space at `offset` when a tag or the end of the text follows it, else
/// `offset`.
int32_t VnXMLDocument::SkipWhiteSpaceToTag(int32_t offset) const {
    const wchar_t* const text = Text.GetText();
    int32_t at = offset;
    while (VnXMLScanner::IsWhiteSpace(text[at])) {
        ++at;
    }
    return text[at] == L'<' || text[at] == 0 ? at : offset;
}
