// Integer text conversion: rendering against printf, reading against a 64-bit reference
// reduced modulo 2^32, validation as a round trip.
#include <orvik_utilities/numbers/IntegerText.h>

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace {

std::string printed(uint32_t magnitude, bool negative, int radix) {
    if (radix == 2) {
        std::string bits = "b";
        do {
            bits.insert(bits.begin(), static_cast<char>('0' + (magnitude & 1)));
        } while ((magnitude >>= 1) != 0);
        return bits;
    }
    char text[40];
    if (radix == 8)
        std::snprintf(text, sizeof text, "%" PRIo32 "o", magnitude);
    else if (radix == 16)
        std::snprintf(text, sizeof text, "%" PRIX32 "h", magnitude);
    else
        std::snprintf(text, sizeof text, "%s%" PRIu32, negative ? "-" : "", magnitude);
    return text;
}

// What the reader's rules give, computed in 64 bits and reduced at the end.
uint32_t reference(std::string const& text, bool withSign) {
    std::size_t first = withSign && !text.empty() && text[0] == '-' ? 1 : 0;
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
    return first == 1 ? static_cast<uint32_t>(0 - sum) : static_cast<uint32_t>(sum);
}

TEST(IntegerTextTest, RendersEveryRadixAsPrintfDoes) {
    std::mt19937 rng(3u);
    auto r = [&rng] { return static_cast<uint32_t>(rng()); };
    for (int i = 0; i < 20000; ++i) {
        uint32_t const bits =
            i < 4 ? uint32_t{0x7FFFFFFFu} + static_cast<uint32_t>(i) : r() >> (r() % 32);
        for (int radix : {2, 8, 10, 16}) {
            char out[34];
            ASSERT_STREQ(u_i32toa(bits, out, radix), printed(bits, false, radix).c_str());
            auto const value = static_cast<int32_t>(bits);
            uint32_t const magnitude = value < 0 ? 0u - bits : bits;
            char* result = i32toa(value, out, radix);
            if (value < 0 && radix != 10)
                ASSERT_EQ(result, nullptr);
            else
                ASSERT_STREQ(result, printed(magnitude, value < 0, radix).c_str());
            auto const small = static_cast<uint16_t>(bits);
            ASSERT_STREQ(u_i16toa(small, out, radix), printed(small, false, radix).c_str());
        }
    }
    char out[18];
    EXPECT_STREQ(i16toa(-32768, out, 10), "-32768");
    EXPECT_STREQ(i16toa(0, out, 2), "0b");
}

// Refusals leave the buffer untouched; the longest text takes exactly 34 bytes.
TEST(IntegerTextTest, RefusalsWriteNothingAndTheLongestTextFits) {
    char out[40];
    std::memset(out, '#', sizeof out);
    EXPECT_EQ(i32toa(-1, out, 16), nullptr);
    EXPECT_EQ(i16toa(-1, out, 2), nullptr);
    EXPECT_EQ(u_i32toa(1, out, 3), nullptr);
    EXPECT_EQ(u_i16toa(1, out, 36), nullptr);
    EXPECT_EQ(i32toa(1, nullptr, 10), nullptr);
    EXPECT_EQ(out[0], '#');
    u_i32toa(0xFFFFFFFFu, out, 2);
    EXPECT_EQ(std::string(out, 34), std::string(32, '1') + "b" + '\0');
    EXPECT_EQ(out[34], '#');
    char text[] = "abcde";
    reverse(text);
    EXPECT_STREQ(text, "edcba");
    reverse(nullptr);
}

TEST(IntegerTextTest, ReadsAnyTextAsTheWrappingSumOfItsCharacters) {
    // The radix letters, digits of every radix, and characters the rules count anyway.
    char const alphabet[] = "0123456789ABCDEFabcdefbohx-+ .Z\xE9";
    std::mt19937 rng(5u);
    auto r = [&rng] { return static_cast<uint32_t>(rng()); };
    for (int i = 0; i < 40000; ++i) {
        std::string text;
        for (std::size_t n = r() % (i % 10 == 0 ? 60 : 14); n > 0; --n)
            text += alphabet[r() % (sizeof alphabet - 1)];
        ASSERT_EQ(static_cast<uint32_t>(valueOf32(text.c_str())), reference(text, true)) << text;
        ASSERT_EQ(u_valueOf32(text.c_str()), reference(text, false)) << text;
        ASSERT_EQ(valueOf16(text.c_str()), static_cast<int16_t>(reference(text, true))) << text;
        ASSERT_EQ(u_valueOf16(text.c_str()), static_cast<uint16_t>(reference(text, false)));
    }
    EXPECT_EQ(valueOf32(nullptr), 0);
    EXPECT_EQ(valueOf32("FFh"), 255);
    EXPECT_EQ(valueOf32("255d"), 255);
    EXPECT_EQ(valueOf32("0x1F"), 7232);
    EXPECT_EQ(valueOf32("4294967296"), 0);
    EXPECT_EQ(u_valueOf32("-5"), 4294967271u);
    EXPECT_EQ(valueOf16("32768"), -32768);
}

TEST(IntegerTextTest, ValidatesExactlyTheCanonicalDecimalTexts) {
    std::mt19937 rng(9u);
    auto r = [&rng] { return static_cast<uint32_t>(rng()); };
    for (int i = 0; i < 5000; ++i) {
        char text[34];
        int32_t status = 1;
        auto const value = static_cast<int32_t>(r());
        ASSERT_EQ(validValueOf32(&status, i32toa(value, text, 10)), value);
        ASSERT_EQ(status, 0);
        uint32_t const unsignedValue = r();
        ASSERT_EQ(u_validValueOf32(&status, u_i32toa(unsignedValue, text, 10)), unsignedValue);
        ASSERT_EQ(status, 0);
    }
    struct Row {
        char const* text;
        int valid32, validU32, valid16, validU16;
    };
    for (Row const& row : std::initializer_list<Row>{{"-2147483648", 0, -1, -1, -1},
                                                     {"2147483648", -1, 0, -1, -1},
                                                     {"4294967295", -1, 0, -1, -1},
                                                     {"-32768", 0, -1, 0, -1},
                                                     {"32768", 0, 0, -1, 0},
                                                     {"65536", 0, 0, -1, -1},
                                                     {"-1", 0, -1, 0, -1},
                                                     {"0", 0, 0, 0, 0},
                                                     {"0123", -1, -1, -1, -1},
                                                     {"-0", -1, -1, -1, -1},
                                                     {"+1", -1, -1, -1, -1},
                                                     {" 1", -1, -1, -1, -1},
                                                     {"1d", -1, -1, -1, -1},
                                                     {"", -1, -1, -1, -1},
                                                     {nullptr, -1, -1, -1, -1}}) {
        int32_t s32 = 1, su32 = 1, s16 = 1, su16 = 1;
        validValueOf32(&s32, row.text);
        u_validValueOf32(&su32, row.text);
        validValueOf16(&s16, row.text);
        u_validValueOf16(&su16, row.text);
        EXPECT_EQ(s32, row.valid32) << (row.text ? row.text : "null");
        EXPECT_EQ(su32, row.validU32) << (row.text ? row.text : "null");
        EXPECT_EQ(s16, row.valid16) << (row.text ? row.text : "null");
        EXPECT_EQ(su16, row.validU16) << (row.text ? row.text : "null");
    }
    EXPECT_EQ(validValueOf32(nullptr, "7"), 7);
}

// Both ends are inside; an out-of-range or invalid text still returns its value.
TEST(IntegerTextTest, RangeValidationIncludesBothEnds) {
    int32_t status = 1;
    EXPECT_EQ(validRangeValueOf32(&status, "10", 1, 10), 10);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(validRangeValueOf32(&status, "11", 1, 10), 11);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(validRangeValueOf32(&status, "-2", -2, 10), -2);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(validRangeValueOf32(nullptr, "5", 1, 10), 0);
    EXPECT_EQ(u_validRangeValueOf32(&status, "4294967295", 1, 0xFFFFFFFFu), 0xFFFFFFFFu);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(u_validRangeValueOf32(&status, "0", 1, 0xFFFFFFFFu), 0u);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(validRangeValueOf16(&status, "-1", -1, 0), -1);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(validRangeValueOf16(&status, "1", -1, 0), 1);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(u_validRangeValueOf16(&status, "65535", 0, 65534), 65535);
    EXPECT_EQ(status, -1);
    EXPECT_EQ(u_validRangeValueOf16(&status, "0123", 0, 65534), 123);
    EXPECT_EQ(status, -1);
}

} // namespace
