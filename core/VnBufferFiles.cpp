#include "core/VnBuffer.h"

#include "core/VnString.h"
#include "files/VnFile.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"

namespace {

/// Bytes that are asked for at a time.
constexpr int32_t kStreamStep = 0x10000;

} // namespace

bool VnBuffer::LoadFromStream(IStream& stream) {
    Empty();
    for (;;) {
        uint8_t* tail = Reserve(kStreamStep);
        const int32_t read = stream.Read(tail, kStreamStep);
        if (read <= 0) {
            Compact();
            return read == 0;
        }
        UsedSize += read;
    }
}

bool VnBuffer::SaveToFile(const wchar_t* path) const {
    const VnFilename filename{VnString(path)};
    // When the folders cannot be made the open fails, and says so.
    VnFileSystem::MakeDirectoryTree(filename.GetPathOnly());
    VnFile file(filename, VnFile::kAccessWrite, 0, VnFile::CreateAlways);
    if (!file.Open()) {
        return false;
    }
    int64_t done = 0;
    while (done < UsedSize) {
        int64_t written = 0;
        if (!file.Write(Data + done, UsedSize - done, written) || written < 1) {
            return false;
        }
        done += written;
    }
    return file.Flush();
}
