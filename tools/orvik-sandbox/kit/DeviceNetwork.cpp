#include "DeviceNetwork.h"

namespace orvik_sandbox {

std::string netemArguments(int lossPercent, int delayMs) {
    std::string arguments;
    if (lossPercent > 0)
        arguments += " loss " + std::to_string(lossPercent) + "%";
    if (delayMs > 0)
        arguments += " delay " + std::to_string(delayMs) + "ms";
    return arguments;
}

bool DeviceNetwork::link(std::string const& local, std::string const& localCidr,
                         std::string const& localMac, PeerHost& peer, std::string const& remote,
                         std::string const& remoteCidr, std::string const& remoteMac,
                         bool remoteUp) {
    if (!device.ip("link add " + local + " address " + localMac + " type veth peer name " + remote +
                   " address " + remoteMac) ||
        !device.ip("address add " + localCidr + " dev " + local) ||
        !device.ip("link set " + local + " up")) {
        problem = device.error();
        return false;
    }
    if (!peer.ready() || !peer.adopt(remote) ||
        !peer.run("ip address add " + remoteCidr + " dev " + remote +
                  (remoteUp ? " && ip link set " + remote + " up" : ""))) {
        problem = peer.ready() ? peer.error() : "peer host: " + peer.error();
        return false;
    }
    return true;
}

DeviceNetwork::DeviceNetwork(NetworkNamespace& inside, NetworkOptions const& options)
    : device(inside) {
    if (!device.entered()) {
        problem = device.error();
        return;
    }
    std::string const netem = netemArguments(options.lossPercent, options.delayMs);
    bool const built =
        device.ip("link set lo up") &&
        link("wan0", "10.0.0.2/24", kWanMac, gateway, "gw0", "10.0.0.1/24", kGatewayMac,
             options.wanCarrier) &&
        gateway.run("ip link set lo up && echo 1 > /proc/sys/net/ipv4/ip_forward && "
                    "ip link add gw1 address 02:00:00:00:02:fe type veth peer name far0 "
                    "address 02:00:00:00:02:01 && ip link set far0 netns " +
                    std::to_string(far.pid()) +
                    " && ip address add 192.0.2.254/24 dev gw1 && ip link set gw1 up") &&
        far.run("ip address add 192.0.2.1/24 dev far0 && ip link set far0 up && "
                "ip link set lo up && ip route add default via 192.0.2.254") &&
        link("lan0", "192.168.1.1/24", "02:00:00:00:01:01", pc, "pc0", "192.168.1.2/24",
             "02:00:00:00:01:02", options.lanCarrier) &&
        (!options.defaultRoute || device.ip("route add default via 10.0.0.1 dev wan0")) &&
        (netem.empty() || (shell("tc qdisc add dev wan0 root netem" + netem, &problem) &&
                           gateway.run("tc qdisc add dev gw0 root netem" + netem)));
    // Links come up a moment after their peers; what follows expects them up.
    if (built && options.wanCarrier && !awaitCarrier("wan0", 5000))
        problem = "wan0 has no carrier";
    if (built && !far.awaitCarrier("far0", 5000))
        problem = "the far host's link has no carrier";
    if (built && options.lanCarrier && !awaitCarrier("lan0", 5000))
        problem = "lan0 has no carrier";
    if (!built && problem.empty())
        for (std::string const* why :
             {&device.error(), &gateway.error(), &far.error(), &pc.error()})
            if (problem.empty())
                problem = *why;
}

} // namespace orvik_sandbox
