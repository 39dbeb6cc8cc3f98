// State of the device's network interfaces: presence, up/down, carrier, IPv4 address and
// mask, transmit queue length, and whether an uplink is active.
#ifndef ORVIK_UTILITIES_SYSTEM_IP_INTERFACE_STATUS_H
#define ORVIK_UTILITIES_SYSTEM_IP_INTERFACE_STATUS_H

/// @file

#include <orvik_utilities/export.h>

/// Holds nothing and caches nothing: every call is one short exchange with the kernel, so
/// any thread may use any object. Failures of every kind (no such interface, no socket, a
/// refused request, an unreadable file) give false or 0; an address or mask of 0 therefore
/// looks like a failed query.
///
/// Interface names: a null name is refused. A name is copied into the kernel request's
/// 16-byte name field, which holds 15 characters and the terminator; a name of 16 or more
/// characters cannot name an interface there (the kernel would cut it and could act on a
/// different interface), so it is refused before anything is copied, as is a name holding
/// a '/' (no interface has one, and it would lead the carrier path out of /sys/class/net).
/// isInterfaceAvailable is a substring search and takes any non-null text.
///
/// IPv4 addresses and masks are in host byte order, the first dotted octet most
/// significant.
class ORVIK_API IpInterfaceStatus {
public:
    /// Holds nothing.
    IpInterfaceStatus();
    /// Virtual, for derived classes.
    virtual ~IpInterfaceStatus();

    /// True when some interface's name contains name (so "eth" matches eth0, "h0" too).
    virtual bool isInterfaceAvailable(char const* name) const;
    /// The interface's up flag.
    virtual bool isInterfaceUp(char const* name) const;
    /// True when "/sys/class/net/<name>/carrier" reads a line starting with '1'; an
    /// interface that is down reports nothing there, which counts as no carrier.
    virtual bool isInterfaceLinkUp(char const* name) const;
    /// up == 1 adds the up and running flags, any other value clears both; the other flags
    /// are written back as read.
    virtual bool setInterfaceUp(char const* name, int up) const;
    /// The interface's IPv4 address; 0 when it has none or the query fails.
    virtual unsigned int getIpV4Address(char const* name) const;
    /// Sets the interface's IPv4 address (needs CAP_NET_ADMIN); true when the kernel took it.
    virtual bool setIpV4Address(char const* name, unsigned int address);
    /// The interface's IPv4 mask; 0 when it has none or the query fails.
    virtual unsigned int getIpV4Mask(char const* name) const;
    /// Sets the interface's IPv4 mask (needs CAP_NET_ADMIN); true when the kernel took it.
    virtual bool setIpV4Mask(char const* name, unsigned int mask);
    /// True exactly when "/tmp/status/linkGroupManager/hotLink.0/name" can be opened for
    /// reading; its content does not matter.
    virtual bool haveNetworkConnectivity();
    /// Lengths above 2^31 - 1 are refused (the request carries a signed int, and the kernel
    /// refuses negative lengths anyway).
    virtual bool setTxQueueLen(char const* name, unsigned int length);
};

#endif
