// The probes' packets byte by byte, their reply tests and the ARP line reader: no sockets,
// so they run on every target.
#include "net/EchoPacket.h"

#include "net/ArpLine.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using namespace orvik::detail;
using Bytes = std::vector<unsigned char>;

// The checksum as it lands in the packet: host order in memory, so network order on the wire.
Bytes stored(uint16_t sum) {
    Bytes bytes(2);
    std::memcpy(bytes.data(), &sum, 2);
    return bytes;
}

TEST(EchoPacketTest, ChecksumIsTheOnesComplementSumInWireOrder) {
    // RFC 1071's example: the words 0001 f203 f4f5 f6f7 sum to ddf2 (carry folded).
    unsigned char const rfc[] = {0x00, 0x01, 0xf2, 0x03, 0xf4, 0xf5, 0xf6, 0xf7};
    EXPECT_EQ(stored(internetChecksum(rfc, 8)), (Bytes{0x22, 0x0d}));
    // A last odd byte counts as the high byte of a word on the wire.
    EXPECT_EQ(stored(internetChecksum(rfc, 7)), (Bytes{0x23, 0x04}));
    EXPECT_EQ(internetChecksum(rfc, 0), 0xFFFF);
    // Carries that need the second fold, and any alignment.
    Bytes ones(40001, 0xFF);
    EXPECT_EQ(stored(internetChecksum(ones.data() + 1, 40000)), (Bytes{0, 0}));
    EXPECT_EQ(stored(internetChecksum(ones.data() + 1, 3)), (Bytes{0x00, 0xFF}));
}

TEST(EchoPacketTest, PingRequestLayout) {
    unsigned char packet[kPingRequestLength + 1];
    std::memset(packet, 0xAA, sizeof packet);
    fillPingRequest(packet, 0x0A000001, 0xC0A80102, 0x1234, 0xFEDC);
    Bytes const expected = {0x45, 0,   0,   28, 0, 0, 0, 0, 128, 1,    0,    0,    10,   0,   0,
                            1,    192, 168, 1,  2, 8, 0, 0, 0,   0x12, 0x34, 0xFE, 0xDC, 0xAA};
    EXPECT_EQ(Bytes(packet, packet + sizeof packet), expected);
}

TEST(EchoPacketTest, RawEchoFrameLayoutAndChecksums) {
    unsigned char const to[6] = {2, 0, 0, 0, 0, 0x0B};
    unsigned char const from[6] = {2, 0, 0, 0, 0, 0x0A};
    unsigned char frame[kRawEchoFrameLength + 1];
    std::memset(frame, 0xAA, sizeof frame);
    fillRawEchoFrame(frame, to, from, 0x0A140102, 0x0A140202, 0xBEEF, 0x0102);
    Bytes const expected = {2, 0, 0, 0, 0, 0x0B, 2, 0, 0, 0, 0, 0x0A, 0x08, 0x00,
                            // IP: DF, TTL 64, ICMP; checksum below
                            0x45, 0, 0, 28, 0, 0, 0x40, 0, 64, 1, 0x23, 0xb6, 10, 20, 1, 2, 10, 20,
                            2, 2,
                            // ICMP echo request, network order
                            8, 0, 0x38, 0x0e, 0xBE, 0xEF, 0x01, 0x02, 0xAA};
    EXPECT_EQ(Bytes(frame, frame + sizeof frame), expected);
    EXPECT_EQ(internetChecksum(frame + 14, 20), 0);
    EXPECT_EQ(internetChecksum(frame + 34, 8), 0);
}

TEST(EchoPacketTest, IpEchoPacketKeepsHostOrderFields) {
    unsigned char packet[kIpEchoPacketLength + 1];
    std::memset(packet, 0xAA, sizeof packet);
    fillIpEchoPacket(packet, 0x0A140102, 0x0A140202, 0xBEEF, 0x0102);
    Bytes expected(kIpEchoPacketLength + 1, 0);
    unsigned char const head[] = {0x45, 0,  0,  0, 0, 0,  0,  0, 64, 1, 0,
                                  0,    10, 20, 1, 2, 10, 20, 2, 2,  8, 0};
    std::memcpy(expected.data(), head, sizeof head);
    uint16_t const length = 48, id = 0xBEEF, seq = 0x0102;
    std::memcpy(&expected[2], &length, 2);
    std::memcpy(&expected[24], &id, 2);
    std::memcpy(&expected[26], &seq, 2);
    std::memcpy(&expected[10], &packet[10], 2);
    std::memcpy(&expected[22], &packet[22], 2);
    expected[48] = 0xAA;
    EXPECT_EQ(Bytes(packet, packet + sizeof packet), expected);
    EXPECT_EQ(internetChecksum(packet, 20), 0);
    EXPECT_EQ(internetChecksum(packet + 20, 28), 0);
}

TEST(EchoPacketTest, PingReplyFoundAfterTheHeaderLength) {
    // Reply with 4 bytes of IP options: ICMP at 24.
    Bytes reply(32, 0);
    reply[0] = 0x46;
    reply[28] = 0x12, reply[29] = 0x34, reply[30] = 0x00, reply[31] = 0x07;
    EXPECT_TRUE(pingReplyMatches(reply.data(), 32, 0x1234, 7));
    EXPECT_FALSE(pingReplyMatches(reply.data(), 32, 0x1234, 6)); // an older request
    EXPECT_FALSE(pingReplyMatches(reply.data(), 32, 0x1235, 7));
    EXPECT_FALSE(pingReplyMatches(reply.data(), 32, 0x3412, 0x0700)); // network order
    EXPECT_FALSE(pingReplyMatches(reply.data(), 31, 0x1234, 7));      // cut short
    EXPECT_FALSE(pingReplyMatches(reply.data(), 0, 0, 0));
    reply[0] = 0x45; // read at 20 now
    EXPECT_FALSE(pingReplyMatches(reply.data(), 32, 0x1234, 7));
    reply[0] = 0x4F; // header of 60 bytes in a 32-byte packet
    EXPECT_FALSE(pingReplyMatches(reply.data(), 32, 0, 0));
}

TEST(EchoPacketTest, RawReplyNeedsEveryField) {
    unsigned char const local[6] = {2, 0, 0, 0, 0, 0x0A};
    unsigned char const hop[6] = {2, 0, 0, 0, 0, 0x0B};
    unsigned char good[kRawEchoFrameLength];
    fillRawEchoFrame(good, local, hop, 0x0A140202, 0x0A140102, 0x1234, 9);
    good[34] = 0; // echo reply
    EXPECT_TRUE(rawReplyMatches(good, 42, local, hop, 0x1234, 9));
    EXPECT_FALSE(rawReplyMatches(good, 41, local, hop, 0x1234, 9));
    EXPECT_FALSE(rawReplyMatches(good, 42, hop, hop, 0x1234, 9));
    EXPECT_FALSE(rawReplyMatches(good, 42, local, local, 0x1234, 9));
    EXPECT_FALSE(rawReplyMatches(good, 42, local, hop, 0x1234, 8));
    EXPECT_FALSE(rawReplyMatches(good, 42, local, hop, 0x1235, 9));
    for (std::size_t at : {std::size_t(5), std::size_t(11), std::size_t(23), std::size_t(34)}) {
        unsigned char bad[kRawEchoFrameLength];
        std::memcpy(bad, good, sizeof bad);
        bad[at] ^= 0x10;
        EXPECT_FALSE(rawReplyMatches(bad, 42, local, hop, 0x1234, 9)) << at;
    }
}

TEST(EchoPacketTest, IpReplyInHostOrder) {
    unsigned char good[kIpEchoPacketLength];
    fillIpEchoPacket(good, 0x0A140202, 0x0A140102, 0x1234, 9);
    good[20] = 0;
    EXPECT_TRUE(ipReplyMatches(good, 48, 0x1234, 9));
    EXPECT_FALSE(ipReplyMatches(good, 47, 0x1234, 9));
    EXPECT_FALSE(ipReplyMatches(good, 48, 0x1234, 8));
    EXPECT_FALSE(ipReplyMatches(good, 48, 0x1233, 9));
    good[9] = 6;
    EXPECT_FALSE(ipReplyMatches(good, 48, 0x1234, 9));
    good[9] = 1;
    good[20] = 8; // our own request
    EXPECT_FALSE(ipReplyMatches(good, 48, 0x1234, 9));
}

TEST(ArpLineTest, CompleteEntriesOfTheNextHopOnly) {
    struct {
        char const* line;
        bool found;
    } const rows[] = {
        {"10.0.0.1     0x1  0x2  02:42:ac:11:00:0b  *  eth0\n", true},
        {"10.0.0.1 0x1 0x6 02:42:ac:11:00:0b * eth0", true}, // permanent, no newline
        {"10.0.0.1 0x1 2 2:42:AC:11:0:b", true},             // decimal flags, short octets
        {"10.0.0.1\t0x1\t0x2\t02:42:ac:11:00:0b", true},
        {"10.0.0.1 0x1 0x0 00:00:00:00:00:00 * eth0", false}, // incomplete
        {"10.0.0.1 0x1 0x4 02:42:ac:11:00:0b * eth0", false}, // no complete bit
        {"10.0.0.1 0x1 0x2", false},                          // three fields
        {"10.0.0.1 0x1 0x2 02:42:ac:11:00", false},           // five octets
        {"10.0.0.1 0x1 0x2 02-42-ac-11-00-0b", false},
        {"10.0.0.2 0x1 0x2 02:42:ac:11:00:0b", false},
        {" 10.0.0.1 0x1 0x2 02:42:ac:11:00:0b", false}, // must start the line
        {"", false},
    };
    for (auto const& row : rows) {
        unsigned char hw[6] = {9, 9, 9, 9, 9, 9};
        EXPECT_EQ(arpLineHardwareAddress(row.line, "10.0.0.1", hw), row.found) << row.line;
        Bytes const want = row.found ? Bytes{2, 0x42, 0xac, 0x11, 0, 0x0b} : Bytes(6, 9);
        EXPECT_EQ(Bytes(hw, hw + 6), want) << row.line;
    }
    unsigned char hw[6];
    // The table is searched by prefix, as the text is compared over its own length.
    EXPECT_TRUE(arpLineHardwareAddress("10.0.0.12 0x1 0x2 02:00:00:00:00:01", "10.0.0.1", hw));
    // Fields over 63 characters are refused whole, not split.
    std::string const longField = std::string(64, '0') + "2";
    EXPECT_FALSE(arpLineHardwareAddress(
        ("10.0.0.1 0x1 " + longField + " 02:00:00:00:00:01").c_str(), "10.0.0.1", hw));
    std::string const longest = std::string(62, '0') + "2";
    EXPECT_TRUE(arpLineHardwareAddress(("10.0.0.1 0x1 " + longest + " 02:00:00:00:00:01").c_str(),
                                       "10.0.0.1", hw));
    EXPECT_FALSE(arpLineHardwareAddress(nullptr, "10.0.0.1", hw));
    EXPECT_FALSE(arpLineHardwareAddress("10.0.0.1 0x1 0x2 02:00:00:00:00:01", nullptr, hw));
}

} // namespace
