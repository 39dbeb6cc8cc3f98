// Echo packets and frames of the two probes, byte by byte, and the tests for their replies.
#include "net/EchoPacket.h"

#include "internal/ByteOrder.h"

#include <cstring>

namespace orvik {
namespace detail {

namespace {

// IP header at ip, ICMP echo request after it; checksums last, ICMP first, over fields
// that are still 0.
void fillEcho(unsigned char* ip, std::size_t icmpLength, uint32_t source, uint32_t destination,
              unsigned char ttl) {
    ip[0] = 0x45;
    ip[8] = ttl;
    ip[9] = 1;
    storeBigEndian(ip + 12, source);
    storeBigEndian(ip + 16, destination);
    ip[20] = 8;
    storeHost16(ip + 22, internetChecksum(ip + 20, icmpLength));
    storeHost16(ip + 10, internetChecksum(ip, 20));
}

} // namespace

uint16_t internetChecksum(void const* bytes, std::size_t length) {
    unsigned char const* at = static_cast<unsigned char const*>(bytes);
    uint64_t sum = 0;
    for (; length >= 2; length -= 2, at += 2)
        sum += loadHost16(at);
    if (length == 1) {
        unsigned char const last[2] = {at[0], 0};
        sum += loadHost16(last);
    }
    while (sum > 0xFFFF)
        sum = (sum >> 16) + (sum & 0xFFFF);
    return static_cast<uint16_t>(~sum);
}

void fillPingRequest(unsigned char* packet, uint32_t source, uint32_t destination,
                     uint16_t identifier, uint16_t sequence) {
    std::memset(packet, 0, kPingRequestLength);
    packet[0] = 0x45;
    storeBigEndian16(packet + 2, kPingRequestLength);
    packet[8] = 128;
    packet[9] = 1;
    storeBigEndian(packet + 12, source);
    storeBigEndian(packet + 16, destination);
    packet[20] = 8;
    storeBigEndian16(packet + 24, identifier);
    storeBigEndian16(packet + 26, sequence);
}

void fillRawEchoFrame(unsigned char* frame, unsigned char const* destinationHw,
                      unsigned char const* sourceHw, uint32_t source, uint32_t destination,
                      uint16_t identifier, uint16_t sequence) {
    std::memset(frame, 0, kRawEchoFrameLength);
    std::memcpy(frame, destinationHw, kHardwareAddressLength);
    std::memcpy(frame + 6, sourceHw, kHardwareAddressLength);
    storeBigEndian16(frame + 12, 0x0800);
    unsigned char* const ip = frame + 14;
    storeBigEndian16(ip + 2, kRawEchoFrameLength - 14);
    storeBigEndian16(ip + 6, 0x4000);
    storeBigEndian16(ip + 24, identifier);
    storeBigEndian16(ip + 26, sequence);
    fillEcho(ip, 8, source, destination, 64);
}

void fillIpEchoPacket(unsigned char* packet, uint32_t source, uint32_t destination,
                      uint16_t identifier, uint16_t sequence) {
    std::memset(packet, 0, kIpEchoPacketLength);
    storeHost16(packet + 2, kIpEchoPacketLength);
    storeHost16(packet + 24, identifier);
    storeHost16(packet + 26, sequence);
    fillEcho(packet, kIpEchoPacketLength - 20, source, destination, 64);
}

bool pingReplyMatches(unsigned char const* packet, std::size_t length, uint16_t identifier,
                      uint16_t sequence) {
    if (length == 0)
        return false;
    std::size_t const icmp = std::size_t{4} * (packet[0] & 0x0Fu);
    if (length < icmp + 8)
        return false;
    return loadBigEndian16(packet + icmp + 6) == sequence &&
           loadBigEndian16(packet + icmp + 4) == identifier;
}

bool rawReplyMatches(unsigned char const* frame, std::size_t length, unsigned char const* localHw,
                     unsigned char const* nextHopHw, uint16_t identifier, uint16_t sequence) {
    return length >= kRawEchoFrameLength &&
           std::memcmp(frame, localHw, kHardwareAddressLength) == 0 &&
           std::memcmp(frame + 6, nextHopHw, kHardwareAddressLength) == 0 && frame[23] == 1 &&
           frame[34] == 0 && loadBigEndian16(frame + 40) == sequence &&
           loadBigEndian16(frame + 38) == identifier;
}

bool ipReplyMatches(unsigned char const* packet, std::size_t length, uint16_t identifier,
                    uint16_t sequence) {
    return length >= kIpEchoPacketLength && packet[9] == 1 && packet[20] == 0 &&
           loadHost16(packet + 26) == sequence && loadHost16(packet + 24) == identifier;
}

} // namespace detail
} // namespace orvik
