#include "files/VnFileSystem.h"

#include "core/VnDllString.h"
#include "core/VnStringArray.h"
#include "runtime/IVnReader.h"
#include "runtime/VnLog.h"
#include "runtime/VnRunProgram.h"
#include "runtime/VnSiblingModules.h"

#include <dirent.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <strings.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

constexpr uint32_t kLogCategory = 1;

constexpr const char* kLabelDirectory = "/dev/disk/by-label";

/// Taken off the size of a volume in its serial number; a fixed part of that number's definition.
constexpr uint64_t kSerialOffset = 1048;

constexpr int32_t kAddressBytes = 6;

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

struct AddressesFreer {
    void operator()(ifaddrs* addresses) const { freeifaddrs(addresses); }
};

struct Freer {
    void operator()(char* bytes) const { std::free(bytes); }
};

class Socket {
public:
    Socket() : Descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
    Socket(const Socket&) = delete;
    Socket(Socket&&) = delete;
    Socket& operator=(const Socket&) = delete;
    Socket& operator=(Socket&&) = delete;
    ~Socket() {
        if (Descriptor >= 0) {
            close(Descriptor);
        }
    }

    int Descriptor;
};

/// Name of the link in the label directory that leads to `device`; empty when there is none.
std::string FindLabel(const VnString& device) {
    static constexpr const wchar_t* kName = L"VnFileSystem::GetVolumeInformation";
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(kLabelDirectory));
    if (directory == nullptr) {
        return {};
    }
    const VnStringUTF8 wanted(device);
    while (const dirent* entry = readdir(directory.get())) {
        std::string name = entry->d_name;
        if (name == "." || name == "..") {
            continue;
        }
        const std::string path = std::string(kLabelDirectory) + '/' + name;
        struct stat record {};
        if (lstat(path.c_str(), &record) != 0 || !S_ISLNK(record.st_mode)) {
            continue;
        }
        const std::unique_ptr<char, Freer> resolved(realpath(path.c_str(), nullptr));
        if (resolved == nullptr) {
            VnLog(kLogCategory, kName, L"realpath Error");
        } else if (strcasecmp(resolved.get(), wanted) == 0) {
            return name;
        }
    }
    return {};
}

/// The number that tells the volumes of a machine apart, 0 when its size is not known or too small.
uint32_t GetSerial(const VnString& device) {
    const VnString node = device.Mid(device.ReverseFind(L'/') + 1);
    VnString output;
    if (!RunProgramWithText(L"cat", L"/sys/class/block/" + node + L"/size", nullptr, &output,
                            /*quoteArguments=*/true)) {
        return 0;
    }
    const uint64_t blocks = output.ToUInt64();
    return blocks > kSerialOffset ? static_cast<uint32_t>(blocks - kSerialOffset) : 0;
}

/// A hardware address as "00-1b-...".
VnString FormatAddress(const unsigned char* bytes) {
    static constexpr wchar_t kDigits[] = L"0123456789abcdef";
    VnString text;
    for (int32_t index = 0; index < kAddressBytes; ++index) {
        if (index > 0) {
            text += L'-';
        }
        text += kDigits[bytes[index] >> 4U];
        text += kDigits[bytes[index] & 15U];
    }
    return text;
}

/// The hardware address of an interface; false when the system does not give it.
bool GetAddress(const Socket& socket, const char* name, VnString& address) {
    ifreq request{};
    std::memcpy(request.ifr_name, name, strnlen(name, sizeof(request.ifr_name)));
    if (ioctl(socket.Descriptor, SIOCGIFHWADDR, &request) != 0) {
        return false;
    }
    address = FormatAddress(reinterpret_cast<const unsigned char*>(request.ifr_hwaddr.sa_data));
    return true;
}

bool IsHardware(const ifaddrs& entry) {
    return entry.ifa_addr != nullptr && entry.ifa_addr->sa_family == AF_PACKET
           && (entry.ifa_flags & IFF_LOOPBACK) == 0;
}

} // namespace

bool VnFileSystem::VnStatFS(
    const VnString& path, uint64_t& total, uint64_t& free, uint64_t& available, bool& readOnly) {
    const VnLogScope scope(kLogCategory, "VnFileSystem::VnStatFS");
    total = 0;
    free = 0;
    available = 0;
    readOnly = false;
    struct statvfs volume {};
    if (statvfs(VnStringUTF8(path), &volume) != 0) {
        return false;
    }
    const uint64_t unit = volume.f_frsize;
    total = volume.f_blocks * unit;
    free = volume.f_bfree * unit;
    available = volume.f_bavail * unit;
    readOnly = (volume.f_flag & ST_RDONLY) != 0;
    return true;
}

bool VnFileSystem::GetDiskSpace(
    const VnString& path, uint64_t& available, uint64_t& total, uint64_t& free, bool& readOnly) {
    return VnStatFS(path, total, free, available, readOnly);
}

bool VnFileSystem::GetFreeSpace(const VnString& path, uint64_t& free) {
    uint64_t total = 0;
    uint64_t available = 0;
    bool readOnly = false;
    return VnStatFS(path, total, free, available, readOnly);
}

bool VnFileSystem::GetTotalSpace(const VnString& path, uint64_t& total) {
    uint64_t free = 0;
    uint64_t available = 0;
    bool readOnly = false;
    return VnStatFS(path, total, free, available, readOnly);
}

VnString VnFileSystem::GetMountpointFromDevice(const VnString& device) {
    const VnLogScope scope(kLogCategory, "VnFileSystem::GetMountpointFromDevice");
    VnString output;
    // A device that is not mounted makes the program fail, with the same empty output.
    static_cast<void>(RunProgramWithText(
        L"findmnt", L"-u -f -o TARGET -n " + device.QuoteForShell(), nullptr, &output));
    output.TrimRight(L'\n');
    return output;
}

bool VnFileSystem::GetVolumeInformation(const VnString& device, VnString& label, uint32_t& serial) {
    VnString node = device;
    node.TrimRight(L'/');
    label.Empty();
    serial = 0;
    const std::string name = FindLabel(node);
    if (name.empty()) {
        return false;
    }
    label.SetBytes(name.c_str());
    VnLog(kLogCategory, L"VnFileSystem::GetVolumeInformation", L"Found Volume Label %s for %s",
          label, node);
    serial = GetSerial(node);
    return true;
}

VnString VnFileSystem::GetVolumeName(const VnString& device) {
    VnString label;
    uint32_t serial = 0;
    GetVolumeInformation(device, label, serial);
    return label;
}

VnString VnFileSystem::GetComputerName() {
    utsname names{};
    return uname(&names) == 0 ? VnString::FromUTF8(names.nodename) : VnString();
}

bool VnFileSystem::GetMacAddresses(VnStringArray& addresses) {
    addresses.Empty();
    const std::unique_ptr<IVnReader> reader(
        CreateSocketReaderDLL(L"VnFileSystem::GetMacAddresses [UDP]", 1));
    if (reader == nullptr) {
        return false;
    }
    VnString list;
    VnDllString adapter(list);
    reader->GetProperty(L"AddressList", adapter);
    addresses.Split(list, L"|", /*trim=*/false, /*skipEmptyText=*/true);
    return addresses.GetCount() > 0;
}

VnString VnFileSystem::GetFirstMacAddressUnconditionally() {
    static constexpr const wchar_t* kName = L"VnFileSystem::GetFirstMacAddressUnconditionally";
    const Socket socket;
    if (socket.Descriptor < 0) {
        VnLog(kLogCategory, kName, L"Can't create socket");
        return {};
    }
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        VnLog(kLogCategory, kName, L"getifaddrs failure");
        return {};
    }
    const std::unique_ptr<ifaddrs, AddressesFreer> addresses(first);
    VnString winnerName;
    VnString winner;
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if (!IsHardware(*entry)) {
            continue;
        }
        VnString address;
        if (!GetAddress(socket, entry->ifa_name, address)) {
            VnLog(kLogCategory, kName, L"SIOCGIFHWADDR Error");
            return {};
        }
        const bool isFirstCard = std::strcmp(entry->ifa_name, "eth0") == 0;
        if (winner.IsEmpty() || isFirstCard) {
            winnerName = VnString::FromUTF8(entry->ifa_name);
            winner = address;
        }
    }
    if (!winner.IsEmpty()) {
        VnLog(kLogCategory, kName, L"%s %s", winnerName, winner);
    }
    return winner;
}

bool VnFileSystem::HasOpticalDrive() {
    struct stat record {};
    return stat("/dev/sr0", &record) == 0 && S_ISBLK(record.st_mode);
}

int32_t VnFileSystem::GetDriveType(const VnString& /*drive*/) {
    return 0;
}

int32_t
VnFileSystem::GetCDDriveInfo(const VnString& /*drive*/, VnString& vendor, VnString& product) {
    vendor.Empty();
    product.Empty();
    return 0;
}

int32_t VnFileSystem::GetAvailableDrives(VnStringArray& drives) {
    drives.Empty();
    return 0;
}
