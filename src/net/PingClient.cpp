// The polled ICMP echo client: one header-included request per send, replies drained without
// waiting.
#include <orvik_utilities/net/PingClient.h>

#include "internal/Descriptor.h"
#include "internal/HostLookup.h"
#include "internal/InterfaceName.h"
#include "net/EchoPacket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

using orvik::detail::kPingRequestLength;

PingClient::PingClient()
    : socketFd(-1), echoId(static_cast<uint16_t>(std::rand())),
      echoSeq(static_cast<uint16_t>(std::rand())) {}

PingClient::~PingClient() { cleanup(); }

void PingClient::cleanup() { orvik::detail::closeDescriptor(socketFd); }

unsigned short PingClient::checksum(unsigned short* data, int length) const {
    return orvik::detail::internetChecksum(data, length > 0 ? static_cast<std::size_t>(length) : 0);
}

namespace {

// A raw ICMP socket in *fd with the header-included option; false when either fails (the
// socket, if made, stays in *fd).
bool openEchoSocket(int* fd) {
    *fd = orvik::detail::openSocket(AF_INET, SOCK_RAW, IPPROTO_ICMP).release();
    if (*fd < 0)
        return false;
    int const on = 1;
    return setsockopt(*fd, IPPROTO_IP, IP_HDRINCL, &on, sizeof on) == 0;
}

// Builds the request with the client's own checksum and sends it on fd: 0 or 1.
int sendRequest(PingClient const& client, int fd, char const* target, uint32_t source,
                uint16_t identifier, uint16_t sequence) {
    uint32_t destination;
    if (!orvik::detail::lookupIpv4Host(target, destination))
        return 1;
    sockaddr_in to;
    std::memset(&to, 0, sizeof to);
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(destination);

    // Aligned for the checksum's unsigned short view.
    unsigned short words[kPingRequestLength / 2];
    unsigned char* const packet = reinterpret_cast<unsigned char*>(words);
    orvik::detail::fillPingRequest(packet, source, destination, identifier, sequence);
    unsigned short const icmpSum = client.checksum(words + 10, kPingRequestLength - 20);
    std::memcpy(packet + 22, &icmpSum, sizeof icmpSum);
    unsigned short const headerSum = client.checksum(words, 20);
    std::memcpy(packet + 10, &headerSum, sizeof headerSum);

    ssize_t const sent = sendto(fd, packet, kPingRequestLength, 0,
                                reinterpret_cast<sockaddr const*>(&to), sizeof to);
    return sent == static_cast<ssize_t>(kPingRequestLength) ? 0 : 1;
}

} // namespace

int PingClient::sendSimplePing(char const* target, char const* source) {
    if (target == nullptr)
        return 1;
    cleanup();
    ++echoSeq;
    if (!openEchoSocket(&socketFd))
        return 1;
    uint32_t sourceAddress = 0;
    if (source != nullptr) {
        in_addr parsed;
        if (inet_aton(source, &parsed) == 0)
            return 1;
        sourceAddress = ntohl(parsed.s_addr);
    }
    return sendRequest(*this, socketFd, target, sourceAddress, echoId, echoSeq);
}

int PingClient::sendPingFromInterface(char const* target, char const* interface) {
    if (target == nullptr || interface == nullptr)
        return 1;
    cleanup();
    ++echoSeq;
    if (!openEchoSocket(&socketFd))
        return 1;
    int const on = 1;
    if (!orvik::detail::bindToDevice(socketFd, interface) ||
        setsockopt(socketFd, IPPROTO_IP, IP_HDRINCL, &on, sizeof on) != 0)
        return 1;
    return sendRequest(*this, socketFd, target, 0, echoId, echoSeq);
}

int PingClient::checkPingResponse() {
    for (;;) {
        unsigned char packet[256];
        sockaddr_in from;
        socklen_t fromLength = sizeof from;
        ssize_t const got = recvfrom(socketFd, packet, sizeof packet, MSG_DONTWAIT,
                                     reinterpret_cast<sockaddr*>(&from), &fromLength);
        if (got < 0)
            return errno == EAGAIN ? 2 : 3;
        if (orvik::detail::pingReplyMatches(packet, static_cast<std::size_t>(got), echoId, echoSeq))
            return 0;
    }
}
