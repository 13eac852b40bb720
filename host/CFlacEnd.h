#pragma once

#include <cstddef>
#include <cstdint>

/// Tells whether a FLAC stream is there to its end: whether some frame near the end of the file
/// says that it holds the last of the samples that the stream's header promises (RFC 9639,
/// sections 8.2 and 9.1).
class CFlacEnd {
public:
    /// `streamInfo` are the 34 bytes of the STREAMINFO block, without its header.
    explicit CFlacEnd(const uint8_t* streamInfo);

    /// How many bytes of the file's end to look at: more than the largest frame, and the tags that
    /// may stand behind it.
    size_t GetTailSize() const { return TailSize; }

    /// True when the last frame begins inside `bytes`, the end of the file, and is whole by its
    /// check sum; also when the header promises no number of samples.
    bool HasLastFrame(const uint8_t* bytes, size_t size) const;

private:
    bool IsLastFrame(const uint8_t* frame, size_t size) const;

    uint32_t SmallestBlock;
    uint32_t LargestBlock;
    uint64_t TotalSamples;
    size_t TailSize;
};
