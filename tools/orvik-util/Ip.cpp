// ip: one IPv4 address and mask, taken apart by IpAddress.
#include <orvik_utilities/net/IpAddress.h>

#include "Tool.h"

#include <cstdio>
#include <cstring>

namespace {

char const* yesNo(bool value) { return value ? "yes" : "no"; }

char addressClass(IpAddress const& address) {
    if (address.isV4ClassA())
        return 'A';
    if (address.isV4ClassB())
        return 'B';
    if (address.isV4ClassC())
        return 'C';
    if (address.isV4ClassD())
        return 'D';
    return address.isV4ClassE() ? 'E' : '-';
}

// "A/24" and "A/255.255.255.0" both go to the library: the first form in one text, the
// second as address and mask.
IpAddress parse(char const* text) {
    char const* slash = std::strchr(text, '/');
    if (slash == nullptr || std::strchr(slash, '.') == nullptr)
        return IpAddress(String(text));
    return IpAddress(String(text, 0, static_cast<long>(slash - text)), String(slash + 1));
}

} // namespace

int runIp(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--default") == 0) {
        IpAddress address;
        GET_DEFAULT_IP_ADDRESS(address);
        String text;
        std::printf("default: %s\n", address.getIpAddrAsString(text).buffer());
        return tool::kOk;
    }
    if (argc != 2)
        return tool::usage("ip", "needs one ADDRESS[/PREFIX|/MASK] or --default");
    IpAddress address = parse(argv[1]);
    if (address.isEmpty())
        return tool::usage("ip",
                           "'%s' is not a dotted IPv4 address with an optional /PREFIX "
                           "(0-32) or /MASK",
                           argv[1]);

    uint32_t mask = static_cast<uint32_t>(address.getV4NetMaskAsBinaryUInt32());
    uint32_t network = static_cast<uint32_t>(address.getV4NetAddrAsBinaryUInt32());
    String text;
    std::printf("address: %s\n", address.getIpAddrAsString(text).buffer());
    std::printf("mask: %s\n", address.getNetMaskAsString(text).buffer());
    std::printf("prefix: %lu\n", address.getNetMaskSize());
    std::printf("network: %s\n", address.getNetAddressAsString(text).buffer());
    std::printf("broadcast: %s\n", tool::dotted(network | ~mask).buffer());
    std::printf("class: %c\n", addressClass(address));
    std::printf("class-abc: %s\n", yesNo(address.isV4ClassABC()));
    std::printf("loopback: %s\n", yesNo(address.isLoopback()));
    std::printf("local-group: %s\n", yesNo(address.isLocalGroup()));
    std::printf("host: %s\n", yesNo(address.isHostType()));
    std::printf("default-route: %s\n", yesNo(address.isDefGwType()));
    std::printf("network-type: %s\n", yesNo(address.isNetType()));
    std::printf("interface: %s\n", yesNo(address.isIfaceType()));
    std::printf("limited-broadcast: %s\n", yesNo(address.isLimBcType()));
    std::printf("directed-broadcast: %s\n", yesNo(address.isDirBcType()));
    std::printf("valid: %s\n", yesNo(address.isValidAddress()));
    return tool::kOk;
}
