#include "host/CSession.h"

#include "core/VnString.h"
#include "files/VnFileSystem.h"
#include "host/HostText.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

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
    if (user.empty()) {
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
