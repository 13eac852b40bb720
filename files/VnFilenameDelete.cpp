#include "files/VnFilename.h"

#include "core/VnStringArray.h"
#include "files/VnFileScanner.h"
#include "files/VnFileSystem.h"
#include "runtime/VnLog.h"

void VnFilename::DeleteFilesInDirectory(const VnString& path, const VnStringArray& extensions) {
    constexpr uint32_t kDeleteDetails = 2048;
    VnStringArray files;
    VnFileScanner::GetFiles(path, files, /*recursive=*/false, extensions);
    for (const VnString& file : files) {
        const bool deleted = VnFileSystem::DeleteFile(file);
        VnLog(kDeleteDetails, L"VnFilename::DeleteFilesInDirectory", L"DeleteFile %s returned %d",
              file, deleted ? 1 : 0);
    }
}
