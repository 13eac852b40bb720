#include "modules/tools/CStringTools.h"

#include "core/VnString.h"
#include "modules/tools/CSettingsStore.h"
#include "modules/tools/CaseFolding.h"

#include <unicode/locid.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cwchar>

namespace {

constexpr char kDefaultArticles[] = "the;a;an";
constexpr int32_t kCompareIgnoreArticle = 1;
constexpr int32_t kCompareCodes = 2;

/// Whether `text` at `at` begins with the folded `prefix`. Stops at the text's terminator by
/// itself.
bool StartsWithFolded(const wchar_t* table, const wchar_t* at, const std::wstring& prefix) {
    for (const wchar_t ch : prefix) {
        if (CaseFolding::Fold(table, *at) != ch) {
            return false;
        }
        at++;
    }
    return true;
}

/// UTF-16 of a text of up to `maximum` characters for ICU.
icu::UnicodeString ToUnicode(const wchar_t* text, int32_t maximum) {
    const size_t length =
        maximum < 0 ? std::wcslen(text) : ::wcsnlen(text, static_cast<size_t>(maximum));
    return icu::UnicodeString::fromUTF32(reinterpret_cast<const UChar32*>(text),
                                         static_cast<int32_t>(length));
}

int32_t CompareCodes(const wchar_t* a, const wchar_t* b, bool flag, int32_t maximum) {
    const wchar_t* const table = CaseFolding::GetTable();
    for (int32_t i = 0; i != maximum; i++) {
        const wchar_t left = flag ? a[i] : CaseFolding::Fold(table, a[i]);
        const wchar_t right = flag ? b[i] : CaseFolding::Fold(table, b[i]);
        if (left != right) {
            return left < right ? -1 : 1;
        }
        if (left == 0) {
            break;
        }
    }
    return 0;
}

} // namespace

int32_t CStringTools::FindNoCase(
    const wchar_t* source, int32_t sourceLength, const wchar_t* text, int32_t start, bool wantEnd) {
    if (source == nullptr || text == nullptr || start < 0) {
        return -1;
    }
    const int32_t length =
        sourceLength < 0 ? static_cast<int32_t>(std::wcslen(source)) : sourceLength;
    const int32_t count = static_cast<int32_t>(std::wcslen(text));
    if (start > length || count > length - start) {
        return -1;
    }
    if (count == 0) {
        return start;
    }
    const wchar_t* const table = CaseFolding::GetTable();
    const wchar_t first = CaseFolding::Fold(table, text[0]);
    const int32_t last = length - count;
    for (int32_t at = start; at <= last; at++) {
        if (CaseFolding::Fold(table, source[at]) != first) {
            continue;
        }
        int32_t same = 1;
        while (same < count
               && CaseFolding::Fold(table, source[at + same])
                      == CaseFolding::Fold(table, text[same])) {
            same++;
        }
        if (same == count) {
            return wantEnd ? at + count : at;
        }
    }
    return -1;
}

void CStringTools::MakeCollators() {
    std::call_once(CollatorsMade, [this] {
        icu::Locale locale = icu::Locale::getDefault();
        if (std::string(locale.getVariant()) == "POSIX") {
            locale = icu::Locale::getRoot(); // no order by codes for people who set no locale
        }
        UErrorCode failure = U_ZERO_ERROR;
        std::unique_ptr<icu::Collator> accents(icu::Collator::createInstance(locale, failure));
        if (U_FAILURE(failure)) {
            return; // no collation data: texts are then compared by their codes
        }
        accents->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, failure);
        accents->setStrength(icu::Collator::SECONDARY);
        std::unique_ptr<icu::Collator> caseToo(accents->clone());
        if (U_FAILURE(failure) || caseToo == nullptr) {
            return;
        }
        caseToo->setStrength(icu::Collator::TERTIARY);
        Accents = std::move(accents);
        CaseToo = std::move(caseToo);
    });
}

int32_t CStringTools::Compare(
    const wchar_t* a, const wchar_t* b, int32_t mode, bool flag, int32_t maximum) {
    a = a == nullptr ? L"" : a;
    b = b == nullptr ? L"" : b;
    if (mode == kCompareIgnoreArticle) {
        for (const wchar_t** text : {&a, &b}) {
            const int32_t article = GetLeadingArticleLength(*text);
            *text += article == 0 ? 0 : article + 1;
        }
    }
    MakeCollators();
    if (mode == kCompareCodes || Accents == nullptr) {
        return CompareCodes(a, b, flag, maximum);
    }
    UErrorCode failure = U_ZERO_ERROR;
    const icu::UnicodeString left = ToUnicode(a, maximum);
    const icu::UnicodeString right = ToUnicode(b, maximum);
    const UCollationResult order = (flag ? CaseToo : Accents)->compare(left, right, failure);
    return U_FAILURE(failure) ? CompareCodes(a, b, flag, maximum) : static_cast<int32_t>(order);
}

const std::vector<std::wstring>& CStringTools::GetArticles() {
    std::call_once(ArticlesRead, [this] {
        const CSettingsStore::Value value = Settings.PeekValue({"Properties"}, "Articles");
        const auto* stored = std::get_if<std::string>(&value);
        const VnString list =
            VnString::FromUTF8(stored == nullptr ? kDefaultArticles : stored->c_str());
        const wchar_t* const table = CaseFolding::GetTable();
        std::wstring article;
        for (const wchar_t* at = list;; at++) {
            if (*at != L';' && *at != 0) {
                article += CaseFolding::Fold(table, *at);
                continue;
            }
            if (!article.empty()) {
                Articles.push_back(article);
            }
            article.clear();
            if (*at == 0) {
                return;
            }
        }
    });
    return Articles;
}

int32_t CStringTools::GetLeadingArticleLength(const wchar_t* text) {
    if (text == nullptr) {
        return 0;
    }
    const wchar_t* const table = CaseFolding::GetTable();
    for (const std::wstring& article : GetArticles()) {
        // An article stands ahead of something.
        if (StartsWithFolded(table, text, article) && text[article.size()] == L' '
            && text[article.size() + 1] != 0) {
            return static_cast<int32_t>(article.size());
        }
    }
    return 0;
}

int32_t CStringTools::GetTrailingArticleLength(const wchar_t* text) {
    const size_t length = text == nullptr ? 0 : std::wcslen(text);
    const wchar_t* const table = CaseFolding::GetTable();
    for (const std::wstring& article : GetArticles()) {
        const size_t needed = article.size() + 2;
        if (length <= needed) {
            continue;
        }
        const wchar_t* const tail = text + length - needed;
        if (tail[0] == L',' && tail[1] == L' ' && StartsWithFolded(table, tail + 2, article)) {
            return static_cast<int32_t>(article.size());
        }
    }
    return 0;
}
