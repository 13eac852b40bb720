#include "modules/tools/CDecompressor.h"

#include <algorithm>

namespace {

constexpr int kDetectGzipOrZlib = 15 + 32;
constexpr int64_t kFeedSize = 1 << 30; ///< zlib counts its input in 32 bits

} // namespace

CDecompressor::CDecompressor(const void* data, int64_t size)
    : Next(static_cast<const Bytef*>(data))
    , Left(data == nullptr ? 0 : size) {
    Ready = inflateInit2(&Stream, kDetectGzipOrZlib) == Z_OK;
    Failed = !Ready || Left < 1;
}

CDecompressor::~CDecompressor() {
    if (Ready) {
        inflateEnd(&Stream);
    }
}

void CDecompressor::Feed() {
    const int64_t count = std::min(Left, kFeedSize);
    Stream.next_in = const_cast<Bytef*>(Next); // zlib only reads it
    Stream.avail_in = static_cast<uInt>(count);
    Next += count;
    Left -= count;
}

/// What follows a complete member is another one when it begins like one, and padding otherwise.
bool CDecompressor::NextMember() {
    if (Stream.avail_in == 0) {
        Feed();
    }
    if (Stream.avail_in < 2 || Stream.next_in[0] != 0x1f || Stream.next_in[1] != 0x8b) {
        return false;
    }
    return inflateReset(&Stream) == Z_OK;
}

int32_t CDecompressor::Read(void* target, int32_t size) {
    if (Failed || target == nullptr || size < 0) {
        return -1;
    }
    Stream.next_out = static_cast<Bytef*>(target);
    Stream.avail_out = static_cast<uInt>(size);
    while (Stream.avail_out > 0 && !Ended) {
        if (Stream.avail_in == 0) {
            Feed();
        }
        const int result = inflate(&Stream, Z_NO_FLUSH);
        if (result == Z_STREAM_END) {
            Ended = !NextMember();
        } else if (result != Z_OK || (Stream.avail_in == 0 && Left == 0 && Stream.avail_out > 0)) {
            Failed = true; // what was decoded ahead of the damage is still delivered
            break;
        }
    }
    const int32_t count = size - static_cast<int32_t>(Stream.avail_out);
    return Failed && count == 0 ? -1 : count;
}
