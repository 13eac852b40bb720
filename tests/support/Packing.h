#pragma once

#include <zlib.h>

#include <stdexcept>
#include <string>

/// The `windowBits` of the library for its two formats.
constexpr int kZlib = 15;
constexpr int kGzip = kZlib + 16;

/// Bytes packed by the library.
inline std::string Pack(const std::string& bytes, int windowBits) {
    z_stream stream = {};
    if (deflateInit2(&stream, 6, Z_DEFLATED, windowBits, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("no packing of test data");
    }
    std::string packed(deflateBound(&stream, bytes.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    const bool done = deflate(&stream, Z_FINISH) == Z_STREAM_END;
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return done ? packed : throw std::runtime_error("test data was not packed");
}
