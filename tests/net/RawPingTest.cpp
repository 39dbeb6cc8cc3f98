// rawping from the device's wan0 (10.0.0.2) in the sandbox's network, every log line read
// by a /dev/log receiver in a private mount namespace. Needs root; skips otherwise.
//
// IP path:        the gateway 10.0.0.1 is the target.
// Ethernet path:  the far host 192.0.2.1 behind the gateway; the device has no default
//                 route, so no route to 192.0.2.0/24 at all.
#include <orvik_utilities/net/RawPing.h>

#include "support/Sandbox.h"

#include <gtest/gtest.h>

#include <sys/time.h>
#include <syslog.h>

#include <cstring>
#include <fstream>
#include <memory>

namespace {

using namespace orvik_test;
using orvik_sandbox::echoRequests;
using Bytes = std::vector<unsigned char>;
using Lines = std::vector<std::string>;

class RawPingEnvTest : public MountNamespaceTest {
protected:
    void prepare() override {
        std::string why;
        ASSERT_TRUE(orvik_sandbox::serveSyslog(*ns, syslogd, &why)) << why;
        // A connection to an earlier test's receiver would be stale; the process id marks
        // the lines as this program's.
        closelog();
        openlog("probe-test", LOG_PID, LOG_USER);
        self = std::make_unique<NetworkNamespace>();
        ASSERT_TRUE(self->entered()) << self->error();
    }
    void TearDown() override {
        closelog();
        for (int fd : {onRouter, onTarget})
            if (fd >= 0)
                close(fd);
    }

    // The lines logged since the last call (sent before rawping returned, so all queued);
    // each must be one LOG_ERR line of this process.
    Lines logged() {
        Lines lines;
        for (Datagram const& datagram : syslogd.drain()) {
            orvik_sandbox::SyslogLine const message = orvik_sandbox::parseSyslog(datagram.bytes);
            EXPECT_EQ(message.priority, LOG_ERR) << message.raw;
            EXPECT_EQ(message.ident, "probe-test") << message.raw;
            EXPECT_EQ(message.pid, static_cast<long>(getpid())) << message.raw;
            EXPECT_EQ(message.raw.back(), '\n') << message.raw;
            lines.push_back(message.text);
        }
        return lines;
    }

    // rawping, with its result and how long it took in seconds.
    int probe(char const* device, char const* host, char const* gateway, double* seconds) {
        timeval start, end;
        gettimeofday(&start, nullptr);
        int const result = rawping(device, host, gateway);
        gettimeofday(&end, nullptr);
        *seconds = static_cast<double>(end.tv_sec - start.tv_sec) +
                   static_cast<double>(end.tv_usec - start.tv_usec) / 1e6;
        return result;
    }

    // The device's network; the gateway's and the far host's interfaces captured.
    void network() {
        orvik_sandbox::NetworkOptions options;
        options.defaultRoute = false;
        net = std::make_unique<DeviceNetwork>(*self, options);
        ASSERT_TRUE(net->ready()) << net->error();
        onRouter = net->gateway.openCapture("gw0");
        onTarget = net->far.openCapture("far0");
        ASSERT_TRUE(onRouter >= 0 && onTarget >= 0) << net->gateway.error() << net->far.error();
    }
    void knownGateway() {
        ASSERT_TRUE(self->ip("neigh replace 10.0.0.1 lladdr " +
                             std::string(orvik_sandbox::kGatewayMac) + " dev wan0 nud permanent"))
            << self->error();
    }

    DatagramSocket syslogd;
    std::unique_ptr<NetworkNamespace> self;
    std::unique_ptr<DeviceNetwork> net;
    int onRouter = -1;
    int onTarget = -1;
};

uint16_t host16(Bytes const& bytes, std::size_t at) {
    uint16_t value;
    std::memcpy(&value, &bytes[at], 2);
    return value;
}

TEST_F(RawPingEnvTest, ArgumentsRefusedBeforeAnyInterfaceQuery) {
    double took;
    for (char const* empty : {static_cast<char const*>(nullptr), ""}) {
        EXPECT_EQ(probe(empty, "127.0.0.1", nullptr, &took), 0);
        EXPECT_EQ(probe("lo", empty, nullptr, &took), 0);
    }
    EXPECT_EQ(logged(), Lines());
    // Texts of the caller are arguments of the log lines, never their format.
    EXPECT_EQ(probe("lo", "%s%n%x", nullptr, &took), 0);
    EXPECT_EQ(probe("nosuch0", "10.1.2.3", "%n%n", &took), 0);
    EXPECT_EQ(probe("nosuch0", "10.1.2.3", nullptr, &took), 0);
    EXPECT_EQ(probe("lo", "10.1.2.3", "%n%n", &took), 0);
    EXPECT_EQ(probe("a-name-of-16-ch", "10.1.2.3", nullptr, &took), 0);
    EXPECT_EQ(probe("a-name-of-16-chr", "10.1.2.3", nullptr, &took), 0);
    EXPECT_EQ(logged(), (Lines{"invalid target '%s%n%x'",
                               "can't get interface address of nosuch0: No such device",
                               "can't get interface address of nosuch0: No such device",
                               "can't get interface address of lo: Cannot assign requested address",
                               "can't get interface address of a-name-of-16-ch: No such device",
                               "device name too long: a-name-of-16-chr"}));
    ASSERT_TRUE(self->addAddress("lo", "127.0.0.1/8") && self->setUp("lo")) << self->error();
    EXPECT_EQ(probe("lo", "10.1.2.3", "%n%n", &took), 0);
    EXPECT_EQ(logged(), Lines{"invalid gateway '%n%n'"});
}

TEST_F(RawPingEnvTest, IpPathAnswersAndCarriesItsHostOrderFields) {
    network();
    double took;
    // No gateway, then a gateway on the target's own subnet: both take the IP path.
    EXPECT_EQ(probe("wan0", "10.0.0.1", nullptr, &took), 1);
    EXPECT_EQ(probe("wan0", "10.0.0.1", "10.0.0.254", &took), 1);
    EXPECT_LT(took, 2.0);
    EXPECT_EQ(logged(), (Lines{"packet transmitted for 10.0.0.1 (48 bytes)",
                               "packet transmitted for 10.0.0.1 (48 bytes)"}));
    auto const requests = echoRequests(onRouter, 2);
    ASSERT_EQ(requests.size(), 2u);
    for (Bytes const& sent : requests) {
        ASSERT_EQ(sent.size(), 48u);
        EXPECT_EQ(Bytes(sent.begin(), sent.begin() + 4), (Bytes{0x45, 0, 0, 48}));
        EXPECT_EQ(sent[6], 0); // no don't-fragment
        EXPECT_EQ(sent[8], 64);
        EXPECT_EQ(Bytes(sent.begin() + 12, sent.begin() + 20), (Bytes{10, 0, 0, 2, 10, 0, 0, 1}));
        EXPECT_EQ(host16(sent, 26), 1); // each call starts its own sequence
        EXPECT_EQ(Bytes(sent.begin() + 28, sent.end()), Bytes(20, 0));
    }
}

TEST_F(RawPingEnvTest, IpPathWithoutReplyOrRoute) {
    network();
    ASSERT_TRUE(net->gateway.run("echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all"))
        << net->gateway.error();
    double took;
    EXPECT_EQ(probe("wan0", "10.0.0.1", nullptr, &took), 0);
    EXPECT_GT(took, 2.3);
    EXPECT_LT(took, 3.5);
    // Off the subnet without a gateway: still the IP path, where the bound socket takes the
    // target for a neighbour on wan0 that never answers.
    EXPECT_EQ(probe("wan0", "10.99.0.1", "", &took), 0);
    EXPECT_EQ(logged(), (Lines{"packet transmitted for 10.0.0.1 (48 bytes)",
                               "received no valid reply from 10.0.0.1",
                               "packet transmitted for 10.99.0.1 (48 bytes)",
                               "received no valid reply from 10.99.0.1"}));
    // Nothing is left open.
    EXPECT_EQ(probe("wan0", "10.0.0.1", nullptr, &took), 0);
    std::ifstream raw("/proc/net/raw");
    std::string text((std::istreambuf_iterator<char>(raw)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text.find("\n"), text.rfind("\n")) << text; // the heading only
}

TEST_F(RawPingEnvTest, EthernetPathThroughAKnownGateway) {
    network();
    knownGateway();
    double took;
    EXPECT_EQ(probe("wan0", "192.0.2.1", "10.0.0.1", &took), 1);
    EXPECT_LT(took, 2.0);
    EXPECT_EQ(logged(), Lines()); // a success says nothing
    auto const atRouter = echoRequests(onRouter, 1);
    auto const atTarget = echoRequests(onTarget, 1);
    ASSERT_EQ(atRouter.size(), 1u);
    ASSERT_EQ(atTarget.size(), 1u);
    Bytes const& sent = atRouter[0];
    ASSERT_EQ(sent.size(), 28u);
    EXPECT_EQ(Bytes(sent.begin(), sent.begin() + 10),
              (Bytes{0x45, 0, 0, 28, 0, 0, 0x40, 0, 64, 1}));
    EXPECT_EQ(Bytes(sent.begin() + 12, sent.begin() + 20), (Bytes{10, 0, 0, 2, 192, 0, 2, 1}));
    EXPECT_EQ(Bytes(sent.begin() + 26, sent.end()), (Bytes{0, 1})); // network order
    EXPECT_EQ(atTarget[0][8], 63);                                  // forwarded once
}

TEST_F(RawPingEnvTest, EthernetPathQueriesAMissingGatewayFirst) {
    network();
    double took;
    EXPECT_EQ(probe("wan0", "192.0.2.1", "10.0.0.1", &took), 1);
    EXPECT_EQ(logged(), Lines{"packet transmitted for 10.0.0.1 (48 bytes)"});
    auto const atRouter = echoRequests(onRouter, 2);
    ASSERT_EQ(atRouter.size(), 2u);
    // The query exchange to the gateway, then the probe to the target.
    EXPECT_EQ(Bytes(atRouter[0].begin() + 16, atRouter[0].begin() + 20), (Bytes{10, 0, 0, 1}));
    EXPECT_EQ(host16(atRouter[0], 26), 1);
    EXPECT_EQ(Bytes(atRouter[1].begin() + 16, atRouter[1].begin() + 20), (Bytes{192, 0, 2, 1}));
    EXPECT_EQ(Bytes(atRouter[1].begin() + 26, atRouter[1].begin() + 28), (Bytes{0, 1}));
}

TEST_F(RawPingEnvTest, EthernetPathFailures) {
    network();
    knownGateway();
    ASSERT_TRUE(self->ip("neigh add 10.0.0.9 dev wan0 nud incomplete")) << self->error();
    ASSERT_TRUE(net->far.run("echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all"))
        << net->far.error();
    double took;
    EXPECT_EQ(probe("wan0", "192.0.2.1", "10.0.0.1", &took), 0);
    EXPECT_GT(took, 2.3);
    EXPECT_EQ(logged(), Lines{"received no valid reply from 192.0.2.1"});
    // An incomplete entry is never used: the query exchange runs and finds no answer.
    EXPECT_EQ(probe("wan0", "192.0.2.1", "10.0.0.9", &took), 0);
    EXPECT_EQ(logged(), (Lines{"packet transmitted for 10.0.0.9 (48 bytes)",
                               "received no valid reply from 10.0.0.9",
                               "can't resolve HW address for 10.0.0.9 -> send query"}));
    EXPECT_EQ(echoRequests(onTarget).size(), 1u);
    // The Ethernet path's packet address holds 13 characters of a name.
    ASSERT_TRUE(self->ip("link set wan0 name p0-fourteen-ch")) << self->error();
    EXPECT_EQ(probe("p0-fourteen-ch", "192.0.2.1", "10.0.0.1", &took), 0);
    EXPECT_EQ(logged(), Lines{"device name too long: p0-fourteen-ch"});
}

} // namespace
