// PingClient without privileges (arguments, polls without a socket, the checksum) and,
// as root, from the device's wan0 (10.0.0.2) to its gateway (10.0.0.1) in the sandbox's
// network.
#include <orvik_utilities/net/PingClient.h>

#include "support/Sandbox.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>

#include <cstdlib>
#include <cstring>

namespace {

using namespace orvik_test;
using Bytes = std::vector<unsigned char>;

// Shows the fields, and counts the virtual calls the sends make.
class ObservedClient : public PingClient {
public:
    int fd() const { return socketFd; }
    uint16_t id() const { return echoId; }
    uint16_t seq() const { return echoSeq; }
    void cleanup() override {
        ++cleanups;
        PingClient::cleanup();
    }
    unsigned short checksum(unsigned short* data, int length) const override {
        ++checksums;
        return PingClient::checksum(data, length);
    }
    int cleanups = 0;
    mutable int checksums = 0;
};

TEST(PingClientTest, FieldsFromRandAndNullArgumentsChangeNothing) {
    std::srand(77);
    uint16_t const id = static_cast<uint16_t>(std::rand());
    uint16_t const seq = static_cast<uint16_t>(std::rand());
    std::srand(77);
    ObservedClient client;
    EXPECT_EQ(client.id(), id);
    EXPECT_EQ(client.seq(), seq);
    EXPECT_EQ(client.fd(), -1);
    EXPECT_EQ(client.checkPingResponse(), 3); // nothing sent yet
    EXPECT_EQ(client.sendSimplePing(nullptr, "10.0.0.1"), 1);
    EXPECT_EQ(client.sendPingFromInterface(nullptr, "lo"), 1);
    EXPECT_EQ(client.sendPingFromInterface("10.0.0.1", nullptr), 1);
    EXPECT_EQ(client.seq(), seq);
    EXPECT_EQ(client.cleanups, 0);
    EXPECT_EQ(client.fd(), -1);
}

TEST(PingClientTest, ChecksumOfAnyLength) {
    PingClient client;
    unsigned short words[4] = {};
    unsigned char const rfc[] = {0x00, 0x01, 0xf2, 0x03, 0xf4, 0xf5, 0xf6, 0xf7};
    std::memcpy(words, rfc, sizeof rfc);
    unsigned short sum = client.checksum(words, 8);
    unsigned char wire[2];
    std::memcpy(wire, &sum, 2);
    EXPECT_EQ(Bytes(wire, wire + 2), (Bytes{0x22, 0x0d}));
    EXPECT_EQ(client.checksum(words, 0), 0xFFFF);
    EXPECT_EQ(client.checksum(words, -5), 0xFFFF);
}

// The device (the test thread's namespace) without a default route, so that an address off
// its subnets has no route; what the gateway receives on gw0 is captured.
class PingClientEnvTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (self.permissionMissing())
            GTEST_SKIP() << "needs root: " << self.error();
        ASSERT_TRUE(self.entered()) << self.error();
        orvik_sandbox::NetworkOptions options;
        options.defaultRoute = false;
        net = std::make_unique<DeviceNetwork>(self, options);
        ASSERT_TRUE(net->ready()) << net->error();
        capture = net->gateway.openCapture("gw0");
        ASSERT_GE(capture, 0) << net->gateway.error();
    }
    ~PingClientEnvTest() override {
        if (capture >= 0)
            close(capture);
    }

    // Waits up to two seconds for a reply to arrive, then polls.
    static int await(ObservedClient& client) {
        orvik_sandbox::readable(client.fd(), 2000);
        return client.checkPingResponse();
    }

    // The one echo request the gateway saw since the last call.
    Bytes request() {
        auto const requests = orvik_sandbox::echoRequests(capture, 1);
        EXPECT_EQ(requests.size(), 1u);
        return requests.empty() ? Bytes() : requests.back();
    }

    NetworkNamespace self;
    std::unique_ptr<DeviceNetwork> net;
    int capture = -1;
};

TEST_F(PingClientEnvTest, RequestsOnTheWireAndTheirReplies) {
    ObservedClient client;
    uint16_t const first = client.seq();
    ASSERT_EQ(client.sendPingFromInterface("10.0.0.1", "wan0"), 0);
    EXPECT_EQ(client.cleanups, 1);
    EXPECT_EQ(client.checksums, 2);
    EXPECT_EQ(await(client), 0);
    Bytes const sent = request();
    ASSERT_EQ(sent.size(), 28u);
    uint16_t const seq = static_cast<uint16_t>(first + 1);
    Bytes const want = {0x45,
                        0,
                        0,
                        28,
                        sent[4],
                        sent[5],
                        sent[6],
                        sent[7],
                        128,
                        1,
                        sent[10],
                        sent[11],
                        10,
                        0,
                        0,
                        2,
                        10,
                        0,
                        0,
                        1,
                        8,
                        0,
                        sent[22],
                        sent[23],
                        static_cast<unsigned char>(client.id() >> 8),
                        static_cast<unsigned char>(client.id()),
                        static_cast<unsigned char>(seq >> 8),
                        static_cast<unsigned char>(seq)};
    EXPECT_EQ(sent, want);
    unsigned short words[4];
    std::memcpy(words, sent.data() + 20, 8);
    EXPECT_EQ(client.checksum(words, 8), 0); // the ICMP checksum holds on the wire
    // The reply was taken; the socket stays open for later polls.
    EXPECT_EQ(client.checkPingResponse(), 2);
    EXPECT_GE(client.fd(), 0);

    // The next request: one more in sequence, same identifier, from a given source.
    ASSERT_EQ(client.sendSimplePing("10.0.0.1", "10.0.0.2"), 0);
    EXPECT_EQ(await(client), 0);
    Bytes const next = request();
    ASSERT_EQ(next.size(), 28u);
    EXPECT_EQ(next[27], static_cast<unsigned char>(seq + 1));
    EXPECT_EQ(Bytes(next.begin() + 24, next.begin() + 26),
              Bytes(want.begin() + 24, want.begin() + 26));

    // The kernel picks the source when none is given.
    ASSERT_EQ(client.sendSimplePing("10.0.0.1", nullptr), 0);
    EXPECT_EQ(await(client), 0);
    Bytes const filled = request();
    ASSERT_EQ(filled.size(), 28u);
    EXPECT_EQ(Bytes(filled.begin() + 12, filled.begin() + 16), (Bytes{10, 0, 0, 2}));
    client.cleanup();
    EXPECT_EQ(client.fd(), -1);
    EXPECT_EQ(client.checkPingResponse(), 3);
}

TEST_F(PingClientEnvTest, UnsentRequestsKeepTheirSocketAndAdvanceTheSequence) {
    ObservedClient client;
    uint16_t const first = client.seq();
    EXPECT_EQ(client.sendSimplePing("%s%n%x", nullptr), 1);
    EXPECT_EQ(client.sendSimplePing("10.0.0.1", "10.0.0.300"), 1);
    EXPECT_EQ(client.sendPingFromInterface("10.0.0.1", "nosuchdevice0"), 1);
    EXPECT_EQ(client.sendPingFromInterface("10.0.0.1", "p0-but-longer-15"), 1);
    EXPECT_EQ(client.seq(), static_cast<uint16_t>(first + 4));
    EXPECT_GE(client.fd(), 0);
    EXPECT_EQ(client.checkPingResponse(), 2);
    // Off the subnet, with no route: the kernel refuses the send.
    EXPECT_EQ(client.sendSimplePing("10.99.0.1", nullptr), 1);
    EXPECT_TRUE(orvik_sandbox::echoRequests(capture).empty());
    // Fifteen characters are the most a name can have, and bind whole.
    ASSERT_TRUE(self.ip("link set wan0 down") && self.ip("link set wan0 name p0-fifteen-char") &&
                self.setUp("p0-fifteen-char"))
        << self.error();
    EXPECT_EQ(client.sendPingFromInterface("10.0.0.1", "p0-fifteen-char"), 0);
    EXPECT_EQ(await(client), 0);
}

TEST_F(PingClientEnvTest, NoReplyFromASilentOrAbsentHost) {
    ASSERT_TRUE(net->gateway.run("echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all"))
        << net->gateway.error();
    ObservedClient client;
    ASSERT_EQ(client.sendPingFromInterface("10.0.0.1", "wan0"), 0);
    EXPECT_EQ(orvik_sandbox::echoRequests(capture, 1).size(), 1u); // it did go out
    EXPECT_FALSE(orvik_sandbox::readable(client.fd(), 300));
    EXPECT_EQ(client.checkPingResponse(), 2);
    ASSERT_EQ(client.sendSimplePing("10.0.0.77", nullptr), 0); // nobody answers its ARP
    EXPECT_FALSE(orvik_sandbox::readable(client.fd(), 300));
    EXPECT_EQ(client.checkPingResponse(), 2);
}

// Replies made by hand in the gateway: the wrong identifier, the previous sequence number,
// then the right one behind four bytes of IP options. Only the last one counts. Each is
// awaited on the client's socket before the poll, so none can arrive late.
TEST_F(PingClientEnvTest, SkipsOtherRepliesAndFollowsTheHeaderLength) {
    ASSERT_TRUE(net->gateway.run("echo 1 > /proc/sys/net/ipv4/icmp_echo_ignore_all"))
        << net->gateway.error();
    ObservedClient client;
    ASSERT_EQ(client.sendPingFromInterface("10.0.0.1", "wan0"), 0);
    // Whole packets with their own header, so the options need no socket option (which
    // the emulator of the device build does not pass on); the kernel fills in the checksum.
    int const sender = net->gateway.openSocket(AF_INET, SOCK_RAW, IPPROTO_RAW);
    ASSERT_GE(sender, 0) << net->gateway.error();
    auto reply = [&](uint16_t id, uint16_t seq, bool options) {
        std::size_t const header = options ? 24 : 20;
        unsigned char packet[32] = {static_cast<unsigned char>(options ? 0x46 : 0x45),
                                    0,
                                    0,
                                    static_cast<unsigned char>(header + 8),
                                    0,
                                    0,
                                    0,
                                    0,
                                    64,
                                    1,
                                    0,
                                    0,
                                    10,
                                    0,
                                    0,
                                    1,
                                    10,
                                    0,
                                    0,
                                    2,
                                    1,
                                    1,
                                    1,
                                    0};
        unsigned char* const icmp = packet + header;
        icmp[4] = static_cast<unsigned char>(id >> 8), icmp[5] = static_cast<unsigned char>(id);
        icmp[6] = static_cast<unsigned char>(seq >> 8), icmp[7] = static_cast<unsigned char>(seq);
        unsigned short words[4];
        std::memcpy(words, icmp, 8);
        unsigned short const sum = client.checksum(words, 8);
        std::memcpy(icmp + 2, &sum, 2);
        sockaddr_in to;
        std::memset(&to, 0, sizeof to);
        to.sin_family = AF_INET;
        to.sin_addr.s_addr = htonl(0x0A000002);
        return sendto(sender, packet, header + 8, 0, reinterpret_cast<sockaddr*>(&to), sizeof to) ==
                   static_cast<ssize_t>(header + 8) &&
               orvik_sandbox::readable(client.fd(), 2000);
    };
    ASSERT_TRUE(reply(static_cast<uint16_t>(client.id() + 1), client.seq(), false));
    EXPECT_EQ(client.checkPingResponse(), 2); // read and dropped
    ASSERT_TRUE(reply(client.id(), static_cast<uint16_t>(client.seq() - 1), false));
    EXPECT_EQ(client.checkPingResponse(), 2);
    ASSERT_TRUE(reply(client.id(), client.seq(), true));
    bool optionsSent = false;
    for (auto const& frame : orvik_sandbox::frames(capture))
        optionsSent = optionsSent || (frame.size() > 14 && frame[14] == 0x46);
    EXPECT_TRUE(optionsSent); // the options really went out
    EXPECT_EQ(client.checkPingResponse(), 0);
    close(sender);
}

} // namespace
