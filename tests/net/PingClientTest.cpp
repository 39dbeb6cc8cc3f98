// PingClient and the echo packets of both probes: without privileges over a socket pair the
// test fills; as root, from the device's wan0 (10.0.0.2) to its gateway (10.0.0.1).
#include <orvik_utilities/net/PingClient.h>

#include "net/EchoPacket.h"
#include "net/NetEnv.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

namespace {

using namespace orvik::detail;
using namespace orvik_test;

// RFC 1071's example sums to ddf2; a last odd byte is the high byte of a word; any alignment;
// a sum is stored as it is. The probes' own packets are read on the wire.
TEST(EchoPacketTest, ChecksumAndTheRequestLayout) {
    Bytes ones(40001, 0xFF), rfc = {0, 0x00, 0x01, 0xf2, 0x03, 0xf4, 0xf5, 0xf6, 0xf7};
    EXPECT_EQ(std::vector<int>({internetChecksum(&rfc[1], 8), internetChecksum(&rfc[1], 7),
                                internetChecksum(&rfc[1], 0), internetChecksum(&ones[1], 40000)}),
              std::vector<int>({htons(0x220d), htons(0x2304), 0xffff, 0})); // a second fold
    Bytes ping(kPingRequestLength + 1, 0xAA); // the byte behind it must stay
    fillPingRequest(ping.data(), 0x0A000001, 0xC0A80102, 0x1234, 0xFEDC);
    EXPECT_EQ(hex(ping), "4500001c00000000800100000a000001c0a80102080000001234fedcaa");
}

// A reply test holds on good and a byte more, fails a byte short, and sees exactly read change.
template <typename Matches>
void readsExactly(Bytes good, std::vector<std::size_t> const& read, Matches matches) {
    EXPECT_FALSE(matches(good.data(), good.size() - 1));
    good.push_back(0);
    for (std::size_t i = 0; i <= good.size(); ++i) { // i == size: nothing changed
        Bytes changed = good;
        changed[i % good.size()] ^= i < good.size();
        bool const isRead = std::count(read.begin(), read.end(), i);
        EXPECT_EQ(matches(changed.data(), changed.size()), !isRead) << "byte " << i;
    }
}

TEST(EchoPacketTest, RepliesAreReadAtTheirOwnFields) {
    unsigned char const local[6] = {2, 0, 0, 0, 0, 0x0A}, hop[6] = {2, 0, 0, 0, 0, 0x0B};
    Bytes raw(kRawEchoFrameLength), ip(kIpEchoPacketLength + 1, 0xAA);
    fillRawEchoFrame(raw.data(), local, hop, 0x0A140202, 0x0A140102, 0x1234, 9);
    raw[34] = 0; // echo reply
    readsExactly(raw, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 23, 34, 38, 39, 40, 41},
                 [&](uint8_t const* p, std::size_t n) {
                     return rawReplyMatches(p, n, local, hop, 0x1234, 9);
                 });
    fillIpEchoPacket(ip.data(), 0x0A140202, 0x0A140102, 0x1234, 9);
    EXPECT_EQ(internetChecksum(&ip[20], 28), 0); // not over the byte behind it
    ip.pop_back(), ip[20] = 0;
    readsExactly(ip, {9, 20, 24, 25, 26, 27},
                 [](uint8_t const* p, std::size_t n) { return ipReplyMatches(p, n, 0x1234, 9); });
}

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

Bytes echo(ObservedClient const& client, uint32_t source, unsigned char type, int seqOffset = 0) {
    Bytes packet(kPingRequestLength);
    fillPingRequest(packet.data(), source, 0x0A000001, client.id(),
                    uint16_t(client.seq() + seqOffset));
    packet[20] = type;
    uint16_t const sum = internetChecksum(&packet[20], 8);
    std::memcpy(&packet[22], &sum, 2);
    return packet;
}

// Null arguments change nothing; every datagram queued is read until the reply, found after
// the IP header's own length; empty, short ones and other replies are dropped.
TEST(PingClientTest, NullArgumentsChangeNothingAndPollsReadUntilTheReply) {
    ObservedClient client;
    uint16_t const seq = client.seq();
    EXPECT_EQ(client.sendSimplePing(nullptr, "10.0.0.1") +
                  client.sendPingFromInterface(nullptr, "lo") +
                  client.sendPingFromInterface("10.0.0.1", nullptr),
              3);
    EXPECT_TRUE(client.seq() == seq && client.cleanups == 0 && client.fd() == -1);
    unsigned short words[4] = {0x1234, 0xABCD, 0xFFFF, 0x0F0F};
    EXPECT_TRUE(client.checksum(words, 0) == 0xFFFF && client.checksum(words, -5) == 0xFFFF &&
                client.checksum(words, 7) == internetChecksum(words, 7));
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, pair), 0);
    client.fd() = pair[0];
    Bytes const reply = echo(client, 0x0A000002, 0);
    Bytes withOptions = reply, otherId = reply, cut(reply.begin(), reply.end() - 1);
    withOptions.insert(withOptions.begin() + 20, {1, 1, 1, 0});
    withOptions[0] = 0x46, otherId[25] ^= 1;
    for (Bytes const& datagram :
         {Bytes(), otherId, cut, echo(client, 0x0A000002, 0, -1), withOptions, Bytes(), reply})
        ASSERT_EQ(send(pair[1], datagram.data(), datagram.size(), 0), ssize_t(datagram.size()));
    EXPECT_EQ(client.checkPingResponse(), 0);
    EXPECT_EQ(client.checkPingResponse(), 0);
    EXPECT_EQ(client.checkPingResponse(), 2);
    close(pair[1]);
}

using PingClientEnvTest = NetEnvTest;

TEST_F(PingClientEnvTest, RequestsOnTheWireAndTheirReplies) {
    ObservedClient client;
    // The gateway's one new echo request is the client's, where the kernel fills fields in.
    auto expectRequest = [&](uint32_t source) {
        auto const requests = orvik_sandbox::echoRequests(world->onGateway, 1);
        ASSERT_EQ(requests.size(), 1u);
        std::string want = hex(echo(client, source, 8));
        want.replace(8, 8, 8, '.').replace(20, 4, 4, '.');
        EXPECT_EQ(hex(requests[0], want), want);
    };
    uint16_t const first = client.seq();
    ASSERT_EQ(client.sendPingFromInterface("10.0.0.1", "wan0"), 0);
    EXPECT_TRUE(client.cleanups == 1 && client.checksums == 2);
    EXPECT_TRUE(orvik_sandbox::readable(client.fd(), 2000));
    EXPECT_EQ(client.checkPingResponse(), 0);
    expectRequest(0x0A000002);
    EXPECT_EQ(client.checkPingResponse(), 2); // taken; the socket stays open
    // The kernel picks the source when none is given; a given one goes out as it is.
    ASSERT_EQ(client.sendSimplePing("10.0.0.1", nullptr), 0);
    expectRequest(0x0A000002);
    ASSERT_EQ(client.sendSimplePing("10.0.0.1", "10.0.0.3"), 0);
    expectRequest(0x0A000003);
    // Requests that never leave keep their socket and still advance the sequence.
    EXPECT_EQ(client.sendSimplePing("%s%n%x", nullptr) +
                  client.sendSimplePing("10.0.0.1", "10.0.0.300") +
                  client.sendPingFromInterface("10.0.0.1", "nosuchdevice0") +
                  client.sendSimplePing("10.99.0.1", nullptr), // no route
              4);
    EXPECT_TRUE(client.seq() == uint16_t(first + 7) && client.fd() >= 0);
    EXPECT_EQ(client.checkPingResponse(), 2);
    EXPECT_TRUE(orvik_sandbox::echoRequests(world->onGateway).empty());
    client.cleanup();
    EXPECT_EQ(client.fd() + client.checkPingResponse(), -1 + 3);
}

} // namespace
