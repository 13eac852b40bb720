#include "host/CCoverArt.h"

#include "host/CLibraryItem.h"
#include "host/CMediaType.h"
#include "host/CPlaylistWriter.h"
#include "host/HostText.h"

#include <taglib/aifffile.h>
#include <taglib/asffile.h>
#include <taglib/attachedpictureframe.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/id3v2tag.h>
#include <taglib/mp4file.h>
#include <taglib/mpegfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/xiphcomment.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

namespace {

using TagLib::ByteVector;

ByteVector FromID3(const TagLib::ID3v2::Tag* tag) {
    ByteVector picture;
    if (tag == nullptr) {
        return picture;
    }
    for (const TagLib::ID3v2::Frame* frame : tag->frameList("APIC")) {
        const auto* attached = dynamic_cast<const TagLib::ID3v2::AttachedPictureFrame*>(frame);
        if (attached != nullptr
            && (picture.isEmpty()
                || attached->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover)) {
            picture = attached->picture();
        }
    }
    return picture;
}

ByteVector FromPictures(const TagLib::List<TagLib::FLAC::Picture*>& pictures) {
    ByteVector found;
    for (const TagLib::FLAC::Picture* picture : pictures) {
        if (found.isEmpty() || picture->type() == TagLib::FLAC::Picture::FrontCover) {
            found = picture->data();
        }
    }
    return found;
}

ByteVector FromXiph(TagLib::Ogg::XiphComment* tag) {
    return tag == nullptr ? ByteVector() : FromPictures(tag->pictureList());
}

ByteVector FromMP4(const TagLib::MP4::Tag* tag) {
    if (tag == nullptr || !tag->contains("covr")) {
        return {};
    }
    const TagLib::MP4::CoverArtList covers = tag->item("covr").toCoverArtList();
    return covers.isEmpty() ? ByteVector() : covers.front().data();
}

ByteVector FromASF(const TagLib::ASF::Tag* tag) {
    if (tag == nullptr) {
        return {};
    }
    const TagLib::ASF::AttributeList pictures = tag->attribute("WM/Picture");
    return pictures.isEmpty() ? ByteVector() : pictures.front().toPicture().picture();
}

/// Whether an mp3 file has a short tag at its start in which no picture can be: most songs of an
/// album without pictures are told apart by one read this way. False when it is not sure.
bool HasTagWithoutPicture(const std::string& path) {
    constexpr size_t kHeadLength = 10;
    std::array<char, 4096> head{};
    if (HostExtension(HostWiden(path)) != L"mp3") {
        return false;
    }
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0) {
        return false;
    }
    const ssize_t count = pread(file, head.data(), head.size(), 0);
    close(file);
    const std::string_view bytes(head.data(), count < 0 ? 0 : static_cast<size_t>(count));
    if (bytes.size() < kHeadLength || !bytes.starts_with("ID3")) {
        return false;
    }
    size_t length = 0; // four bytes of seven bits
    for (const char byte : bytes.substr(6, 4)) {
        length = length << 7 | (static_cast<unsigned char>(byte) & 0x7F);
    }
    // The frames of all versions have it in their names: PIC and APIC.
    return kHeadLength + length <= bytes.size()
           && bytes.substr(0, kHeadLength + length).find("PIC") == std::string_view::npos;
}

/// The picture inside a file, the front cover before any other.
ByteVector ReadPicture(const std::string& path) {
    if (HasTagWithoutPicture(path)) {
        return {};
    }
    const TagLib::FileRef reference(path.c_str(), false);
    TagLib::File* file = reference.file();
    if (file == nullptr || !file->isValid()) {
        return {};
    }
    if (auto* mpeg = dynamic_cast<TagLib::MPEG::File*>(file)) {
        return FromID3(mpeg->ID3v2Tag());
    }
    if (auto* flac = dynamic_cast<TagLib::FLAC::File*>(file)) {
        return FromPictures(flac->pictureList());
    }
    if (auto* mp4 = dynamic_cast<TagLib::MP4::File*>(file)) {
        return FromMP4(mp4->tag());
    }
    if (auto* vorbis = dynamic_cast<TagLib::Ogg::Vorbis::File*>(file)) {
        return FromXiph(vorbis->tag());
    }
    if (auto* opus = dynamic_cast<TagLib::Ogg::Opus::File*>(file)) {
        return FromXiph(opus->tag());
    }
    if (auto* speex = dynamic_cast<TagLib::Ogg::Speex::File*>(file)) {
        return FromXiph(speex->tag());
    }
    if (auto* wav = dynamic_cast<TagLib::RIFF::WAV::File*>(file)) {
        return FromID3(wav->ID3v2Tag());
    }
    if (auto* aiff = dynamic_cast<TagLib::RIFF::AIFF::File*>(file)) {
        return FromID3(aiff->tag());
    }
    if (auto* asf = dynamic_cast<TagLib::ASF::File*>(file)) {
        return FromASF(asf->tag());
    }
    return {};
}

bool IsFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
}

} // namespace

std::string CCoverArt::Find(const CLibraryItem& item) {
    const std::string& inFolder = FindInFolder(item.Path.substr(0, item.Path.rfind('/') + 1));
    return inFolder.empty() ? FindInFile(item) : inFolder;
}

const std::string& CCoverArt::FindInFolder(const std::string& folder) {
    const auto [entry, isNew] = Folders.try_emplace(folder);
    if (!isNew) {
        return entry->second;
    }
    constexpr std::array<std::wstring_view, 3> kStems{L"cover", L"folder", L"front"};
    constexpr std::array<std::wstring_view, 3> kExtensions{L"jpg", L"jpeg", L"png"};
    size_t best = kStems.size() * kExtensions.size();
    std::error_code failure;
    for (std::filesystem::directory_iterator file(folder, failure), end; !failure && file != end;
         file.increment(failure)) {
        const std::wstring name = HostWiden(file->path().filename().native());
        if (!CMediaType::IsFolderPicture(name) || !IsFile(file->path().native())) {
            continue;
        }
        const size_t stem = static_cast<size_t>(
            std::find(kStems.begin(), kStems.end(), HostFold(HostStem(name))) - kStems.begin());
        const size_t extension = static_cast<size_t>(
            std::find(kExtensions.begin(), kExtensions.end(), HostExtension(name))
            - kExtensions.begin());
        if (const size_t rank = stem * kExtensions.size() + extension; rank < best) {
            best = rank;
            entry->second = file->path().native();
        }
    }
    return entry->second;
}

std::string CCoverArt::FindInFile(const CLibraryItem& item) const {
    const std::string base =
        CacheFolder
        + HostHash(item.Path + "|" + std::to_string(item.Size) + "|" + std::to_string(item.MTime));
    for (const char* extension : {".jpg", ".png"}) {
        if (IsFile(base + extension)) {
            return base + extension;
        }
    }
    const ByteVector picture = ReadPicture(item.Path);
    if (picture.isEmpty()) {
        return {};
    }
    const std::string path = base + (picture.startsWith("\x89PNG") ? ".png" : ".jpg");
    // Under another name first: a process that dies here must not leave half a picture under the
    // good one.
    std::string error;
    const std::string unfinished = path + ".part";
    const bool saved = CPlaylistWriter::Save(unfinished, {picture.data(), picture.size()}, error)
                       && std::rename(unfinished.c_str(), path.c_str()) == 0;
    return saved ? path : std::string();
}
