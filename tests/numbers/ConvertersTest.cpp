// Small converters and validators, with the C library's printf and sscanf as oracles where
// their answers agree with the device's (values that fit 32 bits).
#include <orvik_utilities/numbers/Converters.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace {

TEST(ConvertersTest, HexWordsShowTheBytesInMemoryOrder) {
    for (unsigned i = 0; i < 256; ++i) {
        char expected[3];
        std::snprintf(expected, sizeof expected, "%02x", i);
        ASSERT_EQ(std::string(binToHexLut[i], 3), std::string(expected, 3));
    }
    char out[12];
    std::memset(out, '#', sizeof out);
    convBinToHex(0x12345678u, out);
    EXPECT_EQ(std::string(out, 12), std::string("0x78563412") + '\0' + '#');
    convBinToHex(0x000000ffu, out);
    EXPECT_STREQ(out, "0xff000000");
}

std::string dump(std::vector<unsigned char> const& bytes, int32_t length, int32_t line) {
    std::vector<uint32_t> words((bytes.size() + 3) / 4 + 1, 0xEEEEEEEEu);
    std::memcpy(words.data(), bytes.data(), bytes.size());
    int32_t const size = nbrOfChars_forDataChunk2String(length, line);
    std::string out(static_cast<std::size_t>(size) + 1, '#');
    dataChunk2String(words.data(), &out[0], length, line);
    // The size covers the dump, terminator included, and nothing is written past it.
    EXPECT_LE(std::strlen(out.c_str()) + 1, static_cast<std::size_t>(size))
        << length << "/" << line;
    EXPECT_EQ(out.back(), '#');
    return out.c_str();
}

TEST(ConvertersTest, DumpsWordsInLinesWithinTheComputedSize) {
    std::vector<unsigned char> bytes(16);
    for (unsigned char i = 0; i < 16; ++i)
        bytes[i] = i;
    EXPECT_EQ(dump(bytes, 16, 8), "0x00010203 0x04050607 \n0x08090a0b 0x0c0d0e0f \n\n");
    EXPECT_EQ(dump({bytes.begin(), bytes.begin() + 8}, 8, 16), "0x00010203 0x04050607 \n");
    EXPECT_EQ(nbrOfChars_forDataChunk2String(16, 8), 49);
    EXPECT_EQ(nbrOfChars_forDataChunk2String(8, 16), 47);
    // Bytes past the length are never read: they dump as zeros.
    EXPECT_EQ(dump({1, 2, 3, 4, 5, 6}, 6, 8), "0x01020304 0x05060000 \n\n");
    EXPECT_EQ(dump({}, 0, 8), "\n");
    EXPECT_EQ(dump({}, -4, 0), "\n");
    EXPECT_EQ(dump({1, 2, 3, 4, 5, 6, 7, 8}, 8, 0), "0x01020304 \n0x05060708 \n\n");
    for (int32_t length = -1; length <= 40; ++length)
        for (int32_t line = -5; line <= 20; ++line)
            dump(std::vector<unsigned char>(static_cast<std::size_t>(length > 0 ? length : 0), 7),
                 length, line);
    EXPECT_EQ(nbrOfChars_forDataChunk2String(INT32_MAX, 4), -1);
}

TEST(ConvertersTest, NextHigherPowerOfTwo) {
    struct Row {
        uint32_t in, out;
    };
    for (Row const& r : std::initializer_list<Row>{{0, 1},
                                                   {1, 1},
                                                   {2, 2},
                                                   {3, 4},
                                                   {5, 8},
                                                   {64, 64},
                                                   {65, 128},
                                                   {0x7FFFFFFFu, 0x80000000u},
                                                   {0x80000000u, 0x80000000u},
                                                   {0x80000001u, 0},
                                                   {0xFFFFFFFFu, 0}})
        EXPECT_EQ(nextHigherPowerOf2(r.in), r.out) << r.in;
}

TEST(ConvertersTest, DialStringsAllowDigitsCapitalsStarHashAndQuestionMark) {
    for (char const* ok : {"", "0049301234", "*100#", "AZ?9"})
        EXPECT_EQ(e164Number(ok), 0) << ok;
    for (char const* bad : {"+49", "12 34", "12a", "1/", "\xC1"})
        EXPECT_EQ(e164Number(bad), -1) << bad;
    EXPECT_EQ(e164Number(nullptr), -1);
}

// The platform's sscanf decides the reading; only the bounds are ours. Fields stay short,
// so every value fits 32 bits and the host's sscanf answers as the device's.
TEST(ConvertersTest, DateAndTimeReadAsSscanfReadsThem) {
    char const pieces[] = "0123456789-:T +";
    std::mt19937 rng(13u);
    auto r = [&rng] { return static_cast<uint32_t>(rng()); };
    auto inRange = [](int v, int lo, int hi) { return v >= lo && v <= hi; };
    for (int i = 0; i < 30000; ++i) {
        std::string text = i % 2 ? "2010-06-15T12:30:45" : "23:59:59";
        for (int k = static_cast<int>(r() % 4); k > 0; --k)
            text[r() % text.size()] = pieces[r() % (sizeof pieces - 1)];
        int f[6];
        int const n = std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%d", &f[0], &f[1], &f[2], &f[3],
                                  &f[4], &f[5]);
        bool const date =
            n >= 3 && inRange(f[0], 1999, 2035) && inRange(f[1], 1, 12) && inRange(f[2], 1, 31);
        bool const stamp =
            n == 6 && date && inRange(f[3], 0, 23) && inRange(f[4], 0, 59) && inRange(f[5], 0, 59);
        ASSERT_EQ(validateTimeString(text.c_str()), stamp ? 0 : -1) << text;
        ASSERT_EQ(validateDate(text.c_str()), date ? 0 : -1) << text;
        int const m = std::sscanf(text.c_str(), "%d:%d:%d", &f[0], &f[1], &f[2]);
        bool const time =
            m == 3 && inRange(f[0], 0, 23) && inRange(f[1], 0, 59) && inRange(f[2], 0, 59);
        ASSERT_EQ(validateTime(text.c_str()), time ? 0 : -1) << text;
    }
    // Values past 32 bits saturate as the device's 32-bit strtol does, on every host.
    EXPECT_EQ(validateDate("4294969306-01-01"), -1);
    EXPECT_EQ(validateTime("4294967308:00:00"), -1);
    EXPECT_EQ(validateDate("2010-02-31"), 0);
    EXPECT_EQ(validateTimeString("2010-6-5T1:2:3Z"), 0);
    EXPECT_EQ(validateTime(nullptr), -1);
    EXPECT_EQ(validateDate(nullptr), -1);
    EXPECT_EQ(validateTimeString(nullptr), -1);
}

TEST(ConvertersTest, DottedAddressesConvertInTheirDeliberateByteOrders) {
    struct Row {
        char const* text;
        int status;
        uint32_t value;
    };
    for (Row const& r : std::initializer_list<Row>{{"192.168.1.1", 0, 0xc0a80101u},
                                                   {" 1. +2.3.4 and more", 0, 0x01020304u},
                                                   {"1.2.3.256", 0, 0x01020400u},
                                                   {"-1.0.0.0", 0, 0xFF000000u},
                                                   {"0.0.0.-4294967295", 0, 1u},
                                                   {"0.0.0.4294967296", 0, 0xFFFFFFFFu},
                                                   {"0.0.0.99999999999999999999", 0, 0xFFFFFFFFu},
                                                   {"192.168.1", -1, 7},
                                                   {"1 .2.3.4", -1, 7},
                                                   {"1.2.3.x", -1, 7},
                                                   {"", -1, 7}}) {
        uint32_t value = 7;
        EXPECT_EQ(convIPStr2IPUl(r.text, &value), r.status) << r.text;
        EXPECT_EQ(value, r.value) << r.text;
    }
    std::mt19937 rng(17u);
    auto r = [&rng] { return static_cast<uint32_t>(rng()); };
    for (int i = 0; i < 2000; ++i) {
        uint32_t const address = r();
        char out[17];
        char expected[17];
        std::memset(out, '#', sizeof out);
        convIPUL2IPStr(address, out);
        std::snprintf(expected, sizeof expected, "%u.%u.%u.%u", address & 255, address >> 8 & 255,
                      address >> 16 & 255, address >> 24);
        ASSERT_STREQ(out, expected);
        ASSERT_EQ(out[16], '#');
    }
}

} // namespace
