#include "core/VnBuffer.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Bytes come back.
    VnString text;
    VnBuffer bytes;
    text.SetBase64(data, static_cast<int32_t>(size), (size & 1) != 0);
    Require(text.GetBase64(bytes));
    Require(bytes.GetSize() == static_cast<int64_t>(size));
    Require(size == 0 || std::equal(data, data + size, bytes.GetData()));

    // Any text decodes to bytes within bounds, which come back as well.
    const VnString any = TextOf(data, size);
    Require(any.GetBase64(bytes));
    Require(bytes.GetSize() <= (int64_t{any.GetLength()} + 3) / 4 * 3);
    text.SetBase64(bytes.GetData(), static_cast<int32_t>(bytes.GetSize()));
    VnBuffer again;
    Require(text.GetBase64(again) && again.GetSize() == bytes.GetSize());
    Require(std::equal(bytes.GetData(), bytes.GetData() + bytes.GetSize(), again.GetData()));
    uint8_t target[8];
    Require(any.GetBase64Bytes(target, sizeof(target)) == (bytes.GetSize() <= 8));
    return 0;
}
