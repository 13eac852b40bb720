#pragma once

#include "core/VnPropertyMap.h"
#include "core/VnStringArray.h"

/// A property map that also keeps its keys in the order in which they came in.
///
/// Keys compare without regard to letter case, as in the base; writing to a key that is there keeps
/// its place and its spelling. Entries are reached by key, or by index from 0 to GetCount() - 1.
class VnOrderedPropertyMap : public VnPropertyMap {
public:
    VnOrderedPropertyMap() = default;
    VnOrderedPropertyMap(const VnOrderedPropertyMap& other);
    VnOrderedPropertyMap& operator=(const VnOrderedPropertyMap& other);

    /// Key and value by index; empty for an index outside the entries.
    VnString GetKey(int32_t index) const;
    VnString GetValue(int32_t index) const;

    // Writing keeps the list of keys in step. A plain map that is copied or merged in brings its
    // new keys in that map's own order, an ordered one in its order of insertion.

    bool SetString(const wchar_t* key, const VnString& value, bool removeIfEmpty = false) override;
    void Remove(const wchar_t* key) override;
    void Clear() override;
    bool CopyFrom(const VnPropertyMap& other) override;
    bool MergeFrom(const VnPropertyMap& other) override;

private:
    VnStringArray Keys; ///< the base's keys, in order of insertion
};
