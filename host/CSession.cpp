#include "host/CSession.h"

#include "core/VnString.h"
#include "files/VnFileSystem.h"
#include "host/HostText.h"
#include "runtime/VnSiblingModules.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <system_error>

namespace {

constexpr std::string_view kDatabaseName = ".Database.mpl";
constexpr std::string_view kDatabaseEnd = "</MPL>";
constexpr size_t kUsualRecord = 1024; // bytes of one file in the database
constexpr size_t kProbeBlock = 64 * 1024;

/// What is wrong with the database at a path; empty when it is whole.
std::string FindDamage(const std::string& path) {
    const int64_t size = CDeviceRoot::GetFileSize(path);
    if (size < 0) {
        return "is missing or no regular file";
    }
    if (size == 0) {
        return "is empty";
    }
    std::ifstream file(path, std::ios::binary);
    std::string end(kDatabaseEnd.size(), '\0');
    file.seekg(std::max<int64_t>(size - static_cast<int64_t>(end.size()), 0));
    file.read(end.data(), static_cast<std::streamsize>(end.size()));
    return end == kDatabaseEnd ? std::string() : "is cut short";
}

/// The system's error number for writing `size` bytes to a new file in a folder; 0 when that goes
/// well. Nothing stays.
int ProbeWriting(const std::string& folder, size_t size) {
    std::string probe = folder + ".tonehall-XXXXXX";
    const int descriptor = mkostemp(probe.data(), O_CLOEXEC);
    if (descriptor < 0) {
        return errno;
    }
    const std::string block(kProbeBlock, 'x');
    int error = 0;
    while (size > 0 && error == 0) {
        const ssize_t written = write(descriptor, block.data(), std::min(size, block.size()));
        if (written > 0) {
            size -= static_cast<size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            error = written == 0 ? ENOSPC : errno;
        }
    }
    if (error == 0 && fsync(descriptor) != 0) {
        error = errno;
    }
    close(descriptor);
    unlink(probe.c_str());
    return error;
}

} // namespace

ExitCode CSession::OpenRoot(const std::string& device,
                            const std::vector<std::string>& settings,
                            bool mustBeWritable) {
    const std::string shown = HostPrintable(std::string_view(device));
    std::string error;
    if (!Root.Open(device, error) || (mustBeWritable && !Root.IsWritable(error))) {
        return Fail(kExitNoDevice, "device " + shown + ": " + error);
    }
    Properties =
        std::make_unique<CDeviceProperties>(HostWiden(Root.GetPath()), HostWiden(Root.GetName()));
    for (const std::string& setting : settings) {
        if (!Properties->Override(setting, error)) {
            return Fail(kExitUsage, "--set: " + error);
        }
    }
    for (const std::wstring& key : Properties->GetUnknownKeys()) {
        Console.Error("--set: " + HostPrintable(std::wstring_view(key))
                      + " is no known setting of a device");
    }
    if (Properties->GetInt(L"IsAndroid") != 0 && Root.GetPath().find("/.") != std::string::npos) {
        return Fail(
            kExitNoDevice,
            "device " + shown
                + ": a folder in its path begins with a dot, which IsAndroid would change; mount it elsewhere");
    }
    return kExitDone;
}

ExitCode CSession::Start() {
    std::string error;
    if (!Plugin.Load(error)) {
        return Fail(kExitFailure, error);
    }
    Device = std::make_unique<CDevice>(Plugin, *Properties);
    if (!Device->Initialize()) {
        return Fail(kExitFailure, "the drive did not start");
    }
    return kExitDone;
}

ExitCode CSession::Open(const std::string& device,
                        const std::vector<std::string>& settings,
                        bool mustBeWritable) {
    const ExitCode code = OpenRoot(device, settings, mustBeWritable);
    return code == kExitDone ? Start() : code;
}

bool CSession::HasReader() {
    return VnSiblingModules::GetInstance().LoadModule(L"", VnSiblingModule::Reader);
}

std::string CSession::GetDatabasePath() const {
    return HostNarrow(Properties->GetBasePath(L"DatabaseBasePath")) + std::string(kDatabaseName);
}

ExitCode CSession::Settle(size_t records) {
    if (const ExitCode code = SettleWithoutDatabase(); code != kExitDone) {
        return code;
    }
    const std::string path = GetDatabasePath();
    const std::string damage = FindDamage(path);
    if (damage.empty()) {
        return kExitDone;
    }
    // The drive keeps the cause to itself, so the same is tried once more.
    const int cause =
        ProbeWriting(path.substr(0, path.rfind('/') + 1), (records + 1) * kUsualRecord);
    const bool isFull = cause == ENOSPC || cause == EDQUOT;
    std::string text =
        "the device's database " + HostPrintable(std::string_view(path)) + " " + damage;
    if (isFull) {
        text += ": the device is full; make room, then use rebuild";
    } else if (cause != 0) {
        text += ": " + HostErrorText(cause);
    } else {
        text += ", though its folder can be written to";
    }
    return Fail(isFull ? kExitNoSpace : kExitFailure, text);
}

ExitCode CSession::SettleWithoutDatabase() {
    return Flush() ? kExitDone
                   : Fail(kExitFailure, "the device could not be flushed; do not remove it yet");
}

bool CSession::Flush() const {
    const int descriptor = open(Root.GetPath().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) {
        return false;
    }
    const bool done = syncfs(descriptor) == 0;
    close(descriptor);
    return done;
}

std::string CSession::GetDataFolder() {
    const std::wstring user = HostText(VnFileSystem::GetDirectoryUser());
    // Without a home the user's folder would stand in the root of the file system.
    if (user.empty() || user.starts_with(L"/.")) {
        return {};
    }
    std::string folder = HostNarrow(user) + "Tonehall/";
    std::error_code failure;
    std::filesystem::create_directories(folder, failure);
    return failure ? std::string() : folder;
}

ExitCode CSession::Fail(ExitCode code, const std::string& text) {
    Error = text;
    Console.Error(text);
    return code;
}
