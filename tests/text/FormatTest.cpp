// The formatting engine and the case-folding comparisons: glibc as oracle for what they
// share with it, slices, and the directives where the engine deliberately parts from glibc.
#include <orvik_utilities/text/Format.h>

#include <gtest/gtest.h>

#include <strings.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

namespace {

// Formats into a roomy buffer and checks that snxprintf stored what strlenf counts.
__attribute__((format(printf, 1, 2))) std::string fmt(char const* format, ...) {
    char out[256];
    va_list args;
    va_list again;
    va_start(args, format);
    va_copy(again, args);
    int const stored = vsnxprintf(out, 0, sizeof out, format, args);
    int const length = vstrlenf(format, again);
    va_end(again);
    va_end(args);
    EXPECT_EQ(stored, length) << format;
    EXPECT_EQ(out[stored], '\0') << format;
    return std::string(out, static_cast<std::size_t>(stored));
}

// A random format over the directives the engine shares with glibc, and its arguments.
// Every argument travels in an intptr_t slot, which both ABIs pass exactly as they pass an
// int, a long or a pointer; 'l' values are stored as the 64-bit long glibc reads there.
struct RandomCase {
    std::string format;
    intptr_t slots[12] = {};
};

// The last two reach past the 16 characters measured inline.
char const* const kTexts[] = {
    "", "a", "hello", "router-01", "with space", "0123456789abcdef", "a text longer than sixteen"};
uint32_t const kEdgeValues[] = {0,       1,          7,          9,          10,
                                255,     0x7FFF,     0x8000,     0xFFFF,     0x10000,
                                1000000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 123456789};

class RandomCases {
public:
    RandomCase next() {
        RandomCase c;
        std::size_t slot = 0;
        for (uint32_t n = 1 + pick(4); n > 0; --n) {
            for (uint32_t k = pick(4); k > 0; --k)
                c.format += "ab -.:=|xyz09"[pick(13)];
            if (pick(8) == 0)
                c.format += "%%";
            directive(c, slot);
        }
        return c;
    }

private:
    std::mt19937 rng{20240611u};

    uint32_t pick(uint32_t n) { return static_cast<uint32_t>(rng() % n); }

    void directive(RandomCase& c, std::size_t& slot) {
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
        if (widthMode == 1) {
            c.format += std::to_string(1 + pick(20));
        } else if (widthMode == 2) {
            // A negative '*' width keeps '0' here, where glibc lets '-' win.
            int const width = static_cast<int>(pick(41)) - 20;
            c.slots[slot++] = zero && !text ? std::abs(width) : width;
            c.format += '*';
        }
        int precision = -1;
        if (precisionMode == 1) {
            precision = 0;
            c.format += '.';
        } else if (precisionMode == 2) {
            precision = static_cast<int>(pick(25));
            c.format += '.' + std::to_string(precision);
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
            bool const isSigned = conversion == 'd' || conversion == 'i';
            c.slots[slot++] = isSigned ? static_cast<intptr_t>(static_cast<int32_t>(v))
                                       : static_cast<intptr_t>(static_cast<uintptr_t>(v));
        }
    }
};

// Calls fn(lead..., format, slots...) for the engine's functions and the C library's.
template <typename Fn, typename... Lead> int withCase(RandomCase const& c, Fn fn, Lead... lead) {
    intptr_t const* s = c.slots;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    return fn(lead..., c.format.c_str(), s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8], s[9],
              s[10], s[11]);
#pragma GCC diagnostic pop
}

int engineSlice(RandomCase const& c, char* dest, int32_t skip, uint32_t size) {
    return withCase(c, snxprintf, dest, skip, size);
}

TEST(FormatTest, AgreesWithTheCLibraryOnSharedDirectives) {
    RandomCases cases;
    for (int i = 0; i < 4000; ++i) {
        RandomCase const c = cases.next();
        char expected[512];
        char actual[512];
        int const expectedLength = withCase(c, std::snprintf, expected, sizeof expected);
        ASSERT_EQ(withCase(c, strlenf), expectedLength) << c.format;
        ASSERT_EQ(engineSlice(c, actual, 0, sizeof actual), expectedLength) << c.format;
        ASSERT_STREQ(actual, expected) << c.format;
    }
}

TEST(FormatTest, StoresOnlyTheRequestedSlice) {
    RandomCases cases;
    for (int i = 0; i < 120; ++i) {
        RandomCase const c = cases.next();
        char fullText[512];
        engineSlice(c, fullText, 0, sizeof fullText);
        std::string const full = fullText;
        auto const length = static_cast<int32_t>(full.size());
        for (int32_t skip = 0; skip <= length + 1; ++skip) {
            for (uint32_t size = 1; size <= static_cast<uint32_t>(length) + 2; ++size) {
                char out[512];
                std::memset(out, '#', sizeof out);
                std::string const expected =
                    full.substr(static_cast<std::size_t>(std::min(skip, length)), size - 1);
                int const stored = engineSlice(c, out, skip, size);
                ASSERT_EQ(std::string(out, static_cast<std::size_t>(stored)), expected)
                    << c.format << " skip " << skip << " size " << size;
                ASSERT_EQ(out[stored], '\0');
                ASSERT_EQ(out[stored + 1], '#') << "wrote past the terminator";
            }
        }
    }
}

TEST(FormatTest, InvalidSliceReturnsZeroAndWritesNothing) {
    char out[8] = "#######";
    EXPECT_EQ(snxprintf(out, 0, 0, "abc"), 0);
    EXPECT_EQ(snxprintf(out, -1, sizeof out, "abc"), 0);
    EXPECT_EQ(snxprintf(nullptr, 0, sizeof out, "abc"), 0);
    EXPECT_STREQ(out, "#######");
}

TEST(FormatTest, PartsFromTheCLibraryWhereTheDeviceDoes) {
    char const* const none = nullptr;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat"
#pragma GCC diagnostic ignored "-Wformat-extra-args"
#pragma GCC diagnostic ignored "-Wformat-overflow"
    struct Row {
        char const* expected;
        std::string actual;
    } const rows[] = {
        // A zero value always prints one digit, also at precision 0.
        {"0|0|+0|0", fmt("%.0d|%#.0x|%+.0d|%.u", 0, 0, 0, 0u)},
        // "%p" always has "0x", also for null, and prints the device's 32 bits in lower case;
        // '0' fills after the prefix.
        {"0x0|       0x0|0x00ff", fmt("%p|%10p|%06p", static_cast<void*>(nullptr),
                                      static_cast<void*>(nullptr), reinterpret_cast<void*>(0xFFu))},
        {"0x80000000|0xdeadbeef",
         fmt("%p|%p", reinterpret_cast<void*>(0x80000000u), reinterpret_cast<void*>(0xDEADBEEFu))},
        // 'l' reads a long but keeps 32 bits, as the device's long has.
        {"89abcdef|4294967295",
         fmt("%lx|%lu", static_cast<unsigned long>(UINT64_C(0x0123456789abcdef)),
             static_cast<unsigned long>(UINT32_MAX))},
        // '0' fills strings and characters too, whatever the precision.
        {"000ab|0000x|00a", fmt("%05s|%05c|%03.1s", "ab", 'x', "abc")},
        // A NUL character and precision 0 leave only the fill.
        {"|   |  ", fmt("%c|%3c|%2.0c", 0, 0, 'x')},
        // A null string prints as "(null)", which a precision cuts.
        {"(null)|(n", fmt("%s|%.2s", none, none)},
        // '#' puts its "0" before the precision's zeros.
        {"0010", fmt("%#.3o", 8u)},
        // A negative '*' width sets '-' but keeps a '0' flag, which then takes the width.
        {"7   |0007", fmt("%*d|%0*d", -4, 7, -4, 7)},
        // A '*' width of INT_MIN has no int magnitude and pads nothing.
        {"5|ab", fmt("%*d|%*s", INT_MIN, 5, INT_MIN, "ab")},
        // Unknown conversions print themselves and take no argument.
        {"f7|k4", fmt("%f%d|%-08.3k%d", 7, 4)},
        {"ld5|hd9", fmt("%lld%d|%hhd%d", 5, 9)},
        {"%|%3", fmt("%5%|%-%%d", 3)},
        // A format ending inside a directive ends the output there.
        {"ab|ab|ab|ab",
         fmt("ab%") + '|' + fmt("ab%-08.3") + '|' + fmt("ab%*", 5) + '|' + fmt("ab%l")},
    };
#pragma GCC diagnostic pop
    for (Row const& row : rows)
        EXPECT_EQ(row.actual, row.expected);
}

TEST(FormatTest, CountsEveryProducedCharacterButNotDroppedOnes) {
    char out[16];
    int n = -1;
    EXPECT_EQ(strlenf("abc%n", &n), 3);
    EXPECT_EQ(n, 3);
    // Skipped characters count: the position is in the whole output.
    EXPECT_EQ(snxprintf(out, 2, sizeof out, "abc%nd", &n), 2);
    EXPECT_STREQ(out, "cd");
    EXPECT_EQ(n, 3);
    // Dropped characters do not, whether literal, converted or due after a skip.
    EXPECT_EQ(snxprintf(out, 0, 3, "abcdef%n", &n), 2);
    EXPECT_EQ(n, 2);
    EXPECT_EQ(snxprintf(out, 1, 3, "%5d%n", 12345, &n), 2);
    EXPECT_EQ(n, 3);
    // Without 'h' all 32 bits are stored; with 'h' only 16, leaving the neighbour alone.
    EXPECT_EQ(strlenf("%70000d%n", 1, &n), 70000);
    EXPECT_EQ(n, 70000);
    short pair[2] = {-1, -1};
    EXPECT_EQ(strlenf("%70000d%hn", 1, &pair[0]), 70000);
    EXPECT_EQ(pair[0], static_cast<short>(70000 - 65536));
    EXPECT_EQ(pair[1], -1);
}

int sign(int v) { return (v > 0) - (v < 0); }

// In the C locale glibc folds only 'A'-'Z' and compares bytes unsigned, as the device
// does; its results are reduced to their sign, so exactly -1, 0 and 1 are demanded.
TEST(FormatTest, CaseFoldingAgreesWithCLocaleStrcasecmp) {
    // Letters near the case boundary, their non-letter neighbours and high bytes.
    char const alphabet[] = "aAzZbB@[`{\x7F\x80\xC1\xE1";
    std::mt19937 rng(7u);
    auto text = [&] {
        std::string t(rng() % 5, ' ');
        for (char& c : t)
            c = alphabet[rng() % (sizeof alphabet - 1)];
        return t;
    };
    for (int i = 0; i < 20000; ++i) {
        std::string const a = text(), b = text();
        auto const count = static_cast<uint32_t>(rng() % 6);
        ASSERT_EQ(stricmp(a.c_str(), b.c_str()), sign(strcasecmp(a.c_str(), b.c_str())));
        ASSERT_EQ(strnicmp(a.c_str(), b.c_str(), count),
                  sign(strncasecmp(a.c_str(), b.c_str(), count)));
        ASSERT_EQ(strnicmp(a.c_str(), b.c_str(), 0xFFFFFFFFu),
                  sign(strcasecmp(a.c_str(), b.c_str())));
    }
}

} // namespace
