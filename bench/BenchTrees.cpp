#include "bench/BenchTrees.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "bench/BenchSupport.h"

namespace {

constexpr int64_t kSongsAnAlbum = 10;
constexpr int64_t kAlbumsAnArtist = 10;

std::string Bytes(uint32_t value, int bitsAByte) {
    std::string bytes;
    for (int index = 3; index >= 0; --index) {
        bytes += static_cast<char>((value >> (bitsAByte * index)) & ((1U << bitsAByte) - 1));
    }
    return bytes;
}

std::string TextFrame(const std::string& name, const std::string& text) {
    // Two bytes of flags and one for the encoding, Latin-1.
    return name + Bytes(static_cast<uint32_t>(text.size()) + 1, 8) + std::string(3, '\0') + text;
}

std::string Numbered(const char* format, int64_t number) {
    char text[64];
    std::snprintf(text, sizeof(text), format, static_cast<int>(number));
    return text;
}

std::string ArtistOf(int64_t number) {
    return Numbered("Artist %05d", number / kSongsAnAlbum / kAlbumsAnArtist);
}

std::string AlbumOf(int64_t number) {
    return Numbered("Album %06d", number / kSongsAnAlbum);
}

} // namespace

std::string MakeTaggedMp3(int64_t number, int64_t size) {
    const std::string tags =
        TextFrame("TIT2", Numbered("Song %07d", number)) + TextFrame("TPE1", ArtistOf(number))
        + TextFrame("TALB", AlbumOf(number)) + TextFrame("TPE2", ArtistOf(number))
        + TextFrame("TCON", "Folk") + TextFrame("TRCK", Numbered("%d", number % kSongsAnAlbum + 1))
        + TextFrame("TYER", Numbered("%d", 1960 + number % 60));
    std::string file =
        std::string("ID3\x03\x00\x00", 6) + Bytes(static_cast<uint32_t>(tags.size()), 7) + tags;
    constexpr size_t kFrameLength = 417; // 128 kbit/s at 44.1 kHz
    std::string frame("\xFF\xFB\x90\x00", 4);
    frame.resize(kFrameLength, '\0');
    const auto wanted = static_cast<size_t>(size);
    file.reserve(std::max(wanted, file.size()) + 2 * kFrameLength);
    do {
        file += frame;
    } while (file.size() < wanted);
    return file;
}

void MakeMp3Tree(const std::string& folder, int64_t count, int64_t size) {
    for (int64_t number = 0; number < count; ++number) {
        const std::string album = folder + "/" + ArtistOf(number) + "/" + AlbumOf(number);
        if (number % kSongsAnAlbum == 0) {
            std::filesystem::create_directories(album);
        }
        std::ofstream file(album + Numbered("/%02d", number % kSongsAnAlbum + 1)
                               + Numbered(" Song %07d.mp3", number),
                           std::ios::binary);
        const std::string bytes = MakeTaggedMp3(number, size);
        file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        file.close();
        if (!file) {
            Fail("cannot write below " + folder);
        }
    }
}
