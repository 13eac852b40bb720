#include "text/VnXMLScanner.h"

#include "text/VnXMLDocument.h"

#include <cwchar>

bool VnXMLScanner::IsSameFolded(wchar_t left, wchar_t right) const {
    return (Flags & VnXMLDocument::kIgnoreCase) != 0
           && VnStringGlobals::ToLower(left) == VnStringGlobals::ToLower(right);
}

int32_t VnXMLScanner::NextToken(VnXMLToken& token) {
    const wchar_t* const at = Text + Next;
    token.Offset = Next;
    token.NameOffset = Next;
    token.NameLength = 0;
    token.Flags = 0;
    if (!token.Message.IsEmpty()) {
        token.Message.Empty();
    }
    if (*at == 0) {
        token.Type = VnXMLToken::kEnd;
        Finish(token, at);
        return token.Type;
    }
    if (*at == L'<') {
        const wchar_t* const end = ScanMarkup(at, token);
        if (end == nullptr) {
            SetUnterminated(token);
        } else {
            Finish(token, end);
        }
        return token.Type;
    }
    const wchar_t* const end = FindOpening(at, Text + Length);
    const wchar_t* blank = at;
    while (blank < end && IsWhiteSpace(*blank)) {
        ++blank;
    }
    token.Type = blank == end ? VnXMLDocument::kNodeWhiteSpace : VnXMLDocument::kNodeText;
    Finish(token, end);
    return token.Type;
}

/// Finds the type and the end of what "<" opens. Null when the text ends first; the type is set
/// then too.
const wchar_t* VnXMLScanner::ScanMarkup(const wchar_t* at, VnXMLToken& token) {
    if (IsNameStart(at[1])) {
        token.Type = VnXMLDocument::kNodeElement;
        return ScanStartTag(token) ? Text + TokenEnd : nullptr;
    }
    switch (at[1]) {
    case L'/':
        token.Type = VnXMLToken::kEndTag;
        return ScanEndTag(token) ? Text + TokenEnd : nullptr;
    case L'?':
        token.Type = VnXMLDocument::kNodeInstruction;
        SetName(token, at + 2);
        return FindClosing(at + 2, L"?>");
    case L'!':
        return ScanExclamation(at, token);
    default:
        return ScanError(at, token, L"tag name character");
    }
}

const wchar_t* VnXMLScanner::ScanExclamation(const wchar_t* at, VnXMLToken& token) {
    switch (at[2]) {
    case L'-':
        if (at[3] != L'-') {
            return ScanError(at, token, L"comment tag");
        }
        token.Type = VnXMLDocument::kNodeComment;
        return FindClosing(at + 4, L"-->");
    case L'[':
        if (at[3] != L'C') {
            return ScanError(at, token, L"tag");
        }
        token.Type = VnXMLDocument::kNodeCDATA;
        return FindClosing(at + 4, L"]]>");
    case L'D':
        token.Type = VnXMLDocument::kNodeDeclaration;
        return ScanDeclaration(at + 3, token);
    case L'E':
    case L'A':
    case L'N':
        // Declarations that belong inside a document type declaration: skipped without a message.
        return ScanError(at, token, nullptr);
    default:
        return ScanError(at, token, L"! tag");
    }
}

/// A declaration ends at the first ">" of its own level. A bad item inside makes an error token of
/// all of it.
const wchar_t* VnXMLScanner::ScanDeclaration(const wchar_t* at, VnXMLToken& token) {
    while (*at != L'>') {
        if (*at == 0) {
            // The message goes by the type.
            token.Type = VnXMLDocument::kNodeDeclaration;
            return nullptr;
        }
        if (*at != L'<') {
            ++at;
            continue;
        }
        at = ScanNested(at, token);
        if (at == nullptr) {
            token.Type = VnXMLDocument::kNodeDeclaration;
            return nullptr;
        }
    }
    return at + 1;
}

/// The end of an item inside a declaration, null when the text ends first.
const wchar_t* VnXMLScanner::ScanNested(const wchar_t* at, VnXMLToken& token) {
    if (at[1] == L'?') {
        return FindClosing(at + 2, L"?>");
    }
    if (at[1] == L'!') {
        if (at[2] == L'-' && at[3] == L'-') {
            return FindClosing(at + 4, L"-->");
        }
        if (at[2] != L'E' && at[2] != L'A' && at[2] != L'N') {
            SetIncorrect(token, L"! tag");
        }
    } else if (at[1] != L'/' && !IsNameStart(at[1])) {
        SetIncorrect(token, L"tag name character");
    }
    return FindClosing(at + 1, L">");
}

const wchar_t* VnXMLScanner::ScanError(const wchar_t* at, VnXMLToken& token, const wchar_t* what) {
    token.Type = VnXMLToken::kError;
    if (what != nullptr) {
        SetIncorrect(token, what);
    }
    return FindErrorEnd(at + 1);
}

/// Behind the next ">", or at the next "<" if that comes first; null when the text ends before
/// both.
const wchar_t* VnXMLScanner::FindErrorEnd(const wchar_t* at) {
    while (*at != L'>' && *at != L'<') {
        if (*at == 0) {
            return nullptr;
        }
        ++at;
    }
    return *at == L'>' ? at + 1 : at;
}

/// Behind the first `closing`, which ends in ">", whose ">" stands at or behind `at`; its other
/// characters may lie ahead of `at`, down to the token's opening ones. Null when the text ends
/// first.
const wchar_t* VnXMLScanner::FindClosing(const wchar_t* at, const wchar_t* closing) {
    const auto ahead = static_cast<int32_t>(std::wcslen(closing)) - 1;
    for (; *at != 0; ++at) {
        if (*at == L'>' && std::wmemcmp(at - ahead, closing, static_cast<size_t>(ahead)) == 0) {
            return at + 1;
        }
    }
    return nullptr;
}

/// Makes an error token of `token` and keeps its first message.
void VnXMLScanner::SetIncorrect(VnXMLToken& token, const wchar_t* what) const {
    token.Type = VnXMLToken::kError;
    if (token.Message.IsEmpty()) {
        token.Message.Format(L"Incorrect %s at offset %d", what, token.Offset);
    }
}

/// Makes an error token of all that is left of the text, with a message by the type it was to be.
void VnXMLScanner::SetUnterminated(VnXMLToken& token) {
    const wchar_t* what = L"tag";
    switch (token.Type) {
    case VnXMLDocument::kNodeDeclaration:
        what = L"Doctype";
        break;
    case VnXMLToken::kEndTag:
        what = L"Element end tag";
        break;
    case VnXMLDocument::kNodeElement:
        what = L"Element tag";
        break;
    case VnXMLDocument::kNodeCDATA:
        what = L"CDATA Section";
        break;
    case VnXMLDocument::kNodeInstruction:
        what = L"Processing instruction";
        break;
    case VnXMLDocument::kNodeComment:
        what = L"Comment";
        break;
    default:
        break;
    }
    token.Message.Format(L"%s at offset %d unterminated", what, token.Offset);
    token.Type = VnXMLToken::kError;
    token.Flags = 0;
    token.NameLength = 0;
    const wchar_t* end = Text + token.Offset;
    while (*end != 0) {
        ++end;
    }
    Finish(token, end);
}
