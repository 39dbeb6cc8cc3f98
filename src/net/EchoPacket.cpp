#include "net/EchoPacket.h"

#include <cstring>

namespace orvik {
namespace detail {

namespace {

void putNetwork16(unsigned char* at, uint32_t value) {
    at[0] = static_cast<unsigned char>(value >> 8);
    at[1] = static_cast<unsigned char>(value);
}

void putNetwork32(unsigned char* at, uint32_t value) {
    putNetwork16(at, value >> 16);
    putNetwork16(at + 2, value);
}

void putHost16(unsigned char* at, uint16_t value) { std::memcpy(at, &value, sizeof value); }

uint16_t network16(unsigned char const* at) {
    return static_cast<uint16_t>(at[0] << 8 | at[1]);
}

uint16_t host16(unsigned char const* at) {
    uint16_t value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

// IP header at ip, ICMP echo request after it; checksums last, ICMP first, over fields
// that are still 0.
void fillEcho(unsigned char* ip, std::size_t icmpLength, uint32_t source, uint32_t destination,
              unsigned char ttl) {
    ip[0] = 0x45;
    ip[8] = ttl;
    ip[9] = 1;
    putNetwork32(ip + 12, source);
    putNetwork32(ip + 16, destination);
    ip[20] = 8;
    putHost16(ip + 22, internetChecksum(ip + 20, icmpLength));
    putHost16(ip + 10, internetChecksum(ip, 20));
}

} // namespace

uint16_t internetChecksum(void const* bytes, std::size_t length) {
    unsigned char const* at = static_cast<unsigned char const*>(bytes);
    uint64_t sum = 0;
    for (; length >= 2; length -= 2, at += 2)
        sum += host16(at);
    if (length == 1) {
        unsigned char const last[2] = {at[0], 0};
        sum += host16(last);
    }
    while (sum > 0xFFFF)
        sum = (sum >> 16) + (sum & 0xFFFF);
    return static_cast<uint16_t>(~sum);
}

void fillPingRequest(unsigned char* packet, uint32_t source, uint32_t destination,
                     uint16_t identifier, uint16_t sequence) {
    std::memset(packet, 0, kPingRequestLength);
    packet[0] = 0x45;
    putNetwork16(packet + 2, kPingRequestLength);
    packet[8] = 128;
    packet[9] = 1;
    putNetwork32(packet + 12, source);
    putNetwork32(packet + 16, destination);
    packet[20] = 8;
    putNetwork16(packet + 24, identifier);
    putNetwork16(packet + 26, sequence);
}

void fillRawEchoFrame(unsigned char* frame, unsigned char const* destinationHw,
                      unsigned char const* sourceHw, uint32_t source, uint32_t destination,
                      uint16_t identifier, uint16_t sequence) {
    std::memset(frame, 0, kRawEchoFrameLength);
    std::memcpy(frame, destinationHw, kHardwareAddressLength);
    std::memcpy(frame + 6, sourceHw, kHardwareAddressLength);
    putNetwork16(frame + 12, 0x0800);
    unsigned char* const ip = frame + 14;
    putNetwork16(ip + 2, kRawEchoFrameLength - 14);
    putNetwork16(ip + 6, 0x4000);
    putNetwork16(ip + 24, identifier);
    putNetwork16(ip + 26, sequence);
    fillEcho(ip, 8, source, destination, 64);
}

void fillIpEchoPacket(unsigned char* packet, uint32_t source, uint32_t destination,
                      uint16_t identifier, uint16_t sequence) {
    std::memset(packet, 0, kIpEchoPacketLength);
    putHost16(packet + 2, kIpEchoPacketLength);
    putHost16(packet + 24, identifier);
    putHost16(packet + 26, sequence);
    fillEcho(packet, kIpEchoPacketLength - 20, source, destination, 64);
}

bool pingReplyMatches(unsigned char const* packet, std::size_t length, uint16_t identifier,
                      uint16_t sequence) {
    if (length == 0)
        return false;
    std::size_t const icmp = 4u * (packet[0] & 0x0F);
    if (length < icmp + 8)
        return false;
    return network16(packet + icmp + 6) == sequence && network16(packet + icmp + 4) == identifier;
}

bool rawReplyMatches(unsigned char const* frame, std::size_t length,
                     unsigned char const* localHw, unsigned char const* nextHopHw,
                     uint16_t identifier, uint16_t sequence) {
    return length >= kRawEchoFrameLength &&
           std::memcmp(frame, localHw, kHardwareAddressLength) == 0 &&
           std::memcmp(frame + 6, nextHopHw, kHardwareAddressLength) == 0 && frame[23] == 1 &&
           frame[34] == 0 && network16(frame + 40) == sequence &&
           network16(frame + 38) == identifier;
}

bool ipReplyMatches(unsigned char const* packet, std::size_t length, uint16_t identifier,
                    uint16_t sequence) {
    return length >= kIpEchoPacketLength && packet[9] == 1 && packet[20] == 0 &&
           host16(packet + 26) == sequence && host16(packet + 24) == identifier;
}

} // namespace detail
} // namespace orvik
