// Packets as hex, and the probes' world, built once per suite: /dev/log served, the sandbox's
// network without a default route (wan0 10.0.0.2, gateway 10.0.0.1, far 192.0.2.1), captured.
#ifndef ORVIK_TESTS_NET_NET_ENV_H
#define ORVIK_TESTS_NET_NET_ENV_H

#include "support/Sandbox.h"

#include <gtest/gtest.h>

#include <syslog.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

namespace orvik_test {

using Bytes = std::vector<unsigned char>;

// The bytes in hex; where pattern has a '.', the digit shows as '.' (what the kernel fills
// in), so that EXPECT_EQ(hex(b, p), p) shows the whole difference.
inline std::string hex(Bytes const& bytes, std::string const& pattern = "") {
    std::string text;
    for (unsigned char byte : bytes)
        text += {"0123456789abcdef"[byte >> 4], "0123456789abcdef"[byte & 15]};
    for (std::size_t i = 0; i < text.size() && i < pattern.size(); ++i)
        text[i] = pattern[i] == '.' ? '.' : text[i];
    return text;
}

class NetEnvTest : public ::testing::Test {
protected:
    struct World {
        MountNamespace mounts; // entered first and left last
        DatagramSocket syslogd;
        NetworkNamespace device;
        std::unique_ptr<DeviceNetwork> net;
        int onGateway = -1, onFar = -1;
        ~World() { close(onGateway), close(onFar), closelog(); }
    };

    // Each test starts with nothing queued, answering hosts and no neighbour entries on either
    // side of wan0: the gateway's own probes would bring an earlier test's entry back.
    void SetUp() override {
        std::string why;
        if (!world && (world = std::make_unique<World>())->device.entered() &&
            serveSyslog(world->mounts, world->syslogd, &why)) {
            closelog(); // the process id marks the lines as this program's
            openlog("probe-test", LOG_PID, LOG_USER);
            orvik_sandbox::NetworkOptions options;
            options.defaultRoute = false;
            world->net = std::make_unique<DeviceNetwork>(world->device, options);
            why = world->net->error();
            world->onGateway = world->net->gateway.openCapture("gw0");
            world->onFar = world->net->far.openCapture("far0");
        }
        if (world->mounts.permissionMissing() || world->device.permissionMissing())
            GTEST_SKIP() << "needs root: " << world->mounts.error() << world->device.error();
        ASSERT_TRUE(world->net && world->net->ready() && world->onGateway >= 0 &&
                    world->onFar >= 0 && world->device.ip("neigh flush dev wan0 nud all") &&
                    world->net->gateway.run("ip neigh flush dev gw0 nud all") &&
                    silence(world->net->gateway, false) && silence(world->net->far, false))
            << why << world->mounts.error() << world->device.error();
        orvik_sandbox::frames(world->onGateway), orvik_sandbox::frames(world->onFar);
        world->syslogd.drain();
    }
    static void TearDownTestSuite() { world.reset(); }

    static bool silence(PeerHost& host, bool on) {
        return host.run(std::string("echo ") + (on ? "1" : "0") +
                        " > /proc/sys/net/ipv4/icmp_echo_ignore_all");
    }

    static std::unique_ptr<World> world;
};

inline std::unique_ptr<NetEnvTest::World> NetEnvTest::world;

} // namespace orvik_test

#endif
