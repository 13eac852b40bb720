#include "modules/tools/CMediaFile.h"

#include "modules/tools/CMIMEService.h"
#include "modules/tools/ToolsText.h"

#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/popularimeterframe.h>
#include <taglib/textidentificationframe.h>

#include <cmath>
#include <cstring>
#include <ctime>
#include <exception>

namespace {

struct FieldName {
    const wchar_t* Name;
    MediaField Field;
};

constexpr FieldName kFieldNames[] = {
    {L"name", MediaField::Name},
    {L"artist", MediaField::Artist},
    {L"album", MediaField::Album},
    {L"album artist", MediaField::AlbumArtist},
    {L"album artist (auto)", MediaField::AlbumArtistAuto},
    {L"genre", MediaField::Genre},
    {L"composer", MediaField::Composer},
    {L"date", MediaField::Date},
    {L"track #", MediaField::TrackNumber},
    {L"disc #", MediaField::DiscNumber},
    {L"rating", MediaField::Rating},
    {L"comment", MediaField::Comment},
    {L"duration", MediaField::Duration},
    {L"bitrate", MediaField::Bitrate},
    {L"sample rate", MediaField::SampleRate},
    {L"channels", MediaField::Channels},
    {L"file type", MediaField::FileType},
    {L"file size", MediaField::FileSize},
    {L"media type", MediaField::MediaType},
    {L"filename", MediaField::Filename},
    {L"date modified", MediaField::DateModified},
};

constexpr wchar_t kUnknownArtist[] = L"Unknown Artist";
constexpr char kListSeparator[] = "; ";

bool EqualsLower(const wchar_t* text, const wchar_t* lower) {
    for (; *lower != 0; text++, lower++) {
        const wchar_t ch = *text >= L'A' && *text <= L'Z' ? *text + (L'a' - L'A') : *text;
        if (ch != *lower) {
            return false;
        }
    }
    return *text == 0;
}

MediaField FindField(const wchar_t* name) {
    for (const FieldName& field : kFieldNames) {
        if (EqualsLower(name, field.Name)) {
            return field.Field;
        }
    }
    return MediaField::Other;
}

/// TagLib holds UTF-16 units, one in each wide character.
VnString FromTag(const TagLib::String& text) {
    VnString result;
    wchar_t* const target = result.GetBuffer(static_cast<int32_t>(text.size()) + 1, false, false);
    int32_t count = 0;
    for (unsigned int i = 0; i < text.size(); i++) {
        const auto unit = static_cast<uint32_t>(text[static_cast<int>(i)]);
        if (unit >= 0xd800 && unit < 0xdc00 && i + 1 < text.size()) {
            const auto low = static_cast<uint32_t>(text[static_cast<int>(i + 1)]);
            if (low >= 0xdc00 && low < 0xe000) {
                target[count++] =
                    static_cast<wchar_t>(0x10000 + ((unit - 0xd800) << 10) + (low - 0xdc00));
                i++;
                continue;
            }
        }
        if (unit != 0) {
            target[count++] = static_cast<wchar_t>(unit);
        }
    }
    result.ReleaseBuffer(count);
    result.Trim();
    return result;
}

VnString FromNumber(int64_t number) {
    return number > 0 ? VnString::FromInt(number) : VnString();
}

/// The number ahead of "/" in a text such as "3/12".
VnString FromPosition(const VnString& text) {
    return FromNumber(text.ToInt());
}

/// Stars, 1 to 5, of a popularity from 1 to 255 as players write it.
int32_t StarsOfPopularity(int32_t popularity) {
    constexpr int32_t kLimits[] = {1, 64, 128, 196, 255};
    int32_t stars = 0;
    for (const int32_t limit : kLimits) {
        // A value between two steps counts for the nearer one.
        stars += popularity >= limit - (limit == 1 ? 0 : 31) ? 1 : 0;
    }
    return stars;
}

} // namespace

CMediaFile::CMediaFile(const VnString& path) : Path(path), Stream(ToUTF8(path)) {
    const int32_t dot = Path.ReverseFind(L'.');
    if (dot > Path.ReverseFind(L'/')) {
        Extension = ToLowerUTF8(Path.GetText() + dot + 1);
    }
}

CMediaFile::~CMediaFile() = default;

bool CMediaFile::GetField(const wchar_t* name, VnString& value) {
    try {
        value = ReadField(FindField(name), name);
    } catch (const std::exception&) {
        // The library gives up on some damaged files this way; the file then has no such field.
        value.Empty();
    }
    return !value.IsEmpty();
}

VnString CMediaFile::ReadField(MediaField field, const wchar_t* name) {
    switch (field) {
    case MediaField::FileType:
        return VnString::FromFileSystemText(Extension.c_str());
    case MediaField::FileSize:
        return VnString::FromInt(Stream.GetState().st_size);
    case MediaField::MediaType:
        return VnString::FromUTF8(GetMediaType());
    case MediaField::Filename:
        return Path;
    case MediaField::DateModified:
        return GetModified();
    case MediaField::Duration:
    case MediaField::Bitrate:
    case MediaField::SampleRate:
    case MediaField::Channels:
        return ReadAudioField(field);
    default:
        return ReadTagField(field, name);
    }
}

VnString CMediaFile::ReadTagField(MediaField field, const wchar_t* name) {
    OpenTags();
    switch (field) {
    case MediaField::Name: {
        const VnString title = File ? FromTag(File->tag()->title()) : VnString();
        return title.IsEmpty() ? GetBaseName() : title;
    }
    case MediaField::Artist:
        return GetText("TPE1", "ARTIST");
    case MediaField::Album:
        return File ? FromTag(File->tag()->album()) : VnString();
    case MediaField::AlbumArtist:
        return GetText("TPE2", "ALBUMARTIST");
    case MediaField::AlbumArtistAuto:
        return GetAlbumArtistAuto();
    case MediaField::Genre:
        return File ? FromTag(File->tag()->genre()) : VnString();
    case MediaField::Composer:
        return GetText("TCOM", "COMPOSER");
    case MediaField::Date:
        return GetDate();
    case MediaField::TrackNumber:
        return File ? FromNumber(File->tag()->track()) : VnString();
    case MediaField::DiscNumber:
        return FromPosition(GetText("TPOS", "DISCNUMBER"));
    case MediaField::Rating:
        return GetRating();
    case MediaField::Comment:
        return File ? FromTag(File->tag()->comment()) : VnString();
    default:
        break;
    }
    if (!File) {
        return VnString();
    }
    std::string key = ToUTF8(name);
    std::erase(key, ' ');
    const TagLib::String wanted = TagLib::String(key, TagLib::String::UTF8).upper();
    const TagLib::PropertyMap& properties = GetProperties();
    const auto found = properties.find(wanted);
    return found == properties.end() ? VnString() : FromTag(found->second.toString(kListSeparator));
}

VnString CMediaFile::ReadAudioField(MediaField field) {
    OpenTags();
    const MediaAudio& audio = GetAudio();
    switch (field) {
    case MediaField::Duration:
        return FromNumber((audio.Length + 500) / 1000);
    case MediaField::Bitrate:
        return FromNumber(audio.Bitrate);
    case MediaField::SampleRate:
        return FromNumber(audio.SampleRate);
    default:
        return FromNumber(audio.Channels);
    }
}

VnString CMediaFile::GetBaseName() const {
    VnString name = Path.Mid(Path.ReverseFind(L'/') + 1);
    const int32_t dot = name.ReverseFind(L'.');
    return dot > 0 ? name.Left(dot) : name;
}

VnString CMediaFile::GetAlbumArtistAuto() {
    VnString artist = GetText("TPE2", "ALBUMARTIST");
    if (artist.IsEmpty()) {
        artist = GetText("TPE1", "ARTIST");
    }
    if (artist.IsEmpty() && std::strcmp(GetMediaType(), "Audio") == 0) {
        artist = kUnknownArtist;
    }
    return artist;
}

/// A year, or a date without its time.
VnString CMediaFile::GetDate() {
    VnString date = GetText("TDRC", "DATE");
    date = date.SpanExcluding(L"T ");
    if (date.ToInt() > 0) {
        return date;
    }
    return File ? FromNumber(File->tag()->year()) : VnString();
}

VnString CMediaFile::GetRating() {
    if (FrameTag != nullptr) {
        const TagLib::ID3v2::FrameList& frames = FrameTag->frameList("POPM");
        if (!frames.isEmpty()) {
            if (const auto* frame =
                    dynamic_cast<const TagLib::ID3v2::PopularimeterFrame*>(frames.front())) {
                return FromNumber(StarsOfPopularity(frame->rating()));
            }
        }
        return VnString();
    }
    if (!File) {
        return VnString();
    }
    const VnString text = GetText("", "RATING");
    const double value = text.ToDouble(nullptr, true);
    // Two scales are in use, 0 to 5 and 0 to 100.
    return FromNumber(std::lround(value > 5.0 ? value / 20.0 : value));
}

VnString CMediaFile::GetModified() const {
    std::tm local = {};
    if (::localtime_r(&Stream.GetState().st_mtime, &local) == nullptr) {
        return VnString();
    }
    char text[64];
    const size_t count = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &local);
    return VnString::FromUTF8(text, static_cast<int64_t>(count));
}

const char* CMediaFile::GetMediaType() const {
    const char* type = CMIMEService::FindBuiltInType(Extension);
    // Playlists have types of sound and film too.
    static constexpr const char* kPlaylists[] = {"m3u", "m3u8", "pls", "asx", "wax", "wpl"};
    for (const char* playlist : kPlaylists) {
        type = Extension == playlist ? nullptr : type;
    }
    if (type == nullptr) {
        return "Data";
    }
    if (std::strncmp(type, "audio/", 6) == 0) {
        return "Audio";
    }
    if (std::strncmp(type, "video/", 6) == 0) {
        return "Video";
    }
    return std::strncmp(type, "image/", 6) == 0 ? "Image" : "Data";
}

void CMediaFile::OpenTags() {
    if (TagsOpened) {
        return;
    }
    TagsOpened = true;
    MakeFile();
    if (File && (!File->isValid() || File->tag() == nullptr)) {
        File.reset();
    }
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(File.get())) {
        FrameTag = mpeg->ID3v2Tag(true);
    }
}

const MediaAudio& CMediaFile::GetAudio() {
    if (!AudioRead && File) {
        AudioRead = true;
        Audio = ReadMediaAudio(*File);
    }
    return Audio;
}

const TagLib::PropertyMap& CMediaFile::GetProperties() {
    if (!Properties) {
        Properties = std::make_unique<TagLib::PropertyMap>(File->properties());
    }
    return *Properties;
}

/// The values of a text frame.
TagLib::String CMediaFile::GetFrame(const char* id) const {
    const TagLib::ID3v2::FrameList& frames = FrameTag->frameList(id);
    if (frames.isEmpty()) {
        return TagLib::String();
    }
    const auto* frame = dynamic_cast<const TagLib::ID3v2::TextIdentificationFrame*>(frames.front());
    return frame == nullptr ? frames.front()->toString()
                            : frame->fieldList().toString(kListSeparator);
}

/// A text by its frame in an MPEG file, which is much cheaper than the whole map of properties, or
/// by its property in other files and in those with older tags.
VnString CMediaFile::GetText(const char* frame, const char* property) {
    if (!File) {
        return VnString();
    }
    if (FrameTag != nullptr && !FrameTag->isEmpty()) {
        return FromTag(GetFrame(frame));
    }
    const TagLib::PropertyMap& properties = GetProperties();
    const auto found = properties.find(property);
    return found == properties.end() ? VnString() : FromTag(found->second.toString(kListSeparator));
}
