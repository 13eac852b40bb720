#include "files/VnFilename.h"

#include "files/VnFileInfo.h"
#include "runtime/IVnPathService.h"
#include "runtime/IVnReader.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <sys/stat.h>

#include <memory>

namespace {

/// Behind the name of a file that holds an HLS index.
constexpr const wchar_t* kIndexSuffix = L".vhli";

int64_t GetRemoteSize(const VnFilename& filename) {
    const std::unique_ptr<IVnReader> reader(CreateGenericReaderDLL(filename.GetXMLForm()));
    if (reader == nullptr) {
        return -1;
    }
    reader->SetProperties(L"HTTPREQUEST_TYPE|HEAD");
    return reader->Open() ? reader->GetLength() : -1;
}

bool IndexExists(const VnString& text) {
    return VnFilename(text + kIndexSuffix).Exists(/*useToolsModule=*/true, 0);
}

} // namespace

int64_t VnFilename::GetFileSize(bool allowRemote) const {
    if (GetIsFileRemote()) {
        return allowRemote ? GetRemoteSize(*this) : -1;
    }
    // Of the file that Exists looks for: parsed once more, a name with a ";" would be another.
    const VnString path = GetLocalPath();
    struct stat record {};
    return stat(VnStringUTF8(path), &record) == 0 ? VnFileInfo(path, &record).GetSize() : -1;
}

bool VnFilename::Exists(bool useToolsModule, int32_t toolsOption) const {
    const VnString path = GetLocalPath();
    if (path.IsEmpty()) {
        return false;
    }
    IVnToolsRoot* root = useToolsModule ? VnGetToolsRoot(/*load=*/false) : nullptr;
    IVnPathService* service = root == nullptr ? nullptr : root->GetPathService(1);
    if (service != nullptr) {
        return service->FileExists(path, toolsOption * 2);
    }
    struct stat record {};
    return stat(VnStringUTF8(path), &record) == 0 && !S_ISDIR(record.st_mode);
}

bool VnFilename::GetIsIndexedHLS(bool ignorePlaybackInfo) const {
    VnPropertyMap info;
    if (!ignorePlaybackInfo && GetPlaybackInfo(info) && info.GetString(L"IndexedHLS").ToBool()) {
        return true;
    }
    return GetIsFileLocal() && IndexExists(Filename);
}

VnString VnFilename::GetIndexedHLSFilename(bool mustExist) const {
    if (mustExist && !IndexExists(Filename)) {
        return {};
    }
    return Filename + kIndexSuffix;
}
