#include "files/VnFilenameArray.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    VnFilenameArray list;
    const int32_t count = list.SetFromText(text);
    Require(count == list.GetCount());
    for (const VnString& entry : list) {
        Require(!entry.IsEmpty() && entry[0] != L' ' && !entry.EndsWith(L' '));
        Require(text.Find(entry) >= 0);
    }
    // Written again it has the same names, but where quotes or forms stand inside them.
    if (text.FindOneOf(L"\"<") < 0) {
        VnFilenameArray again;
        again.SetFromText(list.GetAsText());
        Require(again.GetCount() == count && std::equal(list.begin(), list.end(), again.begin()));
    }
    return 0;
}
