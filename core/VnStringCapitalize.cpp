#include "core/VnString.h"

#include "core/VnStringArray.h"
#include "core/VnStringDetail.h"
#include "core/VnStringMap.h"
#include "files/VnResourceFiles.h"
#include "runtime/IVnStringTools.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnCriticalSection.h"
#include "runtime/VnSiblingModules.h"

#include <atomic>
#include <mutex>

namespace {

using WordList = VnStringUniqueList<VnString, false>;

constexpr const wchar_t* kSeparators = L". \\-&()_[];/!\u2026";
constexpr wchar_t kEllipsis = L'\u2026';

/// The word lists of the program's data, which stay in memory once they are read.
struct WordLists {
    WordList Exclusions; ///< words that stay in lower case inside a title
    WordList AllCaps;    ///< words that are always in upper case
};

void LoadWordList(WordList& words, const wchar_t* filename) {
    VnString name(filename);
    VnString text;
    if (!text.LoadFromFile(FindResourceFile(name, ResourceAny))) {
        return;
    }
    VnStringArray lines;
    lines.Split(text, L"\r\n");
    for (const VnString& line : lines) {
        if (!line.IsEmpty()) {
            words.Add(line);
        }
    }
}

const WordLists& GetWordLists() {
    static VnCriticalSection lock;
    static std::atomic<const WordLists*> loaded{nullptr};
    const WordLists* lists = loaded.load(std::memory_order_acquire);
    if (lists == nullptr) {
        const std::lock_guard guard(lock);
        lists = loaded.load(std::memory_order_relaxed);
        if (lists == nullptr) {
            auto* made = new WordLists;
            LoadWordList(made->Exclusions, L"CapitalizationExclusion.txt");
            LoadWordList(made->AllCaps, L"CapitalizationAllCaps.txt");
            loaded.store(made, std::memory_order_release);
            lists = made;
        }
    }
    return *lists;
}

/// Takes a text apart into words and runs of separators, which alternate.
void SplitTokens(const VnString& text, VnStringArray& tokens) {
    const VnStringDetail::CCharacterSet separators(kSeparators);
    const int32_t length = text.GetLength();
    for (int32_t start = 0; start < length;) {
        const bool isSeparator = separators.Has(text[start]);
        int32_t end = start + 1;
        while (end < length && separators.Has(text[end]) == isSeparator) {
            ++end;
        }
        tokens.Add(text.Mid(start, end - start));
        start = end;
    }
}

/// Puts a word in lower case into capitals as names are written: "O'Brien", "McCartney", "I'm".
void CapitalizeWord(VnString& word) {
    const int32_t length = word.GetLength();
    int32_t first = 0;
    while (first < length
           && VnStringGlobals::ToUpper(word[first]) == VnStringGlobals::ToLower(word[first])) {
        if (VnStringGlobals::IsDigit(word[first])) {
            return;
        }
        ++first;
    }
    if (first == length) {
        return;
    }
    const auto makeUpper = [&word](int32_t index) {
        word.SetAt(index, VnStringGlobals::ToUpper(word[index]));
    };
    makeUpper(first);
    // Behind the end of the text stands the terminator, which is none of the characters asked for.
    const wchar_t next = word[first + 1];
    const bool hasFurther = first + 2 < length;
    if (word[first] == L'I' || !hasFurther) {
        return;
    }
    if (next == L'\'' || (word[first] == L'M' && next == L'c' && word[first + 2] != L' ')) {
        makeUpper(first + 2);
    }
}

/// The work of a mode that changes anything on the token at `index`.
VnString CapitalizeToken(const VnStringArray& tokens, int32_t index, VnCapitalizeMode mode) {
    VnString token(tokens[index]);
    token.MakeLower();
    if (mode == kCapitalizeLower) {
        return token;
    }
    const WordLists& lists = GetWordLists();
    const bool isFirst = index == 0;
    if (mode == kCapitalizeTitle) {
        const bool isInside = !isFirst && index < tokens.GetCount() - 1;
        const bool isExcluded =
            isInside && tokens[index - 1] == L" " && lists.Exclusions.Lookup(token) != nullptr;
        if (!isExcluded) {
            CapitalizeWord(token);
        }
    } else if (mode == kCapitalizeEveryWord || (mode == kCapitalizeFirstWord && isFirst)) {
        CapitalizeWord(token);
    }
    if (mode == kCapitalizeUpper || lists.AllCaps.Lookup(token) != nullptr) {
        token.MakeUpper();
    }
    return token;
}

void ReplaceUntilGone(VnString& text, const wchar_t* oldText, const wchar_t* newText) {
    while (text.Replace(oldText, newText) > 0) {
    }
}

/// One form of each dash and blank.
void NormaliseBlanks(VnString& text) {
    text.Replace(L"--", L"-");
    text.Replace(L"- -", L"-");
    ReplaceUntilGone(text, L"  ", L" ");
    ReplaceUntilGone(text, L"( ", L"(");
    ReplaceUntilGone(text, L" )", L")");
}

void CapitalizeLines(VnString& text, VnCapitalizeMode mode) {
    VnStringArray lines;
    lines.Split(text, L"\n");
    for (int32_t i = 0; i < lines.GetCount(); ++i) {
        lines[i].Capitalize(mode);
    }
    text = lines.Join(L"\n");
}

IVnStringTools* GetStringTools() {
    IVnToolsRoot* root = VnGetToolsRoot();
    return root == nullptr ? nullptr : root->GetStringTools(1);
}

int32_t GetLeadingArticle(const VnString& text) {
    IVnStringTools* tools = GetStringTools();
    return tools == nullptr ? 0 : tools->GetLeadingArticleLength(text);
}

int32_t GetTrailingArticle(const VnString& text) {
    IVnStringTools* tools = GetStringTools();
    return tools == nullptr ? 0 : tools->GetTrailingArticleLength(text);
}

/// What stands behind an article at the start of a text.
VnString GetTextBehind(const VnString& text, int32_t articleLength) {
    VnString rest = text.Mid(articleLength);
    rest.TrimLeft(L' ');
    return rest;
}

/// What stands ahead of the comma and the article at the end of a text.
VnString GetTextAhead(const VnString& text, int32_t articleLength) {
    VnString rest = text.Left(text.GetLength() - articleLength);
    rest.TrimRight(L' ');
    rest.RemoveSuffix(L",");
    return rest;
}

} // namespace

void VnString::Capitalize(VnCapitalizeMode mode) {
    if (mode < kCapitalizeTitle || mode >= kCapitalizeUnchanged || IsEmpty()) {
        return;
    }
    VnStringArray tokens;
    SplitTokens(*this, tokens);
    VnString result;
    for (int32_t i = 0; i < tokens.GetCount(); ++i) {
        result.Append(CapitalizeToken(tokens, i, mode));
    }
    Swap(result);
}

void VnString::CleanUp(bool removeUnderscores,
                       VnCapitalizeMode mode,
                       bool normalise,
                       bool trimEnds,
                       ArticleMode articles,
                       bool ellipsis,
                       bool quotes) {
    if (removeUnderscores) {
        ReplaceChar(L'_', L' ');
    }
    if (normalise) {
        NormaliseBlanks(*this);
    }
    if (trimEnds) {
        Trim(L" -");
    }
    if (ellipsis) {
        const wchar_t ellipsisText[] = {kEllipsis, 0};
        Replace(L"...", ellipsisText);
        Replace(L". . .", ellipsisText);
    }
    if (mode != kCapitalizeNone) {
        CapitalizeLines(*this, mode);
    }
    if (articles == kArticleToEnd) {
        MoveArticleToEnd();
    } else if (articles == kArticleToFront) {
        MoveArticleToFront();
    }
    if (quotes) {
        ReplaceChar(L'\u201C', L'"');
        ReplaceChar(L'\u201D', L'"');
        ReplaceChar(L'\u2018', L'\'');
        ReplaceChar(L'\u2019', L'\'');
    }
}

void VnString::MoveArticleToEnd() {
    const int32_t length = GetLeadingArticle(*this);
    if (length > 0) {
        const VnString article = Left(length);
        *this = GetTextBehind(*this, length) + L", " + article;
    }
}

void VnString::MoveArticleToFront() {
    const int32_t length = GetTrailingArticle(*this);
    if (length > 0) {
        const VnString article = Right(length);
        *this = article + L" " + GetTextAhead(*this, length);
    }
}

void VnString::MoveArticleToEnd(const wchar_t* article) {
    const VnString kept(article);
    if (!kept.IsEmpty() && CompareLeft(kept + L" ", /*caseFlag=*/false)) {
        *this = Mid(kept.GetLength() + 1) + L", " + kept;
    }
}

void VnString::MoveArticleToFront(const wchar_t* article) {
    const VnString kept(article);
    const VnString ending = L", " + kept;
    if (!kept.IsEmpty() && CompareRight(ending, /*caseFlag=*/false)) {
        *this = kept + L" " + Left(GetLength() - ending.GetLength());
    }
}

void VnString::StripArticle(bool atStart, bool atEnd) {
    const int32_t leading = atStart ? GetLeadingArticle(*this) : 0;
    if (leading > 0) {
        *this = GetTextBehind(*this, leading);
    }
    const int32_t trailing = atEnd ? GetTrailingArticle(*this) : 0;
    if (trailing > 0) {
        *this = GetTextAhead(*this, trailing);
    }
}

bool VnString::HasArticle(bool atStart, bool atEnd) const {
    return (atStart && GetLeadingArticle(*this) > 0) || (atEnd && GetTrailingArticle(*this) > 0);
}
