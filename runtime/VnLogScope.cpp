#include "runtime/VnLog.h"

#include <algorithm>

namespace {

constexpr int64_t kNSPerMS = 1000000;
constexpr int32_t kSmallestHexLine = 8;

bool IsPrintableASCII(uint8_t byte) {
    return byte >= 32 && byte <= 126;
}

} // namespace

VnLogScope::VnLogScope(uint32_t category, const char* name, bool printStartFinish)
    : Category(category)
    , Name(VnString::FromUTF8(name))
    , PrintStartFinish(printStartFinish) {
    Begin();
}

VnLogScope::VnLogScope(uint32_t category, const wchar_t* name, bool printStartFinish)
    : Category(category)
    , Name(name)
    , PrintStartFinish(printStartFinish) {
    Begin();
}

void VnLogScope::Begin() {
    Write(PrintStartFinish, "Start");
}

VnLogScope::~VnLogScope() {
    if (!PrintStartFinish) {
        return;
    }
    if (Result == kNoResult) {
        Write("Finish (%d ms)", GetElapsedMS());
    } else {
        Write("Finish (result: %d) (%d ms)", Result, GetElapsedMS());
    }
}

int32_t VnLogScope::GetElapsedMS() {
    return static_cast<int32_t>(Timer.GetElapsedNS() / kNSPerMS);
}

void VnLogScope::HexDump(const void* data,
                         int64_t size,
                         int32_t indent,
                         int32_t bytesPerLine,
                         bool showCharacters) const {
    if (data == nullptr || !VnIsLogWanted(Category)) {
        return;
    }
    bytesPerLine = std::max(bytesPerLine, kSmallestHexLine);
    VnString prefix;
    if (indent > 0) {
        prefix.Prepend(L' ', indent);
    }
    const auto* bytes = static_cast<const uint8_t*>(data);
    VnString line = prefix;
    for (int64_t index = 0; index < size; ++index) {
        if (showCharacters && IsPrintableASCII(bytes[index])) {
            line.AppendFormat(L"%c    ", static_cast<int32_t>(bytes[index]));
        } else {
            line.AppendFormat(L"0x%.2x ", bytes[index]);
        }
        if ((index + 1) % bytesPerLine == 0) {
            Write(L"%s", line);
            line = prefix;
        }
    }
    if (line.GetLength() > prefix.GetLength()) {
        Write(L"%s", line);
    }
}
