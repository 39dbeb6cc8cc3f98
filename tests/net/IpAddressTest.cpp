// IpAddress against an independent reading of the address grammar (splitting the text)
// and of the classification (host and network numbers in 64-bit arithmetic).
#include <orvik_utilities/net/IpAddress.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>

namespace {

std::string text(String const& s) { return std::string(s.buffer(), std::size_t(s.length())); }

std::string dotted(IpAddress const& ip) {
    String s("junk");
    return text(ip.getIpAddrAsString(s));
}

IpAddress parsed(char const* t) {
    IpAddress ip;
    EXPECT_EQ(ip.setIpAddrAsString(t), 0) << t;
    return ip;
}

TEST(IpAddressTest, EmptyStateAnswersNothing) {
    IpAddress const empty;
    String s("x");
    EXPECT_EQ(text(empty.getIpAddrAsString(s)), "");
    EXPECT_EQ(text(empty.getNetAddressAsString(s)), "");
    EXPECT_EQ(text(empty.getNetMaskAsString(s)), "");
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_TRUE(empty == IpAddress::EMPTY());
    EXPECT_EQ(&IpAddress::EMPTY(), &IpAddress::EMPTY());
    unsigned long size = 99;
    EXPECT_EQ(empty.getNetMaskSize(size), 0u);
    EXPECT_EQ(empty.getNetMaskSize(), 0u);
    EXPECT_FALSE(empty.isMaskValid(size));
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(empty.getV4NetMaskAsBinaryUInt32(), 0xFFFFFFFFu);
    EXPECT_FALSE(empty.isV4ClassA() || empty.isV4ClassABC() || empty.isLoopback() ||
                 empty.isDefGwType() || empty.isNetType() || empty.isValidAddress() ||
                 empty.contains(parsed("0.0.0.0")));
    IpAddress masked;
    EXPECT_EQ(masked.setNetMaskSize(8), -1);
    EXPECT_TRUE(masked.isEmpty());
}

TEST(IpAddressTest, ParsesAddressesWithAndWithoutPrefix) {
    IpAddress ip;
    ASSERT_EQ(ip.setIpAddrAsString("192.168.1.1"), 0);
    EXPECT_EQ(ip.getV4IpAddrAsBinaryUInt32(), 0xC0A80101u);
    EXPECT_EQ(ip.getV4NetMaskAsBinaryUInt32(), 0xFFFFFFFFu);
    EXPECT_EQ(ip.getNetMaskSize(), 32u);
    ASSERT_EQ(ip.setIpAddrAsString("192.168.1.1/24"), 0);
    String s;
    EXPECT_EQ(text(ip.getNetAddressAsString(s)), "192.168.1.0");
    EXPECT_EQ(text(ip.getNetMaskAsString(s)), "255.255.255.0");
    EXPECT_EQ(dotted(ip), "192.168.1.1");
    unsigned long word = 0;
    EXPECT_EQ(ip.getV4NetAddrAsBinaryUInt32(word), 0xC0A80100u);
    EXPECT_EQ(&ip.getV4NetMaskAsBinaryUInt32(word), &word);
    EXPECT_EQ(word, 0xFFFFFF00u);
    EXPECT_EQ(ip.getV4IpAddrAsBinaryUInt32(word), 0xC0A80101u);

    ASSERT_EQ(ip.setIpAddrAsString("10.0.0.1/8"), 0);
    ASSERT_EQ(ip.setIpAddrAsString("10.0.0.2"), 0);
    EXPECT_EQ(text(ip.getNetMaskAsString(s)), "255.0.0.0");
    EXPECT_EQ(IpAddress(String("1.2.3.4/9")).getNetMaskSize(), 9u);
}

TEST(IpAddressTest, RefusedTextsChangeNothing) {
    IpAddress ip(String("10.1.2.3/16"));
    IpAddress const before(ip);
    for (char const* bad :
         {"1.2.3.4/33", "256.1.1.1", "01.2.3.4", "1.2.3", "1.2.3.4 ", " 1.2.3.4", "1.2.3.4/",
          "1.2.3.4/08", "1.2.3.4/24x", "1000.1.1.1", "1.2.3.4.5", "+1.2.3.4", "1.-2.3.4", "1..2.3",
          "", "1.2.3.4/100", "1.2.3.4//8", "a.b.c.d", "1.2.3.4/3 2"})
        EXPECT_EQ(ip.setIpAddrAsString(bad), -1) << bad;
    // A NUL byte inside the String is not its end.
    EXPECT_EQ(ip.setIpAddrAsString(String("1.2.3.4").concat("\0", 1)), -1);
    EXPECT_EQ(ip.setNetMaskAsString("255.0.255.0"), -1);
    EXPECT_EQ(ip.setNetMaskAsString("255.255.0.0/16"), -1);
    EXPECT_EQ(ip.setNetMaskAsString("255.255.0.0 "), -1);
    EXPECT_EQ(ip.setV4NetMaskAsBinaryUInt32(0xFFFF00FFu), -1);
    EXPECT_EQ(ip.setNetMaskSize(33), -1);
    EXPECT_TRUE(ip == before);
    EXPECT_TRUE(IpAddress(String("1.2.3")).isEmpty());
    EXPECT_TRUE(IpAddress(String("1.2.3.4"), String("255.0.255.0")).isEmpty());
    EXPECT_TRUE(IpAddress(String("1.2.3"), String("255.0.0.0")).isEmpty());
    EXPECT_TRUE(IpAddress(0x01020304u, 0x00FF0000u).isEmpty());
}

TEST(IpAddressTest, MasksAreRunsOfLeadingOnes) {
    for (uint32_t size = 0; size <= 32; ++size) {
        uint32_t const mask = size == 0 ? 0 : uint32_t(0xFFFFFFFFull << (32 - size));
        unsigned long got = 99;
        EXPECT_TRUE(IpAddress::s_isV4MaskValid(mask, got)) << size;
        EXPECT_EQ(got, size);
        // One stray bit below the run, or one hole in it, spoils it; the count stays.
        if (size < 31) {
            EXPECT_FALSE(IpAddress::s_isV4MaskValid(mask | 1u, got)) << size;
            EXPECT_EQ(got, size);
        }
        if (size > 1) {
            EXPECT_FALSE(IpAddress::s_isV4MaskValid(mask & ~(1u << (33 - size)), got));
            EXPECT_EQ(got, size - 2);
        }
        IpAddress ip(0x0A000001u, 0);
        ASSERT_EQ(ip.setNetMaskSize(size), 0);
        EXPECT_EQ(ip.getV4NetMaskAsBinaryUInt32(), mask);
        EXPECT_EQ(ip.getNetMaskSize(), size);
        EXPECT_TRUE(ip.isMaskValid(got));
        EXPECT_EQ(got, size);
    }
    IpAddress ip;
    EXPECT_EQ(ip.setNetMaskAsString("255.255.255.0"), 0);
    EXPECT_EQ(dotted(ip), "0.0.0.0");
    EXPECT_EQ(ip.getNetMaskSize(), 24u);
}

TEST(IpAddressTest, WordsCarryTheDevicesThirtyTwoBits) {
    IpAddress ip;
    EXPECT_EQ(ip.setV4IpAddrAsBinaryUInt32(0x7F000001u), 0);
    EXPECT_EQ(dotted(ip), "127.0.0.1");
    EXPECT_EQ(ip.getNetMaskSize(), 32u);
    EXPECT_EQ(ip.setV4NetMaskAsBinaryUInt32(0xFFFF0000u), 0);
    EXPECT_EQ(ip.getV4NetAddrAsBinaryUInt32(), 0x7F000000u);
    if (sizeof(unsigned long) > 4) {
        unsigned long const high = static_cast<unsigned long>(uint64_t{1} << 32 | 0xC0A80001u);
        EXPECT_EQ(ip.setV4IpAddrAsBinaryUInt32(high), 0);
        EXPECT_EQ(dotted(ip), "192.168.0.1");
        EXPECT_EQ(ip.setNetMaskSize(static_cast<unsigned long>((uint64_t{1} << 32) + 8)), -1);
    }
    IpAddress const a(0x0A000001u, 0xFF000000u);
    EXPECT_EQ(IpAddress(a).getV4IpAddrAsBinaryUInt32(), 0x0A000001u);
    IpAddress b;
    b = a;
    b = b;
    EXPECT_TRUE(b == a && !(b != a));
    EXPECT_TRUE(IpAddress(0x0A000001u, 0xFFFFFF00u) != a);
    EXPECT_TRUE(IpAddress(0x0A000002u, 0xFF000000u) != a);
    b.init();
    EXPECT_TRUE(b.isEmpty());
    EXPECT_EQ(IpAddress::ipv4Loopback, 0x7F000001u);
    EXPECT_EQ(IpAddress::ipv4McGrpAllRouters, 0xE0000002u);
}

TEST(IpAddressTest, IPv6EntryPointsAnswerFixedValues) {
    IpAddress ip(String("1.2.3.4/8"));
    IpAddress const before(ip);
    unsigned char bytes[16];
    std::memset(bytes, 0xAB, sizeof bytes);
    EXPECT_EQ(ip.getV6IpAddrAsBinaryString(bytes), bytes);
    EXPECT_EQ(ip.getV6NetAddrAsBinaryString(bytes), bytes);
    EXPECT_EQ(ip.getV6NetMaskAsBinaryString(bytes), bytes);
    EXPECT_EQ(bytes[0], 0xAB);
    EXPECT_EQ(bytes[15], 0xAB);
    EXPECT_EQ(ip.setV6IpAddrAsBinaryString(bytes), -1);
    EXPECT_EQ(ip.setV6NetMaskAsBinaryString(bytes), -1);
    EXPECT_FALSE(IpAddress::s_isV6MaskValid("ffff::", 64));
    EXPECT_TRUE(ip == before);
}

// The grammar read another way: split at the first '/' and at every '.', then judge each
// piece as a whole number with the digit rules.
bool referenceNumber(std::string const& piece, std::size_t maxDigits, int maximum, int& value) {
    if (piece.empty() || piece.size() > maxDigits || (piece.size() > 1 && piece[0] == '0'))
        return false;
    for (char c : piece)
        if (c < '0' || c > '9')
            return false;
    value = std::stoi(piece);
    return value <= maximum;
}

bool referenceParse(std::string const& t, uint32_t& word, int& prefix) {
    std::size_t const slash = t.find('/');
    prefix = -1;
    if (slash != std::string::npos && !referenceNumber(t.substr(slash + 1), 2, 32, prefix))
        return false;
    std::string const quad = t.substr(0, slash);
    uint32_t w = 0;
    std::size_t from = 0;
    for (int i = 0; i < 4; ++i) {
        std::size_t const dot = i < 3 ? quad.find('.', from) : quad.size();
        int octet = 0;
        if (dot == std::string::npos ||
            !referenceNumber(quad.substr(from, dot - from), 3, 255, octet))
            return false;
        w = w << 8 | uint32_t(octet);
        from = dot + 1;
    }
    word = w;
    return true;
}

TEST(IpAddressTest, AgreesWithAReferenceGrammarOnRandomTexts) {
    std::mt19937 rng(5);
    char const alphabet[] = "0123456789..../ +-x\0";
    char const* seeds[] = {"10.0.0.1", "192.168.100.254/24", "0.0.0.0/0", "255.255.255.255"};
    int accepted = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string t;
        if (i % 2) {
            for (auto n = rng() % 20; n > 0; --n)
                t += alphabet[rng() % (sizeof alphabet - 1)];
        } else {
            t = seeds[rng() % 4];
            for (auto k = rng() % 3; k > 0; --k) {
                auto const at = rng() % (t.size() + 1);
                char const c = alphabet[rng() % (sizeof alphabet - 1)];
                if (rng() % 2 && at < t.size())
                    t[at] = c;
                else
                    t.insert(at, 1, c);
            }
        }
        IpAddress ip(0x01020304u, 0xFFFF0000u);
        IpAddress const before(ip);
        uint32_t word = 0;
        int prefix = -1;
        bool const ok = referenceParse(t, word, prefix);
        String s;
        s.concat(t.data(), long(t.size()));
        ASSERT_EQ(ip.setIpAddrAsString(s), ok ? 0 : -1) << t;
        if (!ok) {
            ASSERT_TRUE(ip == before) << t;
            continue;
        }
        ++accepted;
        ASSERT_EQ(ip.getV4IpAddrAsBinaryUInt32(), word) << t;
        ASSERT_EQ(ip.getNetMaskSize(), prefix < 0 ? 16u : unsigned(prefix)) << t;
        // The mask reader takes the same quads, without a prefix, when they form a mask.
        unsigned long size = 0;
        bool const mask = prefix < 0 && IpAddress::s_isV4MaskValid(word, size);
        IpAddress m;
        ASSERT_EQ(m.setNetMaskAsString(s), mask ? 0 : -1) << t;
    }
    EXPECT_GT(accepted, 2000);
}

// Classification from host and network numbers: with prefix L, n = A >> (32 - L) is the
// network number and h the remaining bits; routes and interfaces need 2 <= L <= 30, a
// unicast class, a first octet and a network number neither 0 nor all ones.
struct Expected {
    bool net, iface, dirBc, host;
};

Expected classify(uint32_t a, int len) {
    uint64_t const hostSpan = uint64_t{1} << (32 - len);
    uint64_t const h = a % hostSpan;
    uint64_t const n = a / hostSpan;
    bool const transit = len >= 2 && len <= 30 && a < 0xE0000000u && a >= 0x01000000u && n != 0 &&
                         n != (uint64_t{1} << len) - 1;
    Expected e;
    e.net = (transit && h == 0) || (a == 0 && len == 0);
    e.iface = transit && h != 0 && h != hostSpan - 1;
    e.dirBc = transit && h == hostSpan - 1;
    e.host = len == 32 && a >= 0x01000000u && a < 0xE0000000u;
    return e;
}

TEST(IpAddressTest, ClassifiesAGridOfAddressesAndPrefixes) {
    uint32_t const addresses[] = {0,          1,          0x00FFFFFF, 0x01000000, 0x0A000000,
                                  0x0A000005, 0x0AFFFFFF, 0x40000000, 0x7F000001, 0x7FFFFFFF,
                                  0x80000000, 0xBFFFFFFF, 0xC0000000, 0xC0A80100, 0xC0A801FF,
                                  0xC0A80177, 0xDFFFFFFF, 0xE0000000, 0xE00000FF, 0xE0000100,
                                  0xEFFFFFFF, 0xF0000000, 0xFFFFFFFE, 0xFFFFFFFF, 0x12345678};
    for (uint32_t a : addresses) {
        for (int len = 0; len <= 32; ++len) {
            IpAddress ip(a, 0xFFFFFFFFu);
            ASSERT_EQ(ip.setNetMaskSize(unsigned(len)), 0);
            Expected const e = classify(a, len);
            SCOPED_TRACE(testing::Message() << std::hex << a << "/" << std::dec << len);
            EXPECT_EQ(ip.isNetType(), e.net);
            EXPECT_EQ(ip.isIfaceType(), e.iface);
            EXPECT_EQ(ip.isDirBcType(), e.dirBc);
            EXPECT_EQ(ip.isHostType(), e.host);
            EXPECT_EQ(ip.isDefGwType(), a == 0 && len == 0);
            EXPECT_EQ(ip.isLimBcType(), a == 0xFFFFFFFFu);
            EXPECT_EQ(ip.isValidAddress(),
                      e.net || e.iface || e.dirBc || e.host || a == 0xFFFFFFFFu);
            int const top = int(a >> 28);
            EXPECT_EQ(ip.isV4ClassA(), top < 8);
            EXPECT_EQ(ip.isV4ClassB(), top >= 8 && top < 12);
            EXPECT_EQ(ip.isV4ClassC(), top >= 12 && top < 14);
            EXPECT_EQ(ip.isV4ClassD(), top == 14);
            EXPECT_EQ(ip.isV4ClassE(), top == 15);
            EXPECT_EQ(ip.isV4ClassABC(), top < 14);
            EXPECT_EQ(ip.isLoopback(), a >> 24 == 127);
            EXPECT_EQ(ip.isLocalGroup(), a >> 8 == 0xE00000);
        }
    }
}

TEST(IpAddressTest, ContainsUsesThisMaskOnly) {
    IpAddress const net = parsed("192.168.1.0/24");
    EXPECT_TRUE(net.contains(parsed("192.168.1.77/8")));
    EXPECT_TRUE(net.contains(parsed("192.168.1.255")));
    EXPECT_FALSE(net.contains(parsed("192.168.2.1/24")));
    IpAddress other;
    EXPECT_TRUE(parsed("0.0.0.0/0").contains(other)); // the other's version is not looked at
    EXPECT_FALSE(IpAddress().contains(IpAddress()));
    EXPECT_FALSE(parsed("10.0.0.1").contains(parsed("10.0.0.2")));
}

} // namespace
