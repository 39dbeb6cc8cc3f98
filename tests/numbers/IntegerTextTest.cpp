// Integer text conversion: rendering against printf, reading against a 64-bit reference
// reduced modulo 2^32, validation as a round trip.
#include <orvik_utilities/numbers/IntegerText.h>

#include <gtest/gtest.h>

#include <bitset>
#include <cstring>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>

namespace {

std::string printed(uint32_t magnitude, bool negative, int radix) {
    std::string bits = std::bitset<32>(magnitude).to_string();
    bits.erase(0, std::min(bits.find('1'), std::size_t{31}));
    std::ostringstream text;
    text << (negative ? "-" : "") << std::setbase(radix) << std::uppercase << magnitude
         << (radix == 8    ? "o"
             : radix == 16 ? "h"
                           : "");
    return radix == 2 ? bits + "b" : text.str();
}

// What the reader's rules give, computed in 64 bits and reduced at the end.
uint32_t reference(std::string const& text, bool withSign) {
    std::size_t const first = withSign && !text.empty() && text[0] == '-' ? 1 : 0;
    std::size_t end = text.size();
    uint64_t radix = 10;
    if (end > first && static_cast<unsigned char>(text[end - 1]) > 96) {
        char const letter = text[--end];
        radix = letter == 'b' ? 2 : letter == 'o' ? 8 : letter == 'h' || letter == 'x' ? 16 : 10;
    }
    uint64_t sum = 0;
    uint64_t weight = 1;
    for (std::size_t i = end; i > first; --i, weight *= radix) {
        int64_t const c = static_cast<unsigned char>(text[i - 1]);
        int64_t const digit = radix == 16 && c > 96   ? c - 87
                              : radix == 16 && c > 64 ? c - 55
                                                      : c - 48;
        sum += weight * static_cast<uint64_t>(digit);
    }
    return static_cast<uint32_t>(first == 1 ? 0 - sum : sum);
}

// Signed values: decimal with a '-', refused (null) in the other radices.
std::string expectedSigned(int64_t value, int radix) {
    if (value < 0 && radix != 10)
        return "null";
    return printed(static_cast<uint32_t>(value < 0 ? -value : value), value < 0, radix);
}

std::string shown(char const* result) { return result ? result : "null"; }

TEST(IntegerTextTest, RendersEveryRadixAsPrintfDoes) {
    std::mt19937 rng(3u);
    for (int i = 0; i < 20000; ++i) {
        uint32_t const bits = i < 4 ? 0x7FFFFFFFu + static_cast<uint32_t>(i)
                                    : static_cast<uint32_t>(rng()) >> (rng() % 32);
        auto const value = static_cast<int32_t>(bits);
        auto const small = static_cast<int16_t>(bits);
        for (int radix : {2, 8, 10, 16}) {
            char out[34];
            ASSERT_EQ(shown(u_i32toa(bits, out, radix)), printed(bits, false, radix));
            ASSERT_EQ(shown(u_i16toa(static_cast<uint16_t>(small), out, radix)),
                      printed(static_cast<uint16_t>(small), false, radix));
            ASSERT_EQ(shown(i32toa(value, out, radix)), expectedSigned(value, radix));
            ASSERT_EQ(shown(i16toa(small, out, radix)), expectedSigned(small, radix));
        }
    }
}

// Refusals leave the buffer untouched; the longest text takes exactly 34 bytes.
TEST(IntegerTextTest, RefusalsWriteNothingAndTheLongestTextFits) {
    char out[40];
    std::memset(out, '#', sizeof out);
    EXPECT_EQ(u_i32toa(1, out, 3), nullptr);
    EXPECT_EQ(u_i16toa(1, out, 36), nullptr);
    EXPECT_EQ(i32toa(1, nullptr, 10), nullptr);
    EXPECT_EQ(out[0], '#');
    u_i32toa(0xFFFFFFFFu, out, 2);
    EXPECT_EQ(std::string(out, 35), std::string(32, '1') + "b" + '\0' + '#');
    char text[] = "abcde";
    reverse(text);
    EXPECT_STREQ(text, "edcba");
    reverse(nullptr);
}

TEST(IntegerTextTest, ReadsAnyTextAsTheWrappingSumOfItsCharacters) {
    // The radix letters, digits of every radix, and characters the rules count anyway.
    char const alphabet[] = "0123456789ABCDEFabcdefbohx-+ .@`Z\xE9";
    std::mt19937 rng(5u);
    for (int i = 0; i < 40000; ++i) {
        std::string text;
        for (std::size_t n = rng() % (i % 10 == 0 ? 60 : 14); n > 0; --n)
            text += alphabet[rng() % (sizeof alphabet - 1)];
        ASSERT_EQ(static_cast<uint32_t>(valueOf32(text.c_str())), reference(text, true)) << text;
        ASSERT_EQ(u_valueOf32(text.c_str()), reference(text, false)) << text;
        ASSERT_EQ(valueOf16(text.c_str()), static_cast<int16_t>(reference(text, true))) << text;
        ASSERT_EQ(u_valueOf16(text.c_str()), static_cast<uint16_t>(reference(text, false)));
    }
    EXPECT_EQ(valueOf32(nullptr), 0);
    EXPECT_EQ(u_valueOf32(nullptr), 0u);
}

// Each row: the status of the 32-bit, unsigned 32-bit, 16-bit and unsigned 16-bit check.
TEST(IntegerTextTest, ValidatesExactlyTheCanonicalDecimalTexts) {
    struct Row {
        char const* text;
        int32_t s32, u32, s16, u16;
    };
    // clang-format off
    Row const rows[] = {
        {"-2147483648", 0, -1, -1, -1}, {"2147483648", -1, 0, -1, -1}, {"4294967295", -1, 0, -1, -1},
        {"-32768", 0, -1, 0, -1},       {"32768", 0, 0, -1, 0},         {"65536", 0, 0, -1, -1},
        {"-1", 0, -1, 0, -1},           {"0", 0, 0, 0, 0},              {"0123", -1, -1, -1, -1},
        {"-0", -1, -1, -1, -1},         {"+1", -1, -1, -1, -1},         {" 1", -1, -1, -1, -1},
        {"1d", -1, -1, -1, -1},         {"", -1, -1, -1, -1},           {nullptr, -1, -1, -1, -1}};
    // clang-format on
    for (Row const& row : rows) {
        int32_t s[4] = {1, 1, 1, 1};
        EXPECT_EQ(validValueOf32(&s[0], row.text), valueOf32(row.text));
        EXPECT_EQ(u_validValueOf32(&s[1], row.text), u_valueOf32(row.text));
        EXPECT_EQ(validValueOf16(&s[2], row.text), valueOf16(row.text));
        EXPECT_EQ(u_validValueOf16(&s[3], row.text), u_valueOf16(row.text));
        EXPECT_EQ(std::vector<int32_t>(s, s + 4),
                  (std::vector<int32_t>{row.s32, row.u32, row.s16, row.u16}))
            << (row.text ? row.text : "null");
    }
    EXPECT_EQ(validValueOf32(nullptr, "7"), 7);
}

template <typename T>
std::pair<int64_t, int32_t> ranged(T (*check)(int32_t*, char const*, T, T), char const* text, T low,
                                   T high) {
    int32_t status = 1;
    T const value = check(&status, text, low, high);
    return {value, status};
}

// Both ends are inside; an out-of-range or invalid text still returns its value, and a
// null status returns 0 without reading.
TEST(IntegerTextTest, RangeValidationIncludesBothEnds) {
    using R = std::pair<int64_t, int32_t>;
    EXPECT_EQ(ranged<int32_t>(validRangeValueOf32, "10", -2, 10), R(10, 0));
    EXPECT_EQ(ranged<int32_t>(validRangeValueOf32, "11", -2, 10), R(11, -1));
    EXPECT_EQ(ranged<int32_t>(validRangeValueOf32, "-3", -2, 10), R(-3, -1));
    EXPECT_EQ(ranged<uint32_t>(u_validRangeValueOf32, "4294967295", 1, 0xFFFFFFFFu),
              R(0xFFFFFFFF, 0));
    EXPECT_EQ(ranged<uint32_t>(u_validRangeValueOf32, "0", 1, 0xFFFFFFFFu), R(0, -1));
    EXPECT_EQ(ranged<int16_t>(validRangeValueOf16, "1", -1, 0), R(1, -1));
    EXPECT_EQ(ranged<uint16_t>(u_validRangeValueOf16, "65535", 0, 65534), R(65535, -1));
    EXPECT_EQ(ranged<uint16_t>(u_validRangeValueOf16, "0123", 0, 65534), R(123, -1));
    EXPECT_EQ(validRangeValueOf32(nullptr, "5", 1, 10), 0);
    EXPECT_EQ(u_validRangeValueOf16(nullptr, "5", 1, 10), 0);
}

} // namespace
