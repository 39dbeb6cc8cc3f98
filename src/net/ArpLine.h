// One line of the kernel's ARP table ("/proc/net/arp"), read for a next hop's hardware
// address. No platform calls.
#ifndef ORVIK_UTILITIES_NET_ARP_LINE_H
#define ORVIK_UTILITIES_NET_ARP_LINE_H

#include <cstdint>

namespace orvik {
namespace detail {

// The longest line and field the kernel writes are far shorter; a line or field past these
// is not the kernel's and is never used.
constexpr unsigned kArpLineLimit = 254;
constexpr unsigned kArpFieldLimit = 63;

// True, with the six octets in hardware, when line starts with nextHop (compared over
// nextHop's length, as the table is searched), its first four whitespace-separated fields
// (address, hardware type, flags, hardware address) are all there and none is longer than
// 63 characters, the flags (strtoul, base 0) have bit 0x2 (complete) set, and the hardware
// address reads as six "%02x" octets joined by ':'. Otherwise false, hardware untouched.
// Null arguments give false.
bool arpLineHardwareAddress(char const* line, char const* nextHop, unsigned char* hardware);

} // namespace detail
} // namespace orvik

#endif
