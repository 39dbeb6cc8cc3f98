// The machine's default address: the interface scan, the only platform code of IpAddress.
#include <orvik_utilities/net/IpAddress.h>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>

void GET_DEFAULT_IP_ADDRESS(IpAddress& out) {
    // Only a handle for the interface requests; a failed socket fails the first request.
    int const handle = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bool found = false;
    for (int index = 1; index > 0; ++index) {
        ifreq request;
        std::memset(&request, 0, sizeof request);
        request.ifr_ifindex = index;
        if (ioctl(handle, SIOCGIFNAME, &request) != 0)
            break;
        if (ioctl(handle, SIOCGIFADDR, &request) != 0)
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
    if (handle >= 0)
        close(handle);
}
