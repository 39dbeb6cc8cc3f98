// String comparison, ordering and search against step-by-step references and the C library.
#include <orvik_utilities/text/Format.h>
#include <orvik_utilities/text/String.h>

#include "support/StringChecks.h"

#include <gtest/gtest.h>

#include <strings.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using namespace orvik_test;

namespace {

int signOf(int value) { return (value > 0) - (value < 0); }

// The substring searches exactly as a step-by-step reading of their rules gives them:
// strstr and strnicmp tried position by position.
struct Reference {
    std::string t;

    long L() const { return static_cast<long>(t.size()); }
    char const* s() const { return t.c_str(); }
    long at(char const* found) const { return found == nullptr ? -1 : found - s(); }
    static long size(std::string const& a) { return static_cast<long>(a.size()); }

    long indexOf(std::string const& a, long from) const {
        return L() - size(a) < from ? -1 : at(std::strstr(s() + std::max(from, 0L), a.c_str()));
    }
    long lastIndexOf(std::string const& a) const {
        long p = L() - size(a);
        while (p >= 0 && std::strstr(s() + p, a.c_str()) == nullptr)
            --p;
        return std::max(p, -1L);
    }
    long lastIndexOf(std::string const& a, long from) const {
        long p = from < 0 ? -1 : std::min(from, L() - size(a));
        while (p >= 0 && std::strstr(s() + p, a.c_str()) != s() + p)
            --p;
        return std::max(p, -1L);
    }
    bool foldedAt(long p, std::string const& a) const {
        return strnicmp(s() + p, a.c_str(), static_cast<uint32_t>(a.size())) == 0;
    }
    long indexOfIgnoreCase(std::string const& a, long from) const {
        for (long p = std::max(from, 0L); p <= L() - size(a); ++p)
            if (foldedAt(p, a))
                return p;
        return -1;
    }
    long lastIndexOfIgnoreCase(std::string const& a, long from) const {
        long p = from < 0 ? -1 : std::min(from, L() - size(a));
        while (p >= 0 && !foldedAt(p, a))
            --p;
        return std::max(p, -1L);
    }
};

// [at, at + count) lies inside a text of the given length; checked without sums that wrap.
bool inside(long at, long count, long length) {
    return count >= 0 && at >= 0 && at <= length - count;
}

// Results of ==, !=, <, >, <= and >= for a strcmp order.
std::vector<bool> relations(int order, bool equal) {
    return {equal, !equal, (order < 0), (order > 0), (order <= 0), (order >= 0)};
}

TEST(StringCompareTest, EverythingAgreesWithTheStepByStepRules) {
    // short texts over a few bytes, so that hits, NULs on either side, near misses, both
    // orders of high and low bytes and the neighbours of 'Z' and 'z' are all common
    char const alphabet[] = {'a', 'b', 'A', '\0', '\xff', '[', '{'};
    std::mt19937 random(20240611u);
    auto position = [&](std::size_t length) {
        auto const r = random() % (length + 60);
        return r == 0 ? LONG_MAX : r == 1 ? LONG_MIN : static_cast<long>(r % (length + 5)) - 2;
    };
    for (int round = 0; round < 20000; ++round) {
        Reference ref{randomText(random, alphabet, 14)};
        bool const oneBuffer = round % 11 == 0; // both sides hold one buffer
        std::string const needle = oneBuffer ? ref.t : randomText(random, alphabet, 4);
        String const text = bytesOf(ref.t), arg = oneBuffer ? text : bytesOf(needle);
        char const *const t = ref.s(), *const n = needle.c_str();
        long const from = position(ref.t.size()), at = position(needle.size());
        long const count = position(needle.size()), size = Reference::size(needle);
        char const c = needle.empty() ? static_cast<char>(random()) : needle[0];
        SCOPED_TRACE(testing::Message() << "round " << round << " from " << from);
        // searches: strchr stops at a NUL, while backwards NUL is a byte like any other
        long const last =
            from < 0 ? -1 : static_cast<long>(ref.t.rfind(c, static_cast<std::size_t>(from)));
        ASSERT_EQ(text.indexOf(c), c == '\0' ? -1 : ref.at(std::strchr(t, c)));
        ASSERT_EQ(text.indexOf(c, from), c == '\0' || from >= ref.L()
                                             ? -1
                                             : ref.at(std::strchr(t + std::max(from, 0L), c)));
        ASSERT_EQ(text.lastIndexOf(c), static_cast<long>(ref.t.rfind(c)));
        ASSERT_EQ(text.lastIndexOf(c, from), last);
        ASSERT_EQ(text.indexOf(arg), ref.at(std::strstr(t, n)));
        ASSERT_EQ(text.indexOf(arg, from), ref.indexOf(needle, from));
        ASSERT_EQ(text.lastIndexOf(arg), ref.lastIndexOf(needle));
        ASSERT_EQ(text.lastIndexOf(arg, from), ref.lastIndexOf(needle, from));
        ASSERT_EQ(text.indexOfIgnoreCase(arg, from), ref.indexOfIgnoreCase(needle, from));
        ASSERT_EQ(text.indexOfIgnoreCase(arg), ref.indexOfIgnoreCase(needle, 0));
        ASSERT_EQ(text.lastIndexOfIgnoreCase(arg), ref.lastIndexOfIgnoreCase(needle, LONG_MAX));
        ASSERT_EQ(text.lastIndexOfIgnoreCase(arg, from), ref.lastIndexOfIgnoreCase(needle, from));
        // prefixes, suffixes, regions and copies: ranges wholly inside their texts
        auto holds = [&](long p) {
            return ref.t.compare(static_cast<std::size_t>(p), needle.size(), needle) == 0;
        };
        ASSERT_EQ(text.startsWith(arg, from), inside(from, size, ref.L()) && holds(from));
        ASSERT_EQ(text.startsWith(arg), inside(0, size, ref.L()) && holds(0));
        ASSERT_EQ(text.endsWith(arg),
                  inside(ref.L() - size, size, ref.L()) && holds(ref.L() - size));
        bool const regions = inside(from, count, ref.L()) && inside(at, count, size);
        ASSERT_EQ(text.regionMatches(from, arg, at, count),
                  regions && std::strncmp(t + from, n + at, static_cast<std::size_t>(count)) == 0);
        ASSERT_EQ(text.regionMatches(true, from, arg, at, count),
                  regions && strncasecmp(t + from, n + at, static_cast<std::size_t>(count)) == 0);
        std::string copied(24, '#');
        long const begin = std::clamp(from, 0L, ref.L()), end = std::clamp(count, begin, ref.L());
        std::string expected =
            ref.t.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
        expected.resize(copied.size(), '#'); // and no terminator
        ASSERT_EQ(text.getChars(from, count, copied.data()), end - begin);
        ASSERT_EQ(copied, expected);
        ASSERT_EQ(text.getChars(from, count, nullptr), 0);
        // case folding: in the C locale glibc folds only 'A'-'Z' and compares bytes unsigned,
        // as the device does; exactly -1, 0 and 1 are demanded
        auto const limit = static_cast<uint32_t>(count);
        ASSERT_EQ(stricmp(t, n), signOf(strcasecmp(t, n)));
        ASSERT_EQ(strnicmp(t, n, limit), signOf(strncasecmp(t, n, limit)));
        // comparisons: compareTo has the reversed sense, the operators compare left to right;
        // equals takes every byte, the others stop at a NUL; a null text is the empty text
        // judged by length, so a text starting with NUL is still greater
        int const order = signOf(std::strcmp(t, n));
        ASSERT_EQ(text.compareTo(arg), -order);
        ASSERT_EQ(text.compareToIgnoreCase(arg), signOf(strcasecmp(n, t)));
        ASSERT_EQ(text.equals(arg), ref.t == needle);
        ASSERT_EQ(text.equalsIgnoreCase(arg),
                  needle.size() == ref.t.size() && strncasecmp(t, n, needle.size()) == 0);
        ASSERT_EQ((std::vector<bool>{text == arg, text != arg, (text < arg), (text > arg),
                                     text <= arg, text >= arg}),
                  relations(order, order == 0 && ref.t.size() == needle.size()));
        char const* const other = round % 9 == 0 ? nullptr : n;
        int const otherOrder = other == nullptr ? ref.L() > 0 : order;
        ASSERT_EQ(text.equals(other), otherOrder == 0);
        ASSERT_EQ(text.equalsIgnoreCase(other),
                  other == nullptr ? ref.t.empty() : strcasecmp(t, other) == 0);
        ASSERT_EQ((std::vector<bool>{text == other, text != other, (text < other), (text > other),
                                     text <= other, text >= other}),
                  relations(otherOrder, otherOrder == 0));
        ASSERT_EQ((std::vector<bool>{other == text, other != text, (other < text), (other > text),
                                     other <= text, other >= text}),
                  relations(-otherOrder, otherOrder == 0));
        bool const oneChar = c == '\0' ? ref.t.empty() : ref.t.size() == 1 && ref.t[0] == c;
        ASSERT_EQ((std::vector<bool>{text == c, c == text, !(text != c), !(c != text)}),
                  std::vector<bool>(4, oneChar));
    }
}

TEST(StringCompareTest, EqualsIgnoringCaseOfLongTextsAgreesWithStrncasecmp) {
    // long texts differing in case everywhere, with an occasional non-letter pair one case
    // bit apart, a foreign byte, or a NUL in one or both texts
    char const alphabet[] = {'a', 'Z', 'q', '[', '{', '@', '`', '\xc4', '\xe4', '\xff', '7'};
    char const swaps[] = {'[', '\x7b', '\xe4', '\0', 'x'};
    std::mt19937 random(99u);
    int equal = 0;
    for (int round = 0; round < 3000; ++round) {
        std::string a = randomText(random, alphabet, 300), b = a;
        for (char& c : b) {
            bool letter = (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
            c = letter && random() % 2 ? static_cast<char>(c ^ 0x20) : c;
        }
        for (auto changes = random() % 3; changes > 0 && !a.empty(); --changes) {
            std::size_t at = random() % a.size();
            // a NUL in both stops the comparison, equal so far
            (random() % 2 ? a : b)[at] = swaps[random() % sizeof swaps];
            if (random() % 3 == 0)
                a[at] = b[at] = '\0';
        }
        bool expected = strncasecmp(a.c_str(), b.c_str(), a.size()) == 0;
        equal += expected;
        ASSERT_EQ(bytesOf(a).equalsIgnoreCase(bytesOf(b)), expected) << "round " << round;
    }
    EXPECT_TRUE(equal > 1000 && equal < 2500) << equal; // both outcomes are exercised
}

} // namespace
