#include "core/VnString.h"

#include "core/VnNumberArray.h"
#include "core/VnStringArray.h"
#include "core/VnStringDetail.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <string_view>

namespace {

/// A word of at most this many characters may be an abbreviation, whose "." ends no sentence.
constexpr int32_t kLongestAbbreviation = 3;

std::wstring_view View(const VnString& text) {
    return {text.GetText(), static_cast<size_t>(text.GetLength())};
}

void SetText(VnString& text, std::wstring_view value) {
    text.Assign(value.data(), static_cast<int32_t>(value.size()));
}

/// The letters behind an escape character for the characters that have one of their own.
struct EscapeLetter {
    wchar_t Character;
    wchar_t Letter;
};

constexpr EscapeLetter kEscapeLetters[] = {
    {L'\r', L'r'},
    {L'\n', L'n'},
    {L'\t', L't'},
    {L'\0', L'0'},
};

wchar_t GetEscapeLetter(wchar_t ch) {
    for (const EscapeLetter& row : kEscapeLetters) {
        if (row.Character == ch) {
            return row.Letter;
        }
    }
    return ch;
}

/// What an escaped `letter` stands for. A letter that is in the set itself, while its control
/// character is not, was escaped as itself.
wchar_t GetEscapedCharacter(wchar_t letter, std::wstring_view set) {
    for (const EscapeLetter& row : kEscapeLetters) {
        if (row.Letter == letter) {
            const bool isItself = set.find(letter) != std::wstring_view::npos
                                  && set.find(row.Character) == std::wstring_view::npos;
            return isItself ? letter : row.Character;
        }
    }
    return letter;
}

/// Whether a word begins at `index`, so that SplitWords puts a blank ahead of it.
bool BeginsWord(std::wstring_view text, size_t index) {
    const wchar_t ch = text[index];
    const wchar_t before = text[index - 1];
    if (VnStringGlobals::IsUpper(ch)) {
        if (std::wcschr(L" '\"(-_", before) != nullptr || text.substr(0, index).ends_with(L"Mc")) {
            return false;
        }
        const bool lowerFollows =
            index + 1 < text.size() && VnStringGlobals::IsLower(text[index + 1]);
        return !VnStringGlobals::IsUpper(before) || lowerFollows;
    }
    return VnStringGlobals::IsDigit(ch) && !VnStringGlobals::IsDigit(before)
           && std::wcschr(L",. ", before) == nullptr;
}

/// Whether the mark at `index` ends a sentence: a blank and the start of another one follow, and no
/// abbreviation stands ahead.
bool EndsSentence(std::wstring_view text, size_t index) {
    if (std::wcschr(L".?!", text[index]) == nullptr || text[index] == 0 || index + 2 >= text.size()
        || text[index + 1] != L' ') {
        return false;
    }
    const wchar_t next = text[index + 2];
    if (!VnStringGlobals::IsUpper(next) && !VnStringGlobals::IsPunctuation(next)) {
        return false;
    }
    if (index >= 2 && text[index - 2] == L'.') {
        return false;
    }
    const size_t blank = index == 0 ? std::wstring_view::npos : text.rfind(L' ', index - 1);
    const size_t start = blank == std::wstring_view::npos ? 0 : blank + 1;
    const bool isShort = index - start <= kLongestAbbreviation;
    return !(isShort && start < index && VnStringGlobals::IsUpper(text[start]));
}

VnString::WordKind GetWordKind(wchar_t ch) {
    if (VnStringGlobals::IsSpace(ch)) {
        return VnString::kWordSpace;
    }
    if (VnStringGlobals::IsDigit(ch)) {
        return VnString::kWordNumber;
    }
    return VnStringGlobals::IsLetter(ch) ? VnString::kWordText : VnString::kWordOther;
}

bool IsNumericEnd(wchar_t ch) {
    return VnStringGlobals::IsDigit(ch) || (ch != 0 && std::wcschr(L",. ()", ch) != nullptr);
}

} // namespace

VnString VnString::QuoteForShell() const {
    VnString result(*this);
    result.Replace(L"'", L"'\\''");
    result.Insert(0, L'\'');
    result.Append(L'\'');
    return result;
}

void VnString::EscapeChars(const wchar_t* set, wchar_t escape) {
    const VnStringDetail::CCharacterSet members(set);
    // A zero character would end the text for its reader, so it is always in the set.
    const auto isMember = [&](wchar_t ch) { return ch == 0 || ch == escape || members.Has(ch); };
    const auto count = std::count_if(Characters, Characters + GetLength(), isMember);
    if (count == 0) {
        return;
    }
    const int32_t length = VnStringDetail::AddLengths(GetLength(), count);
    VnString result;
    wchar_t* out = result.GetBuffer(length, true, false);
    for (const wchar_t ch : View(*this)) {
        if (isMember(ch)) {
            *out++ = escape;
            *out++ = ch == escape ? ch : GetEscapeLetter(ch);
        } else {
            *out++ = ch;
        }
    }
    result.ReleaseBuffer(length);
    Swap(result);
}

void VnString::UnescapeChars(const wchar_t* set, wchar_t escape) {
    const int32_t first = Find(escape);
    if (first < 0) {
        return;
    }
    const std::wstring members = set == nullptr ? L"" : set;
    const int32_t length = GetLength();
    wchar_t* text = GetBuffer();
    int32_t written = first;
    for (int32_t read = first; read < length; ++read) {
        if (text[read] == escape && read + 1 < length) {
            ++read;
            text[written++] =
                text[read] == escape ? escape : GetEscapedCharacter(text[read], members);
        } else {
            text[written++] = text[read];
        }
    }
    ReleaseBuffer(written);
}

void VnString::SplitWords() {
    const std::wstring_view text = View(*this);
    std::wstring result;
    result.reserve(text.size() + text.size() / 4);
    for (size_t i = 0; i < text.size(); ++i) {
        if (i > 0 && BeginsWord(text, i)) {
            result.push_back(L' ');
        }
        result.push_back(text[i]);
    }
    if (result.size() != text.size()) {
        SetText(*this, result);
    }
}

void VnString::ConvertLineEnds(const wchar_t* lineEnd, bool merge) {
    const std::wstring_view text = View(*this);
    if (text.find_first_of(L"\r\n") == std::wstring_view::npos) {
        return;
    }
    const std::wstring_view newEnd = lineEnd == nullptr ? L"" : std::wstring_view(lineEnd);
    std::wstring result;
    result.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        if (text[i] != L'\r' && text[i] != L'\n') {
            result.push_back(text[i++]);
            continue;
        }
        result.append(newEnd);
        if (merge) {
            i = std::min(text.find_first_not_of(L"\r\n", i), text.size());
        } else {
            i += text.substr(i).starts_with(L"\r\n") ? 2 : 1;
        }
    }
    SetText(*this, result);
}

void VnString::CutToOneLine() {
    const int32_t lineFeed = Find(L'\n');
    if (lineFeed >= 0) {
        const bool hasReturn = lineFeed > 0 && Characters[lineFeed - 1] == L'\r';
        RemoveRight(GetLength() - lineFeed + (hasReturn ? 1 : 0));
    }
}

void VnString::RemoveDuplicateLines() {
    const std::wstring_view text = View(*this);
    std::wstring result;
    std::wstring_view former;
    for (size_t start = 0; start < text.size();) {
        const size_t lineEnd = text.find(L"\r\n", start);
        if (lineEnd == std::wstring_view::npos) {
            result.append(text.substr(start));
            break;
        }
        std::wstring_view line = text.substr(start, lineEnd - start);
        while (!line.empty() && VnStringGlobals::IsSpace(line.front())) {
            line.remove_prefix(1);
        }
        if (start == 0 || line != former) {
            result.append(text.substr(start, lineEnd + 2 - start));
        }
        former = line;
        start = lineEnd + 2;
    }
    if (result.size() != text.size()) {
        SetText(*this, result);
    }
}

void VnString::RemoveMarkup() {
    const std::wstring_view text = View(*this);
    std::wstring result;
    size_t start = 0;
    for (size_t open = text.find(L'<'); open != std::wstring_view::npos;
         open = text.find(L'<', start)) {
        const size_t close = text.find(L'>', open);
        if (close == std::wstring_view::npos) {
            break;
        }
        result.append(text.substr(start, open - start));
        start = close + 1;
    }
    if (start > 0) {
        result.append(text.substr(start));
        SetText(*this, result);
    }
}

void VnString::KeepNumericEnds(bool alsoRight) {
    const wchar_t* const end = Characters + GetLength();
    const wchar_t* const first = std::find_if(Characters, Characters + GetLength(), IsNumericEnd);
    int32_t right = 0;
    while (alsoRight && end - right > first && !IsNumericEnd(end[-right - 1])) {
        ++right;
    }
    RemoveEnds(static_cast<int32_t>(first - Characters), right);
}

void VnString::PadNumber(int32_t width, wchar_t fill) {
    const std::wstring_view text = View(*this);
    // Blanks go ahead of a sign, digits behind it.
    const bool hasSign = !text.empty() && (text[0] == L'-' || text[0] == L'+');
    const size_t start = hasSign && fill != L' ' ? 1 : 0;
    size_t surplus = start;
    while (surplus < text.size() && text[surplus] == fill) {
        ++surplus;
    }
    size_t integerEnd = surplus;
    while (
        integerEnd < text.size()
        && (VnStringGlobals::IsDigit(text[integerEnd])
            || (integerEnd == surplus && (text[integerEnd] == L'-' || text[integerEnd] == L'+')))) {
        ++integerEnd;
    }
    const auto oldWidth = static_cast<int32_t>(integerEnd - start);
    if (oldWidth < width) {
        const std::wstring padding(static_cast<size_t>(width - oldWidth), fill);
        Insert(static_cast<int32_t>(start), padding.c_str());
        return;
    }
    // One digit stays, also when it is the fill character.
    const size_t removable =
        surplus == integerEnd && surplus > start ? surplus - start - 1 : surplus - start;
    const auto wanted =
        static_cast<int32_t>(std::min(static_cast<size_t>(oldWidth - width), removable));
    Remove(static_cast<int32_t>(start), wanted);
}

void VnString::GetWords(VnStringArray& words, VnNumberArray<int>& kinds, bool withSpace) const {
    const VnString text(*this); // which may be an element of `words`
    words.Empty();
    kinds.Empty();
    const int32_t length = text.GetLength();
    for (int32_t start = 0; start < length;) {
        const WordKind kind = GetWordKind(text[start]);
        int32_t end = start + 1;
        while (kind != kWordOther && end < length && GetWordKind(text[end]) == kind) {
            ++end;
        }
        if (kind != kWordSpace || withSpace) {
            words.Add(text.Mid(start, end - start));
            kinds.Add(kind);
        }
        start = end;
    }
}

void VnString::GetSentences(VnStringArray& sentences) const {
    const VnString whole(*this); // which may be an element of `sentences`
    sentences.Empty();
    const std::wstring_view text = View(whole);
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (EndsSentence(text, i)) {
            sentences.Add(
                whole.Mid(static_cast<int32_t>(start), static_cast<int32_t>(i + 1 - start)));
            start = i + 2;
        }
    }
    if (start < text.size()) {
        sentences.Add(whole.Mid(static_cast<int32_t>(start)));
    }
}

void VnString::MakeASCII() {
    const auto isOther = [](wchar_t ch) { return ch < 32 || ch > 126; };
    if (std::none_of(Characters, Characters + GetLength(), isOther)) {
        return;
    }
    const int32_t length = GetLength();
    wchar_t* text = GetBuffer();
    std::replace_if(text, text + length, isOther, L'?');
    ReleaseBuffer(length);
}

void VnString::SetRandom(int32_t length, bool letters, bool digits) {
    static constexpr std::wstring_view kCharacters =
        L"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    static constexpr size_t kDigitCount = 10;
    const std::wstring_view allowed = kCharacters.substr(
        digits ? 0 : kDigitCount, letters ? std::wstring_view::npos : kDigitCount);
    if (length < 1 || (!letters && !digits)) {
        Empty();
        return;
    }
    VnString result;
    wchar_t* text = result.GetBuffer(length, true, false);
    for (int32_t i = 0; i < length; ++i) {
        text[i] = allowed[static_cast<size_t>(std::rand()) % allowed.size()];
    }
    result.ReleaseBuffer(length);
    Swap(result);
}
