#include "core/VnStringManager.h"
#include "files/VnFilename.h"
#include "modules/reader/CInternetReader.h"
#include "modules/reader/CLocalReader.h"
#include "modules/reader/CMemoryReader.h"
#include "modules/reader/CSocketReader.h"

#include <sys/stat.h>

namespace {

bool Exists(const VnString& path) {
    struct stat state = {};
    return ::stat(VnStringUTF8(path), &state) == 0;
}

IVnReader* MakeInternetReader(const VnFilename& name) {
    return new CInternetReader(name.Filename, name.GetProperty(VnFilename::kUserAgent));
}

} // namespace

// The exports of this module, as plain symbols. VnReader.map lists them for the linker. Every
// object is freed through its deleting slot.
extern "C" {

/// Called behind each load with the number of the load. Character tables follow the process's
/// locale from then on.
[[gnu::visibility("default")]] int32_t Attach([[maybe_unused]] uintptr_t number) {
    VnStringGlobals::Get().RebuildTables(false);
    return 1;
}

/// Called ahead of each unload.
[[gnu::visibility("default")]] int32_t Detach() {
    return 1;
}

/// The module has nothing to set up: its libraries do so at their first use.
[[gnu::visibility("default")]] int32_t VnReaderInitialize([[maybe_unused]] int32_t flag) {
    return 1;
}

[[gnu::visibility("default")]] int32_t VnReaderUninitialize([[maybe_unused]] int32_t flag) {
    return 1;
}

/// A local file.
[[gnu::visibility("default")]] IVnReader* CreateLocalReaderDLL(const wchar_t* path) {
    return new CLocalReader(VnFilename::GetLocalPath(path));
}

/// A URL, or the stored form of one with its properties.
[[gnu::visibility("default")]] IVnReader* CreateInternetReaderDLL(const wchar_t* url) {
    return MakeInternetReader(VnFilename(url));
}

/// A local path, a URL, or the stored form of either. A path that exists as it stands is taken so,
/// even when it looks like a stored form.
[[gnu::visibility("default")]] IVnReader* CreateGenericReaderDLL(const wchar_t* source) {
    const VnString text = source;
    const VnFilename name(text);
    if (name.GetIsFileRemote() && !name.Filename.StartsWith(L"file://", /*caseFlag=*/false)) {
        return MakeInternetReader(name);
    }
    return new CLocalReader(text != name.Filename && Exists(text) ? text : name.GetLocalPath());
}

/// The caller's bytes, which must outlive the reader.
[[gnu::visibility("default")]] IVnReader* CreateFromMemoryReaderDLL(const void* data,
                                                                    int64_t size) {
    return new CMemoryReader(data, size);
}

/// Memory that grows with what is written.
[[gnu::visibility("default")]] IVnReader* CreateMemoryReaderDLL() {
    return new CMemoryReader;
}

/// A text as UTF-8.
[[gnu::visibility("default")]] IVnReader* CreateStringReaderDLL(const wchar_t* text) {
    return new CMemoryReader(text);
}

/// A socket that tells the hardware addresses; see CSocketReader.
[[gnu::visibility("default")]] IVnReader*
CreateSocketReaderDLL([[maybe_unused]] const wchar_t* name, [[maybe_unused]] int32_t flag) {
    return new CSocketReader;
}
}
