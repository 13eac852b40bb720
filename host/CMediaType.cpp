#include "host/CMediaType.h"

#include "host/CFlacEnd.h"
#include "host/HostText.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kTailSize = 65536;

struct TypeOfExtension {
    std::wstring_view Extension;
    std::wstring_view Type;
};

constexpr std::array kTypes{
    TypeOfExtension{L"3gp", L"Video"},  TypeOfExtension{L"aa", L"Audio"},
    TypeOfExtension{L"aac", L"Audio"},  TypeOfExtension{L"ac3", L"Audio"},
    TypeOfExtension{L"aif", L"Audio"},  TypeOfExtension{L"aiff", L"Audio"},
    TypeOfExtension{L"ape", L"Audio"},  TypeOfExtension{L"asf", L"Video"},
    TypeOfExtension{L"avi", L"Video"},  TypeOfExtension{L"bmp", L"Image"},
    TypeOfExtension{L"dff", L"Audio"},  TypeOfExtension{L"dsf", L"Audio"},
    TypeOfExtension{L"flac", L"Audio"}, TypeOfExtension{L"flv", L"Video"},
    TypeOfExtension{L"gif", L"Image"},  TypeOfExtension{L"heic", L"Image"},
    TypeOfExtension{L"jpeg", L"Image"}, TypeOfExtension{L"jpg", L"Image"},
    TypeOfExtension{L"m2ts", L"Video"}, TypeOfExtension{L"m4a", L"Audio"},
    TypeOfExtension{L"m4b", L"Audio"},  TypeOfExtension{L"m4v", L"Video"},
    TypeOfExtension{L"mka", L"Audio"},  TypeOfExtension{L"mkv", L"Video"},
    TypeOfExtension{L"mov", L"Video"},  TypeOfExtension{L"mp2", L"Audio"},
    TypeOfExtension{L"mp3", L"Audio"},  TypeOfExtension{L"mp4", L"Video"},
    TypeOfExtension{L"mpc", L"Audio"},  TypeOfExtension{L"mpeg", L"Video"},
    TypeOfExtension{L"mpg", L"Video"},  TypeOfExtension{L"oga", L"Audio"},
    TypeOfExtension{L"ogg", L"Audio"},  TypeOfExtension{L"ogv", L"Video"},
    TypeOfExtension{L"opus", L"Audio"}, TypeOfExtension{L"png", L"Image"},
    TypeOfExtension{L"spx", L"Audio"},  TypeOfExtension{L"tif", L"Image"},
    TypeOfExtension{L"tiff", L"Image"}, TypeOfExtension{L"ts", L"Video"},
    TypeOfExtension{L"tta", L"Audio"},  TypeOfExtension{L"wav", L"Audio"},
    TypeOfExtension{L"webm", L"Video"}, TypeOfExtension{L"webp", L"Image"},
    TypeOfExtension{L"wma", L"Audio"},  TypeOfExtension{L"wmv", L"Video"},
    TypeOfExtension{L"wv", L"Audio"},
};

class OpenFile {
public:
    explicit OpenFile(const std::string& path)
        : Descriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        if (Descriptor >= 0) {
            close(Descriptor);
        }
    }
    bool IsOpen() const { return Descriptor >= 0; }

    /// Up to `count` bytes from `offset`; fewer at the end of the file, nothing when the read
    /// fails.
    std::optional<Bytes> Read(uint64_t offset, size_t count) const {
        Bytes bytes(count);
        size_t done = 0;
        while (done < count) {
            const ssize_t got = pread(Descriptor, bytes.data() + done, count - done,
                                      static_cast<off_t>(offset + done));
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got < 0) {
                return std::nullopt;
            }
            if (got == 0) {
                break;
            }
            done += static_cast<size_t>(got);
        }
        bytes.resize(done);
        return bytes;
    }

    uint64_t GetSize() const {
        struct stat status {};
        return fstat(Descriptor, &status) == 0 ? static_cast<uint64_t>(status.st_size) : 0;
    }

private:
    int Descriptor;
};

bool HasAt(const Bytes& bytes, size_t offset, std::string_view text) {
    return offset + text.size() <= bytes.size()
           && std::memcmp(bytes.data() + offset, text.data(), text.size()) == 0;
}

uint32_t Big32(const Bytes& bytes, size_t offset) {
    return offset + 4 > bytes.size()
               ? 0
               : static_cast<uint32_t>(bytes[offset]) << 24
                     | static_cast<uint32_t>(bytes[offset + 1]) << 16
                     | static_cast<uint32_t>(bytes[offset + 2]) << 8 | bytes[offset + 3];
}

uint32_t Little32(const Bytes& bytes, size_t offset) {
    return __builtin_bswap32(Big32(bytes, offset));
}

/// What a check finds: nothing, or why the file is not taken.
constexpr std::string_view kFine;
constexpr std::string_view kCutShort = "cut short";
constexpr std::string_view kOther = "not what its extension says";
constexpr std::string_view kUnreadable = "cannot be read";

/// The length of the ID3v2 tags at the start of a file; an unreadable file counts as having none.
uint64_t LengthOfID3(const OpenFile& file) {
    uint64_t offset = 0;
    for (int tags = 0; tags < 4; ++tags) {
        const std::optional<Bytes> head = file.Read(offset, 10);
        if (!head || head->size() < 10 || !HasAt(*head, 0, "ID3")) {
            break;
        }
        uint64_t size = 0;
        for (size_t index = 6; index < 10; ++index) {
            size = size << 7 | ((*head)[index] & 0x7F);
        }
        offset += size + 10 + (((*head)[5] & 0x10) != 0 ? 10 : 0);
    }
    return offset;
}

bool IsMPEGHeader(const Bytes& bytes, size_t offset) {
    const uint32_t header = Big32(bytes, offset);
    return (header & 0xFFE00000) == 0xFFE00000 && (header >> 19 & 3) != 1 && (header >> 17 & 3) != 0
           && (header >> 12 & 15) != 15 && (header >> 10 & 3) != 3;
}

/// The frame behind the tags; an encoder that knows the whole length writes it into the first
/// frame.
std::string_view CheckMP3(const OpenFile& file, uint64_t size) {
    const uint64_t start = LengthOfID3(file);
    if (start >= size) {
        return start > 0 ? kCutShort : kOther;
    }
    const std::optional<Bytes> audio = file.Read(start, kTailSize);
    if (!audio) {
        return kUnreadable;
    }
    size_t frame = 0;
    while (frame + 4 <= audio->size() && !IsMPEGHeader(*audio, frame)) {
        ++frame;
    }
    if (frame + 4 > audio->size()) {
        return kOther;
    }
    const uint32_t header = Big32(*audio, frame);
    const bool version1 = (header >> 19 & 3) == 3;
    const bool mono = (header >> 6 & 3) == 3;
    const size_t sideInfo = version1 ? (mono ? 17 : 32) : (mono ? 9 : 17);
    const size_t xing = frame + 4 + sideInfo;
    if ((HasAt(*audio, xing, "Xing") || HasAt(*audio, xing, "Info"))
        && (Big32(*audio, xing + 4) & 2) != 0) {
        const size_t count = xing + 8 + ((Big32(*audio, xing + 4) & 1) != 0 ? 4 : 0);
        constexpr uint64_t kTolerance =
            4096; // encoders differ in whether the first frame and the tags count
        if (Big32(*audio, count) > size - start - frame + kTolerance) {
            return kCutShort;
        }
    }
    return kFine;
}

std::string_view CheckFLAC(const OpenFile& file, uint64_t size) {
    const uint64_t start = LengthOfID3(file);
    const std::optional<Bytes> head = file.Read(start, 42);
    if (!head) {
        return kUnreadable;
    }
    if (!HasAt(*head, 0, "fLaC")) {
        return start > 0 && start >= size ? kCutShort : kOther;
    }
    if (head->size() < 42) {
        return kCutShort;
    }
    uint64_t offset = start + 4;
    for (bool last = false; !last;) {
        const std::optional<Bytes> block = file.Read(offset, 4);
        if (!block || block->size() < 4) {
            return kCutShort;
        }
        last = ((*block)[0] & 0x80) != 0;
        offset += 4 + (Big32(*block, 0) & 0xFFFFFF);
    }
    CFlacEnd end(head->data() + 8);
    const uint64_t tail = std::min<uint64_t>(end.GetTailSize(), size > offset ? size - offset : 0);
    const std::optional<Bytes> bytes = file.Read(size - tail, tail);
    return bytes && offset < size && end.HasLastFrame(bytes->data(), bytes->size()) ? kFine
                                                                                    : kCutShort;
}

/// Every page tells its own length; the last one must end inside the file.
std::string_view CheckOgg(const OpenFile& file, uint64_t size, const Bytes& head) {
    if (!HasAt(head, 0, "OggS")) {
        return kOther;
    }
    const uint64_t tail = std::min<uint64_t>(size, kTailSize + 282);
    const std::optional<Bytes> bytes = file.Read(size - tail, tail);
    if (!bytes) {
        return kUnreadable;
    }
    for (size_t page = bytes->size(); page-- > 0;) {
        if (!HasAt(*bytes, page, "OggS")) {
            continue;
        }
        if (page + 27 > bytes->size() || page + 27 + (*bytes)[page + 26] > bytes->size()) {
            return kCutShort;
        }
        size_t end = page + 27 + (*bytes)[page + 26];
        for (size_t segment = 0; segment < (*bytes)[page + 26]; ++segment) {
            end += (*bytes)[page + 27 + segment];
        }
        return end > bytes->size() ? kCutShort : kFine;
    }
    return kCutShort;
}

/// The boxes at the top fill the file, and one of them describes it.
std::string_view CheckMP4(const OpenFile& file, uint64_t size, const Bytes& head) {
    if (!HasAt(head, 4, "ftyp") && !HasAt(head, 4, "moov") && !HasAt(head, 4, "mdat")
        && !HasAt(head, 4, "wide")) {
        return kOther;
    }
    bool described = false;
    uint64_t offset = 0;
    for (int boxes = 0; offset + 8 <= size && boxes < 100000; ++boxes) {
        const std::optional<Bytes> box = file.Read(offset, 16);
        if (!box || box->size() < 8) {
            return kUnreadable;
        }
        described = described || HasAt(*box, 4, "moov");
        uint64_t length = Big32(*box, 0);
        if (length == 1) {
            length = static_cast<uint64_t>(Big32(*box, 8)) << 32 | Big32(*box, 12);
        } else if (length == 0) {
            length = size - offset;
        }
        if (length < 8 || length > size - offset) {
            return kCutShort;
        }
        offset += length;
    }
    return described ? kFine : kCutShort;
}

std::string_view CheckWAV(uint64_t size, const Bytes& head) {
    if ((!HasAt(head, 0, "RIFF") && !HasAt(head, 0, "RF64")) || !HasAt(head, 8, "WAVE")) {
        return kOther;
    }
    const uint32_t length = Little32(head, 4);
    // A recorder that could not go back leaves the length at its greatest value or at 0.
    const bool known = HasAt(head, 0, "RIFF") && length != 0xFFFFFFFF && length != 0;
    return known && length > size - 8 + 1 ? kCutShort : kFine;
}

std::string_view CheckEnd(const OpenFile& file, uint64_t size, std::string_view mark) {
    const uint64_t tail = std::min<uint64_t>(size, kTailSize);
    const std::optional<Bytes> bytes = file.Read(size - tail, tail);
    if (!bytes) {
        return kUnreadable;
    }
    const auto found =
        std::search(bytes->begin(), bytes->end(), mark.begin(), mark.end(),
                    [](uint8_t left, char right) { return left == static_cast<uint8_t>(right); });
    return found == bytes->end() ? kCutShort : kFine;
}

std::string_view
CheckPicture(const OpenFile& file, uint64_t size, const Bytes& head, std::wstring_view extension) {
    // A picture under the name of another format is still a picture that every viewer takes.
    if (HasAt(head, 0, "\xFF\xD8\xFF")) {
        return CheckEnd(file, size, "\xFF\xD9");
    }
    if (HasAt(head, 0, "\x89PNG\r\n\x1A\n")) {
        return CheckEnd(file, size, "IEND\xAE\x42\x60\x82");
    }
    if (extension == L"jpg" || extension == L"jpeg" || extension == L"png") {
        return HasAt(head, 0, "GIF8") || HasAt(head, 8, "WEBP") || HasAt(head, 0, "BM") ? kFine
                                                                                        : kOther;
    }
    return kFine;
}

struct Signature {
    std::wstring_view Extension;
    size_t Offset;
    std::string_view Mark;
};

constexpr std::array kSignatures{
    Signature{L"aif", 0, "FORM"},
    Signature{L"aiff", 0, "FORM"},
    Signature{L"ape", 0, "MAC "},
    Signature{L"asf", 0, "\x30\x26\xB2\x75"},
    Signature{L"avi", 0, "RIFF"},
    Signature{L"bmp", 0, "BM"},
    Signature{L"dsf", 0, "DSD "},
    Signature{L"flv", 0, "FLV"},
    Signature{L"gif", 0, "GIF8"},
    Signature{L"mka", 0, "\x1A\x45\xDF\xA3"},
    Signature{L"mkv", 0, "\x1A\x45\xDF\xA3"},
    Signature{L"tta", 0, "TTA"},
    Signature{L"webm", 0, "\x1A\x45\xDF\xA3"},
    Signature{L"webp", 0, "RIFF"},
    Signature{L"wma", 0, "\x30\x26\xB2\x75"},
    Signature{L"wmv", 0, "\x30\x26\xB2\x75"},
    Signature{L"wv", 0, "wvpk"},
};

std::string_view
CheckContent(const OpenFile& file, uint64_t size, const Bytes& head, std::wstring_view extension) {
    const auto is = [extension](auto... names) { return ((extension == names) || ...); };
    if (is(L"mp3", L"mp2")) {
        return CheckMP3(file, size);
    }
    if (is(L"flac")) {
        return CheckFLAC(file, size);
    }
    if (is(L"ogg", L"oga", L"ogv", L"opus", L"spx")) {
        return CheckOgg(file, size, head);
    }
    if (is(L"m4a", L"m4b", L"m4v", L"mp4", L"mov", L"3gp")) {
        return CheckMP4(file, size, head);
    }
    if (is(L"wav")) {
        return CheckWAV(size, head);
    }
    if (is(L"jpg", L"jpeg", L"png")) {
        return CheckPicture(file, size, head, extension);
    }
    for (const Signature& signature : kSignatures) {
        if (signature.Extension == extension && !HasAt(head, signature.Offset, signature.Mark)) {
            return kOther;
        }
    }
    return kFine;
}

} // namespace

std::wstring_view CMediaType::FromExtension(std::wstring_view extension) {
    const auto found = std::lower_bound(
        kTypes.begin(), kTypes.end(), extension,
        [](const auto& type, std::wstring_view name) { return type.Extension < name; });
    return found != kTypes.end() && found->Extension == extension ? found->Type : L"Data";
}

bool CMediaType::IsPlaylist(std::wstring_view extension) {
    constexpr std::array<std::wstring_view, 8> kLists{L"asx", L"cue", L"m3u", L"m3u8",
                                                      L"mpl", L"pla", L"pls", L"wpl"};
    return std::find(kLists.begin(), kLists.end(), extension) != kLists.end();
}

bool CMediaType::IsFolderPicture(std::wstring_view name) {
    const std::wstring stem = HostFold(HostStem(name));
    const std::wstring extension = HostExtension(name);
    return (stem == L"cover" || stem == L"folder" || stem == L"front")
           && (extension == L"jpg" || extension == L"jpeg" || extension == L"png");
}

bool CMediaType::IsClutter(std::wstring_view name) {
    const std::wstring folded = HostFold(name);
    return folded.starts_with(L'.') || folded == L"thumbs.db" || folded == L"desktop.ini";
}

std::string CMediaType::FindProblem(const std::string& path, std::wstring_view extension) {
    const OpenFile file(path);
    if (!file.IsOpen()) {
        return std::string(kUnreadable) + ": " + HostErrorText(errno);
    }
    const std::optional<Bytes> head = file.Read(0, 64);
    if (!head) {
        return std::string(kUnreadable) + ": " + HostErrorText(errno);
    }
    if (head->empty()) {
        return "empty";
    }
    return std::string(CheckContent(file, file.GetSize(), *head, extension));
}
