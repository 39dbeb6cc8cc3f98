// String comparison, ordering and search: tables of edge cases and a randomised cross-check.
#include <orvik_utilities/text/Format.h>
#include <orvik_utilities/text/String.h>

#include "support/StringChecks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <utility>

using namespace orvik_test;

namespace {

// A String holding exactly these bytes, embedded NULs included.
String bytesOf(std::string const& bytes) {
    String s;
    s.concat(bytes.data(), static_cast<long>(bytes.size()));
    return s;
}

int signOf(int value) { return (value > 0) - (value < 0); }

// Bytes drawn from a small alphabet, so that matches and near misses are common.
template <std::size_t N>
std::string randomText(std::mt19937& random, char const (&alphabet)[N], std::size_t maxLength) {
    std::string text(random() % (maxLength + 1), ' ');
    for (char& c : text)
        c = alphabet[random() % N];
    return text;
}

TEST(StringCompareTest, CompareToHasTheReversedSense) {
    // compareTo(other) is strcmp(other, this); bytes >= 0x80 sort after ASCII on both targets
    struct Row {
        char const* own;
        char const* other;
        int expected;
    } const rows[] = {
        {"b", "a", -1}, {"a", "b", 1},        {"abc", "abc", 0}, {"ab", "abc", 1},
        {"", "a", 1},   {"\x80", "\x7f", -1}, {"a", "\xff", 1},  {"\xff", "\xfe", -1},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(std::string(row.own) + " vs " + row.other);
        String own(row.own), other(row.other);
        EXPECT_EQ(own.compareTo(other), row.expected);
        EXPECT_EQ(own.compareToIgnoreCase(other), row.expected);
        // the operators compare left against right
        EXPECT_EQ((own < other), row.expected > 0);
        EXPECT_EQ((own > other), row.expected < 0);
        EXPECT_EQ((own < row.other), row.expected > 0);
        EXPECT_EQ((row.other < own), row.expected < 0);
    }
    // folding keeps the reversed sense
    EXPECT_EQ(String("a").compareToIgnoreCase(String("B")), 1);
    EXPECT_EQ(String("B").compareToIgnoreCase(String("a")), -1);
}

TEST(StringCompareTest, OneBufferHeldByBothSidesIsEqualEverywhere) {
    String text("abc"), copy(text), empty, otherEmpty(static_cast<char const*>(nullptr));
    for (auto [a, b] : {std::make_pair(&text, &copy), std::make_pair(&empty, &otherEmpty)}) {
        ASSERT_TRUE(shareBuffer(*a, *b));
        EXPECT_TRUE(a->compareTo(*b) == 0 && a->compareToIgnoreCase(*b) == 0 && a->equals(*b));
        EXPECT_TRUE(a->equalsIgnoreCase(*b) && *a == *b && *a <= *b && *a >= *b);
        EXPECT_FALSE(*a != *b || *a < *b || *a > *b);
    }
}

TEST(StringCompareTest, NullTextIsTheEmptyTextJudgedByLength) {
    // a text starting with NUL is longer than nothing, although strcmp would call it ""
    char const* const null = nullptr;
    for (std::string const& text : {std::string(), std::string("a"), std::string("\0a", 2)}) {
        String s = bytesOf(text);
        bool const empty = text.empty();
        bool const trueWhenEmpty[] = {s.equals(null), s.equalsIgnoreCase(null),
                                      s == null,      null == s,
                                      s <= null,      null >= s,
                                      !(s != null),   !(null != s),
                                      !(null < s),    !(s > null)};
        for (std::size_t i = 0; i < std::size(trueWhenEmpty); ++i) {
            EXPECT_EQ(trueWhenEmpty[i], empty) << "length " << text.size() << ", check " << i;
        }
        EXPECT_FALSE(s < null || null > s);
        EXPECT_TRUE(null <= s && s >= null);
    }
}

TEST(StringCompareTest, EachEqualityUsesItsOwnRuleForEmbeddedNul) {
    // equals compares every byte; ==, the char const* forms and equalsIgnoreCase stop at NUL
    String a = bytesOf(std::string("ab\0x", 4));
    String b = bytesOf(std::string("AB\0y", 4));
    String c = bytesOf(std::string("ab\0y", 4));
    EXPECT_FALSE(a.equals(c));
    EXPECT_TRUE(a == c && !(a != c) && a.equals("ab") && a == "ab");
    EXPECT_TRUE(a.equalsIgnoreCase(b) && a.equalsIgnoreCase("AB"));
    EXPECT_FALSE(a == String("ab") || a.equalsIgnoreCase(String("AB"))); // lengths differ
}

TEST(StringCompareTest, CharOperatorsMatchExactlyOneCharacter) {
    // NUL equals only the empty text; any other character a text of length 1
    struct Row {
        char const* text;
        char c;
        bool equal;
    } const rows[] = {
        {"a", 'a', true}, {"ab", 'a', false}, {"", '\0', true},       {"a", '\0', false},
        {"", 'a', false}, {"b", 'a', false},  {"\xff", '\xff', true},
    };
    for (Row const& row : rows) {
        String s(row.text);
        bool const results[] = {s == row.c, row.c == s, !(s != row.c), !(row.c != s)};
        for (bool result : results) {
            EXPECT_EQ(result, row.equal) << '"' << row.text << "\" vs " << int(row.c);
        }
    }
}

TEST(StringCompareTest, PrefixSuffixAndRegionTestsRefuseRangesOutsideTheText) {
    String abc("abc"), c("c"), none, xbc("XBC");
    // prefixes and suffixes: the empty one always fits, offsets must leave room
    EXPECT_TRUE(abc.startsWith(none) && abc.endsWith(none) && none.startsWith(none));
    EXPECT_TRUE(abc.startsWith(String("ab")) && !abc.startsWith(String("abcd")));
    EXPECT_TRUE(abc.endsWith(String("bc")) && !abc.endsWith(String("xabc")));
    EXPECT_FALSE(abc.endsWith(String("ab")));
    struct Offset {
        long offset;
        String const* prefix;
        bool expected;
    } const offsets[] = {
        {2, &c, true},     {3, &c, false},           {-1, &c, false},          {3, &none, true},
        {4, &none, false}, {LONG_MAX, &none, false}, {LONG_MIN, &none, false},
    };
    for (Offset const& row : offsets) {
        EXPECT_EQ(abc.startsWith(*row.prefix, row.offset), row.expected) << row.offset;
    }
    // regions: both ranges wholly inside their texts, sums must not wrap on the device
    struct Region {
        bool ignoreCase;
        long offset, otherOffset, count;
        bool expected;
    } const regions[] = {
        {true, 1, 1, 2, true},         {false, 1, 1, 2, false},       {false, 1, 1, 0, true},
        {false, 3, 3, 0, true},        {false, 4, 0, 0, false},       {false, -1, 0, 0, false},
        {false, 0, -1, 0, false},      {false, 0, 0, -1, false},      {true, 2, 2, 2, false},
        {true, 1, 1, LONG_MAX, false}, {true, LONG_MAX, 1, 1, false}, {true, 1, LONG_MIN, 1, false},
    };
    for (Region const& row : regions) {
        SCOPED_TRACE(testing::Message()
                     << row.offset << " " << row.otherOffset << " " << row.count);
        EXPECT_EQ(abc.regionMatches(row.ignoreCase, row.offset, xbc, row.otherOffset, row.count),
                  row.expected);
        if (!row.ignoreCase) {
            EXPECT_EQ(abc.regionMatches(row.offset, xbc, row.otherOffset, row.count), row.expected);
        }
    }
}

TEST(StringCompareTest, GetCharsClampsTheRangeAndWritesNoTerminator) {
    String abc("abc");
    struct Row {
        long begin, end;
        char const* copied;
    } const rows[] = {
        {-5, 2, "ab"}, {2, 1, ""}, {1, 100, "bc"}, {LONG_MIN, LONG_MAX, "abc"}, {5, 9, ""},
    };
    for (Row const& row : rows) {
        char out[] = "#####"; // the marks after the copied characters must survive
        EXPECT_EQ(abc.getChars(row.begin, row.end, out),
                  static_cast<long>(std::strlen(row.copied)));
        EXPECT_EQ(std::string(out), (row.copied + std::string("#####")).substr(0, 5))
            << row.begin << ".." << row.end;
    }
    EXPECT_EQ(abc.getChars(0, 3, nullptr), 0);
}

TEST(StringCompareTest, CharSearchesClampTheirStart) {
    // forwards: NUL, and a start at or past the end, find nothing; backwards: the start is cut
    // to the last character, a negative one finds nothing, and NUL is a byte like any other
    String abcabc("abcabc");
    struct Row {
        char c;
        long from, first, last;
    } const rows[] = {
        {'a', 0, 0, 0},    {'a', -3, 0, -1},    {'a', 2, 3, 0},         {'a', 3, 3, 3},
        {'b', 6, -1, 4},   {'a', 100, -1, 3},   {'a', LONG_MAX, -1, 3}, {'a', LONG_MIN, 0, -1},
        {'\0', 0, -1, -1}, {'\0', 100, -1, -1},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(abcabc.indexOf(row.c, row.from), row.first) << row.c << " from " << row.from;
        EXPECT_EQ(abcabc.lastIndexOf(row.c, row.from), row.last) << row.c << " from " << row.from;
    }
    EXPECT_EQ(abcabc.indexOf('c'), 2);
    EXPECT_EQ(abcabc.indexOf('\0'), -1);
    EXPECT_EQ(abcabc.lastIndexOf('a'), 3);
    EXPECT_EQ(String().lastIndexOf('\0'), -1);
    EXPECT_EQ(String("a\xff").indexOf('\xff'), 1);
    EXPECT_EQ(String("\xff\x7f").lastIndexOf('\xff'), 0);
    // forwards, strchr stops at an embedded NUL; backwards, NUL is found like any byte
    String withNul = bytesOf(std::string("ab\0ab", 5));
    EXPECT_EQ(withNul.indexOf('b', 2), -1);
    EXPECT_EQ(withNul.indexOf('b', 3), 4);
    EXPECT_EQ(withNul.lastIndexOf('\0'), 2);
}

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

TEST(StringCompareTest, FastSearchesAgreeWithTheStepByStepRules) {
    // short texts over a few bytes, NUL and 0xff among them, so that hits, NULs on either
    // side and near misses are all common
    char const alphabet[] = {'a', 'b', 'A', '\0', '\xff'};
    std::mt19937 random(20240611u);
    for (int round = 0; round < 20000; ++round) {
        Reference ref{randomText(random, alphabet, 14)};
        std::string needle = randomText(random, alphabet, 4);
        String text = bytesOf(ref.t), arg = bytesOf(needle);
        long from = static_cast<long>(random() % (ref.t.size() + 5)) - 2;
        if (round % 50 == 0)
            from = round % 100 == 0 ? LONG_MAX : LONG_MIN; // must not wrap into range
        SCOPED_TRACE(testing::Message() << "round " << round << " from " << from);
        ASSERT_EQ(text.indexOf(arg), ref.at(std::strstr(ref.s(), needle.c_str())));
        ASSERT_EQ(text.indexOf(arg, from), ref.indexOf(needle, from));
        ASSERT_EQ(text.lastIndexOf(arg), ref.lastIndexOf(needle));
        ASSERT_EQ(text.lastIndexOf(arg, from), ref.lastIndexOf(needle, from));
        ASSERT_EQ(text.indexOfIgnoreCase(arg, from), ref.indexOfIgnoreCase(needle, from));
        ASSERT_EQ(text.lastIndexOfIgnoreCase(arg), ref.lastIndexOfIgnoreCase(needle, LONG_MAX));
        ASSERT_EQ(text.lastIndexOfIgnoreCase(arg, from), ref.lastIndexOfIgnoreCase(needle, from));
        ASSERT_EQ(text.equalsIgnoreCase(arg),
                  needle.size() == ref.t.size() &&
                      strnicmp(ref.s(), needle.c_str(), static_cast<uint32_t>(needle.size())) == 0);
        ASSERT_EQ(text.compareTo(arg), -signOf(std::strcmp(ref.s(), needle.c_str())));
    }
}

TEST(StringCompareTest, EqualsIgnoringCaseOfLongTextsAgreesWithStrnicmp) {
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
            if (random() % 3 == 0) {
                a[at] = b[at] = '\0'; // strnicmp stops here, equal so far
            } else {
                (random() % 2 ? a : b)[at] = swaps[random() % sizeof swaps];
            }
        }
        bool expected = strnicmp(a.c_str(), b.c_str(), static_cast<uint32_t>(a.size())) == 0;
        equal += expected;
        ASSERT_EQ(bytesOf(a).equalsIgnoreCase(bytesOf(b)), expected) << "round " << round;
    }
    EXPECT_TRUE(equal > 1000 && equal < 2500) << equal; // both outcomes are exercised
}

} // namespace
