#include "core/VnBuffer.h"

#include <string>

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    VnBuffer bytes;
    bytes.Append(data, static_cast<int64_t>(size));
    for (int32_t encoding = 0; encoding <= 5; ++encoding) {
        VnString text;
        Require(text.SetFromBuffer(bytes, encoding, (size & 1) != 0));
        Require(text.GetLength() <= static_cast<int32_t>(size));
        Require(bytes.GetSize() == static_cast<int64_t>(size));
    }
    Require(size == 0 || std::equal(data, data + size, bytes.GetData()));

    // Names of files come back byte for byte.
    const std::string name(data, std::find(data, data + size, 0));
    Require(name == VnStringUTF8(VnString::FromFileSystemText(name.c_str())).GetBytes());

    // What was read as UTF-8 reads the same again.
    const VnString text =
        VnString::FromUTF8(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetSize());
    VnBuffer written;
    text.GetUTF8(written);
    VnString again;
    again.SetFromBuffer(written, kEncodingUTF8);
    Require(text.Find(L'\0') >= 0 || again == text);
    return 0;
}
