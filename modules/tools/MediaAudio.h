#pragma once

namespace TagLib {
class File;
} // namespace TagLib

/// Audio properties of a media file.
struct MediaAudio {
    int Length = 0;     ///< milliseconds
    int Bitrate = 0;    ///< kbit/s
    int SampleRate = 0; ///< Hz
    int Channels = 0;
};

/// Those of a file; all zero when it has none. For an MPEG file of constant bit rate TagLib gives
/// the same, but walks back from the end of the file byte by byte for its last frame, which takes
/// as long as all the rest of the reading; so that search is done here.
MediaAudio ReadMediaAudio(TagLib::File& file);
