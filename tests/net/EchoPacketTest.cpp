// The probes' packets byte by byte and the tests for their replies: no sockets, so they run
// on every target.
#include "net/EchoPacket.h"

#include "net/NetEnv.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

namespace {

using namespace orvik::detail;
using orvik_test::Bytes;
using orvik_test::hex;

// RFC 1071 read literally, as the bytes that go on the wire: big-endian words, a last odd
// byte as a high byte, each carry added back at once.
Bytes wireSum(unsigned char const* data, std::size_t length) {
    uint32_t sum = 0;
    for (std::size_t i = 0; i < length; ++i)
        sum = (sum + (i % 2 ? data[i] : uint32_t(data[i]) << 8)),
        sum = (sum & 0xFFFF) + (sum >> 16);
    return {uint8_t(~sum >> 8), uint8_t(~sum)};
}

// The checksum as it lands in a packet: host order in memory, so network order on the wire.
Bytes stored(uint16_t sum) {
    return {reinterpret_cast<uint8_t*>(&sum), reinterpret_cast<uint8_t*>(&sum) + 2};
}

TEST(EchoPacketTest, ChecksumAgreesWithTheRfcAtAnyLengthAndAlignment) {
    EXPECT_EQ(hex(wireSum(reinterpret_cast<uint8_t const*>("\x00\x01\xf2\x03\xf4\xf5\xf6\xf7"), 8)),
              "220d"); // RFC 1071's example sums to ddf2
    std::mt19937 rng(3);
    Bytes data(40002);
    for (auto& byte : data)
        byte = rng() % 3 ? 0xFF : uint8_t(rng()); // long runs of ones carry often
    for (std::size_t length : {0u, 1u, 2u, 3u, 7u, 8u, 20u, 28u, 1001u, 40000u})
        for (std::size_t at : {0u, 1u})
            EXPECT_EQ(stored(internetChecksum(&data[at], length)), wireSum(&data[at], length));
    std::fill(data.begin(), data.end(), 0xFF); // the sum needs a second fold
    EXPECT_EQ(hex(stored(internetChecksum(&data[1], 40000))), "0000");
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
    EXPECT_EQ(hex(wireSum(&ip[0], 20)) + hex(wireSum(&ip[20], 28)), "00000000");
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

} // namespace
