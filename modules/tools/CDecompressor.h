#pragma once

#include "runtime/IVnDecompressor.h"

#include <zlib.h>

/// Decodes gzip (RFC 1952, several members in a row included) and zlib data (RFC 1950).
class CDecompressor final : public IVnDecompressor {
public:
    /// The `size` bytes at `data` stay the caller's and must outlive this object.
    CDecompressor(const void* data, int64_t size);
    ~CDecompressor() override;
    CDecompressor(const CDecompressor&) = delete;
    CDecompressor& operator=(const CDecompressor&) = delete;

    int32_t Read(void* target, int32_t size) override;

private:
    void Feed();
    bool NextMember();

    const Bytef* Next; ///< input that the stream has not been given yet
    int64_t Left;      ///< bytes at Next
    z_stream Stream = {};
    bool Ready = false;  ///< the stream is set up
    bool Ended = false;  ///< the last member is complete
    bool Failed = false; ///< damaged or cut short
};
