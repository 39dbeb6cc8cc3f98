// The first IPv4 address of a host name or dotted text, through the resolver.
#ifndef ORVIK_UTILITIES_INTERNAL_HOST_LOOKUP_H
#define ORVIK_UTILITIES_INTERNAL_HOST_LOOKUP_H

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdint>
#include <cstring>

namespace orvik {
namespace detail {

// The address in host byte order; false when the name does not resolve to IPv4. Uses the
// resolver's process-wide result, so callers run on one thread at a time.
inline bool lookupIpv4Host(char const* name, uint32_t& address) noexcept {
    hostent const* const host = gethostbyname(name);
    if (host == nullptr || host->h_addrtype != AF_INET || host->h_length != 4 ||
        host->h_addr_list[0] == nullptr)
        return false;
    uint32_t network;
    std::memcpy(&network, host->h_addr_list[0], sizeof network);
    address = ntohl(network);
    return true;
}

} // namespace detail
} // namespace orvik

#endif
