#include "core/VnString.h"

#include "core/VnNumberArray.h"

#include <algorithm>
#include <cwchar>

void VnString::RemoveRanges(const VnNumberArray<int>& ranges) {
    const int32_t length = GetLength();
    const int32_t pairs = ranges.GetCount() / 2;
    if (length == 0 || pairs == 0) {
        return;
    }
    wchar_t* buffer = GetBuffer();
    int32_t written = 0;
    int32_t read = 0;
    const auto keepUpTo = [&](int32_t end) {
        if (end > read) {
            std::wmemmove(buffer + written, buffer + read, static_cast<std::size_t>(end - read));
            written += end - read;
        }
    };
    for (int32_t pair = 0; pair < pairs; ++pair) {
        const int32_t start = std::clamp(ranges[2 * pair], read, length);
        const int32_t end = std::clamp(ranges[2 * pair + 1], start, length);
        keepUpTo(start);
        read = end;
    }
    keepUpTo(length);
    ReleaseBuffer(written);
}
