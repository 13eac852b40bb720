#include "modules/tools/CMediaFile.h"

#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/asffile.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2framefactory.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/trueaudiofile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>

namespace {

using Maker = TagLib::File* (*)(TagLib::IOStream*);

template<typename FILE>
TagLib::File* Make(TagLib::IOStream* stream) {
    return new FILE(stream);
}

/// The properties of an MPEG file cost a search for its frames, so they wait until they are asked
/// for.
TagLib::File* MakeMPEG(TagLib::IOStream* stream) {
    return new TagLib::MPEG::File(stream, TagLib::ID3v2::FrameFactory::instance(), false);
}

TagLib::File* MakeFLAC(TagLib::IOStream* stream) {
    return new TagLib::FLAC::File(stream, TagLib::ID3v2::FrameFactory::instance());
}

struct Format {
    const char* Extension;
    Maker Make;
};

constexpr Format kFormats[] = {
    {"mp3", MakeMPEG},
    {"mp2", MakeMPEG},
    {"flac", MakeFLAC},
    {"m4a", Make<TagLib::MP4::File>},
    {"m4b", Make<TagLib::MP4::File>},
    {"opus", Make<TagLib::Ogg::Opus::File>},
    {"spx", Make<TagLib::Ogg::Speex::File>},
    {"wma", Make<TagLib::ASF::File>},
    {"wav", Make<TagLib::RIFF::WAV::File>},
    {"aif", Make<TagLib::RIFF::AIFF::File>},
    {"aiff", Make<TagLib::RIFF::AIFF::File>},
    {"ape", Make<TagLib::APE::File>},
    {"mpc", Make<TagLib::MPC::File>},
    {"wv", Make<TagLib::WavPack::File>},
    {"tta", Make<TagLib::TrueAudio::File>},
};

/// What an Ogg container may hold, the likeliest first.
constexpr Maker kOggFormats[] = {
    Make<TagLib::Ogg::Vorbis::File>,
    Make<TagLib::Ogg::Opus::File>,
    Make<TagLib::Ogg::FLAC::File>,
    Make<TagLib::Ogg::Speex::File>,
};

} // namespace

void CMediaFile::MakeOggFile() {
    for (const Maker make : kOggFormats) {
        Stream.seek(0, TagLib::IOStream::Beginning);
        File.reset(make(&Stream));
        if (File->isValid()) {
            return;
        }
    }
}

void CMediaFile::MakeFile() {
    if (Extension == "ogg" || Extension == "oga") {
        MakeOggFile();
        return;
    }
    for (const Format& format : kFormats) {
        if (Extension == format.Extension) {
            File.reset(format.Make(&Stream));
            return;
        }
    }
}
