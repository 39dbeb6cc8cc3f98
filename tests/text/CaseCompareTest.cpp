// ASCII case-insensitive comparisons, with glibc's C-locale strcasecmp as oracle.
#include <orvik_utilities/text/Format.h>

#include <gtest/gtest.h>

#include <strings.h>

#include <random>
#include <string>

namespace {

int sign(int v) { return (v > 0) - (v < 0); }

TEST(CaseCompareTest, FoldsOnlyAsciiLettersAndComparesBytesUnsigned) {
    struct Row {
        char const* a;
        char const* b;
        int expected;
    } const rows[] = {
        // Letters fold in either direction.
        {"abc", "ABC", 0},
        {"Router", "rOUTER", 0},
        {"abc", "abd", -1},
        {"ABD", "abc", 1},
        // A shorter string sorts first.
        {"ab", "abc", -1},
        {"abc", "ab", 1},
        {"", "", 0},
        {"", "a", -1},
        // Neighbours of the letters are not folded: '[' and '`' sit between the cases.
        {"[", "{", -1},
        {"Z", "[", 1},
        {"@", "`", -1},
        // Bytes from 0x80 up sort after ASCII and do not fold, whatever char's sign.
        {"\x80", "a", 1},
        {"a", "\xFF", -1},
        {"\xC4", "\xE4", -1},
        {"x\xE9", "X\xE9", 0},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(stricmp(row.a, row.b), row.expected) << row.a << " vs " << row.b;
        EXPECT_EQ(stricmp(row.b, row.a), -row.expected) << row.b << " vs " << row.a;
        EXPECT_EQ(strnicmp(row.a, row.b, 0xFFFFFFFFu), row.expected) << row.a;
    }
}

TEST(CaseCompareTest, CountLimitsTheComparedCharacters) {
    struct Row {
        char const* a;
        char const* b;
        uint32_t count;
        int expected;
    } const rows[] = {
        // Differences past the count do not matter, ends within it do.
        {"abcX", "ABCy", 3, 0},
        {"abcX", "ABCy", 4, -1},
        {"ab", "abc", 5, -1},
        {"ab", "abc", 2, 0},
        {"abc", "ab", 3, 1},
        // A count of 0 compares nothing.
        {"x", "y", 0, 0},
        {"", "y", 0, 0},
        {"\x80", "a", 1, 1},
    };
    for (Row const& row : rows)
        EXPECT_EQ(strnicmp(row.a, row.b, row.count), row.expected)
            << row.a << " vs " << row.b << " count " << row.count;
}

TEST(CaseCompareTest, AgreesWithCLocaleStrcasecmp) {
    // Letters near the case boundary, their non-letter neighbours and high bytes.
    char const alphabet[] = "aAzZbB@[`{\x7F\x80\xC1\xE1";
    std::mt19937 rng(7u);
    auto pick = [&](std::size_t n) { return static_cast<std::size_t>(rng() % n); };
    for (int i = 0; i < 20000; ++i) {
        std::string a;
        std::string b;
        for (std::size_t k = pick(5); k > 0; --k)
            a += alphabet[pick(sizeof alphabet - 1)];
        for (std::size_t k = pick(5); k > 0; --k)
            b += alphabet[pick(sizeof alphabet - 1)];
        auto const count = static_cast<uint32_t>(pick(6));
        ASSERT_EQ(stricmp(a.c_str(), b.c_str()), sign(strcasecmp(a.c_str(), b.c_str())));
        ASSERT_EQ(strnicmp(a.c_str(), b.c_str(), count),
                  sign(strncasecmp(a.c_str(), b.c_str(), count)));
    }
}

} // namespace
