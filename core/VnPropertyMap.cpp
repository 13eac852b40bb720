#include "core/VnPropertyMap.h"

namespace {

/// Decimals that a stored number has at most.
constexpr int32_t kMostDecimals = 16;

VnString GetDoubleText(double value) {
    VnString text;
    text.SetDouble(value, kMostDecimals, /*keepZeros=*/false, 0, VnString::kDoublePoint);
    return text;
}

VnString GetPointerText(uintptr_t value) {
    VnString text;
    text.SetPointer(value);
    return text;
}

} // namespace

bool VnPropertyMap::HasProperty(const wchar_t* key) const {
    return Entries != nullptr && Entries->Contains(key);
}

VnString VnPropertyMap::GetString(const wchar_t* key, const wchar_t* defaultText) const {
    const VnString* value = Entries == nullptr ? nullptr : std::as_const(*Entries).Lookup(key);
    return value == nullptr ? VnString(defaultText) : *value;
}

int32_t VnPropertyMap::GetInt(const wchar_t* key, int32_t defaultValue) const {
    return GetString(key, VnString::FromInt(defaultValue)).ToInt();
}

int64_t VnPropertyMap::GetInt64(const wchar_t* key, int64_t defaultValue) const {
    return GetString(key, VnString::FromInt(defaultValue)).ToInt64();
}

long VnPropertyMap::GetLong(const wchar_t* key, long defaultValue) const {
    return GetString(key, VnString::FromInt(defaultValue)).ToInt64();
}

double VnPropertyMap::GetDouble(const wchar_t* key, double defaultValue) const {
    const VnString text = GetString(key, GetDoubleText(defaultValue));
    return text.ToDouble(nullptr, /*anySeparator=*/true, text.GetLength(), /*allowExponent=*/true);
}

uintptr_t VnPropertyMap::GetPointer(const wchar_t* key, uintptr_t defaultValue) const {
    return GetString(key, GetPointerText(defaultValue)).ToHexInt64();
}

bool VnPropertyMap::SetString(const wchar_t* key, const VnString& value, bool removeIfEmpty) {
    if (removeIfEmpty && value.IsEmpty()) {
        Remove(key);
    } else {
        MakeEntries().SetAt(key, value);
    }
    return true;
}

bool VnPropertyMap::SetInt(const wchar_t* key, int32_t value) {
    return SetString(key, VnString::FromInt(value));
}

bool VnPropertyMap::SetInt64(const wchar_t* key, int64_t value) {
    return SetString(key, VnString::FromInt(value));
}

bool VnPropertyMap::SetLong(const wchar_t* key, long value) {
    return SetString(key, VnString::FromInt(value));
}

bool VnPropertyMap::SetPointer(const wchar_t* key, uintptr_t value) {
    return SetString(key, GetPointerText(value));
}

bool VnPropertyMap::SetDouble(const wchar_t* key, double value) {
    return SetString(key, GetDoubleText(value));
}

void VnPropertyMap::Clear() {
    delete std::exchange(Entries, nullptr);
}

void VnPropertyMap::Remove(const wchar_t* key) {
    if (Entries != nullptr && Entries->RemoveKey(key) && Entries->IsEmpty()) {
        delete std::exchange(Entries, nullptr);
    }
}

bool VnPropertyMap::CopyFrom(const VnPropertyMap& other) {
    if (this != &other) {
        Clear();
        // Qualified: a derived class that overrides MergeFrom must not see the inner half of a
        // copy.
        VnPropertyMap::MergeFrom(other);
    }
    return true;
}

bool VnPropertyMap::MergeFrom(const VnPropertyMap& other) {
    if (this == &other || other.IsEmpty()) {
        return true;
    }
    CEntryMap& entries = MakeEntries();
    const CEntryMap& added = *other.Entries;
    for (auto cursor = added.GetFirst(); cursor.Item != nullptr; added.GetNext(cursor)) {
        entries.SetAt(cursor.Item->Key, cursor.Item->Value);
    }
    return true;
}

bool VnPropertyMap::IsEqual(const VnPropertyMap& other) const {
    if (this == &other) {
        return true;
    }
    if (GetCount() != other.GetCount()) {
        return false;
    }
    if (IsEmpty()) {
        return true;
    }
    const CEntryMap& entries = *Entries;
    for (auto cursor = entries.GetFirst(); cursor.Item != nullptr; entries.GetNext(cursor)) {
        if (other.GetString(cursor.Item->Key) != cursor.Item->Value) {
            return false;
        }
    }
    return true;
}

VnString VnPropertyMap::Dump(const wchar_t* prefix,
                             const wchar_t* /*separator*/,
                             const wchar_t* lineEnd) const {
    VnString dump;
    if (Entries == nullptr) {
        return dump;
    }
    const CEntryMap& entries = *Entries;
    for (auto cursor = entries.GetFirst(); cursor.Item != nullptr; entries.GetNext(cursor)) {
        dump.Append(prefix);
        dump.Append(cursor.Item->Key.GetText(), -1, L": ", -1, cursor.Item->Value.GetText(), -1,
                    lineEnd, -1);
    }
    return dump;
}

void VnPropertyMap::Exchange(bool load, const wchar_t* key, VnString& value) {
    if (load) {
        value = GetString(key, value);
    } else {
        SetString(key, value);
    }
}

void VnPropertyMap::Exchange(bool load, const wchar_t* key, double& value) {
    if (load) {
        value = GetDouble(key, value);
    } else {
        SetDouble(key, value);
    }
}

void VnPropertyMap::Exchange(bool load, const wchar_t* key, uint64_t& value) {
    if (load) {
        // Read without a sign, which gives all 64 bits back; a signed read stops short of the
        // lowest number.
        value = GetString(key, VnString::FromInt(static_cast<int64_t>(value))).ToUInt64();
    } else {
        SetInt64(key, static_cast<int64_t>(value));
    }
}

void VnPropertyMap::AppendSlash(const wchar_t* key) {
    VnString text = GetString(key);
    text.EnsureTrailing(L'/');
    SetString(key, text);
}

VnPropertyMap::CEntryMap& VnPropertyMap::MakeEntries() {
    if (Entries == nullptr) {
        Entries = new CEntryMap;
    }
    return *Entries;
}
