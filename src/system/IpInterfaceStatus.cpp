// Interface state through the kernel: one interface request, /sys file or address list per call.
#include <orvik_utilities/system/IpInterfaceStatus.h>

#include "internal/Descriptor.h"
#include "internal/InterfaceName.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <climits>
#include <cstdio>
#include <cstring>

namespace {

constexpr char kUplinkStatusFile[] = "/tmp/status/linkGroupManager/hotLink.0/name";

// The name also becomes a path under /sys, where a '/' would lead out of the interface's
// own directory; the kernel never gives an interface such a name.
bool nameFitsPath(char const* name) {
    return orvik::detail::interfaceNameFits(name) && std::strchr(name, '/') == nullptr;
}

// One interface request on a throw-away datagram socket; false when the name does not fit,
// the socket cannot be had or the kernel refuses. The request comes zeroed apart from the
// name and whatever prepare() puts in.
template <typename Prepare>
bool interfaceRequest(char const* name, unsigned long request, ifreq* ifr, Prepare prepare) {
    if (!orvik::detail::fillInterfaceRequest(*ifr, name))
        return false;
    prepare(ifr);
    orvik::detail::Descriptor const fd = orvik::detail::openSocket(AF_INET, SOCK_DGRAM, 0);
    return fd.isOpen() && ioctl(fd.get(), request, ifr) == 0;
}

bool interfaceRequest(char const* name, unsigned long request, ifreq* ifr) {
    return interfaceRequest(name, request, ifr, [](ifreq*) {});
}

unsigned int readIpV4(char const* name, unsigned long request) {
    ifreq ifr;
    if (!interfaceRequest(name, request, &ifr) || ifr.ifr_addr.sa_family != AF_INET)
        return 0;
    sockaddr_in address;
    std::memcpy(&address, &ifr.ifr_addr, sizeof address);
    return ntohl(address.sin_addr.s_addr);
}

bool writeIpV4(char const* name, unsigned long request, unsigned int value) {
    ifreq ifr;
    return interfaceRequest(name, request, &ifr, [value](ifreq* r) {
        sockaddr_in address;
        std::memset(&address, 0, sizeof address);
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(value);
        std::memcpy(&r->ifr_addr, &address, sizeof address);
    });
}

} // namespace

IpInterfaceStatus::IpInterfaceStatus() = default;

IpInterfaceStatus::~IpInterfaceStatus() = default;

bool IpInterfaceStatus::isInterfaceAvailable(char const* name) const {
    if (name == nullptr)
        return false;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0)
        return false;
    bool found = false;
    for (ifaddrs const* entry = list; entry != nullptr && !found; entry = entry->ifa_next)
        found = entry->ifa_name != nullptr && std::strstr(entry->ifa_name, name) != nullptr;
    freeifaddrs(list);
    return found;
}

bool IpInterfaceStatus::isInterfaceUp(char const* name) const {
    ifreq ifr;
    return interfaceRequest(name, SIOCGIFFLAGS, &ifr) && (ifr.ifr_flags & IFF_UP) != 0;
}

bool IpInterfaceStatus::isInterfaceLinkUp(char const* name) const {
    if (!nameFitsPath(name))
        return false;
    char path[64];
    std::snprintf(path, sizeof path, "/sys/class/net/%s/carrier", name);
    std::FILE* file = std::fopen(path, "r");
    if (file == nullptr)
        return false;
    char line[31];
    bool const read = std::fgets(line, sizeof line, file) != nullptr;
    std::fclose(file);
    return read && line[0] == '1';
}

bool IpInterfaceStatus::setInterfaceUp(char const* name, int up) const {
    ifreq ifr;
    if (!interfaceRequest(name, SIOCGIFFLAGS, &ifr))
        return false;
    short const flags = ifr.ifr_flags;
    return interfaceRequest(name, SIOCSIFFLAGS, &ifr, [flags, up](ifreq* r) {
        r->ifr_flags = static_cast<short>(up == 1 ? flags | (IFF_UP | IFF_RUNNING)
                                                  : flags & ~(IFF_UP | IFF_RUNNING));
    });
}

unsigned int IpInterfaceStatus::getIpV4Address(char const* name) const {
    return readIpV4(name, SIOCGIFADDR);
}

bool IpInterfaceStatus::setIpV4Address(char const* name, unsigned int address) {
    return writeIpV4(name, SIOCSIFADDR, address);
}

unsigned int IpInterfaceStatus::getIpV4Mask(char const* name) const {
    return readIpV4(name, SIOCGIFNETMASK);
}

bool IpInterfaceStatus::setIpV4Mask(char const* name, unsigned int mask) {
    return writeIpV4(name, SIOCSIFNETMASK, mask);
}

bool IpInterfaceStatus::haveNetworkConnectivity() {
    std::FILE* file = std::fopen(kUplinkStatusFile, "r");
    if (file == nullptr)
        return false;
    std::fclose(file);
    return true;
}

bool IpInterfaceStatus::setTxQueueLen(char const* name, unsigned int length) {
    if (length > unsigned(INT_MAX))
        return false;
    ifreq ifr;
    return interfaceRequest(name, SIOCSIFTXQLEN, &ifr,
                            [length](ifreq* r) { r->ifr_qlen = static_cast<int>(length); });
}
