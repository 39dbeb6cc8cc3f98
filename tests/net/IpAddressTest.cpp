// IpAddress against independent readings (the C library's grammar, bit tricks, 64-bit
// arithmetic); GET_DEFAULT_IP_ADDRESS in network namespaces the test makes.
#include <orvik_utilities/net/IpAddress.h>

#include "support/Sandbox.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

std::string printed(IpAddress const& ip) {
    String a("junk"), n, m;
    return std::string(ip.getIpAddrAsString(a).buffer()) + " " +
           ip.getNetAddressAsString(n).buffer() + " " + ip.getNetMaskAsString(m).buffer();
}

uint32_t maskOf(int size) { return uint32_t(~uint64_t{0} << (32 - size)); }
bool isRun(uint32_t w) { return (~w & (~w + 1)) == 0; } // ~w is 0...01...1
unsigned long leadingOnes(uint32_t w) { return ~w == 0 ? 32 : unsigned(__builtin_clz(~w)); }

// The C library's strict dotted quad (octets up to 255, no leading zero), then a prefix
// read the same way up to 32.
bool referenceParse(std::string const& t, uint32_t& word, int& prefix) {
    std::size_t const slash = t.find('/');
    std::string const p = slash == std::string::npos ? "0" : t.substr(slash + 1);
    in_addr quad;
    if (t.find('\0') != std::string::npos || p.empty() || p.size() > 2 ||
        (p.size() > 1 && p[0] == '0') || p.find_first_not_of("0123456789") != std::string::npos ||
        inet_pton(AF_INET, t.substr(0, slash).c_str(), &quad) != 1)
        return false;
    word = ntohl(quad.s_addr);
    prefix = slash == std::string::npos ? -1 : std::stoi(p);
    return prefix <= 32;
}

// Both text setters and the text constructors on t; a refused text changes nothing.
void checkText(std::string const& t) {
    SCOPED_TRACE(t);
    String s;
    s.concat(t.data(), long(t.size()));
    uint32_t word = 0;
    int prefix = -1;
    bool const ok = referenceParse(t, word, prefix);
    bool const mask = ok && prefix < 0 && isRun(word);
    IpAddress ip(0x01020304u, 0xFFFF0000u), m(ip);
    ASSERT_EQ(ip.setIpAddrAsString(s), ok ? 0 : -1);
    EXPECT_TRUE(ip == (ok ? IpAddress(word, prefix < 0 ? 0xFFFF0000u : maskOf(prefix)) : m));
    ASSERT_EQ(m.setNetMaskAsString(s), mask ? 0 : -1);
    EXPECT_EQ(m.getV4NetMaskAsBinaryUInt32(), mask ? word : 0xFFFF0000u);
    EXPECT_EQ(IpAddress(s, String("255.0.0.0")).isEmpty(), !ok);
    EXPECT_EQ(IpAddress(String("10.0.0.1"), s).isEmpty(), !mask);
    unsigned long size = 99, held = 99;
    if (ok && prefix < 0) { // the word as a mask, also with bits above the low 32
        EXPECT_TRUE(IpAddress::s_isV4MaskValid(word, size) == mask && size == leadingOnes(word) &&
                    ip.setV4NetMaskAsBinaryUInt32(word | ~0xFFFFFFFFul) == (mask ? 0 : -1) &&
                    ip.isMaskValid(held) && held == (mask ? size : 16) &&
                    IpAddress(1, word).isEmpty() == !mask);
    }
}

TEST(IpAddressTest, TextsAgreeWithAReferenceGrammar) {
    // Texts no single edit of the seeds below reaches.
    std::string const edges =
        "255.255.255.255/32|255.255.255.255|255.0.0.0|0.0.0.0|1.2.3.4/33|1.2.3||1.2.3.4.5";
    for (std::size_t from = 0, bar = 0; bar != std::string::npos; from = bar + 1)
        checkText(edges.substr(from, (bar = edges.find('|', from)) - from));
    // Every text one edit away from these: a character put in or replaced anywhere.
    for (std::string t : {"10.0.0.1", "192.168.100.254/24", "0.0.0.0/0", "255.255.255.0"})
        for (std::size_t at = 0; at <= t.size(); ++at)
            for (char c : std::string("0123456789./ +-x\0", 17))
                checkText(t.substr(0, at) + c + t.substr(at)),
                    checkText(t.substr(0, at) + c + t.substr(std::min(at + 1, t.size())));
}

// With prefix L, n = A >> (32 - L) is the network number and h the rest; routes and
// interfaces need 2 <= L <= 30, a unicast class, a first octet and an n neither 0 nor all ones.
TEST(IpAddressTest, ClassifiesAGridOfAddressesAndPrefixes) {
    for (uint32_t a :
         {0u,          1u,          0x00FFFFFFu, 0x01000000u, 0x0A000000u, 0x0A000005u, 0x0AFFFFFFu,
          0x40000000u, 0x7F000001u, 0x7FFFFFFFu, 0x80000000u, 0xBFFFFFFFu, 0xC0000000u, 0xC0A80100u,
          0xC0A801FFu, 0xC0A80177u, 0xDFFFFFFFu, 0xE0000000u, 0xE00000FFu, 0xE0000100u, 0xEFFFFFFFu,
          0xF0000000u, 0xFFFFFFFEu, 0xFFFFFFFFu, 0x12345678u}) {
        for (int len = 0; len <= 32; ++len) {
            IpAddress ip(a, 0xFFFFFFFFu);
            ASSERT_EQ(ip.setNetMaskSize(unsigned(len)), 0);
            uint64_t const span = uint64_t{1} << (32 - len), h = a % span, n = a / span;
            bool const transit = len >= 2 && len <= 30 && a < 0xE0000000u && a >= 0x01000000u &&
                                 n != 0 && n != (uint64_t{1} << len) - 1;
            bool const net = (transit && h == 0) || (a == 0 && len == 0);
            bool const iface = transit && h != 0 && h != span - 1, dirBc = transit && h == span - 1;
            bool const host = len == 32 && a >= 0x01000000u && a < 0xE0000000u;
            bool const limBc = a == 0xFFFFFFFFu;
            // Another address is inside when it agrees on this mask's bits, whatever its own.
            EXPECT_EQ(std::vector<bool>({ip.isNetType(), ip.isIfaceType(), ip.isDirBcType(),
                                         ip.isHostType(), ip.isDefGwType(), ip.isLimBcType(),
                                         ip.isValidAddress(), ip.isV4ClassA(), ip.isV4ClassB(),
                                         ip.isV4ClassC(), ip.isV4ClassD(), ip.isV4ClassE(),
                                         ip.isV4ClassABC(), ip.isLoopback(), ip.isLocalGroup(),
                                         ip.contains(IpAddress(a ^ ~maskOf(len), 0)),
                                         ip.contains(IpAddress(a ^ 0x80000000u, 0)),
                                         ip.getV4NetMaskAsBinaryUInt32() == maskOf(len)}),
                      std::vector<bool>({net, iface, dirBc, host, a == 0 && len == 0, limBc,
                                         net || iface || dirBc || host || limBc, a < 0x80000000u,
                                         (a >> 30) == 2, (a >> 29) == 6, (a >> 28) == 14,
                                         a >= 0xF0000000u, a < 0xE0000000u, (a >> 24) == 127,
                                         (a >> 8) == 0xE00000, true, len == 0, true}))
                << std::hex << a << "/" << std::dec << len;
        }
    }
}

// The empty value answers nothing; copies are equal; the IPv6 entry points touch nothing.
TEST(IpAddressTest, EmptyAndCopiesAreValues) {
    IpAddress const a(0x0A000001u, 0xFF000000u), &empty = IpAddress::EMPTY();
    IpAddress b;
    unsigned long size = 99, word = 0;
    unsigned char bytes[16] = {0xAB};
    EXPECT_TRUE(empty.isEmpty() && &empty == &IpAddress::EMPTY() && !empty.isMaskValid(size) &&
                empty.getNetMaskSize(size) == 0 && size == 0 && printed(empty) == "  " &&
                IpAddress(String("0.0.0.0/0")).contains(empty)); // its version is not read
    b = a;
    EXPECT_TRUE(b == a && !(b != a) && IpAddress(0x0A000002u, 0xFF000000u) != a &&
                &a.getV4IpAddrAsBinaryUInt32(word) == &word && word == 0x0A000001u &&
                a.getV4NetAddrAsBinaryUInt32(word) == 0x0A000000u && word == 0x0A000000u &&
                a.getV4NetMaskAsBinaryUInt32(word) == 0xFF000000u && word == 0xFF000000u &&
                a.getNetMaskSize(word) == 8 && word == 8 &&
                a.getV4NetAddrAsBinaryUInt32() == 0x0A000000u &&
                b.getV6IpAddrAsBinaryString(bytes) == bytes &&
                b.getV6NetAddrAsBinaryString(bytes) == bytes &&
                b.getV6NetMaskAsBinaryString(bytes) == bytes && bytes[0] == 0xAB &&
                !IpAddress::s_isV6MaskValid("", 0) && b.setV6IpAddrAsBinaryString(bytes) == -1 &&
                b.setV6NetMaskAsBinaryString(bytes) == -1 && b == a);
    // A word is taken by its low 32 bits, a prefix length whole.
    EXPECT_TRUE(b.setNetMaskSize(33) == -1 &&
                b.setNetMaskSize(sizeof(long) > 4 ? ~0xFFFFFFFFul + 8 : 33) == -1 &&
                b.setV4IpAddrAsBinaryUInt32(~0xFFFFFFFFul | 0xC0A80001u) == 0 &&
                printed(b) == "192.168.0.1 192.0.0.0 255.0.0.0");
    b.init();
    EXPECT_TRUE(b.isEmpty() && b.setNetMaskSize(8) == -1 &&
                b.setNetMaskAsString("255.255.255.0") == 0 &&
                printed(b) == "0.0.0.0 0.0.0.0 255.255.255.0");
}

// The highest-indexed interface with an address wins, and the scan stops at the first index
// that names no interface; the mask is never touched.
TEST(IpAddressEnvTest, DefaultAddressScansInterfacesByIndex) {
    ORVIK_ENTER_NETWORK_NAMESPACE(ns);
    auto scan = [](IpAddress ip) {
        GET_DEFAULT_IP_ADDRESS(ip);
        return printed(ip);
    };
    EXPECT_EQ(scan(IpAddress()), "127.0.0.1 127.0.0.1 255.255.255.255"); // lo: no address
    // i4 (down) wins: i5 above it has no address, and the scan stops at 6, before i7.
    ASSERT_TRUE(ns.ip("link add i2 index 2 type veth peer name i3 index 3") &&
                ns.ip("link add i5 index 5 type veth peer name i4 index 4") &&
                ns.ip("link add i7 index 7 type veth peer name i8 index 8") && ns.setUp("lo") &&
                ns.addAddress("i3", "172.16.5.9/16") && ns.addAddress("i4", "192.168.77.2/24") &&
                ns.addAddress("i7", "10.9.9.9/8"))
        << ns.error();
    EXPECT_EQ(scan(IpAddress(0x09090909u, 0xFFF00000u)), "192.168.77.2 192.160.0.0 255.240.0.0");
}

} // namespace
