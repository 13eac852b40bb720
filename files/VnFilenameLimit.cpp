#include "files/VnFilename.h"

#include "core/VnStringArray.h"
#include "files/VnFileSystem.h"

#include <algorithm>

namespace {

/// Characters kept spare for a number such as " (12)".
constexpr int32_t kNumberWidth = 5;

/// Cuts a text that is longer to `length` characters, the last of them an ellipsis.
void Cut(VnString& text, int32_t length) {
    if (length < text.GetLength()) {
        text = text.Left(length - 1) + L'\x2026';
    }
}

/// Takes `excess` characters off a directory, from its last segment on, as far as each may go.
void ShortenDirectory(VnString& directory, int32_t excess, int32_t minimumSegment) {
    VnStringArray segments;
    segments.Split(directory, L"\\");
    const int32_t wanted = excess;
    for (int32_t index = segments.GetCount() - 1; index >= 0 && excess > 0; --index) {
        const int32_t length = segments[index].GetLength();
        const int32_t kept = std::min(std::max(length - excess, minimumSegment), length);
        Cut(segments[index], kept);
        excess -= length - kept;
    }
    if (excess == wanted) {
        return; // no segment may give anything
    }
    directory = segments.Join(L"\\");
    VnFilename::SetTrailingSeparator(directory, L'/', /*keepDoubleRoot=*/false);
}

} // namespace

bool VnFilename::ShortenToPathLimit(bool makeUnique,
                                    int32_t minimumName,
                                    int32_t minimumExtension,
                                    int32_t minimumDirectory,
                                    int32_t reserve) {
    if (!GetIsFileLocal()) {
        return false;
    }
    VnString drive;
    VnString directory;
    VnString name;
    VnString extension;
    Split({.Drive = &drive, .Directory = &directory, .Name = &name, .Extension = &extension});

    const int32_t limit = kPathLimit - reserve;
    const int32_t tail = 1 + std::max(extension.GetLength(), minimumExtension);
    const VnString oldDirectory = directory;
    const int32_t directoryExcess =
        drive.GetLength() + directory.GetLength() + minimumName + tail - limit;
    if (directoryExcess > 0) {
        ShortenDirectory(directory, directoryExcess, minimumDirectory);
    }

    const int32_t nameExcess = drive.GetLength() + directory.GetLength() + name.GetLength() + tail
                               + (makeUnique ? kNumberWidth : 0) - limit;
    if (nameExcess > 0) {
        Cut(name, name.GetLength() - nameExcess);
    } else if (directory == oldDirectory) {
        return false;
    }

    Assemble(drive, directory, name, extension);
    while (makeUnique && VnFileSystem::FileExists(Filename, /*useToolsModule=*/true)) {
        name.MakeUnique();
        Assemble(drive, directory, name, extension);
    }
    ParseFilenameForm(/*clearProperties=*/false);
    return true;
}
