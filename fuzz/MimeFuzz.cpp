#include "core/VnBuffer.h"
#include "files/VnFilenameDetail.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    VnBuffer bytes;
    bytes.Append(data, static_cast<int64_t>(size));
    const VnString type = VnFilenameDetail::FindContentType(bytes);
    Require(type.Find(L'\n') < 0 && type.GetLength() <= static_cast<int32_t>(size));
    const VnString target = VnFilenameDetail::GetPointerTarget(bytes);
    Require(target.IsEmpty() || target.StartsWith(L"http://") || target.StartsWith(L"mms://"));
    Require(target.Find(L"://", 7) < 0 && target.Find(L"\r\n") < 0);
    return 0;
}
