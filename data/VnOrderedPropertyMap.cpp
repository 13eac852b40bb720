#include "data/VnOrderedPropertyMap.h"

VnOrderedPropertyMap::VnOrderedPropertyMap(const VnOrderedPropertyMap& other) : VnPropertyMap() {
    VnPropertyMap::CopyFrom(other);
    Keys = other.Keys;
}

VnOrderedPropertyMap& VnOrderedPropertyMap::operator=(const VnOrderedPropertyMap& other) {
    if (&other != this) {
        VnPropertyMap::CopyFrom(other);
        Keys = other.Keys;
    }
    return *this;
}

VnString VnOrderedPropertyMap::GetKey(int32_t index) const {
    return index >= 0 && index < Keys.GetCount() ? Keys[index] : VnString();
}

VnString VnOrderedPropertyMap::GetValue(int32_t index) const {
    return index >= 0 && index < Keys.GetCount() ? GetString(Keys[index]) : VnString();
}

bool VnOrderedPropertyMap::SetString(const wchar_t* key,
                                     const VnString& value,
                                     bool removeIfEmpty) {
    if (removeIfEmpty && value.IsEmpty()) {
        Remove(key);
        return true;
    }
    if (!HasProperty(key)) {
        Keys.Add(key);
    }
    return VnPropertyMap::SetString(key, value, false);
}

void VnOrderedPropertyMap::Remove(const wchar_t* key) {
    if (HasProperty(key)) {
        Keys.RemoveMatching(key, /*caseFlag=*/false, /*whole=*/true);
    }
    VnPropertyMap::Remove(key);
}

void VnOrderedPropertyMap::Clear() {
    Keys.Empty();
    VnPropertyMap::Clear();
}

bool VnOrderedPropertyMap::CopyFrom(const VnPropertyMap& other) {
    if (&other != this) {
        Clear();
        MergeFrom(other);
    }
    return true;
}

bool VnOrderedPropertyMap::MergeFrom(const VnPropertyMap& other) {
    if (&other == this) {
        return true;
    }
    if (const auto* ordered = dynamic_cast<const VnOrderedPropertyMap*>(&other)) {
        for (const VnString& key : ordered->Keys) {
            SetString(key, ordered->GetString(key));
        }
        return true;
    }
    const CEntryMap* entries = other.GetEntries();
    if (entries == nullptr) {
        return true;
    }
    for (auto cursor = entries->GetFirst(); cursor.Item != nullptr; entries->GetNext(cursor)) {
        SetString(cursor.Item->Key, cursor.Item->Value);
    }
    return true;
}
