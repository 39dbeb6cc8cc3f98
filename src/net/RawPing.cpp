// The raw echo probe: an IP echo bound to one interface, or an Ethernet echo straight to
// the gateway's hardware address, with its replies picked out of what the socket delivers.
#include <orvik_utilities/net/RawPing.h>

#include "internal/Descriptor.h"
#include "internal/HostLookup.h"
#include "internal/InterfaceName.h"
#include "net/ArpLine.h"
#include "net/EchoPacket.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>

using namespace orvik::detail;

namespace {

constexpr char kArpTablePath[] = "/proc/net/arp";
constexpr std::size_t kBufferLength = 1522;
constexpr int kAttempts = 5;
constexpr useconds_t kPause = 500000;
constexpr std::size_t kPacketNameLimit = 13; // 14-byte name field of the packet address
constexpr uint16_t kEthAll = 3;              // ETH_P_ALL

struct EchoContext {
    EchoContext(char const* deviceName, char const* targetName, char const* gatewayName)
        : device(deviceName), target(targetName), gateway(gatewayName) {}

    char const* device;
    char const* target;
    char const* gateway;
    uint32_t localAddress = 0;
    uint32_t netmask = 0;
    unsigned char localHw[kHardwareAddressLength] = {};
    unsigned char nextHopHw[kHardwareAddressLength] = {};
    Descriptor packet;
    Descriptor icmp;
    uint16_t rawSeq = 0;
    uint16_t ipSeq = 0;
    uint16_t rawId = 0;
    uint16_t ipId = 0;
};

// The caller's texts are only ever arguments, never the format syslog sees.
__attribute__((format(printf, 2, 3))) void probeLog(int priority, char const* format, ...) {
    char line[1024];
    va_list arguments;
    va_start(arguments, format);
    int length = std::vsnprintf(line, 1023, format, arguments);
    va_end(arguments);
    if (length < 0)
        length = 0;
    if (length > 1022)
        length = 1022;
    line[length] = '\n';
    line[length + 1] = '\0';
    syslog(priority, "%s", line);
}

// Four results can be outstanding at once: one log line names up to two addresses, and
// the ring is process-wide because the texts outlive the call that made them.
char const* addressText(uint32_t address) {
    static char ring[4][64];
    static unsigned index = 0;
    index = (index + 1) % 4;
    in_addr network;
    network.s_addr = htonl(address);
    std::snprintf(ring[index], sizeof ring[index], "%s", inet_ntoa(network));
    return ring[index];
}

char const* reason() { return std::strerror(errno); }

bool isSet(char const* text) { return text != nullptr && *text != '\0'; }

bool deviceNameFits(EchoContext const& context, std::size_t limit) {
    if (std::strlen(context.device) <= limit)
        return true;
    probeLog(LOG_ERR, "device name too long: %s", context.device);
    return false;
}

uint16_t freshId() {
    timeval now;
    gettimeofday(&now, nullptr);
    return static_cast<uint16_t>(static_cast<uint32_t>(now.tv_sec) *
                                 static_cast<uint32_t>(now.tv_usec));
}

uint32_t wordOf(sockaddr const& address) {
    sockaddr_in in;
    std::memcpy(&in, &address, sizeof in);
    return ntohl(in.sin_addr.s_addr);
}

// Address, netmask and hardware address of the device, then the gateway's name; the first
// failure ends the queries.
bool queryInterface(EchoContext& context, int handle) {
    ifreq request;
    fillInterfaceRequest(request, context.device);
    if (ioctl(handle, SIOCGIFADDR, &request) != 0) {
        probeLog(LOG_ERR, "can't get interface address of %s: %s", context.device, reason());
        return false;
    }
    context.localAddress = wordOf(request.ifr_addr);
    if (ioctl(handle, SIOCGIFNETMASK, &request) != 0) {
        probeLog(LOG_ERR, "can't get interface netmask of %s: %s", context.device, reason());
        return false;
    }
    context.netmask = wordOf(request.ifr_netmask);
    if (ioctl(handle, SIOCGIFHWADDR, &request) != 0) {
        probeLog(LOG_ERR, "can't get interface hwaddr of %s: %s", context.device, reason());
        return false;
    }
    std::memcpy(context.localHw, request.ifr_hwaddr.sa_data, kHardwareAddressLength);
    uint32_t gateway;
    if (isSet(context.gateway) && !lookupIpv4Host(context.gateway, gateway)) {
        probeLog(LOG_ERR, "invalid gateway '%s'", context.gateway);
        return false;
    }
    return true;
}

int init(EchoContext& context) {
    if (!deviceNameFits(context, kInterfaceNameLimit))
        return 0;
    Descriptor const handle = openSocket(AF_INET, SOCK_PACKET, 0);
    if (!handle.isOpen()) {
        probeLog(LOG_ERR, "unable to create socket: %s", reason());
        return 0;
    }
    return queryInterface(context, handle.get()) ? 1 : 0;
}

bool onSubnet(EchoContext const& context, uint32_t target) {
    return (context.localAddress & context.netmask) == (context.netmask & target);
}

void closeSockets(EchoContext& context) {
    context.packet.reset();
    context.icmp.reset();
}

int lookupArp(EchoContext& context, char const* nextHop) {
    std::FILE* const table = std::fopen(kArpTablePath, "re");
    if (table == nullptr)
        return 0;
    // Room for a line of the limit and its newline; a read without a newline (other than
    // the file's last) is the front of a longer line, skipped with its continuations.
    char line[kArpLineLimit + 2];
    bool startsLine = true;
    int found = 0;
    while (found == 0 && std::fgets(line, sizeof line, table) != nullptr) {
        std::size_t const length = std::strlen(line);
        bool const ends = length > 0 && line[length - 1] == '\n';
        bool const use = startsLine && (ends || std::feof(table));
        startsLine = ends;
        if (use && arpLineHardwareAddress(line, nextHop, context.nextHopHw))
            found = 1;
    }
    std::fclose(table);
    return found;
}

bool setHeaderIncluded(int fd) {
    int const on = 1;
    return setsockopt(fd, IPPROTO_IP, IP_HDRINCL, &on, sizeof on) == 0;
}

// The raw ICMP socket, opened unless already open, with the header-included option; a
// refused option closes it without a message.
bool prepareIcmpSocket(EchoContext& context) {
    if (!context.icmp.isOpen()) {
        context.icmp = openSocket(AF_INET, SOCK_RAW, IPPROTO_ICMP);
        if (!context.icmp.isOpen()) {
            probeLog(LOG_ERR, "unable to open socket: %s", reason());
            return false;
        }
    }
    if (setHeaderIncluded(context.icmp.get()))
        return true;
    context.icmp.reset();
    return false;
}

int genIpEcho(EchoContext& context, unsigned char* buffer, std::size_t length, uint32_t target) {
    if (length < kIpEchoPacketLength) {
        probeLog(LOG_ERR, "buffer too short");
        return 0;
    }
    context.ipId = freshId();
    ++context.ipSeq;
    std::memset(buffer, 0, length);
    fillIpEchoPacket(buffer, context.localAddress, target, context.ipId, context.ipSeq);
    return 1;
}

// The socket stays open only when the packet went out whole.
int sendIpEcho(EchoContext& context, unsigned char const* buffer, std::size_t length,
               uint32_t target) {
    if (length < kIpEchoPacketLength) {
        probeLog(LOG_ERR, "buffer too short");
        return 0;
    }
    if (!prepareIcmpSocket(context))
        return 0;
    sockaddr_in to;
    std::memset(&to, 0, sizeof to);
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(target);
    int const fd = context.icmp.get();
    if (!bindToDevice(fd, context.device)) {
        probeLog(LOG_ERR, "can't bind to device: %s", reason());
    } else if (!setHeaderIncluded(fd)) {
        probeLog(LOG_ERR, "can't configure socket: %s", reason());
    } else if (sendto(fd, buffer, kIpEchoPacketLength, 0, reinterpret_cast<sockaddr const*>(&to),
                      sizeof to) != static_cast<ssize_t>(kIpEchoPacketLength)) {
        probeLog(LOG_ERR, "packet transmission failed: %s", reason());
    } else {
        probeLog(LOG_ERR, "packet transmitted for %s (%d bytes)", addressText(target),
                 static_cast<int>(kIpEchoPacketLength));
        return 1;
    }
    context.icmp.reset();
    return 0;
}

// The receive loop of both paths: five reads, a pause after each miss; the socket is
// closed at the end whatever happened.
template <typename Matches>
int receiveReply(Descriptor& socket, unsigned char* buffer, std::size_t length, uint32_t target,
                 Matches matches) {
    if (!socket.isOpen()) {
        probeLog(LOG_ERR, "socket is not connected");
        return 0;
    }
    int result = 0;
    bool failed = false;
    for (int attempt = 0; attempt < kAttempts && result == 0 && !failed; ++attempt) {
        sockaddr from; // 16 bytes, as the packet socket's family and 14-byte device name
        socklen_t fromLength = sizeof from;
        std::memset(&from, 0, sizeof from);
        ssize_t const got =
            recvfrom(socket.get(), buffer, length, MSG_DONTWAIT, &from, &fromLength);
        if (got < 0 && errno != EAGAIN) {
            probeLog(LOG_ERR, "unable to receive reply: %s", reason());
            failed = true;
        } else if (got >= 0 && matches(from, static_cast<std::size_t>(got))) {
            result = 1;
        } else {
            usleep(kPause);
        }
    }
    if (result == 0 && !failed)
        probeLog(LOG_ERR, "received no valid reply from %s", addressText(target));
    socket.reset();
    return result;
}

int receiveIpReply(EchoContext& context, unsigned char* buffer, std::size_t length,
                   uint32_t target) {
    return receiveReply(context.icmp, buffer, length, target,
                        [&](sockaddr const&, std::size_t got) {
                            return ipReplyMatches(buffer, got, context.ipId, context.ipSeq);
                        });
}

int ipEcho(EchoContext& context, uint32_t target) {
    unsigned char buffer[kBufferLength];
    return genIpEcho(context, buffer, sizeof buffer, target) &&
           sendIpEcho(context, buffer, sizeof buffer, target) &&
           receiveIpReply(context, buffer, sizeof buffer, target);
}

// The next hop's hardware address from the ARP table; when it is missing, an IP echo to
// the next hop makes the kernel resolve it, and the table is read once more.
bool findNextHopHw(EchoContext& context, char const* nextHop) {
    if (lookupArp(context, nextHop))
        return true;
    uint32_t hop;
    if (lookupIpv4Host(nextHop, hop))
        ipEcho(context, hop);
    if (lookupArp(context, nextHop))
        return true;
    probeLog(LOG_ERR, "can't resolve HW address for %s -> send query", nextHop);
    return false;
}

int genRawEcho(EchoContext& context, unsigned char* buffer, std::size_t length, uint32_t target) {
    if (length < kRawEchoFrameLength) {
        probeLog(LOG_ERR, "buffer too short");
        return 0;
    }
    char const* nextHop = context.target;
    if (!onSubnet(context, target)) {
        nextHop = context.gateway;
        if (!isSet(nextHop)) {
            probeLog(LOG_ERR, "need a valid gateway for target %s", context.target);
            return 0;
        }
    }
    if (!findNextHopHw(context, nextHop))
        return 0;
    context.rawId = freshId();
    ++context.rawSeq;
    std::memset(buffer, 0, length);
    fillRawEchoFrame(buffer, context.nextHopHw, context.localHw, context.localAddress, target,
                     context.rawId, context.rawSeq);
    return 1;
}

// The packet socket for every protocol, opened unless already open.
bool preparePacketSocket(EchoContext& context) {
    if (!context.packet.isOpen()) {
        context.packet = openSocket(AF_INET, SOCK_PACKET, htons(kEthAll));
        if (!context.packet.isOpen()) {
            probeLog(LOG_ERR, "unable to open socket: %s", reason());
            return false;
        }
    }
    return true;
}

// The packet socket is bound by device name and sends to the same address; it stays open
// only when the frame went out whole.
int sendRawEcho(EchoContext& context, unsigned char const* buffer, std::size_t length, uint32_t) {
    if (length < kRawEchoFrameLength) {
        probeLog(LOG_ERR, "buffer too short");
        return 0;
    }
    if (!deviceNameFits(context, kPacketNameLimit) || !preparePacketSocket(context))
        return 0;
    sockaddr to;
    std::memset(&to, 0, sizeof to);
    to.sa_family = AF_INET;
    std::memcpy(to.sa_data, context.device, std::strlen(context.device));
    int const fd = context.packet.get();
    if (bind(fd, &to, sizeof to) != 0) {
        probeLog(LOG_ERR, "unable to bind socket: %s", reason());
    } else if (sendto(fd, buffer, kRawEchoFrameLength, 0, &to, sizeof to) !=
               static_cast<ssize_t>(kRawEchoFrameLength)) {
        probeLog(LOG_ERR, "packet transmission failed: %s", reason());
    } else {
        return 1;
    }
    context.packet.reset();
    return 0;
}

int receiveRawReply(EchoContext& context, unsigned char* buffer, std::size_t length,
                    uint32_t target) {
    return receiveReply(context.packet, buffer, length, target,
                        [&](sockaddr const& from, std::size_t got) {
                            char device[sizeof from.sa_data + 1];
                            std::memcpy(device, from.sa_data, sizeof from.sa_data);
                            device[sizeof from.sa_data] = '\0';
                            return std::strcmp(device, context.device) == 0 &&
                                   rawReplyMatches(buffer, got, context.localHw, context.nextHopHw,
                                                   context.rawId, context.rawSeq);
                        });
}

int rawEcho(EchoContext& context, uint32_t target) {
    unsigned char buffer[kBufferLength];
    return genRawEcho(context, buffer, sizeof buffer, target) &&
           sendRawEcho(context, buffer, sizeof buffer, target) &&
           receiveRawReply(context, buffer, sizeof buffer, target);
}

} // namespace

int rawping(char const* device, char const* target, char const* gateway) {
    if (!isSet(device) || !isSet(target))
        return 0;
    EchoContext context(device, target, gateway);
    uint32_t address;
    if (!lookupIpv4Host(target, address)) {
        probeLog(LOG_ERR, "invalid target '%s'", target);
        return 0;
    }
    if (!init(context))
        return 0;
    int const result = isSet(gateway) && !onSubnet(context, address) ? rawEcho(context, address)
                                                                     : ipEcho(context, address);
    closeSockets(context);
    return result;
}
