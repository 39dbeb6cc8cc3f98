// Does a host answer an ICMP echo sent out through one named interface, through a named
// gateway when it is off that interface's subnet, whatever the routing table says?
#ifndef ORVIK_UTILITIES_NET_RAW_PING_H
#define ORVIK_UTILITIES_NET_RAW_PING_H

/// @file

#include <orvik_utilities/export.h>

/// 1 when the matching echo reply arrived within five polls 0.5 s apart, else 0. device and
/// target (host name or dotted text, first IPv4 address) must be non-empty; gateway (dotted
/// text, looked up in "/proc/net/arp") may be null or empty. With a gateway and a target
/// off device's subnet an Ethernet frame goes straight to the gateway's hardware address
/// (first sending an IP echo to the gateway when the ARP table lacks it, so that the kernel
/// resolves it); otherwise an IP packet goes out on a raw socket bound to device. Needs
/// CAP_NET_RAW; takes up to about 2.5 s, 5 s with the gateway query.
///
/// Problems go to syslog at LOG_ERR, one line each; the caller's texts are only ever
/// arguments there, never formats. A device name the kernel interfaces cannot hold whole
/// (over 15 characters; over 13 for the Ethernet path) is refused with "device name too
/// long: %s" and 0, rather than cut to what may be another interface's name. ARP table
/// lines over 254 characters, and lines with a field over 63, are skipped whole.
///
/// Not reentrant: the dotted texts of the log lines come from a four-slot process-wide ring.
/// Every socket is closed before it returns.
ORVIK_API int rawping(char const* device, char const* target, char const* gateway);

#endif
