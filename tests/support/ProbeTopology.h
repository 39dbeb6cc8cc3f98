// Shared by the probe tests: hosts in network namespaces joined by veth links, and the
// ICMP echo requests seen on a capture socket.
#ifndef ORVIK_TESTS_SUPPORT_PROBE_TOPOLOGY_H
#define ORVIK_TESTS_SUPPORT_PROBE_TOPOLOGY_H

#include "support/NetworkNamespace.h"
#include "support/PeerNamespace.h"

#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <vector>

namespace orvik_test {

// Links the test's namespace to peer: local ends up in the test's namespace with localCidr
// and localMac, remote in peer with its own.
inline bool link(NetworkNamespace& self, PeerNamespace& peer, std::string const& local,
                 std::string const& localCidr, std::string const& localMac,
                 std::string const& remote, std::string const& remoteCidr,
                 std::string const& remoteMac, std::string* why) {
    bool const ok = self.addVethPair(local, remote) &&
                    self.ip("link set " + local + " address " + localMac) &&
                    self.ip("link set " + remote + " address " + remoteMac) &&
                    self.addAddress(local, localCidr) && self.setUp(local);
    if (!ok) {
        *why = self.reason();
        return false;
    }
    if (!peer.adopt(remote) ||
        !peer.run("ip address add " + remoteCidr + " dev " + remote + " && ip link set " +
                  remote + " up")) {
        *why = peer.reason();
        return false;
    }
    return true;
}

// The frames queued on a capture socket now, whole, oldest first.
inline std::vector<std::vector<unsigned char>> drainFrames(int capture) {
    std::vector<std::vector<unsigned char>> frames;
    unsigned char frame[2048];
    ssize_t got;
    while ((got = recv(capture, frame, sizeof frame, MSG_DONTWAIT)) >= 0)
        frames.emplace_back(frame, frame + got);
    return frames;
}

// Echo requests (ICMP type 8) among Ethernet frames, from their IP header on.
inline std::vector<std::vector<unsigned char>>
echoRequests(std::vector<std::vector<unsigned char>> const& frames) {
    std::vector<std::vector<unsigned char>> requests;
    for (auto const& frame : frames)
        if (frame.size() >= 42 && frame[12] == 0x08 && frame[13] == 0x00 && frame[23] == 1 &&
            frame.size() > 14u + 4u * (frame[14] & 0x0Fu) &&
            frame[14u + 4u * (frame[14] & 0x0Fu)] == 8)
            requests.emplace_back(frame.begin() + 14, frame.end());
    return requests;
}

} // namespace orvik_test

#endif
