#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "data/CFileLoader.h"
#include "files/VnFile.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"

#include <algorithm>
#include <cstring>

// The operations here stand on the layers of files and data, far above the text itself.

namespace {

constexpr uint8_t kUTF8Mark[] = {0xEF, 0xBB, 0xBF};
constexpr uint8_t kUTF16Mark[] = {0xFF, 0xFE};
constexpr wchar_t kNoFileCharacter = L'_';

/// A character that stands for a byte which was no UTF-8. It means something to the file system
/// only.
bool IsRawByte(wchar_t ch) {
    return ch >= 0xDC80 && ch <= 0xDCFF;
}

void AppendUTF8(const VnString& text, VnBuffer& bytes) {
    VnString clean = text;
    const wchar_t* const end = text.GetText() + text.GetLength();
    if (std::any_of(text.GetText(), end, IsRawByte)) {
        wchar_t* const buffer = clean.GetBuffer();
        std::replace_if(buffer, buffer + text.GetLength(), IsRawByte, L'?');
        clean.ReleaseBuffer(text.GetLength());
    }
    if (bytes.IsEmpty()) {
        clean.GetUTF8(bytes);
        return;
    }
    VnBuffer encoded;
    clean.GetUTF8(encoded);
    bytes.Append(encoded.GetData(), encoded.GetSize());
}

void AppendUnit(uint32_t unit, uint8_t*& target) {
    *target++ = static_cast<uint8_t>(unit & 0xFFU);
    *target++ = static_cast<uint8_t>(unit >> 8U & 0xFFU);
}

/// Little endian, with two units for a character above U+FFFF.
void AppendUTF16(const VnString& text, VnBuffer& bytes) {
    int64_t units = 0;
    for (int32_t index = 0; index < text.GetLength(); ++index) {
        units += static_cast<uint32_t>(text[index]) > 0xFFFF ? 2 : 1;
    }
    uint8_t* target = bytes.Reserve(2 * units, /*zeroFill=*/false, 0, /*setSize=*/true);
    for (int32_t index = 0; index < text.GetLength(); ++index) {
        const auto ch = static_cast<uint32_t>(IsRawByte(text[index]) ? L'?' : text[index]);
        if (ch > 0xFFFF) {
            AppendUnit(0xD800U | ((ch - 0x10000U) >> 10U & 0x3FFU), target);
            AppendUnit(0xDC00U | (ch & 0x3FFU), target);
        } else {
            AppendUnit(ch, target);
        }
    }
}

/// The bytes of a text file with its mark. False for an encoding that there is not.
bool EncodeFile(const VnString& text, int32_t encoding, VnBuffer& bytes) {
    switch (encoding) {
    case kEncodingBytes:
        text.GetBytes(bytes);
        return true;
    case kEncodingUTF8Mark:
        bytes.Append(kUTF8Mark, sizeof(kUTF8Mark));
        AppendUTF8(text, bytes);
        return true;
    case kEncodingUTF8:
        AppendUTF8(text, bytes);
        return true;
    case kEncodingUTF16Mark:
        bytes.Append(kUTF16Mark, sizeof(kUTF16Mark));
        AppendUTF16(text, bytes);
        return true;
    case kEncodingUTF16:
        AppendUTF16(text, bytes);
        return true;
    default:
        return false;
    }
}

/// `path` with the characters replaced that may not stand in the name of a file. Directories that
/// are there keep their names, whatever those are: a mount point may well hold a ":".
VnString CleanPath(const VnString& path) {
    int32_t known = path.ReverseFind(L'/');
    while (known > 0 && !VnFileSystem::IsDirectory(path.Left(known + 1))) {
        known = path.ReverseFind(L'/', known - 1);
    }
    VnString rest = path.Mid(known + 1);
    VnFileSystem::CleanPathName(rest, /*cleanSegments=*/true, kNoFileCharacter,
                                /*limitLength=*/true,
                                /*keepDots=*/true);
    return path.Left(known + 1) + rest;
}

/// Writes until everything is out; a device that takes less at a time is asked again.
bool WriteAll(VnFile& file, const VnBuffer& bytes) {
    int64_t done = 0;
    while (done < bytes.GetSize()) {
        int64_t written = 0;
        if (!file.Write(bytes.GetData() + done, bytes.GetSize() - done, written) || written <= 0) {
            return false;
        }
        done += written;
    }
    return true;
}

/// Text of UTF-8 bytes with an optional mark, up to the first zero byte that is not dropped.
void DecodeUTF8File(VnBuffer& bytes, bool dropZeros, VnString& text) {
    uint8_t* const data = bytes.GetData();
    if (data == nullptr) {
        text.Empty();
        return;
    }
    uint8_t* begin = data;
    uint8_t* end = data + bytes.GetSize();
    if (end - begin >= 3 && std::memcmp(begin, kUTF8Mark, sizeof(kUTF8Mark)) == 0) {
        begin += sizeof(kUTF8Mark);
    }
    end = dropZeros ? std::remove(begin, end, uint8_t{0}) : std::find(begin, end, uint8_t{0});
    text.SetFileSystemText(reinterpret_cast<const char*>(begin), end - begin);
}

} // namespace

bool VnString::SaveToFile(const wchar_t* path, int32_t encoding) const {
    VnBuffer bytes;
    if (path == nullptr || *path == 0 || !EncodeFile(*this, encoding, bytes)) {
        return false;
    }
    const VnString target = CleanPath(VnFilename::GetLocalPath(path));
    // A directory that could not be made shows when the file is opened.
    VnFileSystem::MakeDirectoryTree(VnFilename::GetPathOnly(target));
    VnFile file(target, VnFile::kAccessWrite, VnFile::kShareRead | VnFile::kShareWrite,
                VnFile::CreateAlways);
    return file.Open() && WriteAll(file, bytes) && file.CloseWritten();
}

bool VnString::LoadFromFile(const wchar_t* path,
                            int32_t encoding,
                            bool dropZeros,
                            IFileLoaderProgress* progress,
                            CCancelHelper* cancel) {
    if (path == nullptr || *path == 0) {
        Empty();
        return true;
    }
    const VnFilename source{VnString(path)};
    CFileLoader loader;
    loader.SetWaitDialog(/*show=*/true, 4000, /*cancellable=*/true, /*titleOnly=*/false,
                         L"Working...");
    loader.SetProgress(progress);
    loader.SetCancelFlag(cancel);
    VnBuffer bytes;
    if (!loader.LoadToBuffer(source, bytes)) {
        Empty();
        return false;
    }
    if (encoding == kEncodingUTF8 || encoding == kEncodingUTF8Mark) {
        DecodeUTF8File(bytes, dropZeros, *this);
        return true;
    }
    return SetFromBuffer(bytes, encoding, dropZeros);
}
