#pragma once

#include "core/VnString.h"
#include "core/VnStringMap.h"

#include <cstdint>
#include <utility>

class VnXMLDocument;

/// Typed key-value record. Values are stored as text; the typed operations format on write and
/// parse on read.
///
/// Keys are the same without regard to case and keep the spelling of the write that made the entry;
/// values compare exactly. The order of the entries means nothing. An empty map is one null
/// pointer. The typed operations go through the virtual GetString and SetString, so a derived class
/// sees every access; a setter's result is that of SetString. Copied only by CopyFrom. Not
/// thread-safe.
class VnPropertyMap {
public:
    using CEntryMap = VnStringMap<VnString, false, VnString, const VnString&, true>;

    VnPropertyMap() = default;
    VnPropertyMap(const VnPropertyMap&) = delete;
    VnPropertyMap& operator=(const VnPropertyMap&) = delete;
    VnPropertyMap(VnPropertyMap&& other) noexcept
        : Entries(std::exchange(other.Entries, nullptr)) {}
    VnPropertyMap& operator=(VnPropertyMap&& other) noexcept {
        std::swap(Entries, other.Entries);
        return *this;
    }
    virtual ~VnPropertyMap() { delete Entries; }

    // Reading: VnPropertyMap.cpp

    /// True when `key` is there, whatever its value.
    virtual bool HasProperty(const wchar_t* key) const;

    /// The value under `key`; `defaultText` (null is empty) when there is none.
    virtual VnString GetString(const wchar_t* key, const wchar_t* defaultText = nullptr) const;

    /// The value as a number: VnString::ToInt, ToInt64, and ToDouble with any separator and an
    /// exponent. The default counts only for a missing key: a value that doesn't parse, also an
    /// empty one, reads as 0.
    virtual int32_t GetInt(const wchar_t* key, int32_t defaultValue = 0) const;
    virtual int64_t GetInt64(const wchar_t* key, int64_t defaultValue = 0) const;
    virtual long GetLong(const wchar_t* key, long defaultValue = 0) const;
    virtual double GetDouble(const wchar_t* key, double defaultValue = 0) const;

    /// The value as a number of pointer size, read from hexadecimal text.
    virtual uintptr_t GetPointer(const wchar_t* key, uintptr_t defaultValue = 0) const;

    // Writing: VnPropertyMap.cpp

    /// Stores `value` under `key`; with `removeIfEmpty` an empty value removes the entry instead.
    /// Always true.
    virtual bool SetString(const wchar_t* key, const VnString& value, bool removeIfEmpty = false);

    /// Store decimal text.
    virtual bool SetInt(const wchar_t* key, int32_t value);
    virtual bool SetInt64(const wchar_t* key, int64_t value);
    virtual bool SetLong(const wchar_t* key, long value);

    /// Stores hexadecimal text, as the format "%p" gives it.
    virtual bool SetPointer(const wchar_t* key, uintptr_t value);

    /// Stores up to 16 decimals without trailing zeros, always behind a ".".
    virtual bool SetDouble(const wchar_t* key, double value);

    /// Removes all entries.
    virtual void Clear();

    /// Removes the entry of `key`, if there is one.
    virtual void Remove(const wchar_t* key);

    // Whole maps: VnPropertyMap.cpp

    /// Replaces all entries by copies of those of `other`, without SetString. Always true.
    virtual bool CopyFrom(const VnPropertyMap& other);

    /// Adds copies of the entries of `other`, without SetString; values under the same key are
    /// overwritten. Always true.
    virtual bool MergeFrom(const VnPropertyMap& other);

    /// True when both have the same keys with exactly the same values.
    virtual bool IsEqual(const VnPropertyMap& other) const;

    // Record form: VnPropertyMapRecords.cpp

    /// Appends the records of the number of entries and of each key and value to `out`; only
    /// "(1:0)" without `includeEntries` or without entries.
    virtual void Serialize(VnString& out, bool includeEntries = true) const;

    /// DeserializeAt from the start of `text`.
    virtual void Deserialize(const VnString& text);

    /// Replaces all entries by those that Serialize wrote at `position` of `text`, and moves it
    /// behind them. Damaged records read as empty and are stored under the empty key.
    virtual void DeserializeAt(const VnString& text, int32_t& position);

    // XML form: VnPropertyMapXML.cpp

    /// A document of a root element `rootName` with the attribute "version" (one decimal, the
    /// locale's separator) and an "Item" element for each entry. Empty text for an empty map with
    /// `omitIfEmpty`.
    virtual VnString GetXML(const wchar_t* rootName, bool omitIfEmpty, double version) const;

    /// Replaces all entries by those of such a document. Empty text gives an empty map and true.
    /// False, with the map empty, for another root or a version that isn't exactly `version`.
    virtual bool SetXML(const VnString& text, const wchar_t* rootName, double version);

    /// Adds an "Item" element for each entry at the end of the element that `tree` has stepped
    /// into: the key in its attribute "Name", the value as its text.
    virtual void WriteXML(VnXMLDocument& tree) const;

    /// Replaces all entries by all "Item" children of the element that `tree` has stepped into, in
    /// document order.
    virtual void ReadXML(VnXMLDocument& tree);

    /// One text for logs: prefix, key, ": ", value and line end of each entry; empty for an empty
    /// map. `separator` has no effect: between key and value there is always ": ".
    virtual VnString
    Dump(const wchar_t* prefix, const wchar_t* separator, const wchar_t* lineEnd) const;

    // Non-virtual

    /// One routine for both directions of a settings block: with `load` reads `key` into `value`,
    /// which is its own default, otherwise stores it.
    void Exchange(bool load, const wchar_t* key, VnString& value);
    void Exchange(bool load, const wchar_t* key, double& value);
    void Exchange(bool load, const wchar_t* key, uint64_t& value);

    /// Makes a value that is not empty end in exactly one "/".
    void AppendSlash(const wchar_t* key);

    int32_t GetCount() const { return Entries == nullptr ? 0 : Entries->GetCount(); }
    bool IsEmpty() const { return Entries == nullptr; }

    /// The entries, to walk through; null while there are none. Ends with Clear and the last
    /// Remove.
    const CEntryMap* GetEntries() const { return Entries; }

private:
    CEntryMap& MakeEntries();

    CEntryMap* Entries = nullptr; ///< owned; null while the map is empty
};

static_assert(sizeof(VnPropertyMap) == 2 * sizeof(void*));
