// Dumps against their computed size, dates and times against sscanf, addresses against printf.
#include <orvik_utilities/numbers/Converters.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <numeric>
#include <random>
#include <string>

namespace {

// Dumps the bytes 0, 1, 2 ... into a buffer of the computed size, checking it fits.
std::string dump(int32_t length, int32_t line) {
    uint32_t words[10]; // 40 bytes, so the sanitizers see a read past them
    auto* const bytes = reinterpret_cast<unsigned char*>(words);
    std::iota(bytes, bytes + sizeof words, static_cast<unsigned char>(0));
    int32_t const size = nbrOfChars_forDataChunk2String(length, line);
    std::string out(static_cast<std::size_t>(size) + 1, '#');
    dataChunk2String(words, &out[0], length, line);
    EXPECT_LE(std::strlen(out.c_str()) + 1, std::size_t(size)) << length << "/" << line;
    EXPECT_EQ(out.back(), '#');
    return out.c_str();
}

// A line ends after the word that reaches the line length; bytes past the length dump as 0.
TEST(ConvertersTest, DumpsWordsInLinesWithinTheComputedSize) {
    EXPECT_EQ(dump(16, 8), "0x00010203 0x04050607 \n0x08090a0b 0x0c0d0e0f \n\n");
    EXPECT_EQ(dump(6, 16), "0x00010203 0x04050000 \n");
    EXPECT_EQ(dump(8, 0), "0x00010203 \n0x04050607 \n\n");
    EXPECT_EQ(dump(0, 8), "\n");
    EXPECT_EQ(nbrOfChars_forDataChunk2String(16, 8), 49);
    EXPECT_EQ(nbrOfChars_forDataChunk2String(8, 16), 47);
    EXPECT_EQ(nbrOfChars_forDataChunk2String(INT32_MAX, 4), -1);
    for (int32_t length = -1; length <= 40; ++length)
        for (int32_t line = -5; line <= 20; ++line)
            dump(length, line);
    dataChunk2String(nullptr, nullptr, 8, 8); // no output: nothing is read
}

TEST(ConvertersTest, HexPowersOfTwoAndDialStrings) {
    for (unsigned i = 0; i < 256; ++i)
        ASSERT_EQ(std::string(binToHexLut[i], 3),
                  (std::string{"0123456789abcdef"[i >> 4], "0123456789abcdef"[i & 15], '\0'}));
    char out[] = "############";
    convBinToHex(0x12345678u, out); // the bytes in memory order
    EXPECT_EQ(std::string(out, 12), std::string("0x78563412") + '\0' + '#');
    uint32_t const in[] = {0, 1, 2, 3, 5, 64, 65, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFF};
    uint32_t const power[] = {1, 1, 2, 4, 8, 64, 128, 0x80000000, 0x80000000, 0, 0};
    for (std::size_t i = 0; i < std::size(in); ++i)
        EXPECT_EQ(nextHigherPowerOf2(in[i]), power[i]) << in[i];
    for (char const* ok : {"", "0049301234", "*100#", "AZ?9"})
        EXPECT_EQ(e164Number(ok), 0) << ok;
    for (char const* bad : {"+49", "12 34", "12a", "1/", "\xC1", static_cast<char const*>(nullptr)})
        EXPECT_EQ(e164Number(bad), -1) << (bad ? bad : "null");
}

// The platform's sscanf decides the reading; only the bounds are ours. Fields stay short,
// so every value fits 32 bits and the host's sscanf answers as the device's.
TEST(ConvertersTest, DateAndTimeReadAsSscanfReadsThem) {
    char const pieces[] = "0123456789-:T +";
    std::mt19937 rng(13u);
    auto in = [](int v, int lo, int hi) { return v >= lo && v <= hi; };
    for (int i = 0; i < 30000; ++i) {
        std::string text = i % 2 ? "2010-06-15T12:30:45" : "23:59:59";
        for (auto k = rng() % 4; k > 0; --k)
            text[rng() % text.size()] = pieces[rng() % (sizeof pieces - 1)];
        char const* t = text.c_str();
        int f[6];
        int const n = std::sscanf(t, "%d-%d-%dT%d:%d:%d", &f[0], &f[1], &f[2], &f[3], &f[4], &f[5]);
        bool const date = n >= 3 && in(f[0], 1999, 2035) && in(f[1], 1, 12) && in(f[2], 1, 31);
        bool const stamp = n == 6 && date && in(f[3], 0, 23) && in(f[4], 0, 59) && in(f[5], 0, 59);
        ASSERT_EQ(validateTimeString(t), stamp ? 0 : -1) << text;
        ASSERT_EQ(validateDate(t), date ? 0 : -1) << text;
        int const m = std::sscanf(t, "%d:%d:%d", &f[0], &f[1], &f[2]);
        bool const time = m == 3 && in(f[0], 0, 23) && in(f[1], 0, 59) && in(f[2], 0, 59);
        ASSERT_EQ(validateTime(t), time ? 0 : -1) << text;
    }
    // Values past 32 bits saturate as the device's 32-bit strtol does, on every host.
    EXPECT_EQ(-6, validateDate("4294969306-01-01") + validateTime("4294967308:00:00") +
                      validateTime("18446744073709551621:00:00") + validateTime(nullptr) +
                      validateDate(nullptr) + validateTimeString(nullptr));
}

// Text to number reads the first part into the top byte; number to text prints the bytes in
// memory order, so the two round-trip through a byte swap.
TEST(ConvertersTest, DottedAddressesConvertInTheirDeliberateByteOrders) {
    // clang-format off
    struct Row { char const* text; int status; uint32_t value; } const rows[] = {
        {" 1. +2.3.4 and more", 0, 0x01020304}, {"1.2.3.256", 0, 0x01020400}, {"-1.0.0.0", 0, 0xFF000000},
        {"0.0.0.-4294967295", 0, 1}, {"0.0.0.4294967296", 0, 0xFFFFFFFF}, {"0.0.0.-4294967296", 0, 0xFFFFFFFF},
        {"0.0.0.99999999999999999999", 0, 0xFFFFFFFF}, {"192.168.1", -1, 7}, {"1 .2.3.4", -1, 7},
        {"1.2.3.x", -1, 7}, {"", -1, 7}};
    // clang-format on
    for (Row const& r : rows) {
        uint32_t value = 7;
        EXPECT_TRUE(convIPStr2IPUl(r.text, &value) == r.status && value == r.value) << r.text;
    }
    std::mt19937 rng(17u);
    for (int i = 0; i < 3000; ++i) {
        uint32_t const a = i == 0 ? 0xFFFFFFFFu : uint32_t(rng()) & uint32_t(rng() | rng());
        char out[16], expected[16]; // exactly the longest text, for the sanitizers
        std::snprintf(expected, sizeof expected, "%u.%u.%u.%u", a & 255, a >> 8 & 255,
                      a >> 16 & 255, a >> 24);
        ASSERT_TRUE(convIPUL2IPStr(a, out) == 0 && std::string(out) == expected) << expected;
        uint32_t back = 0;
        ASSERT_TRUE(convIPStr2IPUl(out, &back) == 0 && back == __builtin_bswap32(a)) << out;
    }
}

} // namespace
