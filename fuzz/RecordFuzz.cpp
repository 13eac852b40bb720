#include "core/VnPropertyMap.h"
#include "core/VnStringArray.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // A record may claim any number of entries, and each round is honoured: the claim is bounded
    // here.
    const VnString text = TextOf(data, size);
    int32_t position = 0;
    if (text.ReadSerializedInt(position, 0) > 10000) {
        return 0;
    }
    VnPropertyMap map;
    map.Deserialize(text);
    VnString written;
    map.Serialize(written, true);
    VnPropertyMap again;
    again.Deserialize(written);
    Require(map.IsEqual(again));
    VnStringArray array;
    array.Deserialize(text);
    return 0;
}
