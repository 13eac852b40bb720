#include "text/VnXMLDocument.h"
#include "text/VnXMLScanner.h"

#include <algorithm>
#include <cwchar>

/// Where the words of a start tag or instruction stand in the document's text.
struct VnXMLDocument::CTagWords {
    int32_t Start = -1; ///< of the first word; -1 where there is no tag
    int32_t End = 0;    ///< of the last one, at the ">"
};

/// An attribute as places in the document's text, or where a new one would go.
struct VnXMLDocument::CAttribute {
    bool Found = false;
    bool HasValue = false; ///< false for a name without "=": Value is the name then
    int32_t Name = 0;
    int32_t NameLength = 0;
    int32_t Value = 0; ///< without its quotes
    int32_t ValueLength = 0;
    int32_t Ahead = 0; ///< end of the word ahead: the attribute with its white space starts here
    int32_t ValueStart = 0; ///< with its quotes
    int32_t End =
        0; ///< behind the value; when not found, behind the last attribute or the tag name
};

namespace {

const wchar_t* SkipWhiteSpace(const wchar_t* at) {
    while (VnXMLScanner::IsWhiteSpace(*at)) {
        ++at;
    }
    return at;
}

bool EndsWord(wchar_t ch) {
    return ch == 0 || ch == L'=' || ch == L'>' || ch == L'/' || ch == L'?'
           || VnXMLScanner::IsWhiteSpace(ch);
}

/// A word: a quoted string without its quotes, or the run of characters up to one that ends it. A
/// string that is not closed ahead of `limit` ends there.
struct CWord {
    /// `asValue` takes a bare word up to white space or ">".
    CWord(const wchar_t* at, const wchar_t* limit, bool asValue) {
        if (at < limit && (*at == L'"' || *at == L'\'')) {
            Start = at + 1;
            const wchar_t* const end = std::find(Start, limit, *at);
            Length = static_cast<int32_t>(end - Start);
            End = end == limit ? end : end + 1;
            return;
        }
        Start = at;
        End = at;
        while (End < limit
               && (asValue ? *End != L'>' && !VnXMLScanner::IsWhiteSpace(*End) : !EndsWord(*End))) {
            ++End;
        }
        Length = static_cast<int32_t>(End - Start);
    }

    const wchar_t* Start;
    int32_t Length;
    const wchar_t* End; ///< behind the closing quote
};

} // namespace

VnXMLDocument::CTagWords VnXMLDocument::GetElementWords(int32_t index) const {
    if (index <= 0) {
        return {};
    }
    const int32_t start = Record(index).Start;
    const int32_t end = start + GetStartTagLength(index);
    return {start + 1, Text[end - 1] == L'>' ? end - 1 : end};
}

/// The words of an element's tag, or of the instruction that is the current node.
VnXMLDocument::CTagWords VnXMLDocument::GetTagWords(int32_t index) const {
    if (!IsOnNode(index)) {
        return GetElementWords(index);
    }
    // "<?>" has one question mark for both of its ends, and no room for anything.
    return NodeType == kNodeInstruction && NodeLength >= 4
               ? CTagWords{NodeOffset + 2, NodeOffset + NodeLength - 1}
               : CTagWords{};
}

/// The attribute called `name`, or number `number` when that is null.
VnXMLDocument::CAttribute
VnXMLDocument::FindAttribute(const CTagWords& words, const wchar_t* name, int32_t number) const {
    const wchar_t* const text = Text.GetText();
    const VnXMLScanner scanner(text, Text.GetLength(), Flags);
    const wchar_t* at = text + words.Start;
    const wchar_t* const limit = text + words.End;
    const bool isInstruction = at[-1] == L'?';
    at = isInstruction ? CWord(at, limit, /*asValue=*/false).End : VnXMLScanner::FindNameEnd(at);
    at -= isInstruction && at == limit ? 1 : 0; // the "?" of its end
    const auto wanted = static_cast<int32_t>(name == nullptr ? 0 : std::wcslen(name));
    CAttribute found;
    for (;; --number) {
        const wchar_t* const start = SkipWhiteSpace(at);
        found.Ahead = static_cast<int32_t>(at - text);
        if (start >= limit || *start == L'/' || *start == L'>' || *start == L'?') {
            found.End = found.Ahead;
            return found;
        }
        const CWord word(start, limit, /*asValue=*/false);
        const wchar_t* const sign = SkipWhiteSpace(word.End);
        const bool hasValue = *sign == L'=';
        const wchar_t* const valueStart = hasValue ? SkipWhiteSpace(sign + 1) : start;
        const CWord value = hasValue ? CWord(valueStart, limit, /*asValue=*/true) : word;
        at = value.End;
        if (at == limit && at > valueStart && at[-1] == (isInstruction ? L'?' : L'/')) {
            // A bare value, and a string without its end, read up to the ">", but changing them
            // must leave the tag's own end.
            --at;
        }
        const bool matches =
            name == nullptr ? number == 0
                            : word.Length == wanted && scanner.IsSameName(word.Start, name, wanted);
        if (matches) {
            found.Found = true;
            found.HasValue = hasValue;
            found.Name = static_cast<int32_t>(word.Start - text);
            found.NameLength = word.Length;
            found.Value = static_cast<int32_t>(value.Start - text);
            found.ValueLength = value.Length;
            found.ValueStart = static_cast<int32_t>(valueStart - text);
            found.End = static_cast<int32_t>(at - text);
            return found;
        }
    }
}

VnString VnXMLDocument::ReadAttribute(const CTagWords& words, const wchar_t* name) const {
    if (words.Start < 0 || name == nullptr) {
        return VnString();
    }
    const CAttribute found = FindAttribute(words, name, 0);
    return found.Found ? DecodeXMLText(Text.GetText() + found.Value, found.ValueLength)
                       : VnString();
}

bool VnXMLDocument::HasAttribute(int32_t index, const VnString& name) const {
    return !name.IsEmpty() && FindAttribute(GetElementWords(index), name, 0).Found;
}

VnString VnXMLDocument::GetAttribute(int32_t index, const wchar_t* name) const {
    return ReadAttribute(GetTagWords(index), name);
}

VnString VnXMLDocument::GetAttributeName(int32_t number) const {
    const CTagWords words = GetTagWords(MainPosition);
    if (words.Start < 0 || number < 0) {
        return VnString();
    }
    const CAttribute found = FindAttribute(words, nullptr, number);
    return found.Found ? Text.Mid(found.Name, found.NameLength) : VnString();
}

VnString VnXMLDocument::GetChildAttribute(const wchar_t* path, const wchar_t* name) const {
    const int32_t child = FindFirstChild(path);
    return child == 0 ? VnString() : ReadAttribute(GetElementWords(child), name);
}

VnString VnXMLDocument::GetNodeName() const {
    const wchar_t* const node = Text.GetText() + NodeOffset;
    const wchar_t* const end = node + NodeLength - 1; // of what has a ">" there
    switch (NodeType) {
    case kNodeElement:
        return GetTagName(MainPosition);
    case kNodeText:
    case kNodeWhiteSpace:
        return L"#text";
    case kNodeCDATA:
        return L"#cdata-section";
    case kNodeComment:
        return L"#comment";
    case kNodeInstruction: {
        const CWord target(node + 2, end - 1, /*asValue=*/false);
        return VnString(target.Start, target.Length);
    }
    case kNodeLoneEndTag: {
        const wchar_t* const name = node + 2;
        return VnString(name, static_cast<int32_t>(VnXMLScanner::FindNameEnd(name) - name));
    }
    case kNodeDeclaration: {
        const CWord keyword(node + 1, end, /*asValue=*/false);
        const CWord name(SkipWhiteSpace(keyword.End), end, /*asValue=*/false);
        return VnString(name.Start, name.Length);
    }
    default:
        return VnString();
    }
}

VnString VnXMLDocument::GetDeclaredEncoding(const wchar_t* text) {
    const wchar_t* const opening = text == nullptr ? nullptr : std::wcschr(text, L'<');
    if (opening == nullptr || opening[1] != L'?') {
        return VnString();
    }
    const wchar_t* const closing = std::wcsstr(opening, L"?>");
    if (closing == nullptr) {
        return VnString();
    }
    VnXMLDocument declaration;
    declaration.SetDocument(VnString(opening, static_cast<int32_t>(closing - opening) + 2));
    if (declaration.FindNode(kNodeInstruction) == 0
        || !declaration.GetNodeName().EqualsNoCase(L"xml")) {
        return VnString();
    }
    return declaration.GetAttribute(declaration.GetMainPosition(), L"encoding");
}

bool VnXMLDocument::SetAttribute(int32_t index, const wchar_t* name, int32_t value) {
    return SetAttribute(index, name, VnString::FromInt(value).GetText());
}

bool VnXMLDocument::SetAttribute(int32_t index, const wchar_t* name, const wchar_t* value) {
    const CTagWords words = GetTagWords(index);
    if (words.Start < 0 || name == nullptr || *name == 0) {
        return false;
    }
    constexpr int32_t kAttributeEscapes = 2 | VnString::kEscapeApostrophe | VnString::kEscapeQuote
                                          | VnString::kEscapeControl
                                          | VnString::kEscapeControlAsMark;
    VnString escaped(value);
    escaped.EscapeXML(kAttributeEscapes);
    const CAttribute found = FindAttribute(words, name, 0);
    VnString text;
    if (!found.Found) {
        text.Append(L" ", 1, name, -1, L"=\"", 2, escaped, escaped.GetLength());
    } else {
        text.Append(found.HasValue ? L"\"" : L"=\"", -1, escaped, escaped.GetLength());
    }
    text.Append(L"\"", 1);
    if (found.Found && found.HasValue) {
        ReplaceInTag(index, found.ValueStart, found.End - found.ValueStart, text);
    } else {
        ReplaceInTag(index, found.End, 0, text);
    }
    return true;
}

bool VnXMLDocument::RemoveAttribute(int32_t index, const wchar_t* name) {
    const CTagWords words = GetTagWords(index);
    if (words.Start < 0 || name == nullptr || *name == 0) {
        return false;
    }
    const CAttribute found = FindAttribute(words, name, 0);
    if (!found.Found) {
        return false;
    }
    ReplaceInTag(index, found.Ahead, found.End - found.Ahead, VnString());
    return true;
}

/// Splices the start tag of an element, or the current instruction, and corrects all lengths and
/// offsets.
void VnXMLDocument::ReplaceInTag(int32_t index,
                                 int32_t offset,
                                 int32_t length,
                                 const VnString& text) {
    const int32_t difference = text.GetLength() - length;
    if (IsOnNode(index)) {
        ReplaceText(offset, length, text.GetText());
        NodeLength += difference;
        ShiftBehind(ParentPosition, MainPosition, difference);
        return;
    }
    const int32_t tagLength = GetStartTagLength(index);
    ReplaceText(offset, length, text.GetText());
    CRecord& record = Record(index);
    SetStartTagLength(record, tagLength + difference);
    record.Length += difference;
    AdjustOffsets(index, difference, /*enterChildren=*/true);
}
