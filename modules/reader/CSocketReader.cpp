#include "modules/reader/CSocketReader.h"

#include "core/VnDllString.h"

#include <ifaddrs.h>
#include <net/if.h>
#include <netpacket/packet.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace {

constexpr int32_t kAddressBytes = 6;

VnString FormatAddress(const unsigned char* bytes) {
    VnString text;
    for (int32_t i = 0; i < kAddressBytes; i++) {
        text.AppendFormat(i == 0 ? L"%.2x" : L"-%.2x", static_cast<int32_t>(bytes[i]));
    }
    return text;
}

VnString GetHardwareAddresses() {
    ifaddrs* list = nullptr;
    if (::getifaddrs(&list) != 0) {
        return VnString();
    }
    const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(list, &::freeifaddrs);
    std::vector<VnString> found;
    VnString text;
    for (const ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_PACKET
            || (entry->ifa_flags & IFF_LOOPBACK) != 0) {
            continue;
        }
        const auto* address = reinterpret_cast<const sockaddr_ll*>(entry->ifa_addr);
        if (address->sll_halen != kAddressBytes) {
            continue;
        }
        const VnString formatted = FormatAddress(address->sll_addr);
        // A bridge and its ports share one address.
        if (std::find(found.begin(), found.end(), formatted) == found.end()) {
            found.push_back(formatted);
            text += text.IsEmpty() ? L"" : L"|";
            text += formatted;
        }
    }
    return text;
}

} // namespace

void CSocketReader::GetProperty(const wchar_t* name, IVnDllString& value) {
    const bool wanted = name != nullptr && VnString(name).EqualsNoCase(L"AddressList");
    const VnString text = wanted ? GetHardwareAddresses() : VnString();
    value.Set(text, text.GetLength());
}
