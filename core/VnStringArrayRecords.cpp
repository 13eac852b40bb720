#include "core/VnStringArray.h"

#include <algorithm>

namespace {

constexpr int32_t kFormatVersion = 1;

/// Characters of the shortest record, "(0:)".
constexpr int32_t kShortestRecord = 4;

} // namespace

void VnStringArray::AppendNumbers(const VnNumberArray<int>& numbers) {
    Reserve(Base.GetCountWith(numbers.GetCount()), /*exact=*/IsEmpty());
    for (const int number : numbers) {
        Add(VnString::FromInt(number));
    }
}

void VnStringArray::AppendNumbers(int32_t first, int32_t last) {
    for (int64_t number = first; number <= last; ++number) {
        Add(VnString::FromInt(number));
    }
}

void VnStringArray::Serialize(VnString& out) const {
    if (std::any_of(begin(), end(), [&](const VnString& text) { return &text == &out; })) {
        VnString records; // the element that takes them is one of the texts
        Serialize(records);
        out.Append(records);
        return;
    }
    out.AppendSerializedInt(kFormatVersion);
    out.AppendSerializedInt(GetCount());
    for (const VnString& text : *this) {
        out.AppendSerialized(text.GetText(), text.GetLength());
    }
}

bool VnStringArray::Deserialize(const VnString& text) {
    int32_t position = 0;
    return Deserialize(text, position);
}

bool VnStringArray::Deserialize(const VnString& text, int32_t& position) {
    // The text may be an element, and the elements go first.
    const VnString source = text;
    Empty();
    if (source.ReadSerializedInt(position, 0) != kFormatVersion) {
        return false;
    }
    const int32_t written = source.ReadSerializedInt(position, 0);
    const int32_t possible = std::max(source.GetLength() - position, 0) / kShortestRecord;
    const int32_t count = std::min(written, possible);
    if (count > 0) {
        Reserve(count);
    }
    for (int32_t index = 0; index < count; ++index) {
        VnString element;
        source.ReadSerialized(position, element);
        Add(element);
    }
    return true;
}
