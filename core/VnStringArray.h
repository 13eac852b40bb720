#pragma once

#include "core/VnArray.h"
#include "core/VnNumberArray.h"
#include "core/VnString.h"

#include <cstdint>

/// Array of strings with the operations on lists of texts.
///
/// A case flag of true compares exactly, false through VnStringGlobals::ToLower. Growth moves
/// strings by their bytes and touches no reference count. Arguments may be elements of the array
/// itself.
class VnStringArray : public VnArray<VnString, const VnString&, false> {
public:
    // Split and join: VnStringArraySplit.cpp

    /// Replaces the array by the parts of `text` and returns their number.
    ///
    /// `separator` counts as it is spelled; null, empty or not found gives the whole text as one
    /// part. Two separators in a row have an empty part between them, one at the very end adds
    /// none. With `trim` white space around each separator goes, with `skipEmptyText` an empty text
    /// gives no part instead of an empty one.
    int32_t Split(const wchar_t* text,
                  const wchar_t* separator,
                  bool trim = false,
                  bool skipEmptyText = false);

    /// As Split, but the parts are added behind what is there. Returns the number added.
    int32_t AppendSplit(const wchar_t* text,
                        const wchar_t* separator,
                        bool trim = false,
                        bool skipEmptyText = false);

    /// Splits the first element as Split does: its parts replace the whole array. An empty array
    /// stays.
    int32_t SplitFirst(const wchar_t* separator, bool trim = false, bool skipEmptyText = false);

    /// Splits at each `separator` character; a last part that is empty is then dropped.
    int32_t SplitByChar(const wchar_t* text,
                        wchar_t separator,
                        bool trim = false,
                        bool skipEmptyText = false);

    /// The elements with `separator` (null: nothing) between them; with `reverse` from the last to
    /// the first. `maxCount` below the count (-1: no maximum) leaves the rest out, which `wasCut`,
    /// if not null, then tells. A single element comes back as a shared string, an empty array as
    /// an empty text.
    VnString Join(const wchar_t* separator,
                  bool reverse = false,
                  int32_t maxCount = -1,
                  bool* wasCut = nullptr) const;

    /// Join up to `maxCount`; when that left something out, `separator` and `tail` follow.
    VnString JoinWithTail(int32_t maxCount, const wchar_t* tail, const wchar_t* separator) const;

    // Find and edit: VnStringArray.cpp

    /// Index of the first element that equals `text` (`whole`), starts with it (`prefix`, which
    /// goes first) or, with neither, contains it; -1 when there is none. The empty text is
    /// contained everywhere.
    int32_t
    Find(const wchar_t* text, bool caseFlag = false, bool whole = true, bool prefix = false) const;

    /// True when an element equals `text`.
    bool Contains(const wchar_t* text, bool caseFlag = false) const {
        return Find(text, caseFlag) >= 0;
    }

    /// Keeps the first of each group of texts that are equal in any case, in their order. Above 16
    /// elements, texts of equal 64-bit hash count as equal.
    void RemoveDuplicates();

    /// Removes the elements that equal `text` (`whole`) or contain it, and returns their number.
    int32_t RemoveMatching(const wchar_t* text, bool caseFlag = false, bool whole = true);

    /// Replaces each element that equals `oldText` by `newText` and returns their number.
    int32_t ReplaceValue(const wchar_t* oldText, const wchar_t* newText, bool caseFlag = false);

    /// Takes the element at `index` and inserts it at `index` + `delta`, clamped to the ends.
    /// Returns its new index; -1, and no change, for an index outside the array.
    int32_t Move(int32_t index, int32_t delta);

    /// Finds the element that holds character `position` of all elements written one behind the
    /// other, and the `offset` of the character in it. False, with both set to -1, outside the
    /// characters.
    bool Locate(int32_t position, int32_t& index, int32_t& offset) const;

    /// Changes `text` by VnString::MakeUnique until no element equals it. True when it was changed.
    bool MakeUnique(VnString& text, bool caseFlag = false) const;

    // Numbers and records: VnStringArrayRecords.cpp

    /// Adds the decimal text of each number.
    void AppendNumbers(const VnNumberArray<int>& numbers);

    /// Adds the decimal texts of `first` to `last`, both included; none when `last` is below
    /// `first`.
    void AppendNumbers(int32_t first, int32_t last);

    /// Appends the records "(1:1)" (the format version), the count and each element to `out`.
    void Serialize(VnString& out) const;

    /// Replaces the array by what Serialize wrote into `text`, from its start on. False, with the
    /// array emptied, for another version. A damaged record reads as an empty text; a count that
    /// the text is too short for is cut to what it can hold.
    bool Deserialize(const VnString& text);

    /// As above, from `position`, which moves behind the records.
    bool Deserialize(const VnString& text, int32_t& position);

    // Order, by the text compare of the tools module: VnStringArraySort.cpp

    /// Sorts by that compare; `mode` and `flag` are passed to it as they are. Without the module
    /// the order stays.
    void Sort(int32_t mode, bool flag = true);

    /// True when no element stands behind its successor in that order (with flag 1).
    bool IsSorted(int32_t mode) const;

    // Text files: VnStringArraySplit.cpp

    /// Writes the elements joined with `separator` to the file at `path`, as VnString::SaveToFile
    /// does. True when every byte was written.
    bool SaveToFile(const wchar_t* path, VnTextEncoding encoding, const wchar_t* separator) const;

private:
    /// Writes the parts of `text` over the elements from `first` on, adding elements where there
    /// are none, and returns the index behind the last part. `text` must outlive the elements that
    /// are overwritten.
    int32_t WriteParts(int32_t first, const wchar_t* text, const wchar_t* separator, bool trim);
};
