#include "core/VnPropertyMap.h"

void VnPropertyMap::Serialize(VnString& out, bool includeEntries) const {
    if (!includeEntries || Entries == nullptr) {
        out.AppendSerializedInt(0);
        return;
    }
    const CEntryMap& entries = *Entries;
    out.AppendSerializedInt(entries.GetCount());
    for (auto cursor = entries.GetFirst(); cursor.Item != nullptr; entries.GetNext(cursor)) {
        out.AppendSerialized(cursor.Item->Key.GetText(), cursor.Item->Key.GetLength());
        out.AppendSerialized(cursor.Item->Value.GetText(), cursor.Item->Value.GetLength());
    }
}

void VnPropertyMap::Deserialize(const VnString& text) {
    int32_t position = 0;
    DeserializeAt(text, position);
}

void VnPropertyMap::DeserializeAt(const VnString& text, int32_t& position) {
    // The text may be a value of this map.
    const VnString source = text;
    Clear();
    const int32_t count = source.ReadSerializedInt(position, 0);
    for (int32_t index = 0; index < count; ++index) {
        const int32_t before = position;
        VnString key;
        VnString value;
        source.ReadSerialized(position, key);
        source.ReadSerialized(position, value);
        SetString(key, value);
        if (position == before) {
            // Nothing more can be read: every further round would store the same empty pair again,
            // and the count comes from whoever wrote the text.
            return;
        }
    }
}
