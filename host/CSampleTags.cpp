#include "host/CSampleMedia.h"
#include "host/HostText.h"

#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/tpropertymap.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include <memory>

namespace {

TagLib::FLAC::Picture* MakePicture(const TagLib::ByteVector& bytes) {
    auto picture = std::make_unique<TagLib::FLAC::Picture>();
    picture->setType(TagLib::FLAC::Picture::FrontCover);
    picture->setMimeType("image/png");
    picture->setData(bytes);
    return picture.release();
}

void AddToID3(TagLib::ID3v2::Tag* tag, const TagLib::ByteVector& bytes) {
    auto frame = std::make_unique<TagLib::ID3v2::AttachedPictureFrame>();
    frame->setType(TagLib::ID3v2::AttachedPictureFrame::FrontCover);
    frame->setMimeType("image/png");
    frame->setPicture(bytes);
    tag->addFrame(frame.release());
}

/// Each format has its own place for a picture; the tags own what is added.
void AddPicture(TagLib::File* file, const TagLib::ByteVector& bytes) {
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) {
        AddToID3(mpeg->ID3v2Tag(true), bytes);
    } else if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) {
        AddToID3(wav->ID3v2Tag(), bytes);
    } else if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
        flac->addPicture(MakePicture(bytes));
    } else if (auto* vorbis = dynamic_cast<TagLib::Ogg::Vorbis::File*>(file)) {
        vorbis->tag()->addPicture(MakePicture(bytes));
    } else if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
        TagLib::MP4::CoverArtList covers;
        covers.append(TagLib::MP4::CoverArt(TagLib::MP4::CoverArt::PNG, bytes));
        mp4->tag()->setItem("covr", covers);
    }
}

} // namespace

bool CSampleMedia::WriteTags(const std::string& path, const CTags& tags) {
    TagLib::FileRef file(path.c_str(), false);
    if (file.isNull() || file.file() == nullptr || !file.file()->isValid()) {
        return false;
    }
    TagLib::PropertyMap properties = file.file()->properties();
    const auto set = [&properties](const char* key, const std::wstring& value) {
        if (!value.empty()) {
            // By way of UTF-8: that library's wide characters are units of UTF-16.
            properties.replace(key, TagLib::String(HostUTF8(value), TagLib::String::UTF8));
        }
    };
    set("TITLE", tags.Title);
    set("ARTIST", tags.Artist);
    set("ALBUM", tags.Album);
    set("ALBUMARTIST", tags.AlbumArtist);
    set("GENRE", tags.Genre);
    set("TRACKNUMBER", tags.Track > 0 ? std::to_wstring(tags.Track) : std::wstring());
    set("DATE", tags.Year > 0 ? std::to_wstring(tags.Year) : std::wstring());
    file.file()->setProperties(properties);
    if (!tags.Picture.empty()) {
        AddPicture(file.file(), TagLib::ByteVector(tags.Picture.data(),
                                                   static_cast<unsigned>(tags.Picture.size())));
    }
    return file.file()->save();
}
