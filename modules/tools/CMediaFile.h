#pragma once

#include "core/VnString.h"
#include "modules/tools/CTagStream.h"
#include "modules/tools/MediaAudio.h"

#include <taglib/tag.h>
#include <taglib/tfile.h>
#include <taglib/tpropertymap.h>

#include <memory>
#include <string>

namespace TagLib::ID3v2 {
class Tag;
} // namespace TagLib::ID3v2

/// Fields that every file or every kind of tag has; all others are looked up by name in the tag.
enum class MediaField {
    Name,
    Artist,
    Album,
    AlbumArtist,
    AlbumArtistAuto,
    Genre,
    Composer,
    Date,
    TrackNumber,
    DiscNumber,
    Rating,
    Comment,
    Duration,
    Bitrate,
    SampleRate,
    Channels,
    FileType,
    FileSize,
    MediaType,
    Filename,
    DateModified,
    Other,
};

/// One media file and its fields.
///
/// The file is opened once. Its tags are taken apart at the first field that comes from them, its
/// audio properties at the first field that needs those; the base fields (name, type, size, media
/// type, date of change) need neither. Videos, pictures and other data have only the base fields. A
/// file that is damaged or is not what its extension says has them too.
class CMediaFile {
public:
    explicit CMediaFile(const VnString& path);
    ~CMediaFile();
    CMediaFile(const CMediaFile&) = delete;
    CMediaFile& operator=(const CMediaFile&) = delete;

    bool IsOpen() const { return Stream.isOpen(); }
    const VnString& GetPath() const { return Path; }

    /// False, and an empty value, when the file has no such field. Names are compared in any letter
    /// case.
    bool GetField(const wchar_t* name, VnString& value);

private:
    VnString ReadField(MediaField field, const wchar_t* name);
    VnString ReadTagField(MediaField field, const wchar_t* name);
    VnString ReadAudioField(MediaField field);
    VnString GetBaseName() const;
    VnString GetAlbumArtistAuto();
    VnString GetDate();
    VnString GetRating();
    VnString GetModified() const;
    const char* GetMediaType() const;

    void OpenTags();
    void MakeFile();
    void MakeOggFile();
    const MediaAudio& GetAudio();
    const TagLib::PropertyMap& GetProperties();
    TagLib::String GetFrame(const char* id) const;
    VnString GetText(const char* frame, const char* property);

    const VnString Path;
    std::string Extension; ///< lower case, without dot
    CTagStream Stream;
    bool TagsOpened = false;
    std::unique_ptr<TagLib::File> File; ///< null for what has no tags
    TagLib::ID3v2::Tag* FrameTag =
        nullptr; ///< of an MPEG file, owned by File; null for other kinds
    bool AudioRead = false;
    MediaAudio Audio; ///< of any kind of file, read on demand
    std::unique_ptr<TagLib::PropertyMap> Properties;
};
