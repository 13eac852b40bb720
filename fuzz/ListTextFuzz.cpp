#include "files/VnFilenameArray.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    VnFilenameArray list;
    const int32_t count = list.SetFromText(TextOf(data, size));
    Require(count == list.GetCount());
    for (const VnString& entry : list) {
        Require(!entry.IsEmpty());
    }
    return 0;
}
