#include "tests/support/SampleMedia.h"

#include "core/VnString.h"

#include <cstdint>

namespace {

std::string BigEndian(uint32_t value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>((value >> shift) & 0xFF);
    }
    return bytes;
}

std::string SynchSafe(uint32_t value) {
    std::string bytes;
    for (int shift = 21; shift >= 0; shift -= 7) {
        bytes += static_cast<char>((value >> shift) & 0x7F);
    }
    return bytes;
}

std::string TextFrame(const std::string& name, const std::string& text) {
    std::string body("\x01\xFF\xFE", 3); // UTF-16 with its mark
    const VnString wide = VnString::FromUTF8(text.c_str());
    for (int32_t i = 0; i < wide.GetLength(); ++i) {
        body += static_cast<char>(wide[i] & 0xFF);
        body += static_cast<char>((wide[i] >> 8) & 0xFF);
    }
    return name + BigEndian(static_cast<uint32_t>(body.size())) + std::string(2, '\0') + body;
}

} // namespace

std::string MakeMp3(const SampleTags& tags, int frames) {
    std::string body;
    for (const auto& [name, text] : tags) {
        body += TextFrame(name, text);
    }
    std::string file =
        std::string("ID3\x03\x00\x00", 6) + SynchSafe(static_cast<uint32_t>(body.size())) + body;
    constexpr size_t kFrameLength = 417; // 128 kbit/s at 44.1 kHz
    std::string frame("\xFF\xFB\x90\x00", 4);
    frame.resize(kFrameLength, '\0');
    for (int i = 0; i < frames; ++i) {
        file += frame;
    }
    return file;
}
