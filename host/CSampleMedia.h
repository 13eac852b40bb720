#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Small media files, made from nothing: each is about a second of silence in a valid stream,
/// without tags, and the pictures are one colour. Two calls with the same arguments give the same
/// bytes.
class CSampleMedia {
public:
    /// MPEG 1 layer III, 128 kbit/s, `frames` frames of 26 ms.
    static std::string MakeMP3(int frames = 40);
    /// FLAC, 16 bit stereo, `frames` frames of 4096 samples.
    static std::string MakeFLAC(int frames = 11);
    /// Vorbis in Ogg, mono; `packets` packets of 32 samples.
    static std::string MakeOgg(int packets = 200);
    /// AAC in MP4, mono; `frames` frames of 1024 samples.
    static std::string MakeM4A(int frames = 44);
    /// PCM, 8 kHz, 16 bit mono.
    static std::string MakeWAV(int samples = 8000);
    /// A picture of 8 by 8 pixels in a grey.
    static std::string MakeJPEG();
    /// A picture of `size` by `size` pixels in one colour (red, green and blue, 8 bits each).
    static std::string MakePNG(unsigned colour, int size = 64);

    /// What a sample file is tagged with.
    struct CTags {
        std::wstring Title;
        std::wstring Artist;
        std::wstring Album;
        std::wstring AlbumArtist;
        std::wstring Genre;
        int Track = 0;
        int Year = 0;
        std::string Picture; ///< bytes of a PNG, taken in as the front cover; empty for none
    };

    /// Writes tags into an existing file by its extension (mp3, flac, ogg, m4a, wav). False when
    /// that fails.
    static bool WriteTags(const std::string& path, const CTags& tags);
};
