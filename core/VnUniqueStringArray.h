#pragma once

#include "core/VnStringArray.h"
#include "core/VnUniqueList.h"

#include <cstdint>

/// Strings in the order in which they were added, without duplicates. Two texts of the same 64-bit
/// hash count as the same text.
class VnUniqueStringArray {
public:
    /// An empty array; with `caseFlag` texts that differ in letter case are different.
    explicit VnUniqueStringArray(bool caseFlag = false);
    virtual ~VnUniqueStringArray() = default;

    /// Adds `text` at the end and returns its index; -1 when it is there already.
    int32_t Add(const VnString& text);

    /// Inserts `text` ahead of the element at `index` (clamped to 0 to the count) and returns where
    /// it stands; -1 when it is there already.
    int32_t InsertAt(int32_t index, const VnString& text);

    /// True when `text` was added.
    bool Contains(const VnString& text) const;

    /// Removes all texts.
    void Empty();

    int32_t GetCount() const { return Strings.GetCount(); }
    bool IsEmpty() const { return Strings.IsEmpty(); }
    bool GetCaseFlag() const { return CaseFlag; }

    /// The text at `index`, which is not checked.
    const VnString& operator[](int32_t index) const { return Strings[index]; }
    const VnString* begin() const { return Strings.begin(); }
    const VnString* end() const { return Strings.end(); }

    /// All texts, in order.
    const VnStringArray& GetStrings() const { return Strings; }

private:
    VnStringHashBase<false> GetHash(const VnString& text) const;

    VnStringArray Strings;               ///< in adding order
    VnStringCRCUniqueList<false> Hashes; ///< of all strings, by the case rule of CaseFlag
    bool CaseFlag;                       ///< letter case counts
};
