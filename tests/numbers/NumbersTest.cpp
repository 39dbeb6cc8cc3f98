// Numbers against oracles: integer texts against positional notation and a 64-bit reader, Base64
// against a plain RFC 4648 encoder, dates and times against sscanf, addresses against printf.
#include <orvik_utilities/numbers/Base64.h>
#include <orvik_utilities/numbers/Converters.h>
#include <orvik_utilities/numbers/IntegerText.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

using namespace orvik_test;

namespace {

// The digits with the radix letter; negative values only in decimal, else refused (null).
std::string printed(int64_t value, int radix) {
    std::string text;
    for (uint64_t m = uint64_t(value < 0 ? -value : value); text.empty() || m != 0;
         m /= uint64_t(radix))
        text.insert(0, 1, "0123456789ABCDEF"[m % uint64_t(radix)]);
    text += radix == 2 ? "b" : radix == 8 ? "o" : radix == 16 ? "h" : "";
    return value >= 0 ? text : radix == 10 ? "-" + text : "null";
}

// What the reader's rules give, computed in 64 bits and reduced at the end.
uint32_t readReference(std::string const& text, bool withSign) {
    std::size_t const first = withSign && !text.empty() && text[0] == '-' ? 1 : 0;
    std::size_t end = text.size();
    uint64_t radix = 10;
    if (end > first && static_cast<unsigned char>(text[end - 1]) > 96) {
        char const letter = text[--end];
        radix = letter == 'b' ? 2 : letter == 'o' ? 8 : letter == 'h' || letter == 'x' ? 16 : 10;
    }
    uint64_t sum = 0, weight = 1;
    for (std::size_t i = end; i > first; --i, weight *= radix) {
        int64_t const c = static_cast<unsigned char>(text[i - 1]);
        int64_t const base = radix != 16 || c < 65 ? 48 : c > 96 ? 87 : 55;
        sum += weight * static_cast<uint64_t>(c - base);
    }
    return static_cast<uint32_t>(first == 1 ? 0 - sum : sum);
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
            ASSERT_EQ(shown(u_i32toa(bits, out, radix)), printed(bits, radix));
            ASSERT_EQ(shown(u_i16toa(uint16_t(small), out, radix)),
                      printed(uint16_t(small), radix));
            ASSERT_EQ(shown(i32toa(value, out, radix)), printed(value, radix));
            ASSERT_EQ(shown(i16toa(small, out, radix)), printed(small, radix));
        }
    }
}

// Refusals write nothing; the longest text takes exactly 34 bytes.
TEST(IntegerTextTest, RefusalsWriteNothingAndTheLongestTextFits) {
    char out[40], text[] = "abcde";
    std::memset(out, '#', sizeof out);
    EXPECT_TRUE(!u_i32toa(1, out, 3) && !u_i16toa(1, out, 36) && !i32toa(1, nullptr, 10));
    EXPECT_EQ(u_i32toa(0xFFFFFFFFu, out, 2), out);
    EXPECT_EQ(std::string(out, 35), std::string(32, '1') + "b" + '\0' + '#');
    reverse(text);
    reverse(nullptr);
    EXPECT_STREQ(text, "edcba");
}

// Readers against the reference. A text is valid exactly when it is the canonical decimal form
// of the value read from it (no sign on unsigned kinds, no leading zero or "-0", nothing that
// wrapped); every check returns the value read, the range check wants low <= value <= high.
template <typename T, T (*read)(char const*), T (*valid)(int32_t*, char const*),
          T (*ranged)(int32_t*, char const*, T, T)>
void checkText(std::string const& text, std::mt19937& rng) {
    T const value = read(text.c_str());
    ASSERT_EQ(value, T(readReference(text, std::numeric_limits<T>::is_signed))) << text;
    int32_t status = 1;
    ASSERT_EQ(valid(&status, text.c_str()), value);
    ASSERT_EQ(status, text == std::to_string(value) ? 0 : -1) << text;
    auto near = [&rng, value](T edge, int outwards) { // value, or one off unless at an edge
        int const step = int(rng() % 3) - 1;
        return value == edge && step == outwards ? value : T(int64_t(value) + step);
    };
    T const low = near(std::numeric_limits<T>::min(), -1);
    T const high = near(std::numeric_limits<T>::max(), 1);
    ASSERT_EQ(ranged(&status, text.c_str(), low, high), value);
    ASSERT_EQ(status, text == std::to_string(value) && low <= value && value <= high ? 0 : -1);
    EXPECT_EQ(int64_t(ranged(nullptr, "5", 1, 10)) + valid(&status, nullptr) + status +
                  read(nullptr),
              -1);
}

TEST(IntegerTextTest, ReadsAsTheReferenceAndValidatesExactlyTheCanonicalForms) {
    std::mt19937 rng(7u);
    // Digits of every radix, the radix letters, and characters the rules count anyway.
    char const alphabet[] = "0123456789ABCDEFabcdefbohx-+ .@`Z\xE9";
    char const edges[][16] = {
        "-2147483648", "2147483648", "4294967295", "4294967296", "-32768", "32768", "65535",
        "65536",       "-0",         "0123",       "+1",         " 1",     "1d",    ""};
    for (int i = 0; i < 60000; ++i) {
        std::string text =
            std::to_string(int64_t(rng()) - int64_t(rng() >> rng() % 32)).substr(0, rng() % 12);
        if (rng() % 4 == 0 && !text.empty())
            text[rng() % text.size()] = "-0123456789"[rng() % 11];
        text = i < 14 ? edges[i] : i % 2 ? text : std::string(rng() % (i % 10 ? 14 : 60), ' ');
        for (char& c : text)
            c = c == ' ' && i >= 14 ? alphabet[rng() % (sizeof alphabet - 1)] : c;
        checkText<int32_t, valueOf32, validValueOf32, validRangeValueOf32>(text, rng);
        checkText<uint32_t, u_valueOf32, u_validValueOf32, u_validRangeValueOf32>(text, rng);
        checkText<int16_t, valueOf16, validValueOf16, validRangeValueOf16>(text, rng);
        checkText<uint16_t, u_valueOf16, u_validValueOf16, u_validRangeValueOf16>(text, rng);
    }
    EXPECT_EQ(validValueOf32(nullptr, "7"), 7);
}

using Bytes = std::vector<unsigned char>;

std::string encodedReference(Bytes const& data, unsigned long lineLength) {
    static char const alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string flat, lines;
    for (std::size_t i = 0; i < data.size(); i += 3) {
        uint32_t v = uint32_t{data[i]} << 16;
        v |= (i + 1 < data.size() ? uint32_t{data[i + 1]} << 8 : 0) |
             (i + 2 < data.size() ? data[i + 2] : 0);
        for (std::size_t k = 0; k < 4; ++k)
            flat += i + k <= data.size() ? alphabet[(v >> (18 - 6 * k)) & 63] : '=';
    }
    std::size_t const perLine = 4 * (lineLength / 4 == 0 ? 1 : lineLength / 4);
    for (std::size_t i = 0; lineLength != 0 && i < flat.size(); i += perLine)
        lines += flat.substr(i, perLine) + "\r\n";
    return lineLength == 0 ? flat : lines;
}

// Decodes into capacity bytes followed by a guard byte, which must stay untouched.
std::string decoded(std::string const& text, unsigned long capacity, int expectedStatus) {
    Bytes out(capacity + 1, 0xA5);
    unsigned long length = capacity;
    EXPECT_EQ(Base64::decode(String(text.c_str()), out.data(), length), expectedStatus) << text;
    EXPECT_EQ(out[capacity], 0xA5) << "wrote past the capacity: " << text;
    return std::string(out.begin(), out.begin() + static_cast<long>(length));
}

TEST(Base64Test, EncodesAsTheReferenceAndDecodesBackThroughForeignCharacters) {
    std::mt19937 rng(11u);
    char const foreign[] = "=\r\n -.*\x80\xFF";
    for (std::size_t size = 0; size < 300; ++size) {
        Bytes data(size);
        for (auto& b : data)
            b = static_cast<unsigned char>(rng());
        std::string const raw(data.begin(), data.end());
        for (unsigned long line : {0ul, 1ul, 3ul, 4ul, 7ul, 8ul, 64ul, 76ul, 77ul}) {
            String text("previous content");
            ASSERT_EQ(Base64::encode(data.data(), size, line, text), 0);
            ASSERT_EQ(text.buffer(), encodedReference(data, line))
                << size << " bytes, line " << line;
            ASSERT_EQ(decoded(text.buffer(), size, 0), raw);
        }
        // Foreign characters anywhere, padding in the middle included, change nothing.
        std::string noisy = encodedReference(data, 0);
        for (int k = 0; k < 8; ++k)
            noisy.insert(rng() % (noisy.size() + 1), 1, foreign[rng() % (sizeof foreign - 1)]);
        ASSERT_EQ(decoded(noisy, size, 0), raw) << noisy;
    }
}

// Partial groups give what their characters hold; when the buffer is too small the bytes
// that fit are written and the length then holds the capacity.
TEST(Base64Test, DecodesPartialGroupsStopsAtTheCapacityAndEncodesOverItsOwnText) {
    // clang-format off
    struct Row { char const* text; unsigned long capacity; int status; char const* bytes; } const rows[] = {
        {"TWE", 3, 0, "Ma"}, {"TQ", 3, 0, "M"}, {"T", 3, 0, ""}, {"====", 0, 0, ""},
        {"QQ==QQ==", 3, 0, "A\x04\x10"}, {"T W\r\nFuTWFu", 6, 0, "ManMan"}, {"TWFuTWFu", 5, -1, "ManMa"},
        {"TWFuTW", 3, -1, "Man"}, {"TWFu TWFuTWFu", 7, -1, "ManManM"}, {"TWFu", 0, -1, ""}};
    // clang-format on
    for (Row const& row : rows)
        EXPECT_EQ(decoded(row.text, row.capacity, row.status), row.bytes) << row.text;
    unsigned long length = 4;
    EXPECT_EQ(Base64::decode(String("TWFu"), nullptr, length), -1);
    EXPECT_EQ(length, 0u);
    unsigned char in[3] = {'M', 'a', 'n'}, out[4];
    Base64::encodeBlock(in, out, 3);
    EXPECT_EQ(std::string(out, out + 4), "TWFu");
    // Encoding over its own text reads the old text.
    String text("TWFu, the target's own characters");
    String const before(text.buffer());
    ASSERT_EQ(Base64::encode(reinterpret_cast<unsigned char const*>(text.buffer()), 4, 0, text), 0);
    EXPECT_STREQ(text.buffer(), "VFdGdQ==");
    EXPECT_STREQ(before.buffer(), "TWFu, the target's own characters");
    EXPECT_EQ(Base64::encode(in, 0xFFFFFFFFul, 0, text), -1); // more than a String holds
    EXPECT_STREQ(text.buffer(), "VFdGdQ==");
}

// The target is sized once, never grown block by block: one allocation, so two runs fail.
TEST(Base64Test, AllocationFailureLeavesTheTextUnchanged) {
    Bytes const data(3000, 'q');
    int const runs = sweepAllocationFailures([&](AllocationFault& fault, bool& injected) {
        String text("before");
        fault.arm();
        int const status = Base64::encode(data.data(), data.size(), 76, text);
        injected = fault.disarm();
        EXPECT_STREQ(text.buffer(), status == 0 ? encodedReference(data, 76).c_str() : "before");
        EXPECT_EQ(injected, status == -1);
    });
    EXPECT_EQ(runs, 2);
}

// Dumps into a buffer of the computed size: the dump fits it, and nothing is written past.
std::string dump(std::vector<unsigned char> const& bytes, int32_t length, int32_t line) {
    std::vector<uint32_t> words((bytes.size() + 3) / 4 + 1, 0xEEEEEEEEu);
    std::memcpy(words.data(), bytes.data(), bytes.size());
    int32_t const size = nbrOfChars_forDataChunk2String(length, line);
    std::string out(static_cast<std::size_t>(size) + 1, '#');
    dataChunk2String(words.data(), &out[0], length, line);
    EXPECT_LE(std::strlen(out.c_str()) + 1, std::size_t(size)) << length << "/" << line;
    EXPECT_EQ(out.back(), '#');
    return out.c_str();
}

TEST(ConvertersTest, DumpsWordsInLinesWithinTheComputedSize) {
    std::vector<unsigned char> bytes{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
    EXPECT_EQ(dump(bytes, 16, 8), "0x00010203 0x04050607 \n0x08090a0b 0x0c0d0e0f \n\n");
    EXPECT_EQ(dump(bytes, 8, 16), "0x00010203 0x04050607 \n");
    EXPECT_EQ(nbrOfChars_forDataChunk2String(16, 8), 49);
    EXPECT_EQ(nbrOfChars_forDataChunk2String(8, 16), 47);
    // Bytes past the length are never read: they dump as zeros.
    EXPECT_EQ(dump(bytes, 6, 8), "0x00010203 0x04050000 \n\n");
    EXPECT_EQ(dump(bytes, 0, 8), "\n");
    EXPECT_EQ(dump(bytes, 8, 0), "0x00010203 \n0x04050607 \n\n");
    for (int32_t length = -1; length <= 40; ++length)
        for (int32_t line = -5; line <= 20; ++line)
            dump(std::vector<unsigned char>(40, 7), length, line);
    EXPECT_EQ(nbrOfChars_forDataChunk2String(INT32_MAX, 4), -1);
    dataChunk2String(nullptr, nullptr, 8, 8); // no output: nothing is read
}

TEST(ConvertersTest, HexPowersOfTwoAndDialStrings) {
    for (unsigned i = 0; i < 256; ++i)
        ASSERT_EQ(std::string(binToHexLut[i], 3),
                  (std::string{"0123456789abcdef"[i >> 4], "0123456789abcdef"[i & 15], '\0'}));
    char out[12];
    std::memset(out, '#', sizeof out);
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
    EXPECT_EQ(validateDate("4294969306-01-01") + validateTime("4294967308:00:00") +
                  validateTime("18446744073709551621:00:00") + validateTime(nullptr) +
                  validateDate(nullptr) + validateTimeString(nullptr),
              -6);
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
        EXPECT_EQ(convIPStr2IPUl(r.text, &value), r.status) << r.text;
        EXPECT_EQ(value, r.value) << r.text;
    }
    std::mt19937 rng(17u);
    for (int i = 0; i < 3000; ++i) {
        uint32_t const a = i == 0 ? 0xFFFFFFFFu : uint32_t(rng()) & uint32_t(rng() | rng());
        char out[16], expected[16]; // exactly the longest text, for the sanitizers
        std::snprintf(expected, sizeof expected, "%u.%u.%u.%u", a & 255, a >> 8 & 255,
                      a >> 16 & 255, a >> 24);
        ASSERT_EQ(convIPUL2IPStr(a, out), 0);
        ASSERT_STREQ(out, expected);
        uint32_t back = 0;
        ASSERT_TRUE(convIPStr2IPUl(out, &back) == 0 && back == __builtin_bswap32(a)) << out;
    }
}

} // namespace
