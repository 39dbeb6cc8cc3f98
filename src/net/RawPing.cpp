#include <orvik_utilities/net/RawPing.h>

#include "net/ArpLine.h"
#include "net/EchoPacket.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netdb.h>
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

constexpr std::size_t kBufferLength = 1522;
constexpr int kAttempts = 5;
constexpr useconds_t kPause = 500000;
constexpr std::size_t kPacketNameLimit = 13; // 14-byte name field of the packet address
constexpr std::size_t kDeviceNameLimit = 15; // interface requests and the device binding
constexpr uint16_t kEthAll = 3;              // ETH_P_ALL

struct echo_context {
    char const* device;
    char const* target;
    char const* gateway;
    uint32_t local_addr;
    uint32_t netmask;
    unsigned char local_hwaddr[kHardwareAddressLength];
    unsigned char next_hop_hwaddr[kHardwareAddressLength];
    int packet_fd;
    int icmp_fd;
    uint16_t raw_seq;
    uint16_t ip_seq;
    uint16_t raw_id;
    uint16_t ip_id;
};

__attribute__((format(printf, 2, 3))) void probe_log(int priority, char const* format, ...) {
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

char const* addr_text(uint32_t address) {
    static char ring[4][64];
    static unsigned index = 0;
    index = (index + 1) % 4;
    in_addr network;
    network.s_addr = htonl(address);
    std::snprintf(ring[index], sizeof ring[index], "%s", inet_ntoa(network));
    return ring[index];
}

char const* reason() { return std::strerror(errno); }

bool resolve(char const* name, uint32_t* address) {
    hostent const* const host = gethostbyname(name);
    if (host == nullptr || host->h_addrtype != AF_INET || host->h_length != 4 ||
        host->h_addr_list[0] == nullptr)
        return false;
    uint32_t network;
    std::memcpy(&network, host->h_addr_list[0], sizeof network);
    *address = ntohl(network);
    return true;
}

bool isSet(char const* text) { return text != nullptr && *text != '\0'; }

bool nameFits(echo_context const* context, std::size_t limit) {
    if (std::strlen(context->device) <= limit)
        return true;
    probe_log(LOG_ERR, "device name too long: %s", context->device);
    return false;
}

uint16_t fresh_id() {
    timeval now;
    gettimeofday(&now, nullptr);
    return static_cast<uint16_t>(static_cast<uint32_t>(now.tv_sec) *
                                 static_cast<uint32_t>(now.tv_usec));
}

uint32_t word_of(sockaddr const& address) {
    sockaddr_in in;
    std::memcpy(&in, &address, sizeof in);
    return ntohl(in.sin_addr.s_addr);
}

// Steps 3 to 6 of init, on the query socket; the first failure ends them.
int query_interface(echo_context* context, int handle) {
    ifreq request;
    std::memset(&request, 0, sizeof request);
    std::memcpy(request.ifr_name, context->device, std::strlen(context->device));
    if (ioctl(handle, SIOCGIFADDR, &request) != 0) {
        probe_log(LOG_ERR, "can't get interface address of %s: %s", context->device, reason());
        return 0;
    }
    context->local_addr = word_of(request.ifr_addr);
    if (ioctl(handle, SIOCGIFNETMASK, &request) != 0) {
        probe_log(LOG_ERR, "can't get interface netmask of %s: %s", context->device, reason());
        return 0;
    }
    context->netmask = word_of(request.ifr_netmask);
    if (ioctl(handle, SIOCGIFHWADDR, &request) != 0) {
        probe_log(LOG_ERR, "can't get interface hwaddr of %s: %s", context->device, reason());
        return 0;
    }
    std::memcpy(context->local_hwaddr, request.ifr_hwaddr.sa_data, kHardwareAddressLength);
    uint32_t gateway;
    if (isSet(context->gateway) && !resolve(context->gateway, &gateway)) {
        probe_log(LOG_ERR, "invalid gateway '%s'", context->gateway);
        return 0;
    }
    return 1;
}

int init(echo_context* context) {
    if (!nameFits(context, kDeviceNameLimit))
        return 0;
    int const handle = socket(AF_INET, SOCK_PACKET | SOCK_CLOEXEC, 0);
    if (handle < 0) {
        probe_log(LOG_ERR, "unable to create socket: %s", reason());
        return 0;
    }
    int const ok = query_interface(context, handle);
    close(handle);
    return ok;
}

bool onSubnet(echo_context const* context, uint32_t target) {
    return (context->local_addr & context->netmask) == (context->netmask & target);
}

void close_sockets(echo_context* context) {
    if (context->packet_fd != -1)
        close(context->packet_fd);
    if (context->icmp_fd != -1)
        close(context->icmp_fd);
    context->packet_fd = -1;
    context->icmp_fd = -1;
}

int lookup_arp(echo_context* context, char const* next_hop) {
    std::FILE* const table = std::fopen("/proc/net/arp", "re");
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
        if (use && arpLineHardwareAddress(line, next_hop, context->next_hop_hwaddr))
            found = 1;
    }
    std::fclose(table);
    return found;
}

int gen_ip_echo(echo_context* context, unsigned char* buffer, std::size_t length,
                uint32_t target) {
    if (length < kIpEchoPacketLength) {
        probe_log(LOG_ERR, "buffer too short");
        return 0;
    }
    context->ip_id = fresh_id();
    ++context->ip_seq;
    std::memset(buffer, 0, length);
    fillIpEchoPacket(buffer, context->local_addr, target, context->ip_id, context->ip_seq);
    return 1;
}

int send_ip_echo(echo_context* context, unsigned char* buffer, std::size_t length,
                 uint32_t target) {
    if (length < kIpEchoPacketLength) {
        probe_log(LOG_ERR, "buffer too short");
        return 0;
    }
    if (context->icmp_fd < 0) {
        context->icmp_fd = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
        if (context->icmp_fd < 0) {
            probe_log(LOG_ERR, "unable to open socket: %s", reason());
            return 0;
        }
    }
    int const on = 1;
    if (setsockopt(context->icmp_fd, IPPROTO_IP, IP_HDRINCL, &on, sizeof on) != 0) {
        close(context->icmp_fd);
        context->icmp_fd = -1;
        return 0;
    }
    char device[32];
    std::memset(device, 0, sizeof device);
    std::memcpy(device, context->device, std::strlen(context->device));
    sockaddr_in to;
    std::memset(&to, 0, sizeof to);
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(target);
    if (setsockopt(context->icmp_fd, SOL_SOCKET, SO_BINDTODEVICE, device, sizeof device) != 0) {
        probe_log(LOG_ERR, "can't bind to device: %s", reason());
    } else if (setsockopt(context->icmp_fd, IPPROTO_IP, IP_HDRINCL, &on, sizeof on) != 0) {
        probe_log(LOG_ERR, "can't configure socket: %s", reason());
    } else if (sendto(context->icmp_fd, buffer, kIpEchoPacketLength, 0,
                      reinterpret_cast<sockaddr const*>(&to),
                      sizeof to) != static_cast<ssize_t>(kIpEchoPacketLength)) {
        probe_log(LOG_ERR, "packet transmission failed: %s", reason());
    } else {
        probe_log(LOG_ERR, "packet transmitted for %s (%d bytes)", addr_text(target),
                  static_cast<int>(kIpEchoPacketLength));
        return 1;
    }
    close(context->icmp_fd);
    context->icmp_fd = -1;
    return 0;
}

// The receive loop of both paths: five reads, a pause after each miss; the socket is
// closed at the end whatever happened.
template <typename Matches>
int receive_reply(int* fd, unsigned char* buffer, std::size_t length, uint32_t target,
                  Matches matches) {
    if (*fd < 0) {
        probe_log(LOG_ERR, "socket is not connected");
        return 0;
    }
    int result = 0;
    bool failed = false;
    for (int attempt = 0; attempt < kAttempts && result == 0 && !failed; ++attempt) {
        sockaddr from; // 16 bytes, as the packet socket's family and 14-byte device name
        socklen_t fromLength = sizeof from;
        std::memset(&from, 0, sizeof from);
        ssize_t const got = recvfrom(*fd, buffer, length, MSG_DONTWAIT, &from, &fromLength);
        if (got < 0 && errno != EAGAIN) {
            probe_log(LOG_ERR, "unable to receive reply: %s", reason());
            failed = true;
        } else if (got >= 0 && matches(from, static_cast<std::size_t>(got))) {
            result = 1;
        } else {
            usleep(kPause);
        }
    }
    if (result == 0 && !failed)
        probe_log(LOG_ERR, "received no valid reply from %s", addr_text(target));
    close(*fd);
    *fd = -1;
    return result;
}

int receive_ip_reply(echo_context* context, unsigned char* buffer, std::size_t length,
                     uint32_t target) {
    return receive_reply(&context->icmp_fd, buffer, length, target,
                         [&](sockaddr const&, std::size_t got) {
                             return ipReplyMatches(buffer, got, context->ip_id, context->ip_seq);
                         });
}

int ip_echo(echo_context* context, uint32_t target) {
    unsigned char buffer[kBufferLength];
    return gen_ip_echo(context, buffer, sizeof buffer, target) &&
           send_ip_echo(context, buffer, sizeof buffer, target) &&
           receive_ip_reply(context, buffer, sizeof buffer, target);
}

int gen_raw_echo(echo_context* context, unsigned char* buffer, std::size_t length,
                 uint32_t target) {
    if (length < kRawEchoFrameLength) {
        probe_log(LOG_ERR, "buffer too short");
        return 0;
    }
    char const* next_hop = context->target;
    if (!onSubnet(context, target)) {
        next_hop = context->gateway;
        if (!isSet(next_hop)) {
            probe_log(LOG_ERR, "need a valid gateway for target %s", context->target);
            return 0;
        }
    }
    if (!lookup_arp(context, next_hop)) {
        uint32_t hop;
        if (resolve(next_hop, &hop))
            ip_echo(context, hop);
        if (!lookup_arp(context, next_hop)) {
            probe_log(LOG_ERR, "can't resolve HW address for %s -> send query", next_hop);
            return 0;
        }
    }
    context->raw_id = fresh_id();
    ++context->raw_seq;
    std::memset(buffer, 0, length);
    fillRawEchoFrame(buffer, context->next_hop_hwaddr, context->local_hwaddr, context->local_addr,
                     target, context->raw_id, context->raw_seq);
    return 1;
}

int send_raw_echo(echo_context* context, unsigned char* buffer, std::size_t length, uint32_t) {
    if (length < kRawEchoFrameLength) {
        probe_log(LOG_ERR, "buffer too short");
        return 0;
    }
    if (!nameFits(context, kPacketNameLimit))
        return 0;
    if (context->packet_fd < 0) {
        context->packet_fd = socket(AF_INET, SOCK_PACKET | SOCK_CLOEXEC, htons(kEthAll));
        if (context->packet_fd < 0) {
            probe_log(LOG_ERR, "unable to open socket: %s", reason());
            return 0;
        }
    }
    sockaddr to;
    std::memset(&to, 0, sizeof to);
    to.sa_family = AF_INET;
    std::memcpy(to.sa_data, context->device, std::strlen(context->device));
    if (bind(context->packet_fd, &to, sizeof to) != 0) {
        probe_log(LOG_ERR, "unable to bind socket: %s", reason());
    } else if (sendto(context->packet_fd, buffer, kRawEchoFrameLength, 0, &to, sizeof to) !=
               static_cast<ssize_t>(kRawEchoFrameLength)) {
        probe_log(LOG_ERR, "packet transmission failed: %s", reason());
    } else {
        return 1;
    }
    close(context->packet_fd);
    context->packet_fd = -1;
    return 0;
}

int receive_raw_reply(echo_context* context, unsigned char* buffer, std::size_t length,
                      uint32_t target) {
    return receive_reply(
        &context->packet_fd, buffer, length, target, [&](sockaddr const& from, std::size_t got) {
            char device[sizeof from.sa_data + 1];
            std::memcpy(device, from.sa_data, sizeof from.sa_data);
            device[sizeof from.sa_data] = '\0';
            return std::strcmp(device, context->device) == 0 &&
                   rawReplyMatches(buffer, got, context->local_hwaddr, context->next_hop_hwaddr,
                                   context->raw_id, context->raw_seq);
        });
}

int raw_echo(echo_context* context, uint32_t target) {
    unsigned char buffer[kBufferLength];
    return gen_raw_echo(context, buffer, sizeof buffer, target) &&
           send_raw_echo(context, buffer, sizeof buffer, target) &&
           receive_raw_reply(context, buffer, sizeof buffer, target);
}

} // namespace

int rawping(char const* device, char const* target, char const* gateway) {
    if (!isSet(device) || !isSet(target))
        return 0;
    echo_context context;
    std::memset(&context, 0, sizeof context);
    context.packet_fd = -1;
    context.icmp_fd = -1;
    context.device = device;
    context.target = target;
    context.gateway = gateway;
    uint32_t address;
    if (!resolve(target, &address)) {
        probe_log(LOG_ERR, "invalid target '%s'", target);
        return 0;
    }
    if (!init(&context))
        return 0;
    int const result = isSet(gateway) && !onSubnet(&context, address) ? raw_echo(&context, address)
                                                                       : ip_echo(&context, address);
    close_sockets(&context);
    return result;
}
