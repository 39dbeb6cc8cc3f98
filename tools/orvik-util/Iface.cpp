// iface: state of one network interface, or one change to it, through IpInterfaceStatus.
#include <orvik_utilities/net/IpAddress.h>
#include <orvik_utilities/system/IpInterfaceStatus.h>

#include "Tool.h"

#include <net/if.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

// The library sets no queue-length reader; the kernel publishes it here.
constexpr char const* kTxQueueLenFormat = "/sys/class/net/%s/tx_queue_len";

long txQueueLength(char const* name) {
    char path[96];
    std::snprintf(path, sizeof path, kTxQueueLenFormat, name);
    std::FILE* file = std::fopen(path, "r");
    long length = -1;
    if (file != nullptr) {
        if (std::fscanf(file, "%ld", &length) != 1)
            length = -1;
        std::fclose(file);
    }
    return length;
}

int show(IpInterfaceStatus& status, char const* name) {
    unsigned int address = status.getIpV4Address(name);
    unsigned int mask = status.getIpV4Mask(name);
    std::printf("name: %s\n", name);
    std::printf("state: %s\n", status.isInterfaceUp(name) ? "up" : "down");
    std::printf("carrier: %s\n", status.isInterfaceLinkUp(name) ? "yes" : "no");
    std::printf("address: %s\n", address != 0 ? tool::dotted(address).buffer() : "none");
    std::printf("mask: %s\n", mask != 0 ? tool::dotted(mask).buffer() : "none");
    long queue = txQueueLength(name);
    if (queue >= 0)
        std::printf("queue length: %ld\n", queue);
    else
        std::printf("queue length: unknown\n");
    std::printf("uplink: %s\n", status.haveNetworkConnectivity() ? "active" : "none");
    return tool::kOk;
}

int refused(char const* what, char const* name) {
    int error = errno;
    if (error == EPERM || error == EACCES)
        return tool::fail(tool::kFailed, "cannot %s %s: %s: run as root or grant CAP_NET_ADMIN",
                          what, name, std::strerror(error));
    return tool::fail(tool::kFailed, "cannot %s %s: %s", what, name,
                      error != 0 ? std::strerror(error) : "refused");
}

} // namespace

int runIface(int argc, char** argv) {
    if (argc < 2)
        return tool::usage("iface", "needs an interface NAME");
    char const* name = argv[1];
    if (std::strlen(name) >= IF_NAMESIZE || std::strchr(name, '/') != nullptr)
        return tool::usage("iface",
                           "'%s' cannot be an interface name (at most %d characters, "
                           "no '/')",
                           name, IF_NAMESIZE - 1);
    if (if_nametoindex(name) == 0)
        return tool::fail(tool::kFailed, "no interface '%s': list them with 'ip link'", name);
    IpInterfaceStatus status;
    if (argc == 2)
        return show(status, name);

    char const* action = argv[2];
    bool toggle = std::strcmp(action, "up") == 0 || std::strcmp(action, "down") == 0;
    if ((toggle && argc != 3) || (!toggle && argc != 4))
        return tool::usage("iface", "needs one of: up, down, addr A, mask M, txqlen N");
    errno = 0;
    if (toggle) {
        if (!status.setInterfaceUp(name, action[0] == 'u' ? 1 : 0))
            return refused(action[0] == 'u' ? "bring up" : "bring down", name);
        return tool::kOk;
    }
    char const* value = argv[3];
    if (std::strcmp(action, "addr") == 0) {
        IpAddress address{String(value)};
        if (address.isEmpty() || std::strchr(value, '/') != nullptr)
            return tool::usage("iface", "'%s' is not a dotted IPv4 address", value);
        if (!status.setIpV4Address(name,
                                   static_cast<unsigned int>(address.getV4IpAddrAsBinaryUInt32())))
            return refused("set the address of", name);
        return tool::kOk;
    }
    if (std::strcmp(action, "mask") == 0) {
        IpAddress mask;
        if (mask.setNetMaskAsString(String(value)) != 0)
            return tool::usage("iface", "'%s' is not a net mask such as 255.255.255.0", value);
        if (!status.setIpV4Mask(name, static_cast<unsigned int>(mask.getV4NetMaskAsBinaryUInt32())))
            return refused("set the mask of", name);
        return tool::kOk;
    }
    if (std::strcmp(action, "txqlen") == 0) {
        int32_t length = 0;
        if (!tool::parseInt(value, 0, INT32_MAX, length))
            return tool::usage("iface", "queue length '%s' is not a number from 0", value);
        if (!status.setTxQueueLen(name, static_cast<unsigned int>(length)))
            return refused("set the queue length of", name);
        return tool::kOk;
    }
    return tool::usage("iface", "unknown action '%s': up, down, addr, mask or txqlen", action);
}
