// PingClient and the echo packets of both probes. Without privileges: the packets byte by
// byte, the reply tests, arguments, polls over a socket pair the test fills; as root, from
// the device's wan0 (10.0.0.2) to its gateway (10.0.0.1).
#include <orvik_utilities/net/PingClient.h>

#include "net/EchoPacket.h"
#include "net/NetEnv.h"

#include <gtest/gtest.h>

#include <sys/socket.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

using namespace orvik::detail;
using namespace orvik_test;

// The checksum as it lands in a packet: host order in memory, so network order on the wire.
std::string stored(uint16_t sum) {
    return hex(Bytes{reinterpret_cast<uint8_t*>(&sum), reinterpret_cast<uint8_t*>(&sum) + 2});
}

// RFC 1071's example sums to ddf2; a last odd byte is the high byte of a word; any alignment.
TEST(EchoPacketTest, ChecksumIsTheOnesComplementSumInWireOrder) {
    Bytes ones(40001, 0xFF), rfc = {0, 0x00, 0x01, 0xf2, 0x03, 0xf4, 0xf5, 0xf6, 0xf7};
    EXPECT_EQ(stored(internetChecksum(&rfc[1], 8)) + stored(internetChecksum(&rfc[1], 7)) +
                  stored(internetChecksum(&rfc[1], 0)) + stored(internetChecksum(&ones[1], 40000)),
              "220d"
              "2304"
              "ffff"
              "0000"); // the last needs a second fold
}

// Each layout with a sentinel byte behind it that must stay.
TEST(EchoPacketTest, LayoutsOfTheThreePackets) {
    unsigned char const to[6] = {2, 0, 0, 0, 0, 0x0B}, from[6] = {2, 0, 0, 0, 0, 0x0A};
    Bytes ping(kPingRequestLength + 1, 0xAA), raw(kRawEchoFrameLength + 1, 0xAA);
    Bytes ip(kIpEchoPacketLength + 1, 0xAA);
    fillPingRequest(ping.data(), 0x0A000001, 0xC0A80102, 0x1234, 0xFEDC);
    EXPECT_EQ(hex(ping), "4500001c00000000800100000a000001c0a80102080000001234fedcaa");
    fillRawEchoFrame(raw.data(), to, from, 0x0A140102, 0x0A140202, 0xBEEF, 0x0102);
    EXPECT_EQ(hex(raw), "02000000000b02000000000a0800" // DF, TTL 64, network order
                        "4500001c00004000400123b60a1401020a140202"
                        "0800380ebeef0102aa");
    fillIpEchoPacket(ip.data(), 0x0A140102, 0x0A140202, 0xBEEF, 0x0102);
    std::string const pattern = "45003000000000004001....0a1401020a140202" // no DF; host order
                                "0800....efbe0201" +
                                std::string(40, '0') + "aa";
    EXPECT_EQ(hex(ip, pattern), pattern);
    EXPECT_EQ(internetChecksum(&ip[0], 20) + internetChecksum(&ip[20], 28), 0);
}

// A reply test holds on good, also with a byte more; it fails a byte short, and whenever one
// of the bytes in read changes, and holds when any other byte does.
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
    for (std::size_t header : {20u, 24u}) { // ICMP after the header's own length
        Bytes reply(header + 8, 0);
        reply[0] = uint8_t(0x40 | header / 4);
        std::copy_n("\x12\x34\x00\x07", 4, &reply[header + 4]); // network order
        readsExactly(
            reply, {0, header + 4, header + 5, header + 6, header + 7},
            [](uint8_t const* p, std::size_t n) { return pingReplyMatches(p, n, 0x1234, 7); });
    }
    Bytes longHeader = {0x4F, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_FALSE(pingReplyMatches(longHeader.data(), 8, 0, 0) ||
                 pingReplyMatches(nullptr, 0, 0, 0));

    unsigned char const local[6] = {2, 0, 0, 0, 0, 0x0A}, hop[6] = {2, 0, 0, 0, 0, 0x0B};
    Bytes raw(kRawEchoFrameLength), ip(kIpEchoPacketLength);
    fillRawEchoFrame(raw.data(), local, hop, 0x0A140202, 0x0A140102, 0x1234, 9);
    raw[34] = 0; // echo reply
    readsExactly(raw, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 23, 34, 38, 39, 40, 41},
                 [&](uint8_t const* p, std::size_t n) {
                     return rawReplyMatches(p, n, local, hop, 0x1234, 9);
                 });
    fillIpEchoPacket(ip.data(), 0x0A140202, 0x0A140102, 0x1234, 9);
    ip[20] = 0;
    readsExactly(ip, {9, 20, 24, 25, 26, 27},
                 [](uint8_t const* p, std::size_t n) { return ipReplyMatches(p, n, 0x1234, 9); });
}

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
    Bytes packet(kPingRequestLength);
    fillPingRequest(packet.data(), source, 0x0A000001, client.id(),
                    uint16_t(client.seq() + seqOffset));
    packet[20] = type;
    uint16_t const sum = internetChecksum(&packet[20], 8);
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
                client.checksum(words, 7) == internetChecksum(words, 7));
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
