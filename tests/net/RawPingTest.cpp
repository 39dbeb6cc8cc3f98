// rawping against hosts in network namespaces joined by veth links, every log line read by
// a /dev/log receiver in a private mount namespace. Needs root; skips otherwise.
//
// IP path:        prober p0 10.40.0.1/24 -- t0 10.40.0.2/24 target
// Ethernet path:  prober p0 10.50.1.2/24 -- r0 10.50.1.1/24 router r1 10.50.2.1/24
//                 -- t0 10.50.2.2/24 target (default route via the router); the prober has
//                 no route to 10.50.2.0/24 at all.
#include <orvik_utilities/net/RawPing.h>

#include "support/ProbeTopology.h"
#include "support/MountNamespace.h"
#include "support/SyslogReceiver.h"

#include <gtest/gtest.h>

#include <syslog.h>
#include <sys/time.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

namespace {

using namespace orvik_test;
using Bytes = std::vector<unsigned char>;
using Lines = std::vector<std::string>;

class RawPingEnvTest : public MountNamespaceTest {
protected:
    void prepare() override {
        syslogd = std::make_unique<SyslogReceiver>(*ns);
        ASSERT_TRUE(syslogd->ready());
        // A connection to an earlier test's receiver would be stale; the process id marks
        // the lines as this program's.
        closelog();
        openlog("probe-test", LOG_PID, LOG_USER);
        self = std::make_unique<NetworkNamespace>();
        ASSERT_TRUE(self->entered()) << self->reason();
    }
    void TearDown() override {
        closelog();
        for (int fd : captures)
            close(fd);
    }

    // The lines logged since the last call; each must be one LOG_ERR line of this process.
    Lines logged() {
        Lines lines;
        for (SyslogMessage const& message : syslogd->drain()) {
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

    PeerNamespace& peer() {
        peers.push_back(std::make_unique<PeerNamespace>());
        EXPECT_TRUE(peers.back()->ready()) << peers.back()->reason();
        return *peers.back();
    }

    int capture(PeerNamespace& in, char const* interface) {
        int const fd = in.openCapture(interface);
        EXPECT_GE(fd, 0) << in.reason();
        captures.push_back(fd);
        return fd;
    }

    void ipTopology() {
        target = &peer();
        std::string why;
        ASSERT_TRUE(link(*self, *target, "p0", "10.40.0.1/24", "02:00:00:00:40:01", "t0",
                         "10.40.0.2/24", "02:00:00:00:40:02", &why))
            << why;
        onTarget = capture(*target, "t0");
    }

    void ethernetTopology() {
        router = &peer();
        target = &peer();
        std::string why;
        ASSERT_TRUE(link(*self, *router, "p0", "10.50.1.2/24", "02:00:00:00:50:02", "r0",
                         "10.50.1.1/24", "02:00:00:00:50:01", &why))
            << why;
        ASSERT_TRUE(self->addVethPair("r1", "t0")) << self->reason();
        ASSERT_TRUE(router->adopt("r1") && target->adopt("t0")) << router->reason() << target->reason();
        ASSERT_TRUE(router->run("ip address add 10.50.2.1/24 dev r1 && ip link set r1 up && "
                                "echo 1 > /proc/sys/net/ipv4/ip_forward"))
            << router->reason();
        ASSERT_TRUE(target->run("ip address add 10.50.2.2/24 dev t0 && ip link set t0 up && "
                                "ip route add default via 10.50.2.1"))
            << target->reason();
        onRouter = capture(*router, "r0");
        onTarget = capture(*target, "t0");
    }

    std::unique_ptr<SyslogReceiver> syslogd;
    std::unique_ptr<NetworkNamespace> self;
    std::vector<std::unique_ptr<PeerNamespace>> peers;
    std::vector<int> captures;
    PeerNamespace* router = nullptr;
    PeerNamespace* target = nullptr;
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
    ASSERT_TRUE(self->addAddress("lo", "127.0.0.1/8") && self->setUp("lo")) << self->reason();
    EXPECT_EQ(probe("lo", "10.1.2.3", "%n%n", &took), 0);
    EXPECT_EQ(logged(), Lines{"invalid gateway '%n%n'"});
}

TEST_F(RawPingEnvTest, IpPathAnswersAndCarriesItsHostOrderFields) {
    ipTopology();
    double took;
    // No gateway, then a gateway on the target's own subnet: both take the IP path.
    EXPECT_EQ(probe("p0", "10.40.0.2", nullptr, &took), 1);
    EXPECT_EQ(probe("p0", "10.40.0.2", "10.40.0.254", &took), 1);
    EXPECT_LT(took, 2.0);
    EXPECT_EQ(logged(), (Lines{"packet transmitted for 10.40.0.2 (48 bytes)",
                               "packet transmitted for 10.40.0.2 (48 bytes)"}));
    auto const requests = echoRequests(drainFrames(onTarget));
    ASSERT_EQ(requests.size(), 2u);
    for (Bytes const& sent : requests) {
        ASSERT_EQ(sent.size(), 48u);
        EXPECT_EQ(Bytes(sent.begin(), sent.begin() + 4), (Bytes{0x45, 0, 0, 48}));
        EXPECT_EQ(sent[6], 0); // no don't-fragment
        EXPECT_EQ(sent[8], 64);
        EXPECT_EQ(Bytes(sent.begin() + 12, sent.begin() + 20), (Bytes{10, 40, 0, 1, 10, 40, 0, 2}));
        EXPECT_EQ(host16(sent, 26), 1); // each call starts its own sequence
        EXPECT_EQ(Bytes(sent.begin() + 28, sent.end()), Bytes(20, 0));
    }
}

TEST_F(RawPingEnvTest, IpPathWithoutReplyOrRoute) {
    ipTopology();
    ASSERT_TRUE(target->run("echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all")) << target->reason();
    double took;
    EXPECT_EQ(probe("p0", "10.40.0.2", nullptr, &took), 0);
    EXPECT_GT(took, 2.3);
    EXPECT_LT(took, 3.5);
    // Off the subnet without a gateway: still the IP path, where the bound socket takes the
    // target for a neighbour on p0 that never answers.
    EXPECT_EQ(probe("p0", "10.99.0.1", "", &took), 0);
    EXPECT_EQ(logged(), (Lines{"packet transmitted for 10.40.0.2 (48 bytes)",
                               "received no valid reply from 10.40.0.2",
                               "packet transmitted for 10.99.0.1 (48 bytes)",
                               "received no valid reply from 10.99.0.1"}));
    // Nothing is left open.
    EXPECT_EQ(probe("p0", "10.40.0.2", nullptr, &took), 0);
    std::ifstream raw("/proc/net/raw");
    std::string text((std::istreambuf_iterator<char>(raw)), std::istreambuf_iterator<char>());
    EXPECT_EQ(text.find("\n"), text.rfind("\n")) << text; // the heading only
}

TEST_F(RawPingEnvTest, EthernetPathThroughAKnownGateway) {
    ethernetTopology();
    ASSERT_TRUE(self->ip("neigh replace 10.50.1.1 lladdr 02:00:00:00:50:01 dev p0 nud permanent"))
        << self->reason();
    double took;
    EXPECT_EQ(probe("p0", "10.50.2.2", "10.50.1.1", &took), 1);
    EXPECT_LT(took, 2.0);
    EXPECT_EQ(logged(), Lines()); // a success says nothing
    auto const atRouter = echoRequests(drainFrames(onRouter));
    auto const atTarget = echoRequests(drainFrames(onTarget));
    ASSERT_EQ(atRouter.size(), 1u);
    ASSERT_EQ(atTarget.size(), 1u);
    Bytes const& sent = atRouter[0];
    ASSERT_EQ(sent.size(), 28u);
    EXPECT_EQ(Bytes(sent.begin(), sent.begin() + 10),
              (Bytes{0x45, 0, 0, 28, 0, 0, 0x40, 0, 64, 1}));
    EXPECT_EQ(Bytes(sent.begin() + 12, sent.begin() + 20), (Bytes{10, 50, 1, 2, 10, 50, 2, 2}));
    EXPECT_EQ(Bytes(sent.begin() + 26, sent.end()), (Bytes{0, 1})); // network order
    EXPECT_EQ(atTarget[0][8], 63); // forwarded once
}

TEST_F(RawPingEnvTest, EthernetPathQueriesAMissingGatewayFirst) {
    ethernetTopology();
    double took;
    EXPECT_EQ(probe("p0", "10.50.2.2", "10.50.1.1", &took), 1);
    EXPECT_EQ(logged(), Lines{"packet transmitted for 10.50.1.1 (48 bytes)"});
    auto const atRouter = echoRequests(drainFrames(onRouter));
    ASSERT_EQ(atRouter.size(), 2u);
    // The query exchange to the gateway, then the probe to the target.
    EXPECT_EQ(Bytes(atRouter[0].begin() + 16, atRouter[0].begin() + 20), (Bytes{10, 50, 1, 1}));
    EXPECT_EQ(host16(atRouter[0], 26), 1);
    EXPECT_EQ(Bytes(atRouter[1].begin() + 16, atRouter[1].begin() + 20), (Bytes{10, 50, 2, 2}));
    EXPECT_EQ(Bytes(atRouter[1].begin() + 26, atRouter[1].begin() + 28), (Bytes{0, 1}));
}

TEST_F(RawPingEnvTest, EthernetPathFailures) {
    ethernetTopology();
    ASSERT_TRUE(self->ip("neigh replace 10.50.1.1 lladdr 02:00:00:00:50:01 dev p0 nud permanent"))
        << self->reason();
    ASSERT_TRUE(self->ip("neigh add 10.50.1.9 dev p0 nud incomplete")) << self->reason();
    ASSERT_TRUE(target->run("echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all")) << target->reason();
    double took;
    EXPECT_EQ(probe("p0", "10.50.2.2", "10.50.1.1", &took), 0);
    EXPECT_GT(took, 2.3);
    EXPECT_EQ(logged(), Lines{"received no valid reply from 10.50.2.2"});
    // An incomplete entry is never used: the query exchange runs and finds no answer.
    EXPECT_EQ(probe("p0", "10.50.2.2", "10.50.1.9", &took), 0);
    EXPECT_EQ(logged(), (Lines{"packet transmitted for 10.50.1.9 (48 bytes)",
                               "received no valid reply from 10.50.1.9",
                               "can't resolve HW address for 10.50.1.9 -> send query"}));
    EXPECT_TRUE(echoRequests(drainFrames(onTarget)).size() == 1u);
    // The Ethernet path's packet address holds 13 characters of a name.
    ASSERT_TRUE(self->ip("link set p0 name p0-fourteen-ch")) << self->reason();
    EXPECT_EQ(probe("p0-fourteen-ch", "10.50.2.2", "10.50.1.1", &took), 0);
    EXPECT_EQ(logged(), Lines{"device name too long: p0-fourteen-ch"});
}

} // namespace
