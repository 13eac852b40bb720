#pragma once

#include "runtime/IVnStringTools.h"

#include <unicode/coll.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

class CSettingsStore;

/// Text services: search in any letter case, the order of texts for people, and articles.
///
/// The search compares characters by their simple case folding, one character to one, so that
/// positions stay; no locale takes part. The order is that of the Unicode collation algorithm in
/// the user's language. The articles are those of the value "Articles" in the settings key
/// "Properties", parted by ";", or the English ones when there is none.
class CStringTools final : public IVnStringTools {
public:
    explicit CStringTools(CSettingsStore& settings) : Settings(settings) {}

    int32_t FindNoCase(const wchar_t* source,
                       int32_t sourceLength,
                       const wchar_t* text,
                       int32_t start,
                       bool wantEnd) override;
    int32_t
    Compare(const wchar_t* a, const wchar_t* b, int32_t mode, bool flag, int32_t maximum) override;
    int32_t GetLeadingArticleLength(const wchar_t* text) override;
    int32_t GetTrailingArticleLength(const wchar_t* text) override;

private:
    void MakeCollators();
    const std::vector<std::wstring>& GetArticles();

    CSettingsStore& Settings;
    std::once_flag CollatorsMade;
    std::unique_ptr<icu::Collator> Accents; ///< letters and accents differ, letter case does not
    std::unique_ptr<icu::Collator>
        CaseToo; ///< letter case differs as well; null together with Accents
    std::once_flag ArticlesRead;
    std::vector<std::wstring> Articles; ///< folded
};
