#pragma once

#include "core/VnFormatArg.h"
#include "core/VnStringManager.h"

#include <cstdint>
#include <cwchar>
#include <initializer_list>
#include <utility>

class CCancelHelper;
class IFileLoaderProgress;
class VnBuffer;
class VnRegexCache;
class VnStringArray;
struct VnGUID;
template<typename T>
class VnNumberArray;

/// Forms of a text in a file. 0 where an operation allows it: found out from the bytes.
enum VnTextEncoding : int32_t {
    kEncodingDetect = 0,
    kEncodingBytes = 1,     ///< 8-bit text; a character above 255 is written as "?"
    kEncodingUTF8 = 2,      ///< UTF-8 without a mark
    kEncodingUTF16Mark = 3, ///< UTF-16 little endian behind the mark bytes 0xFF 0xFE
    kEncodingUTF16 = 4,     ///< UTF-16 little endian without a mark
    kEncodingUTF8Mark = 5,  ///< UTF-8 behind the mark bytes 0xEF 0xBB 0xBF
};

/// What VnString::Capitalize does with each word.
enum VnCapitalizeMode : int32_t {
    kCapitalizeNone = -1,
    kCapitalizeTitle = 0, ///< title case with the exclusion list
    kCapitalizeEveryWord = 1,
    kCapitalizeFirstWord = 2,
    kCapitalizeUpper = 3,
    kCapitalizeLower = 4,
    kCapitalizeUnchanged = 5,
};

/// The text type of the system: one pointer to reference-counted, zero-terminated 32-bit
/// characters, copied on write.
///
/// Copies share one block, so a copy costs an atomic increment; every changing operation makes the
/// block private first. The block's header (VnStringHeader) stands ahead of the characters. An
/// empty text points at its manager's shared empty block and allocates nothing. A block of another
/// module's manager is copied on entry and freed by its own manager.
///
/// Positions and counts are int32 and count characters; -1 is "not found" and, as a count, "up to
/// the terminator". A case flag of true compares exactly, false folds with
/// VnStringGlobals::ToLower. A bad position or a null pointer never fails: it gives -1, false, 0,
/// no change or an empty text.
///
/// Two objects that share a block may be used on two threads; a single object is for one thread at
/// a time. Text arguments may point into this very string.
class VnString {
public:
    struct VnStringReplaceHit;

    // Basics: VnString.cpp

    VnString() : Characters(VnStringGlobals::Get().GetEmpty()) {}
    VnString(const VnString& other);
    VnString(VnString&& other) noexcept : VnString() {
        // A locked block stays with the string that was locked.
        if (other.GetHeader()->ReferenceCount == VnStringHeader::kLockedCount) [[unlikely]] {
            AssignShared(other);
        } else {
            Swap(other);
        }
    }
    VnString(const wchar_t* text); // NOLINT(google-explicit-constructor)
    /// The first `length` characters of `text`, embedded zeros included; -1 up to the terminator.
    VnString(const wchar_t* text, int32_t length);
    /// One character; 0 gives the empty text.
    explicit VnString(wchar_t ch);
    ~VnString() {
        if (GetHeader()->ReferenceCount != VnStringHeader::kStaticCount) {
            Release();
        }
    }

    VnString& operator=(const VnString& other);
    VnString& operator=(VnString&& other) noexcept;
    VnString& operator=(const wchar_t* text);
    /// One character; 0 empties.
    VnString& operator=(wchar_t ch);

    /// Assigns `length` characters (-1: to the terminator). With `detectMark` a first character
    /// 0xFEFF is dropped, and 0xFFFE is dropped and turns the swap on; `swapBytes` reverses the
    /// four bytes of each character.
    void
    Assign(const wchar_t* text, int32_t length, bool detectMark = false, bool swapBytes = false);

    operator const wchar_t*() const { return Characters; } // NOLINT(google-explicit-constructor)
    const wchar_t* GetText() const { return Characters; }
    int32_t GetLength() const { return GetHeader()->Length; }
    int32_t GetCapacity() const { return GetHeader()->Capacity; }
    bool IsEmpty() const { return GetHeader()->Length == 0; }
    /// Becomes the shared empty text.
    void Empty();
    /// The character at `index`, which must be inside 0 to the length.
    wchar_t operator[](int32_t index) const { return Characters[index]; }
    /// Exchanges the texts: their blocks within one manager, copies between two, so that a block
    /// never comes to a string of another module.
    void Swap(VnString& other) noexcept {
        if (GetHeader()->Manager == other.GetHeader()->Manager) [[likely]] {
            std::swap(Characters, other.Characters);
        } else {
            SwapTexts(other);
        }
    }

    // Direct access: VnString.cpp

    /// A private, writable block for at least `minLength` characters (-1: no particular size).
    /// `exact` takes that capacity instead of rounding it up; without `keepContents` the old text
    /// may be lost. The block is locked until ReleaseBuffer, which every caller owes. The pointer
    /// ends with ReleaseBuffer, any other change, or the string's end. Assigning to a locked string
    /// keeps it locked.
    wchar_t* GetBuffer(int32_t minLength = -1, bool exact = false, bool keepContents = true);
    /// Ends GetBuffer: stores the new length, -1 measures to the first zero character.
    void ReleaseBuffer(int32_t newLength = -1);
    /// Moves the text of a private block to one of exact size, unless its length and `slack` exceed
    /// the capacity, which counts the terminator.
    void FreeExtra(int32_t slack = 0);
    /// Writes one character; outside the text nothing happens, and writing 0 cuts the text there.
    void SetAt(int32_t index, wchar_t ch);
    /// A copy as a new zero-terminated array, which the caller frees with delete[].
    wchar_t* CreateCopy() const;

    // Append and insert: VnStringEdit.cpp

    void Append(const VnString& text);
    /// `count` -1: to the terminator. `growBy` above 0 makes the block grow in steps of that many
    /// characters.
    void Append(const wchar_t* text, int32_t count = -1, int32_t growBy = 0);
    void Append(wchar_t ch) { GetHeader()->Put(ch) ? void() : Append(&ch, 1); }
    /// Up to four pieces with one growth; a piece with a null pointer counts 0, a count of -1
    /// measures.
    void Append(const wchar_t* first,
                int32_t firstCount,
                const wchar_t* second,
                int32_t secondCount,
                const wchar_t* third = nullptr,
                int32_t thirdCount = 0,
                const wchar_t* fourth = nullptr,
                int32_t fourthCount = 0);
    /// Each byte widened unchanged; `count` -1: to the zero byte.
    void AppendBytes(const char* text, int32_t count = -1);
    /// `count` line feeds (character 10).
    void AppendLineFeeds(int32_t count);
    VnString& operator+=(const VnString& text) { return Append(text), *this; }
    VnString& operator+=(const wchar_t* text) { return Append(text), *this; }
    VnString& operator+=(wchar_t ch) { return Append(ch), *this; }

    void Prepend(const VnString& text);
    void Prepend(wchar_t ch, int32_t count = 1);
    /// Inserts ahead of `index`; outside 0 to the length nothing changes. The result is the new
    /// length.
    int32_t Insert(int32_t index, wchar_t ch);
    int32_t Insert(int32_t index, const wchar_t* text);

    // Remove: VnStringEdit.cpp

    void RemoveLeft(int32_t count);
    void RemoveRight(int32_t count);
    /// Cuts both ends. With both counts at or below 0 nothing changes; together at or above the
    /// length, all goes.
    void RemoveEnds(int32_t left, int32_t right);
    void Remove(int32_t start, int32_t count);
    /// Every occurrence; the result is the number removed.
    int32_t Remove(wchar_t ch);
    /// Every character that stands in `set`; the result is the number removed.
    int32_t RemoveChars(const wchar_t* set);
    /// Every occurrence of `text`; the result is the number of hits.
    int32_t RemoveAll(const wchar_t* text, bool caseFlag = true);
    bool RemovePrefix(const wchar_t* text, bool caseFlag = true);
    bool RemoveSuffix(const wchar_t* text, bool caseFlag = true);
    /// Removes everything ahead of a position, character or text, and the found item too with
    /// `withItem`. False, and no change, when there is none.
    bool RemoveUpTo(int32_t position, bool withItem);
    bool RemoveUpTo(wchar_t ch, bool withItem);
    bool RemoveUpTo(const wchar_t* text, bool withItem);
    /// Removes everything behind a position, character or text, and the found item too with
    /// `withItem`.
    bool RemoveFrom(int32_t position, bool withItem);
    bool RemoveFrom(wchar_t ch, bool withItem);
    bool RemoveFrom(const wchar_t* text, bool withItem);
    /// Cuts the (start, end) pairs, end exclusive, which must be sorted and apart, in one pass.
    void RemoveRanges(const VnNumberArray<int>& ranges);

    // Extract: VnStringSearch.cpp

    /// `count` at or above the length shares the block; below 1 gives the empty text.
    VnString Left(int32_t count) const;
    VnString Right(int32_t count) const;
    /// `start` is clamped to 0 to the length, `count` to the rest.
    VnString Mid(int32_t start, int32_t count) const;
    VnString Mid(int32_t start) const;
    /// The part ahead of the first `text`, with it when `withText`; the whole text when there is
    /// none.
    VnString LeftUpTo(const wchar_t* text, bool withText = false, bool caseFlag = true) const;
    /// The part behind the last `text`, with it when `withText`; the whole text when there is none.
    VnString RightFrom(const wchar_t* text, bool withText = false, bool caseFlag = true) const;
    VnString SpanIncluding(const wchar_t* set) const;
    VnString SpanExcluding(const wchar_t* set) const;
    VnString SpanIncludingRight(const wchar_t* set) const;
    VnString SpanExcludingRight(const wchar_t* set) const;
    /// Every `step`-th character from `start` to `end` (exclusive; -1 is the length). A negative
    /// step runs from the last character of that range backwards.
    VnString Slice(int32_t start, int32_t end, int32_t step) const;

    // Search: VnStringSearch.cpp

    /// Position of the first `ch` or `text` at or behind `start`; -1 also for a start outside the
    /// text.
    int32_t Find(wchar_t ch, int32_t start = 0) const;
    int32_t Find(const wchar_t* text, int32_t start = 0) const;
    /// As Find, in any letter case, by the string tools of the tools module; -1 without that
    /// module. `wantEnd` gives the position behind the hit.
    int32_t FindNoCase(const wchar_t* text, int32_t start = 0, bool wantEnd = false) const;
    int32_t FindOneOf(const wchar_t* set, int32_t start = 0) const;
    /// Searches backwards from `start`; a negative start or one past the end means the last
    /// character.
    int32_t ReverseFind(wchar_t ch, int32_t start = -1) const;
    int32_t ReverseFind(const wchar_t* text, bool caseFlag = true) const;
    int32_t ReverseFindOneOf(const wchar_t* set, int32_t start = -1) const;
    /// Occurrences that do not overlap.
    int32_t Count(const wchar_t* text, bool caseFlag = true) const;
    /// Position of occurrence number `n`, counted from 1; -1 when there are fewer.
    int32_t FindNth(const wchar_t* text, int32_t n, bool caseFlag = true) const;
    /// Position of the occurrence nearest to the middle of the string, -1 when there is none.
    int32_t FindNearestMiddle(const wchar_t* text) const;
    bool Contains(const wchar_t* text, bool caseFlag = true) const;

    // Compare: VnStringSearch.cpp

    /// Negative, 0 or positive as this text stands before, at or behind `text` by character codes.
    int32_t Compare(const wchar_t* text, bool caseFlag = true) const;
    bool IsEqual(const wchar_t* text, bool caseFlag = true) const {
        return Compare(text, caseFlag) == 0;
    }
    bool EqualsNoCase(const wchar_t* text) const { return Compare(text, false) == 0; }
    /// True when this text begins (ends) with `text`; `resultIfEmpty` answers for an empty or null
    /// `text`.
    bool CompareLeft(const wchar_t* text, bool caseFlag = true, bool resultIfEmpty = true) const;
    bool CompareRight(const wchar_t* text, bool caseFlag = true, bool resultIfEmpty = true) const;
    bool StartsWith(const wchar_t* text, bool caseFlag = true) const {
        return CompareLeft(text, caseFlag);
    }
    bool StartsWith(wchar_t ch) const { return GetLength() > 0 && Characters[0] == ch; }
    bool EndsWith(const wchar_t* text, bool caseFlag = true) const {
        return CompareRight(text, caseFlag);
    }
    bool EndsWith(wchar_t ch) const { return GetLength() > 0 && Characters[GetLength() - 1] == ch; }

    // Trim: VnStringEdit.cpp

    void Trim();
    void Trim(wchar_t ch);
    void Trim(const wchar_t* set);
    void TrimLeft();
    void TrimLeft(wchar_t ch);
    void TrimLeft(const wchar_t* set);
    void TrimRight();
    void TrimRight(wchar_t ch);
    void TrimRight(const wchar_t* set);

    // Replace: VnStringReplace.cpp

    /// Every occurrence; the result is the number of replacements.
    int32_t Replace(const wchar_t* oldText, const wchar_t* newText, bool caseFlag = true);
    /// The first occurrence at or behind `start`; its position or -1.
    int32_t ReplaceFirst(const wchar_t* oldText, const wchar_t* newText, int32_t start = 0);
    int32_t ReplaceChar(wchar_t oldChar, wchar_t newChar);
    /// Puts `text` in the place of `count` characters from `start`, both clamped as by Mid.
    void ReplaceRange(int32_t start, int32_t count, const wchar_t* text);
    /// The engine behind all replacing: one pass over the text, the nearest hit of any old text
    /// wins, and of equal positions the lowest index. Each match becomes `before` + new text +
    /// `after`; with `keepMatch` the matched text stands in the place of the new one (`newTexts`
    /// may then be null). Ends after `maximumHits`. The result is the number of hits; 0 leaves the
    /// text untouched.
    int32_t ReplaceList(const wchar_t* const* oldTexts,
                        const wchar_t* const* newTexts,
                        int32_t count,
                        bool caseFlag = true,
                        int32_t maximumHits = 0x7fffffff,
                        bool keepMatch = false,
                        const wchar_t* before = nullptr,
                        const wchar_t* after = nullptr);

    // Case and ends: VnStringEdit.cpp

    void MakeUpper();
    void MakeLower();
    /// A text that is not empty ends in exactly one `ch` afterwards; a text of just two `ch` stays
    /// as it is.
    void EnsureTrailing(wchar_t ch);
    void Reverse();

    // Conversion: VnStringConversion.cpp

    /// UTF-8 in; null empties. Malformed bytes come in as characters of their own value, a
    /// four-byte sequence as "?". `length` in bytes, -1 to the zero byte.
    void SetUTF8(const char* bytes, int64_t length = -1);
    /// Appends the UTF-8 bytes, without a terminator, to `bytes` after emptying it.
    void GetUTF8(VnBuffer& bytes, int32_t length = -1) const;
    /// A name or text as the file system holds it: UTF-8 whose four-byte sequences become their
    /// character and whose undecodable bytes become U+DC00 plus the byte, so that VnStringUTF8
    /// gives the same bytes back.
    void SetFileSystemText(const char* bytes, int64_t length = -1);
    /// Each byte widened unchanged. With `stopAtZero` a zero byte inside a given length ends the
    /// text.
    void SetBytes(const char* bytes, int64_t length = -1, bool stopAtZero = false);
    /// Each character below 256 as its byte, others as "?", without a terminator.
    void GetBytes(VnBuffer& bytes) const;
    /// 16-bit units, one character each. Mark and swap as for Assign, on the two bytes of a unit.
    void SetUTF16(const uint16_t* units,
                  int32_t length = -1,
                  bool detectMark = false,
                  bool swapBytes = false);
    static VnString FromUTF8(const char* bytes, int64_t length = -1);
    static VnString FromBytes(const char* bytes, int64_t length = -1);
    static VnString FromFileSystemText(const char* bytes, int64_t length = -1);

    // Numbers: VnStringNumbers.cpp, VnStringNumberText.cpp

    /// Leading white space and a sign are skipped; parsing stops at the first character that is no
    /// digit of any script. Overflow saturates.
    int32_t ToInt() const;
    uint32_t ToUInt() const;
    int64_t ToInt64() const;
    uint64_t ToUInt64() const;
    /// ToInt64 with an optional unit "K" (1024) or "M" (1024 * 1024) behind it.
    int64_t ToSize() const;
    uint32_t ToHexInt() const;
    uint64_t ToHexInt64() const;
    /// `end` (may be null) receives the characters consumed. With `anySeparator` both "," and "."
    /// start the fraction, else only the locale's. At most `maximumCharacters` are looked at.
    double ToDouble(int32_t* end = nullptr,
                    bool anySeparator = false,
                    int32_t maximumCharacters = 0x7fffffff,
                    bool allowExponent = false) const;
    bool ToBool() const;
    /// Dotted text to a number, the first part in the highest byte with `bigEndianOrder`; 0 unless
    /// four parts.
    uint32_t ToIPv4(bool bigEndianOrder) const;
    bool ToMACAddress(uint8_t (&bytes)[6]) const;

    /// Flags of SetInt and of the integer writer.
    enum NumberFlags : uint32_t {
        kNumberLowerCase = 1, ///< letters for digits above 9 in lower case
        kNumberPlus = 2,      ///< a "+" (signed: ahead of values above 0; unsigned: always)
        kNumberHexPrefix = 4, ///< "0x" with base 16
        kNumberGroups = 8,    ///< signed: a separator at every third digit
        kNumberOrdinal = 16,  ///< signed: "st", "nd", "rd", "th"
        kNumberBlanks = 32,   ///< leading zeros become blanks
    };
    /// Flags of SetDouble.
    enum DoubleFlags : uint32_t {
        kDoublePoint = 1,           ///< "." as separator instead of the locale's
        kDoublePlus = 2,            ///< a "+" ahead of positive values
        kDoubleDropZeroInteger = 4, ///< no integer part when it is 0
    };
    /// `base` 2 to 36, without sign 2 to 16, else the text becomes empty. `flags`: NumberFlags.
    void SetInt(int32_t value, int32_t minimumDigits = 0, int32_t base = 10, uint32_t flags = 0);
    void SetInt(uint32_t value, int32_t minimumDigits = 0, int32_t base = 10, uint32_t flags = 0);
    void SetInt(int64_t value, int32_t minimumDigits = 0, int32_t base = 10, uint32_t flags = 0);
    void SetInt(uint64_t value, int32_t minimumDigits = 0, int32_t base = 10, uint32_t flags = 0);
    /// Rounds half up to at most `precision` decimals (-1: 16), with `keepZeros` to exactly that
    /// many. `flags`: DoubleFlags. A value that is not finite gives "?".
    void SetDouble(double value,
                   int32_t precision = -1,
                   bool keepZeros = false,
                   int32_t minimumIntegerDigits = 0,
                   uint32_t flags = 0);
    void SetIPv4(uint32_t address);
    void SetHex(uint32_t value, bool prefix = false);
    void SetPointer(uintptr_t value);
    static VnString FromInt(int64_t value, int32_t minimumDigits = 0);
    /// The decimal separator of the process locale, "," or "."; found once.
    static wchar_t GetDecimalSeparator();

    // Format: VnStringFormat.cpp

    /// The typed format engine, up to 20 arguments. Conversions: s S d i u x X h p c f and %%.
    template<typename... Args>
    VnString& Format(const wchar_t* text, const Args&... args) {
        static_assert(sizeof...(Args) <= 20);
        const VnFormatArg list[sizeof...(Args) + 1] = {VnFormatArg(args)...};
        return FormatList(text, list, static_cast<int32_t>(sizeof...(Args)));
    }
    template<typename... Args>
    VnString& AppendFormat(const wchar_t* text, const Args&... args) {
        static_assert(sizeof...(Args) <= 20);
        const VnFormatArg list[sizeof...(Args) + 1] = {VnFormatArg(args)...};
        return AppendFormatList(text, list, static_cast<int32_t>(sizeof...(Args)));
    }
    template<typename... Args>
    static VnString Formatted(const wchar_t* text, const Args&... args) {
        VnString result;
        result.Format(text, args...);
        return result;
    }
    VnString& FormatList(const wchar_t* text, const VnFormatArg* args, int32_t count);
    VnString& AppendFormatList(const wchar_t* text, const VnFormatArg* args, int32_t count);

    // Records "(length:text)": VnStringRecords.cpp

    void AppendSerialized(const wchar_t* text, int32_t length = -1);
    void AppendSerializedInt(int32_t value);
    void AppendSerializedDouble(double value);
    /// Reads the record at `position` and moves it past the record. False, with `out` set to
    /// `defaultText` (null is empty), where no record stands; the position stays where reading
    /// stopped.
    bool
    ReadSerialized(int32_t& position, VnString& out, const wchar_t* defaultText = nullptr) const;
    int32_t ReadSerializedInt(int32_t& position, int32_t defaultValue) const;
    double ReadSerializedDouble(int32_t& position, double defaultValue) const;
    /// Whether a record seems to begin at `position`: "(", digits, ":".
    bool IsSerializedAt(int32_t position = 0) const;
    /// Reads the record at the start of the string, and with the Take forms removes it.
    bool PeekSerialized(VnString& out, const wchar_t* defaultText = nullptr) const;
    bool TakeSerialized(VnString& out, const wchar_t* defaultText = nullptr);
    int32_t PeekSerializedInt(int32_t defaultValue) const;
    int32_t TakeSerializedInt(int32_t defaultValue);
    double PeekSerializedDouble(double defaultValue) const;
    double TakeSerializedDouble(double defaultValue);

    // Similarity and patterns: VnStringSimilarity.cpp

    /// Edit distance with folded compare; 0x7fffffff once it is known to exceed `limit`.
    int32_t Levenshtein(const wchar_t* other, int32_t limit = 0x7fffffff) const;
    /// Distance of at most min(length / 4, 3).
    bool IsSimilar(const wchar_t* other) const;
    /// Hirschberg's method in linear space; the characters come from `first`.
    static VnString LongestCommonSubsequence(const VnString& first, const VnString& second);
    /// Classes in the pattern: \# digit, \a letter, \$ letter or digit, \h hexadecimal digit,
    /// \\ backslash.
    bool MatchesPattern(const wchar_t* pattern, bool caseFlag = true) const;
    bool IsMadeOf(bool allowLetters,
                  bool allowDigits,
                  const wchar_t* extraSet,
                  int32_t minimumLength,
                  int32_t maximumLength) const;
    bool IsNumber(bool allowEmpty = false, bool allowSeparators = false) const;

    // Text from bytes: VnStringTextDetection.cpp

    /// The contents of `buffer` (which is guarded by zero bytes meanwhile) as text; always true.
    /// `encoding` 0 detects, 5 allows a mark. `dropZeros` removes zero units first.
    bool
    SetFromBuffer(VnBuffer& buffer, int32_t encoding = kEncodingDetect, bool dropZeros = false);

    // Names and transforms: VnStringNames.cpp, VnStringEntities.cpp, VnStringTransforms.cpp

    void CleanName();
    void MakePlural();
    /// Bumps the "(n)" at the end, or adds " (1)". With `restart` an n of 2 or more becomes 1.
    void MakeUnique(bool restart = false);
    void DecodeEntities();
    /// Cuts a text that reaches `maximumLength` to one character less and an ellipsis (U+2026);
    /// true when cut.
    bool ReplaceWithEllipsis(int32_t maximumLength, bool cutAtLineEnd = false);
    void EscapeChars(const wchar_t* set, wchar_t escape);
    void UnescapeChars(const wchar_t* set, wchar_t escape);
    /// Backspace, tab, line feed, form feed, CR, double quote and backslash in their backslash
    /// forms.
    void EscapeBackslash();
    VnString QuoteForShell() const;
    void SplitWords();
    /// CR, LF and CRLF become `lineEnd`; with `merge` a run of them becomes one.
    void ConvertLineEnds(const wchar_t* lineEnd, bool merge = false);
    void CutToOneLine();
    void RemoveDuplicateLines();
    void RemoveMarkup();
    void KeepNumericEnds(bool alsoRight);
    void PadNumber(int32_t width, wchar_t fill);
    /// Kinds of GetWords tokens.
    enum WordKind : int32_t {
        kWordSpace = 1,
        kWordText = 2,
        kWordNumber = 3,
        kWordOther = 4,
    };
    void GetWords(VnStringArray& words, VnNumberArray<int>& kinds, bool withSpace) const;
    void GetSentences(VnStringArray& sentences) const;
    void MakeASCII();
    void SetRandom(int32_t length, bool letters, bool digits);

    // Escapes and encodings: VnStringEscapes.cpp, VnStringBase64.cpp

    void SetHexBytes(const void* bytes, int32_t count);
    void GetHexBytes(VnBuffer& bytes) const;
    /// RFC 4648 with padding; `lineBreaks` puts a line feed behind every 64 characters but the
    /// last.
    void SetBase64(const void* bytes, int32_t count, bool lineBreaks = false);
    bool GetBase64(VnBuffer& bytes) const;
    bool GetBase64Bytes(void* target, int32_t size) const;
    void DecodeURL(wchar_t escape, bool keepEscaped, bool plusAsSpace);
    static VnString URLDecoded(const wchar_t* text);
    void EncodeURL(wchar_t escape, bool keepSlash);
    static VnString URLEncoded(const wchar_t* text);
    /// Flags of EscapeXML beside "&", "<" and ">", which are always replaced.
    enum XMLEscapeFlags : int32_t {
        kEscapeApostrophe = 4,
        kEscapeQuote = 8,
        kEscapeControl = 16,       ///< below 32 but 9, 10, 13: "&#x", hexadecimal, ";"
        kEscapeControlAsMark = 32, ///< with 16: "?" instead, except character 1
    };
    void EscapeXML(int32_t flags);
    void DecodeEscapes(bool unicode, bool hexadecimal);

    // Hashes and cipher: VnStringHash.cpp, VnStringCipher.cpp

    /// h = h * 0x1003F + c, with folded characters when `fold`.
    uint32_t Hash(bool fold) const;
    uint64_t Hash64(bool fold) const;
    static uint32_t HashOf(const wchar_t* text, bool fold);
    static uint64_t Hash64Of(const wchar_t* text, bool fold);
    /// Twofish. The result is a new array of `size` bytes, which the caller frees with delete[], or
    /// null.
    uint8_t* EncryptToBytes(int32_t& size,
                            const VnString& password,
                            bool useCBC,
                            const VnString& vector) const;
    bool
    EncryptToBase64(const VnString& password, bool lineBreaks, bool useCBC, const VnString& vector);
    bool DecryptFromBytes(const void* bytes,
                          int32_t count,
                          const VnString& password,
                          int32_t encoding,
                          bool useCBC,
                          const VnString& vector);
    bool DecryptFromBuffer(const VnBuffer& buffer,
                           const VnString& password,
                           int32_t encoding,
                           bool useCBC,
                           const VnString& vector);
    bool DecryptFromBase64(const VnString& password,
                           int32_t encoding,
                           bool useCBC,
                           const VnString& vector);

    // Templates and words: VnStringParser.cpp, VnStringGetLeadingCharacters.cpp

    /// Takes the text apart by a template (see VnStringParser); 1 on a match, else 0. The targets
    /// follow as pointers: int32_t for "d" and "x", int64_t for "l", VnString for "s" and "w".
    int32_t Parse(const wchar_t* pattern, int caseSensitive, ...) const;
    int32_t ParseWithRest(
        const wchar_t* pattern, VnString& head, VnString& tail, int caseSensitive, ...) const;
    /// The word or run of digits around `position`. `kind`: 2 word, 3 digits, 0 nothing.
    VnString GetWordAt(int32_t position, int32_t& kind, int32_t& start, bool wordMode) const;

    // Files: VnStringFiles.cpp

    /// The path is cleaned, its folders are made, and the file is written anew. True when every
    /// byte went out.
    bool SaveToFile(const wchar_t* path, int32_t encoding) const;
    /// Reads a whole file through the file loader; a null or empty path empties the text and is
    /// true. `encoding` as for SetFromBuffer, but asked-for UTF-8 loses nothing, as in
    /// SetFileSystemText, and never gives its mark. `progress` and `cancel` may follow and stop the
    /// load. On failure the text is empty.
    bool LoadFromFile(const wchar_t* path,
                      int32_t encoding = kEncodingDetect,
                      bool dropZeros = false,
                      IFileLoaderProgress* progress = nullptr,
                      CCancelHelper* cancel = nullptr);

    // Capitalisation: VnStringCapitalize.cpp

    void Capitalize(VnCapitalizeMode mode);
    /// Article modes of CleanUp.
    enum ArticleMode : int32_t {
        kArticleKeep = 0,
        kArticleToEnd = 1,
        kArticleToFront = 2,
    };
    /// Cleans a name, each step by its argument: `normalise` leaves single blanks and dashes,
    /// `trimEnds` none at the ends, `quotes` makes the typographic ones plain.
    void CleanUp(bool removeUnderscores,
                 VnCapitalizeMode mode,
                 bool normalise,
                 bool trimEnds,
                 ArticleMode articles,
                 bool ellipsis,
                 bool quotes);
    void MoveArticleToEnd();
    void MoveArticleToFront();
    void MoveArticleToEnd(const wchar_t* article);
    void MoveArticleToFront(const wchar_t* article);
    void StripArticle(bool atStart, bool atEnd);
    bool HasArticle(bool atStart, bool atEnd) const;

    // GUID and regular expressions: VnStringRegex.cpp

    /// The text form of `guid`, or of a new random one for null.
    void SetGUID(const VnGUID* guid);
    VnGUID GetGUID() const;
    /// The first match; `groups` receives its capture groups from 1 up, `before` and `after` (may
    /// be null) the lengths of the text around it. A malformed pattern gives false, and so does a
    /// search that needs more stack than there is. `cache` may be null.
    bool RegexSearch(const VnString& pattern,
                     VnStringArray& groups,
                     bool caseSensitive,
                     VnRegexCache* cache = nullptr,
                     int32_t* before = nullptr,
                     int32_t* after = nullptr) const;
    bool RegexFindAll(const VnString& pattern,
                      VnStringArray& groups,
                      bool caseSensitive,
                      VnRegexCache* cache = nullptr) const;

private:
    friend class VnStringTestAccess;

    VnStringHeader* GetHeader() const { return VnStringHeader::FromCharacters(Characters); }
    void Release();
    void AssignShared(const VnString& other);
    void SwapTexts(VnString& other) noexcept;
    void Adopt(wchar_t* characters);
    /// Cuts the text to `count` characters from `start`, which must be inside it.
    void KeepRange(int32_t start, int32_t count);

    wchar_t* Characters; ///< first character of the block, never null
};

static_assert(sizeof(VnString) == sizeof(void*));

VnString operator+(const VnString& left, const VnString& right);
VnString operator+(const VnString& left, const wchar_t* right);
VnString operator+(const wchar_t* left, const VnString& right);
VnString operator+(const VnString& left, wchar_t right);
VnString operator+(wchar_t left, const VnString& right);

// Exact compares, of which the language makes the other pairings and "!=".
bool operator==(const VnString& left, const VnString& right);
bool operator==(const VnString& left, const wchar_t* right);
bool operator<(const VnString& left, const VnString& right);

/// The UTF-8 form of a text for system calls: a zero-terminated array that lives as long as the
/// holder. A character U+DC80 to U+DCFF, as SetFileSystemText makes them, becomes its byte again.
class VnStringUTF8 {
public:
    /// `length` -1: to the terminator. Null counts as empty.
    explicit VnStringUTF8(const wchar_t* text, int32_t length = -1);
    explicit VnStringUTF8(const VnString& text);
    VnStringUTF8(const VnStringUTF8&) = delete;
    VnStringUTF8& operator=(const VnStringUTF8&) = delete;
    ~VnStringUTF8() { delete[] Bytes; }

    operator const char*() const { return Bytes; } // NOLINT(google-explicit-constructor)
    const char* GetBytes() const { return Bytes; }
    /// The text back by VnString::SetUTF8, with the losses of that.
    VnString GetString() const { return VnString::FromUTF8(Bytes); }

private:
    char* Bytes; ///< array new
};

/// 8-bit form of a text; characters above 255 become "?".
class VnStringBytes {
public:
    explicit VnStringBytes(const wchar_t* text, int32_t length = -1);
    VnStringBytes(const VnStringBytes&) = delete;
    VnStringBytes& operator=(const VnStringBytes&) = delete;
    ~VnStringBytes() { delete[] Bytes; }

    operator const char*() const { return Bytes; } // NOLINT(google-explicit-constructor)
    /// The text back by VnString::SetBytes.
    VnString GetString() const { return VnString::FromBytes(Bytes); }

private:
    char* Bytes;
};

/// 16-bit form of a text, each character cut to its low 16 bits.
class VnStringUTF16 {
public:
    explicit VnStringUTF16(const wchar_t* text, int32_t length = -1);
    VnStringUTF16(const VnStringUTF16&) = delete;
    VnStringUTF16& operator=(const VnStringUTF16&) = delete;
    ~VnStringUTF16() { delete[] Units; }

    operator const uint16_t*() const { return Units; } // NOLINT(google-explicit-constructor)
    /// The text back by VnString::SetUTF16, a unit a character.
    VnString GetString() const;

private:
    uint16_t* Units;
};
