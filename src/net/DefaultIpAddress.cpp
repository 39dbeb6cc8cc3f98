// The machine's default address: the interface scan, the only platform code of IpAddress.
#include <orvik_utilities/net/IpAddress.h>

#include "internal/Descriptor.h"
#include "internal/InterfaceName.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cstring>

void GET_DEFAULT_IP_ADDRESS(IpAddress& out) {
    // Only a handle for the interface requests; a failed socket fails the first request.
    orvik::detail::Descriptor const handle = orvik::detail::openSocket(AF_INET, SOCK_STREAM, 0);
    bool found = false;
    for (int index = 1; index > 0; ++index) {
        ifreq request;
        orvik::detail::fillInterfaceRequest(request, index);
        if (ioctl(handle.get(), SIOCGIFNAME, &request) != 0)
            break;
        if (ioctl(handle.get(), SIOCGIFADDR, &request) != 0)
            continue;
        // The word straight from the reply, instead of a detour through inet_ntoa's
        // static text and the parser: the same address, and nothing shared.
        sockaddr_in address;
        std::memcpy(&address, &request.ifr_addr, sizeof address);
        if (address.sin_family != AF_INET)
            continue;
        out.setV4IpAddrAsBinaryUInt32(ntohl(address.sin_addr.s_addr));
        found = true;
    }
    if (!found)
        out.setV4IpAddrAsBinaryUInt32(IpAddress::ipv4Loopback);
}
