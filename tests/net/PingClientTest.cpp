// PingClient without privileges (arguments, the checksum, polls over a socket pair the test
// fills) and, as root, from the device's wan0 (10.0.0.2) to its gateway (10.0.0.1).
#include <orvik_utilities/net/PingClient.h>

#include "net/EchoPacket.h"
#include "net/NetEnv.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

#include <cstdlib>
#include <cstring>

namespace {

using namespace orvik_test;

// Shows the fields, takes a socket the test made, and counts the sends' virtual calls.
struct ObservedClient : PingClient {
    int& fd() { return socketFd; }
    uint16_t id() const { return echoId; }
    uint16_t seq() const { return echoSeq; }
    void cleanup() override { ++cleanups, PingClient::cleanup(); }
    unsigned short checksum(unsigned short* data, int length) const override {
        return ++checksums, PingClient::checksum(data, length);
    }
    int cleanups = 0;
    mutable int checksums = 0;
};

// The client's echo request (type 8) from source, or a reply (type 0) to it.
Bytes echo(ObservedClient const& client, uint32_t source, unsigned char type, int seqOffset = 0) {
    Bytes packet(orvik::detail::kPingRequestLength);
    orvik::detail::fillPingRequest(packet.data(), source, 0x0A000001, client.id(),
                                   uint16_t(client.seq() + seqOffset));
    packet[20] = type;
    uint16_t const sum = orvik::detail::internetChecksum(&packet[20], 8);
    std::memcpy(&packet[22], &sum, 2);
    return packet;
}

TEST(PingClientTest, FieldsFromRandAndNullArgumentsChangeNothing) {
    std::srand(77);
    uint16_t const id = uint16_t(std::rand()), seq = uint16_t(std::rand());
    std::srand(77);
    ObservedClient client;
    EXPECT_TRUE(client.id() == id && client.seq() == seq && client.fd() == -1);
    EXPECT_EQ(client.checkPingResponse(), 3); // nothing sent yet
    EXPECT_EQ(client.sendSimplePing(nullptr, "10.0.0.1") +
                  client.sendPingFromInterface(nullptr, "lo") +
                  client.sendPingFromInterface("10.0.0.1", nullptr),
              3);
    EXPECT_TRUE(client.seq() == seq && client.cleanups == 0 && client.fd() == -1);
    unsigned short words[4] = {0x1234, 0xABCD, 0xFFFF, 0x0F0F};
    EXPECT_TRUE(client.checksum(words, 0) == 0xFFFF && client.checksum(words, -5) == 0xFFFF &&
                client.checksum(words, 7) == orvik::detail::internetChecksum(words, 7));
}

// Every datagram queued is read until the reply, found after the IP header's own length
// (here with four bytes of options); empty ones and other replies are dropped.
TEST(PingClientTest, PollsReadUntilTheReply) {
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, pair), 0);
    ObservedClient client;
    client.fd() = pair[0];
    Bytes withOptions = echo(client, 0x0A000002, 0);
    withOptions.insert(withOptions.begin() + 20, {1, 1, 1, 0});
    withOptions[0] = 0x46;
    Bytes otherId = echo(client, 0x0A000002, 0);
    otherId[25] ^= 1;
    for (Bytes const& datagram : {Bytes(), otherId, echo(client, 0x0A000002, 0, -1), withOptions,
                                  Bytes(), echo(client, 0x0A000002, 0)})
        ASSERT_EQ(send(pair[1], datagram.data(), datagram.size(), 0), ssize_t(datagram.size()));
    EXPECT_EQ(client.checkPingResponse(), 0);
    EXPECT_EQ(client.checkPingResponse(), 0);
    EXPECT_EQ(client.checkPingResponse(), 2);
    close(pair[1]);
}

class PingClientEnvTest : public NetEnvTest {
protected:
    // The one echo request the gateway saw since the last call is the client's own, with
    // the IP identifier, fragment field and header checksum as the kernel fills them in.
    static void expectRequest(ObservedClient const& client, uint32_t source) {
        auto const requests = orvik_sandbox::echoRequests(world->onGateway, 1);
        ASSERT_EQ(requests.size(), 1u);
        std::string want = hex(echo(client, source, 8));
        want.replace(8, 8, 8, '.').replace(20, 4, 4, '.');
        EXPECT_EQ(hex(requests[0], want), want);
    }
};

TEST_F(PingClientEnvTest, RequestsOnTheWireAndTheirReplies) {
    ObservedClient client;
    uint16_t const first = client.seq();
    ASSERT_EQ(client.sendPingFromInterface("10.0.0.1", "wan0"), 0);
    EXPECT_TRUE(client.cleanups == 1 && client.checksums == 2 &&
                client.seq() == uint16_t(first + 1));
    EXPECT_TRUE(orvik_sandbox::readable(client.fd(), 2000));
    EXPECT_EQ(client.checkPingResponse(), 0);
    expectRequest(client, 0x0A000002);
    EXPECT_EQ(client.checkPingResponse(), 2); // taken; the socket stays open
    // The kernel picks the source when none is given; a given one goes out as it is.
    ASSERT_EQ(client.sendSimplePing("10.0.0.1", nullptr), 0);
    expectRequest(client, 0x0A000002);
    ASSERT_EQ(client.sendSimplePing("10.0.0.1", "10.0.0.3"), 0);
    expectRequest(client, 0x0A000003);
    EXPECT_EQ(client.seq(), uint16_t(first + 3));
    client.cleanup();
    EXPECT_EQ(client.fd() + client.checkPingResponse(), -1 + 3);
}

TEST_F(PingClientEnvTest, UnsentRequestsKeepTheirSocketAndAdvanceTheSequence) {
    ObservedClient client;
    uint16_t const first = client.seq();
    EXPECT_EQ(client.sendSimplePing("%s%n%x", nullptr) +
                  client.sendSimplePing("10.0.0.1", "10.0.0.300") +
                  client.sendPingFromInterface("10.0.0.1", "nosuchdevice0") +
                  client.sendPingFromInterface("10.0.0.1", "p0-but-longer-15") +
                  client.sendSimplePing("10.99.0.1", nullptr), // no route
              5);
    EXPECT_EQ(client.seq(), uint16_t(first + 5));
    EXPECT_GE(client.fd(), 0);
    EXPECT_EQ(client.checkPingResponse(), 2);
    EXPECT_TRUE(orvik_sandbox::echoRequests(world->onGateway).empty());
}

} // namespace
