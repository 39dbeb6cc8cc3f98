// IpAddress against independent readings: the address grammar by splitting the text, masks
// by bit tricks, the classification by host and network numbers in 64-bit arithmetic; and
// GET_DEFAULT_IP_ADDRESS in network namespaces whose interfaces the test makes.
#include <orvik_utilities/net/IpAddress.h>

#include "support/Sandbox.h"

#include <gtest/gtest.h>

#include <net/if.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <regex>
#include <string>

namespace {

std::string dotted(uint32_t w) {
    char text[16];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", w >> 24, w >> 16 & 255, w >> 8 & 255, w & 255);
    return text;
}

// Address, network and mask as the object prints them.
std::string printed(IpAddress const& ip) {
    String a("junk"), n, m;
    return std::string(ip.getIpAddrAsString(a).buffer()) + " " +
           ip.getNetAddressAsString(n).buffer() + " " + ip.getNetMaskAsString(m).buffer();
}

uint32_t maskOf(int size) { return uint32_t(~uint64_t{0} << (32 - size)); }
bool isRun(uint32_t w) { return (~w & (~w + 1)) == 0; } // ~w is 0...01...1
unsigned long leadingOnes(uint32_t w) { return ~w == 0 ? 32 : unsigned(__builtin_clz(~w)); }

// The grammar as a regular expression; the ranges checked on the numbers it takes.
bool referenceParse(std::string const& t, uint32_t& word, int& prefix) {
    std::string const n = "(0|[1-9][0-9]{0,2})";
    static std::regex const grammar(n + "\\." + n + "\\." + n + "\\." + n + "(/(0|[1-9][0-9]?))?");
    std::smatch m;
    if (!std::regex_match(t, m, grammar))
        return false;
    bool inRange = true;
    for (std::size_t i = 1; i <= 4; ++i) {
        int const octet = std::stoi(m[i]);
        inRange = inRange && octet <= 255;
        word = word << 8 | uint32_t(octet & 255);
    }
    prefix = m[6].matched ? std::stoi(m[6]) : -1;
    return inRange && prefix <= 32;
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
    uint32_t const netMask = prefix < 0 ? 0xFFFF0000u : maskOf(prefix);
    EXPECT_EQ(printed(ip), ok ? dotted(word) + " " + dotted(word & netMask) + " " + dotted(netMask)
                              : "1.2.3.4 1.2.0.0 255.255.0.0");
    ASSERT_EQ(m.setNetMaskAsString(s), mask ? 0 : -1);
    EXPECT_EQ(m.getV4NetMaskAsBinaryUInt32(), mask ? word : 0xFFFF0000u);
    EXPECT_EQ(IpAddress(s).isEmpty(), !ok);
    EXPECT_EQ(IpAddress(s, String("255.0.0.0")).isEmpty(), !ok);
    EXPECT_EQ(IpAddress(String("10.0.0.1"), s).isEmpty(), !mask);
}

TEST(IpAddressTest, TextsAgreeWithAReferenceGrammar) {
    for (char const* t : {"192.168.1.1",
                          "192.168.1.1/24",
                          "0.0.0.0/0",
                          "255.255.255.255/32",
                          "255.255.0.0",
                          "10.0.0.1/9",
                          "1.2.3.4/33",
                          "256.1.1.1",
                          "01.2.3.4",
                          "1.2.3",
                          "1.2.3.4 ",
                          " 1.2.3.4",
                          "1.2.3.4/",
                          "1.2.3.4/08",
                          "1.2.3.4/24x",
                          "1000.1.1.1",
                          "1.2.3.4.5",
                          "+1.2.3.4",
                          "1.-2.3.4",
                          "1..2.3",
                          "",
                          "1.2.3.4/100",
                          "1.2.3.4//8",
                          "a.b.c.d",
                          "255.255.0.0/16"})
        checkText(t);
    checkText(std::string("1.2.3.4\0", 8)); // a NUL byte inside the String is not its end
    std::mt19937 rng(5);
    char const alphabet[] = "0123456789..../ +-x\0";
    char const* seeds[] = {"10.0.0.1", "192.168.100.254/24", "0.0.0.0/0", "255.255.255.0"};
    for (int i = 0; i < 10000 && !HasFatalFailure(); ++i) {
        std::string t = i % 2 ? "" : seeds[rng() % 4];
        for (auto n = i % 2 ? rng() % 20 : rng() % 3; n > 0; --n) {
            auto const at = rng() % (t.size() + 1);
            char const c = alphabet[rng() % (sizeof alphabet - 1)];
            if (rng() % 2 && at < t.size())
                t[at] = c;
            else
                t.insert(at, 1, c);
        }
        checkText(t);
    }
}

TEST(IpAddressTest, MasksAreRunsOfLeadingOnes) {
    std::mt19937 rng(9);
    for (int i = 0; i < 2000; ++i) {
        uint32_t const run = maskOf(i % 33), w = i < 33   ? run
                                                 : i < 66 ? run ^ 1u << rng() % 32
                                                          : uint32_t(rng());
        unsigned long size = 99, held = 99;
        IpAddress ip(0x0A000001u, 0);
        ASSERT_EQ(ip.setV4NetMaskAsBinaryUInt32(w), isRun(w) ? 0 : -1);
        EXPECT_TRUE(IpAddress::s_isV4MaskValid(w, size) == isRun(w) && size == leadingOnes(w) &&
                    ip.isMaskValid(held) && held == ip.getNetMaskSize() &&
                    held == (isRun(w) ? size : 0) && IpAddress(1, w).isEmpty() == !isRun(w))
            << std::hex << w;
    }
    IpAddress ip(0x0A000001u, 0);
    for (unsigned long size = 0; size <= 33; ++size) {
        ASSERT_EQ(ip.setNetMaskSize(size), size <= 32 ? 0 : -1);
        EXPECT_EQ(ip.getV4NetMaskAsBinaryUInt32(), maskOf(int(size < 32 ? size : 32)));
    }
    if (sizeof(unsigned long) > 4) { // a word is taken by its low 32 bits, a count whole
        unsigned long const high = static_cast<unsigned long>(uint64_t{1} << 32);
        EXPECT_TRUE(ip.setV4IpAddrAsBinaryUInt32(high | 0xC0A80001u) == 0 &&
                    ip.setV4NetMaskAsBinaryUInt32(high | 0xFF000000u) == 0 &&
                    ip.setNetMaskSize(high + 8) == -1);
        EXPECT_EQ(printed(ip), "192.168.0.1 192.0.0.0 255.0.0.0");
    }
}

// One letter per answer, so that a grid point shows all its differences at once.
std::string answers(std::initializer_list<bool> bits) {
    std::string text;
    for (bool bit : bits)
        text += bit ? '1' : '0';
    return text;
}

// Classification from host and network numbers: with prefix L, n = A >> (32 - L) is the
// network number and h the remaining bits; routes and interfaces need 2 <= L <= 30, a
// unicast class, a first octet and a network number neither 0 nor all ones.
TEST(IpAddressTest, ClassifiesAGridOfAddressesAndPrefixes) {
    for (uint32_t a :
         {0u,          1u,          0x00FFFFFFu, 0x01000000u, 0x0A000000u, 0x0A000005u, 0x0AFFFFFFu,
          0x40000000u, 0x7F000001u, 0x7FFFFFFFu, 0x80000000u, 0xBFFFFFFFu, 0xC0000000u, 0xC0A80100u,
          0xC0A801FFu, 0xC0A80177u, 0xDFFFFFFFu, 0xE0000000u, 0xE00000FFu, 0xE0000100u, 0xEFFFFFFFu,
          0xF0000000u, 0xFFFFFFFEu, 0xFFFFFFFFu, 0x12345678u}) {
        for (int len = 0; len <= 32; ++len) {
            IpAddress ip(a, maskOf(len));
            uint64_t const span = uint64_t{1} << (32 - len), h = a % span, n = a / span;
            bool const transit = len >= 2 && len <= 30 && a < 0xE0000000u && a >= 0x01000000u &&
                                 n != 0 && n != (uint64_t{1} << len) - 1;
            bool const net = (transit && h == 0) || (a == 0 && len == 0);
            bool const iface = transit && h != 0 && h != span - 1, dirBc = transit && h == span - 1;
            bool const host = len == 32 && a >= 0x01000000u && a < 0xE0000000u;
            bool const limBc = a == 0xFFFFFFFFu;
            int const top = int(a >> 28);
            // Another address is inside when it agrees on this mask's bits, whatever its own.
            EXPECT_EQ(
                answers({ip.isNetType(), ip.isIfaceType(), ip.isDirBcType(), ip.isHostType(),
                         ip.isDefGwType(), ip.isLimBcType(), ip.isValidAddress(), ip.isV4ClassA(),
                         ip.isV4ClassB(), ip.isV4ClassC(), ip.isV4ClassD(), ip.isV4ClassE(),
                         ip.isV4ClassABC(), ip.isLoopback(), ip.isLocalGroup(),
                         ip.contains(IpAddress(a ^ ~maskOf(len), 0)),
                         ip.contains(IpAddress(a ^ 0x80000000u, 0))}),
                answers(
                    {net, iface, dirBc, host, a == 0 && len == 0, limBc,
                     net || iface || dirBc || host || limBc,
                     top<8, top / 4 == 2, top / 2 == 6, top == 14, top == 15, top<14, a>> 24 == 127,
                     a >> 8 == 0xE00000, true, len == 0}))
                << std::hex << a << "/" << std::dec << len;
        }
    }
}

TEST(IpAddressTest, EmptyAndCopiesAreValues) {
    IpAddress const empty, a(0x0A000001u, 0xFF000000u);
    unsigned long size = 99, word = 0;
    EXPECT_EQ(printed(empty), "  ");
    EXPECT_TRUE(empty.isEmpty() && empty == IpAddress::EMPTY() && !empty.isMaskValid(size));
    EXPECT_EQ(&IpAddress::EMPTY(), &IpAddress::EMPTY());
    EXPECT_EQ(empty.getNetMaskSize(size) + size + empty.getV4NetMaskAsBinaryUInt32(), 0xFFFFFFFFu);
    EXPECT_TRUE(IpAddress(String("0.0.0.0/0")).contains(empty)); // its version is not looked at
    IpAddress b(a);
    b = b;
    EXPECT_TRUE(b == a && !(b != a) && IpAddress(0x0A000001u, 0xFFFFFF00u) != a &&
                IpAddress(0x0A000002u, 0xFF000000u) != a && b.setNetMaskSize(8) == 0);
    EXPECT_EQ(&a.getV4IpAddrAsBinaryUInt32(word), &word);
    EXPECT_TRUE(word == 0x0A000001u && a.getV4NetAddrAsBinaryUInt32(word) == 0x0A000000u &&
                a.getV4NetMaskAsBinaryUInt32(word) == 0xFF000000u && word == 0xFF000000u &&
                a.getNetMaskSize(word) == 8 && a.getV4NetAddrAsBinaryUInt32() == 0x0A000000u);
    unsigned char bytes[16] = {0xAB}; // IPv6 answers that touch nothing
    EXPECT_TRUE(b.getV6IpAddrAsBinaryString(bytes) == bytes && bytes[0] == 0xAB &&
                b.getV6NetAddrAsBinaryString(bytes) == bytes &&
                b.getV6NetMaskAsBinaryString(bytes) == bytes && !IpAddress::s_isV6MaskValid("", 0));
    EXPECT_EQ(b.setV6IpAddrAsBinaryString(bytes) + b.setV6NetMaskAsBinaryString(bytes), -2);
    EXPECT_TRUE(b == a);
    b.init();
    EXPECT_TRUE(b.isEmpty() && b.setNetMaskSize(8) == -1); // only on an IPv4 object
    EXPECT_EQ(b.setNetMaskAsString("255.255.255.0"), 0);
    EXPECT_EQ(printed(b), "0.0.0.0 0.0.0.0 255.255.255.0");
    b = IpAddress();
    EXPECT_TRUE(b.isEmpty());
}

// The highest-indexed interface with an address wins, up or down, and the scan stops at the
// first index that names no interface; the mask is never touched.
TEST(IpAddressEnvTest, DefaultAddressScansInterfacesByIndex) {
    ORVIK_ENTER_NETWORK_NAMESPACE(ns);
    auto scan = [](IpAddress ip) {
        GET_DEFAULT_IP_ADDRESS(ip);
        return printed(ip);
    };
    IpAddress const start(0x09090909u, 0xFFF00000u);
    EXPECT_EQ(scan(IpAddress()), "127.0.0.1 127.0.0.1 255.255.255.255"); // lo: no address
    ASSERT_TRUE(ns.addVethPair("va", "vb") && ns.addVethPair("vc", "vd")) << ns.error();
    EXPECT_EQ(scan(start), "127.0.0.1 127.0.0.0 255.240.0.0");
    std::string byIndex[6];
    for (char const* name : {"va", "vb", "vc", "vd"})
        byIndex[std::min(if_nametoindex(name), 5u)] = name;
    ASSERT_TRUE(ns.setUp("lo") && ns.addAddress(byIndex[2], "10.1.0.1/24") &&
                ns.addAddress(byIndex[3], "172.16.5.9/16"))
        << ns.error() << byIndex[2] << byIndex[3];
    EXPECT_EQ(scan(start), "172.16.5.9 172.16.0.0 255.240.0.0");
    ASSERT_TRUE(ns.addAddress(byIndex[5], "192.168.77.2/24")) << ns.error();
    EXPECT_EQ(scan(start), "192.168.77.2 192.160.0.0 255.240.0.0");
    // vc takes vd along; ve comes after the gap.
    ASSERT_TRUE(ns.remove("vc") && ns.addVethPair("ve", "vf") && ns.addAddress("ve", "10.9.9.9/8"))
        << ns.error();
    EXPECT_EQ(scan(start), byIndex[3] == "vc" || byIndex[3] == "vd"
                               ? "10.1.0.1 10.0.0.0 255.240.0.0"
                               : "172.16.5.9 172.16.0.0 255.240.0.0");
}

} // namespace
