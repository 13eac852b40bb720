#pragma once

#include <cstdint>

/// Text services of the tools module. Texts are zero-terminated wide characters; null counts as
/// empty.
class IVnStringTools {
public:
    /// Slot 0. Position of `text` in `source` at or behind `start`, in any letter case; -1 when
    /// there is none. With `wantEnd` the position behind the hit. `sourceLength` -1 measures.
    virtual int32_t FindNoCase(const wchar_t* source,
                               int32_t sourceLength,
                               const wchar_t* text,
                               int32_t start,
                               bool wantEnd) = 0;
    /// Slot 1. Order of two texts for people: numbers by value, letter case and accents last. Mode
    /// 0 is the full order, 1 ignores a leading article, 2 is by character codes; `flag` makes
    /// equal texts of other letter case differ. `maximum` characters are looked at, -1 for all.
    /// Negative, 0 or positive.
    virtual int32_t
    Compare(const wchar_t* a, const wchar_t* b, int32_t mode, bool flag, int32_t maximum) = 0;
    /// Slot 2. Length of the article at the start of `text`, without the blank behind it; 0 when
    /// there is none.
    virtual int32_t GetLeadingArticleLength(const wchar_t* text) = 0;
    /// Slot 3. Length of the article at the end of a text of the form "X, The"; 0 when there is
    /// none.
    virtual int32_t GetTrailingArticleLength(const wchar_t* text) = 0;

protected:
    ~IVnStringTools() = default;
};
