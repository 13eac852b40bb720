#include "text/CParseJSON.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    CParseJSON json;
    Require(json.Parse(TextOf(data, size)));
    json.GetValueAt(L"a\\0\\b");
    json.GetDebugText();
    return 0;
}
