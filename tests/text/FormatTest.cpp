// The formatting engine: glibc as oracle for the shared directives, slices, and the
// directives where the engine deliberately parts from glibc.
#include <orvik_utilities/text/Format.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

// The formats come from variables and include some a compiler would reject, on purpose.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-overflow"

namespace {

// A random format over the directives the engine shares with glibc, and its arguments.
// Every argument travels in an intptr_t slot, which both ABIs pass exactly as they pass an
// int, a long or a pointer; 'l' values are stored as the 64-bit long glibc reads there.
struct RandomCase {
    std::string format;
    intptr_t slots[12] = {};
};

// Formats into a roomy buffer and checks that snxprintf stored what strlenf counts.
template <typename... Args> std::string fmt(char const* format, Args... args) {
    char out[256];
    int const stored = snxprintf(out, 0, sizeof out, format, args...);
    EXPECT_EQ(stored, strlenf(format, args...)) << format;
    return std::string(out, static_cast<std::size_t>(stored));
}

// Calls fn(lead..., format, slots...) for the engine's functions and the C library's.
template <typename Fn, typename... Lead> int withCase(RandomCase const& c, Fn fn, Lead... lead) {
    intptr_t const* s = c.slots;
    return fn(lead..., c.format.c_str(), s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8], s[9],
              s[10], s[11]);
}

// The last two reach past the 16 characters measured inline.
char const* const kTexts[] = {
    "", "a", "hello", "router-01", "with space", "0123456789abcdef", "a text longer than sixteen"};
uint32_t const kEdgeValues[] = {0,       1,          7,          9,          10,
                                255,     0x7FFF,     0x8000,     0xFFFF,     0x10000,
                                1000000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 123456789};

RandomCase randomCase(std::mt19937& rng) {
    auto pick = [&rng](uint32_t n) { return static_cast<uint32_t>(rng() % n); };
    RandomCase c;
    std::size_t slot = 0;
    for (uint32_t n = 1 + pick(4); n > 0; --n) {
        for (uint32_t k = pick(4); k > 0; --k)
            c.format += "ab -.:=|xyz09"[pick(13)];
        if (pick(8) == 0)
            c.format += "%%";
        char const conversion = "diouxXcs"[pick(8)];
        bool const text = conversion == 'c' || conversion == 's';
        std::string flags;
        for (uint32_t k = pick(4); k > 0; --k)
            flags += "-+ #0"[pick(5)];
        // glibc pads strings with spaces under '0' and drops "%#.3o"'s own zero.
        bool const zero = flags.find('0') != std::string::npos;
        uint32_t const precisionMode = conversion == 'c' ? 0 : pick(4);
        if (text || (conversion == 'o' && precisionMode != 0))
            flags.erase(std::remove(flags.begin(), flags.end(), text ? '0' : '#'), flags.end());
        c.format += '%' + flags;
        uint32_t const widthMode = pick(3);
        if (widthMode == 1)
            c.format += std::to_string(1 + pick(20));
        if (widthMode == 2) { // a negative '*' width keeps '0' here, where glibc lets '-' win
            int const width = static_cast<int>(pick(41)) - 20;
            c.slots[slot++] = zero && !text ? std::abs(width) : width;
            c.format += '*';
        }
        int precision = -1;
        if (precisionMode == 1 || precisionMode == 2) { // "." is ".0"
            precision = precisionMode == 1 ? 0 : static_cast<int>(pick(25));
            c.format += precisionMode == 1 ? "." : '.' + std::to_string(precision);
        } else if (precisionMode == 3) {
            precision = static_cast<int>(pick(28)) - 3;
            c.slots[slot++] = precision;
            c.format += ".*";
        }
        char const length = text ? '\0' : "\0hl"[pick(3)];
        if (length != '\0')
            c.format += length;
        c.format += conversion;
        if (conversion == 's') {
            c.slots[slot++] = reinterpret_cast<intptr_t>(kTexts[pick(7)]);
        } else if (conversion == 'c') {
            c.slots[slot++] = static_cast<intptr_t>(' ' + pick(95));
        } else {
            uint32_t v = pick(2) == 0 ? kEdgeValues[pick(15)] : static_cast<uint32_t>(rng());
            // glibc prints nothing for a zero value at precision 0; the engine prints "0".
            if (precision == 0 && (length == 'h' ? v & 0xFFFFu : v) == 0)
                v = 1;
            c.slots[slot++] = conversion == 'd' || conversion == 'i'
                                  ? static_cast<intptr_t>(static_cast<int32_t>(v))
                                  : static_cast<intptr_t>(static_cast<uintptr_t>(v));
        }
    }
    return c;
}

// Each random format against glibc, stored whole and as one random slice: output characters
// skip, skip+1, ... while one byte of size stays free, and nothing written past them.
TEST(FormatTest, AgreesWithTheCLibraryOnSharedDirectivesAndStoresOnlyTheSlice) {
    std::mt19937 rng(20240611u), random(5u);
    for (int i = 0; i < 20000; ++i) {
        RandomCase const c = randomCase(rng);
        char expected[512], actual[512];
        int const length = withCase(c, std::snprintf, expected, sizeof expected);
        ASSERT_EQ(withCase(c, strlenf), length) << c.format;
        ASSERT_EQ(withCase(c, snxprintf, actual, 0, uint32_t{sizeof actual}), length) << c.format;
        ASSERT_STREQ(actual, expected) << c.format;
        auto const skip = static_cast<int32_t>(random() % static_cast<uint32_t>(length + 2));
        auto const size = 1 + static_cast<uint32_t>(random() % static_cast<uint32_t>(length + 2));
        std::memset(actual, '#', sizeof actual);
        int const stored = withCase(c, snxprintf, actual, skip, size);
        ASSERT_EQ(std::string(actual, static_cast<std::size_t>(stored) + 2),
                  std::string(expected + std::min(skip, length)).substr(0, size - 1) + '\0' + '#')
            << c.format << " skip " << skip << " size " << size;
    }
}

TEST(FormatTest, PartsFromTheCLibraryWhereTheDeviceDoes) {
    // A zero value always prints one digit, also at precision 0; '#' puts its "0" before the
    // precision's zeros.
    EXPECT_EQ(fmt("%.0d|%#.0x|%+.0d|%.u|%#.3o", 0, 0, 0, 0u, 8u), "0|0|+0|0|0010");
    // "%p" always has "0x", also for null, and the device's 32 bits in lower case; '0'
    // fills after the prefix. 'l' reads a long but keeps the device's 32 bits too.
    EXPECT_EQ(fmt("%p|%5p|%06p|%p", nullptr, nullptr, reinterpret_cast<void*>(0xFFu),
                  reinterpret_cast<void*>(static_cast<uintptr_t>(UINT64_C(0x12345678DEADBEEF)))),
              "0x0|  0x0|0x00ff|0xdeadbeef");
    EXPECT_EQ(fmt("%lx|%lu", static_cast<unsigned long>(UINT64_C(0x0123456789abcdef)),
                  static_cast<unsigned long>(UINT32_MAX)),
              "89abcdef|4294967295");
    // '0' fills strings and characters too, whatever the precision; a NUL character and
    // precision 0 leave only the fill; a null string prints as "(null)", cut by a precision.
    EXPECT_EQ(fmt("%05s|%05c|%03.1s", "ab", 'x', "abc"), "000ab|0000x|00a");
    EXPECT_EQ(fmt("%c|%3c|%2.0c|%s|%.2s", 0, 0, 'x', nullptr, nullptr), "|   |  |(null)|(n");
    // A negative '*' width sets '-' but keeps a '0' flag, which then takes the width; one
    // of INT_MIN has no int magnitude and pads nothing.
    EXPECT_EQ(fmt("%*d|%0*d|%*d|%*s", -4, 7, -4, 7, INT_MIN, 5, INT_MIN, "ab"), "7   |0007|5|ab");
    // Unknown conversions print themselves and take no argument, and a format ending
    // inside a directive ends the output there.
    EXPECT_EQ(fmt("%f%d|%-08.3k%d|%lld%d|%hhd%d|%5%|%-%%d", 7, 4, 5, 9, 3), "f7|k4|ld5|hd9|%|%3");
    EXPECT_EQ(fmt("ab%") + '|' + fmt("ab%-08.3") + '|' + fmt("ab%*", 5) + '|' + fmt("ab%l"),
              "ab|ab|ab|ab");
}

TEST(FormatTest, StoresAndCountsOnlyWhatItProduces) {
    // A null destination, size 0 or a negative skip store nothing at all.
    char out[16] = "###";
    EXPECT_EQ(
        snxprintf(out, 0, 0, "a") + snxprintf(out, -1, 4, "a") + snxprintf(nullptr, 0, 4, "a"), 0);
    EXPECT_STREQ(out, "###");
    // "%n": skipped characters count, the position being in the whole output; dropped ones do
    // not, whether literal, converted or due after a skip. Without 'h' all 32 bits are stored;
    // with 'h' only 16, leaving the neighbour alone.
    int n[6] = {};
    short pair[2] = {-1, -1};
    EXPECT_EQ(strlenf("abc%n%70000d%n", &n[0], 1, &n[1]), 70003);
    EXPECT_EQ(snxprintf(out, 2, sizeof out, "abc%nd", &n[2]), 2);
    EXPECT_STREQ(out, "cd");
    EXPECT_EQ(snxprintf(out, 0, 3, "abcdef%n", &n[3]) + snxprintf(out, 2, 1, "abc%n", &n[4]), 2);
    EXPECT_EQ(snxprintf(out, 1, 3, "%5d%n", 12345, &n[5]), 2);
    EXPECT_EQ(std::vector<int>(n, n + 6), (std::vector<int>{3, 70003, 3, 2, 0, 3}));
    EXPECT_EQ(strlenf("%70000d%hn", 1, &pair[0]), 70000);
    EXPECT_TRUE(pair[0] == static_cast<short>(70000 - 65536) && pair[1] == -1);
}

} // namespace
