#include <orvik_utilities/system/IpInterfaceStatus.h>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstring>

namespace {

constexpr char kUplinkStatusFile[] = "/tmp/status/linkGroupManager/hotLink.0/name";

bool nameFitsRequest(char const* name) {
    if (name == nullptr)
        return false;
    std::size_t const length = strnlen(name, IFNAMSIZ);
    return length < IFNAMSIZ && std::memchr(name, '/', length) == nullptr;
}

// One interface request on a throw-away datagram socket; false when the name does not fit,
// the socket cannot be had or the kernel refuses. The request comes zeroed apart from the
// name and whatever prepare() puts in.
template <typename Prepare>
bool interfaceRequest(char const* name, unsigned long request, ifreq* ifr, Prepare prepare) {
    if (!nameFitsRequest(name))
        return false;
    std::memset(ifr, 0, sizeof *ifr);
    std::memcpy(ifr->ifr_name, name, std::strlen(name));
    prepare(ifr);
    int const fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return false;
    bool const done = ioctl(fd, request, ifr) == 0;
    close(fd);
    return done;
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
    if (!nameFitsRequest(name))
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
