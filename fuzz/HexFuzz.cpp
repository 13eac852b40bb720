#include "core/VnBuffer.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Bytes come back.
    VnString text;
    VnBuffer bytes;
    text.SetHexBytes(data, static_cast<int32_t>(size));
    Require(text.GetLength() == static_cast<int32_t>(2 * size));
    text.GetHexBytes(bytes);
    Require(bytes.GetSize() == static_cast<int64_t>(size));
    Require(size == 0 || std::equal(data, data + size, bytes.GetData()));

    // Any text is read up to its first character that is no digit.
    VnString any = TextOf(data, size);
    any.GetHexBytes(bytes);
    Require(bytes.GetSize() <= (int64_t{any.GetLength()} + 1) / 2);
    if (any.GetLength() % 2 != 0) {
        any.Prepend(L'0');
    }
    text.SetHexBytes(bytes.GetData(), static_cast<int32_t>(bytes.GetSize()));
    Require(any.StartsWith(text, /*caseFlag=*/false));
    return 0;
}
