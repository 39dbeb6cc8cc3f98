// The device's network, built in the calling thread's network namespace:
//
//   wan0 10.0.0.2/24 ---- gw0 10.0.0.1/24  gateway  gw1 192.0.2.254/24 ---- far0 192.0.2.1/24
//   lan0 192.168.1.1/24 ---- pc0 192.168.1.2/24  (a host on the local network)
//
// The gateway answers ARP and ping and forwards; the far host routes back through it. Each
// host is a PeerHost, so the whole network dies with the process that built it.
#ifndef ORVIK_SANDBOX_KIT_DEVICE_NETWORK_H
#define ORVIK_SANDBOX_KIT_DEVICE_NETWORK_H

#include "Namespaces.h"

#include <memory>
#include <string>

namespace orvik_sandbox {

struct NetworkOptions {
    bool wanCarrier = true; // false: the gateway's end of the wan0 link stays down
    bool lanCarrier = true;
    bool defaultRoute = true; // the device's default route via the gateway
    int lossPercent = 0;      // netem on both ends of the wan0 link
    int delayMs = 0;
};

constexpr char kWanMac[] = "02:00:00:00:00:02";
constexpr char kGatewayMac[] = "02:00:00:00:00:01";

class DeviceNetwork {
public:
    // Builds everything; ready() false and error() say what failed.
    DeviceNetwork(NetworkNamespace& device, NetworkOptions const& options);
    bool ready() const { return problem.empty(); }
    std::string const& error() const { return problem; }

    PeerHost gateway;
    PeerHost far;
    PeerHost pc;

private:
    // A veth pair: local (in the device, with its address) and remote moved into peer.
    bool link(std::string const& local, std::string const& localCidr, std::string const& localMac,
              PeerHost& peer, std::string const& remote, std::string const& remoteCidr,
              std::string const& remoteMac, bool remoteUp);

    NetworkNamespace& device;
    std::string problem;
};

// The netem arguments for a loss and delay ("" when both are 0).
std::string netemArguments(int lossPercent, int delayMs);

} // namespace orvik_sandbox

#endif
