// The echo packets of the two probes, byte by byte, and the tests that pick their replies
// out of what a socket delivers. No platform calls: the same code runs on every target.
#ifndef ORVIK_UTILITIES_NET_ECHO_PACKET_H
#define ORVIK_UTILITIES_NET_ECHO_PACKET_H

#include <cstddef>
#include <cstdint>

namespace orvik {
namespace detail {

constexpr std::size_t kPingRequestLength = 28;  // IP header and ICMP header, no payload
constexpr std::size_t kRawEchoFrameLength = 42; // Ethernet header in front of the above
constexpr std::size_t kIpEchoPacketLength = 48; // 28 bytes and 20 zero bytes of payload
constexpr std::size_t kHardwareAddressLength = 6;

// The Internet checksum of RFC 1071 over length bytes: 16-bit words in host byte order (a
// last odd byte padded with a zero byte), carries folded back, complemented. Stored in host
// byte order it reads correctly on the wire. The sum is kept wide enough for any length.
// Reads the bytes one by one, so any alignment will do.
uint16_t internetChecksum(void const* bytes, std::size_t length);

// The 28-byte header-included ping request without its two checksums (both fields 0):
// addresses in host byte order, written in network order; TTL 128.
void fillPingRequest(unsigned char* packet, uint32_t source, uint32_t destination,
                     uint16_t identifier, uint16_t sequence);

// The 42-byte Ethernet echo frame with both checksums: don't-fragment, TTL 64, identifier
// and sequence in network order.
void fillRawEchoFrame(unsigned char* frame, unsigned char const* destinationHw,
                      unsigned char const* sourceHw, uint32_t source, uint32_t destination,
                      uint16_t identifier, uint16_t sequence);

// The 48-byte IP echo packet with both checksums: TTL 64, no don't-fragment, and the total
// length, identifier and sequence in host byte order (the kernel rewrites the total length).
void fillIpEchoPacket(unsigned char* packet, uint32_t source, uint32_t destination,
                      uint16_t identifier, uint16_t sequence);

// A ping reply matches when the ICMP header, found after the IP header's own length, holds
// the sequence and then the identifier in network order. A packet too short to hold that
// ICMP header never matches.
bool pingReplyMatches(unsigned char const* packet, std::size_t length, uint16_t identifier,
                      uint16_t sequence);

// A frame answers the Ethernet echo when it is at least 42 bytes, goes from nextHopHw to
// localHw, carries ICMP (20-byte IP header assumed) of type echo reply, and holds the
// sequence and identifier in network order.
bool rawReplyMatches(unsigned char const* frame, std::size_t length, unsigned char const* localHw,
                     unsigned char const* nextHopHw, uint16_t identifier, uint16_t sequence);

// A packet answers the IP echo when it is at least 48 bytes, carries ICMP of type echo
// reply after a 20-byte header, and holds the sequence and identifier in host byte order.
bool ipReplyMatches(unsigned char const* packet, std::size_t length, uint16_t identifier,
                    uint16_t sequence);

} // namespace detail
} // namespace orvik

#endif
