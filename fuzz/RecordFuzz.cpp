#include "core/VnPropertyMap.h"
#include "core/VnStringArray.h"

#include "fuzz/FuzzText.h"

namespace {

void CheckMap(const VnString& text) {
    VnPropertyMap map;
    int32_t position = 0;
    map.DeserializeAt(text, position);
    Require(position >= 0 && position <= text.GetLength());
    VnString written;
    map.Serialize(written, true);
    VnPropertyMap again;
    again.Deserialize(written);
    Require(map.IsEqual(again));
}

void CheckArray(const VnString& text) {
    VnStringArray array;
    array.Deserialize(text);
    VnString written;
    array.Serialize(written);
    VnStringArray again;
    again.Deserialize(written);
    Require(array.GetCount() == again.GetCount());
    Require(std::equal(array.begin(), array.end(), again.begin()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    VnString written;
    written.AppendSerialized(text, text.GetLength());
    Require(written.IsSerializedAt(0));
    VnString taken;
    Require(written.TakeSerialized(taken) && taken == text && written.IsEmpty());

    CheckMap(text);
    CheckArray(text);
    return 0;
}
