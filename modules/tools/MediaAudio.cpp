#include "modules/tools/MediaAudio.h"

// clang-format off
#include <taglib/tbytevector.h>
#include <taglib/mpegheader.h> // ahead of mpegfile.h, whose File it would take for the general one
#include <taglib/mpegfile.h>
// clang-format on
#include <taglib/mpegproperties.h>
#include <taglib/xingheader.h>

#include <algorithm>

namespace {

using TagLib::MPEG::Header;

constexpr long kPiece = 4096;
constexpr long kOldTagLength = 128; ///< an ID3v1 tag at the end of a file

/// Where the last frame of a file begins, as TagLib's lastFrameOffset finds it: behind the last
/// header that another frame follows. -1 when there is none.
long FindLastFrame(TagLib::MPEG::File& file) {
    long end = file.length() - (file.hasID3v1Tag() ? kOldTagLength : 0) - 1;
    unsigned char next = 0;
    while (end > 0) {
        const long start = std::max(0L, end - kPiece);
        file.seek(start);
        const TagLib::ByteVector piece = file.readBlock(static_cast<unsigned long>(end - start));
        const auto* bytes = reinterpret_cast<const unsigned char*>(piece.data());
        for (long index = static_cast<long>(piece.size()) - 1; index >= 0; --index) {
            if (bytes[index] == 0xFF && next != 0xFF && (next & 0xE0) == 0xE0) {
                const Header header(&file, start + index, /*checkLength=*/true);
                if (header.isValid()) {
                    return start + index + header.frameLength();
                }
            }
            next = bytes[index];
        }
        end = start;
    }
    return -1;
}

MediaAudio ReadByLibrary(const TagLib::AudioProperties& audio) {
    return {audio.lengthInMilliseconds(), audio.bitrate(), audio.sampleRate(), audio.channels()};
}

MediaAudio ReadMPEGAudio(TagLib::MPEG::File& file) {
    const long first = file.firstFrameOffset();
    if (first < 0) {
        return ReadByLibrary(TagLib::MPEG::Properties(&file, TagLib::AudioProperties::Average));
    }
    const Header header(&file, first, /*checkLength=*/false);
    file.seek(first);
    const TagLib::MPEG::XingHeader variable(
        file.readBlock(static_cast<unsigned long>(std::max(header.frameLength(), 0))));
    const long last = variable.isValid() || header.bitrate() <= 0 ? -1 : FindLastFrame(file);
    if (last < 0) {
        return ReadByLibrary(TagLib::MPEG::Properties(&file, TagLib::AudioProperties::Average));
    }
    MediaAudio audio;
    audio.Bitrate = header.bitrate();
    audio.SampleRate = header.sampleRate();
    audio.Channels = header.channelMode() == Header::SingleChannel ? 1 : 2;
    const Header lastHeader(&file, last, /*checkLength=*/false);
    if (const long length = last - first + lastHeader.frameLength(); length > 0) {
        audio.Length = static_cast<int>(static_cast<double>(length) * 8.0 / audio.Bitrate + 0.5);
    }
    return audio;
}

} // namespace

MediaAudio ReadMediaAudio(TagLib::File& file) {
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(&file)) {
        return ReadMPEGAudio(*mpeg);
    }
    const TagLib::AudioProperties* audio = file.audioProperties();
    return audio == nullptr ? MediaAudio() : ReadByLibrary(*audio);
}
