// String storage, editing, comparison and search: buffer layout, sizing and sharing, every
// change against a step-by-step model, formatting where it parts from the C library,
// allocation failure, and ordering and search against step-by-step references and the C
// library.
#include <orvik_utilities/text/Format.h>
#include <orvik_utilities/text/String.h>

#include "support/AllocationFailure.h"
#include "support/StringChecks.h"

#include <gtest/gtest.h>

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

using namespace orvik_test;

namespace {

// Reads a 32-bit header field straight from the buffer's bytes.
int32_t headerField(String const& s, int index) {
    int32_t value;
    std::memcpy(&value, s.buffer() - 12 + 4 * index, sizeof value);
    return value;
}

TEST(StringTest, HandleIsOnePointerToAHeaderOfThreeFieldsBeforeTheText) {
    EXPECT_EQ(sizeof(String), sizeof(void*));
    String s("hello", 40);
    EXPECT_EQ(lastAllocationSize(), static_cast<std::size_t>(capacityOf(s)) + 13);
    String copy(s);
    EXPECT_EQ(headerField(s, 0), 2);  // reference count
    EXPECT_EQ(headerField(s, 1), 55); // capacity
    EXPECT_EQ(headerField(s, 2), 5);  // length
    EXPECT_STREQ(s.buffer(), "hello");
    copy = copy; // keeps the count
    EXPECT_TRUE(shareBuffer(s, *copy));
    copy += "x"; // the first write unshares
    EXPECT_EQ(referencesOf(s) + referencesOf(copy), 2);
}

TEST(StringTest, SizingRuleRoundsUpInSixteensThenSixtyFours) {
    // 32-bit arithmetic: a negative request wraps like the device's
    long const needed[] = {0, 7, 8, 23, 24, 119, 120, 127, 128, 191, 192, 4096, INT32_MAX, -100};
    long const capacity[] = {7, 7, 23, 23, 39, 119, 135, 135, 191, 191, 255, 4159, INT32_MAX, -89};
    for (std::size_t i = 0; i < std::size(needed); ++i)
        EXPECT_EQ(String::StringBuffer::NEAREST_VALID_STRING_LENGTH(needed[i]), capacity[i]);
}

TEST(StringTest, EmptyFormsShareOneStaticBufferAndCountTheirHolders) {
    int32_t before = referencesOf(String::EMPTY());
    {
        String a, b(static_cast<char>(0)), c(static_cast<char const*>(nullptr)), d("");
        String e(nullptr, 100L), f("abc", 5L, 1L), g("abc", 1L, 0L), h("abc"), i("abc"), j(" \t ");
        h = static_cast<char const*>(nullptr);
        i = '\0';
        j.trim(); // all blank
        for (String const* s : {&a, &b, &c, &d, &e, &f, &g, &h, &i, &j})
            EXPECT_TRUE(usesSharedEmpty(*s) && invariantsHold(*s));
        EXPECT_EQ(referencesOf(a), before + 10);
        EXPECT_TRUE(String::StringBuffer::EMPTY()->hasMultipleReferers());
    }
    EXPECT_EQ(referencesOf(String::EMPTY()), before);
    EXPECT_EQ(&String::EMPTY(), &String::EMPTY());
}

// Offsets and counts are clamped into the text.
TEST(StringTest, ConstructorsSizeByTheRuleOrByTheRequest) {
    String const made[] = {
        {'x'},    {"abcdefgh"},       {"abc", 200L},       {"abcdefghij", 2L}, {"abc", -5L},
        {"", 0L}, {"abcdef", 2L, 3L}, {"abcdef", -5L, 3L}, {"abcdef", 4L, 10L}};
    char const* const texts[] = {"x", "abcdefgh", "abc", "abcdefghij", "abc",
                                 "",  "cde",      "abc", "ef"};
    long const capacities[] = {7, 23, 255, 23, 7, 7, 7, 7, 7};
    for (std::size_t i = 0; i < std::size(made); ++i) {
        EXPECT_STREQ(made[i].buffer(), texts[i]);
        EXPECT_EQ(capacityOf(made[i]), capacities[i]) << texts[i];
        EXPECT_EQ(referencesOf(made[i]), 1) << texts[i];
    }
    EXPECT_EQ(capacityOf(String("abcdef") = 'z'), 7); // a character always gets a new buffer
    EXPECT_EQ(capacityOf(String() = ""), 7);          // the shared empty one is never written
}

TEST(StringTest, LengthsBeyond32BitsAreRefused) {
    String s("abc");
    s.concat("x", LONG_MAX);
    EXPECT_EQ(textOf(s), "abc");
    EXPECT_EQ(String::StringBuffer::operator new(0, -1L), nullptr);
    if (sizeof(long) > 4) {
        // On a 64-bit host: refused like an allocation failure.
        long huge = static_cast<long>(static_cast<int64_t>(INT32_MAX) * 4);
        EXPECT_TRUE(usesSharedEmpty(String("abc", huge)));
        s.concat("x", huge);
        EXPECT_EQ(textOf(s), "abc");
    }
}

// One step's arguments, and the text before it.
struct Step {
    std::string old;
    long p, q;       // positions: mostly near the text, now and then LONG_MIN or LONG_MAX
    std::string arg; // may hold NULs
    char c, d;
    long length() const { return static_cast<long>(old.size()); }
    long from() const { return std::max(p, 0L); }
    long count() const { return std::min(q % 4 - 1, static_cast<long>(arg.size())); }
};

// What a C-string reading of the bytes sees: those before the first NUL.
std::string visible(std::string const& bytes) { return bytes.substr(0, bytes.find('\0')); }
std::string chr(char c) { return visible(std::string(1, c)); }

// count bytes of t from from, both clamped into it.
std::string part(std::string const& t, long from, long count) {
    long const n = static_cast<long>(t.size());
    from = std::clamp(from, 0L, n);
    return t.substr(static_cast<std::size_t>(from),
                    static_cast<std::size_t>(std::clamp(count, 0L, n - from)));
}

std::string inserted(Step const& a, std::string const& text) {
    return a.p < 0 || a.p > a.length() ? a.old
                                       : part(a.old, 0, a.p) + text + part(a.old, a.p, a.length());
}

std::string replaced(std::string t, char from, char to) {
    std::replace(t.begin(), t.end(), from, to == '\0' ? from : to);
    return t;
}

// Case as the C library's C locale sees it.
std::string mapped(std::string t, int (*map)(int)) {
    for (char& c : t)
        c = static_cast<char>(map(static_cast<unsigned char>(c)));
    return t;
}

std::string trimmed(std::string const& t) {
    char const blanks[] = " \t\n\v\f\r";
    std::size_t const first = t.find_first_not_of(blanks);
    return first == std::string::npos ? ""
                                      : t.substr(first, t.find_last_not_of(blanks) + 1 - first);
}

// Each change on a String, and the text a plain reading of its rule gives. A change writes
// in place when the buffer is unshared and has room, unless it assigns a new String: one
// built on the side may also fall back to empty when an allocation fails.
enum Kind { InPlace, Assigns, BuildsAside };
struct Edit {
    void (*change)(String&, Step const&);
    std::string (*expected)(Step const&);
    Kind kind = InPlace;
} const kEdits[] = {
    {[](auto& s, auto& a) { s.replace(a.c, a.d); },
     [](auto& a) { return replaced(a.old, a.c, a.d); }},
    {[](auto& s, auto&) { s.toLowerCase(); }, [](auto& a) { return mapped(a.old, std::tolower); }},
    {[](auto& s, auto&) { s.toUpperCase(); }, [](auto& a) { return mapped(a.old, std::toupper); }},
    {[](auto& s, auto&) { s.trim(); }, [](auto& a) { return trimmed(a.old); }},
    {[](auto& s, auto& a) { s.deleteRegion(a.p); },
     [](auto& a) { return part(a.old, 0, a.from()); }},
    {[](auto& s, auto& a) { s.deleteRegion(a.p, a.q); },
     [](auto& a) {
         return part(a.old, 0, a.from()) + part(a.old, std::max(a.q, a.from()), a.length());
     }},
    // a String brings its NULs along, a char const* ends at the first
    {[](auto& s, auto& a) { s.insert(a.p, bytesOf(a.arg)); },
     [](auto& a) { return inserted(a, a.arg); }},
    {[](auto& s, auto& a) { s.insert(a.p, a.arg.c_str()); },
     [](auto& a) { return inserted(a, visible(a.arg)); }},
    {[](auto& s, auto& a) { s.insert(a.p, a.c); }, [](auto& a) { return inserted(a, chr(a.c)); }},
    {[](auto& s, auto& a) { s.insert(a.p, s); }, [](auto& a) { return inserted(a, a.old); }},
    {[](auto& s, auto& a) { s += a.c; }, [](auto& a) { return a.old + chr(a.c); }},
    {[](auto& s, auto& a) { s += a.arg.c_str(); }, [](auto& a) { return a.old + visible(a.arg); }},
    {[](auto& s, auto& a) { s += bytesOf(a.arg); }, [](auto& a) { return a.old + a.arg; }},
    {[](auto& s, auto&) { s.concat(s); }, [](auto& a) { return a.old + a.old; }},
    // the count decides, not the NULs; nothing for a null pointer or a count below 1
    {[](auto& s, auto& a) { s.concat(a.arg.data(), a.count()); },
     [](auto& a) { return a.old + part(a.arg, 0, a.count()); }},
    {[](auto& s, auto& a) { s.concat(nullptr, a.q); }, [](auto& a) { return a.old; }},
    // assigning a text that lies in the String's own buffer
    {[](auto& s, auto& a) { s = s.buffer() + std::clamp(a.p, 0L, a.length()); },
     [](auto& a) { return visible(part(a.old, a.p, a.length())); }},
    {[](auto& s, auto& a) { s = a.c; }, [](auto& a) { return chr(a.c); }, Assigns},
    {[](auto& s, auto& a) { s = s + bytesOf(a.arg); }, [](auto& a) { return a.old + a.arg; },
     Assigns},
    {[](auto& s, auto& a) { s = s + a.arg.c_str(); },
     [](auto& a) { return a.old + visible(a.arg); }, Assigns},
    {[](auto& s, auto& a) { s = s + a.c; }, [](auto& a) { return a.old + chr(a.c); }, Assigns},
    {[](auto& s, auto& a) { s = a.arg.c_str() + s; },
     [](auto& a) { return visible(a.arg) + a.old; }, BuildsAside},
    {[](auto& s, auto& a) { s = a.c + s; }, [](auto& a) { return chr(a.c) + a.old; }, BuildsAside},
    {[](auto& s, auto& a) { s = String(a.arg.c_str(), std::clamp(a.q, -8L, 80L)); },
     [](auto& a) { return visible(a.arg); }, BuildsAside},
    {[](auto& s, auto& a) { s = String(a.arg.c_str()); }, [](auto& a) { return visible(a.arg); },
     BuildsAside},
    {[](auto& s, auto& a) { s = String(a.c); }, [](auto& a) { return chr(a.c); }, BuildsAside},
    {[](auto& s, auto& a) { s = String(a.arg.c_str(), a.p, a.q); },
     [](auto& a) { return part(visible(a.arg), a.p, a.q); }, BuildsAside},
    {[](auto& s, auto& a) { s = String::stringOf(a.arg.c_str(), a.p, a.q); },
     [](auto& a) { return part(visible(a.arg), a.p, a.q); }, BuildsAside},
    // substrings are copied as char const*, so they end at a NUL
    {[](auto& s, auto& a) { s = s.substring(a.p); },
     [](auto& a) { return a.p < 0 ? "" : visible(part(a.old, a.p, a.length())); }, BuildsAside},
    {[](auto& s, auto& a) { s = s.substring(a.p, a.q); },
     [](auto& a) { return a.from() >= a.q ? "" : part(visible(a.old), a.from(), a.q - a.from()); },
     BuildsAside},
    {[](auto& s, auto& a) { s.concatf("%s<%d>", a.arg.c_str(), a.c); },
     [](auto& a) { return a.old + visible(a.arg) + '<' + std::to_string(a.c) + '>'; }},
    // a NUL character adds nothing, and an empty result empties the String
    {[](auto& s, auto& a) { s.format("%.2s%c", a.arg.c_str(), a.c); },
     [](auto& a) { return part(visible(a.arg), 0, 2) + chr(a.c); }},
};

// Random changes, in sequence, on Strings with more or less room. A third of them find the
// buffer shared with a copy, which must keep the old text.
TEST(StringTest, EditsAgreeWithAStepByStepModel) {
    // Case boundaries, the blanks and their neighbours, a high byte and NUL.
    char const alphabet[] = {'a',  'A',  'z',    'Z',    '@',    '{', ' ',
                             '\t', '\r', '\x08', '\x0e', '\xA0', '\0'};
    std::mt19937 random(20240612u);
    auto pick = [&](long n) { return static_cast<long>(random() % static_cast<unsigned long>(n)); };
    auto byte = [&] { return alphabet[pick(static_cast<long>(sizeof alphabet))]; };
    for (int round = 0; round < 4000; ++round) {
        Step a;
        a.old = randomText(random, alphabet, 8);
        String s("", pick(30)); // a private buffer of 7 to 39 characters
        s.concat(a.old.data(), a.length());
        for (int step = 0; step < 6; ++step) {
            auto position = [&] {
                long const r = pick(a.length() + 60);
                return r == 0 ? LONG_MAX : r == 1 ? LONG_MIN : r % (a.length() + 5) - 2;
            };
            std::string const arg = randomText(random, alphabet, 5);
            a = Step{a.old, position(), position(), arg, byte(), byte()};
            bool const shared = pick(3) == 0;
            String const copy = shared ? s : String();
            auto const edit = static_cast<std::size_t>(pick(std::size(kEdits)));
            char const* const storage = s.buffer();
            long const room = referencesOf(s) == 1 ? capacityOf(s) : -1; // for writing in place
            kEdits[edit].change(s, a);
            std::string const expected = kEdits[edit].expected(a);
            ASSERT_EQ(textOf(s), expected) << "round " << round << " edit " << edit;
            ASSERT_TRUE(invariantsHold(s)) << "edit " << edit;
            ASSERT_TRUE(!shared || textOf(copy) == a.old)
                << "edit " << edit << " wrote into a copy";
            ASSERT_TRUE(kEdits[edit].kind != InPlace || expected.empty() ||
                        static_cast<long>(expected.size()) > room || s.buffer() == storage)
                << "edit " << edit << " took a new buffer";
            // every holder counted once: an assignment lets go of the old buffer
            bool const same = shareBuffer(s, copy);
            ASSERT_TRUE(usesSharedEmpty(s) || referencesOf(s) == (same ? 2 : 1)) << edit;
            ASSERT_TRUE(usesSharedEmpty(copy) || referencesOf(copy) == (same ? 2 : 1)) << edit;
            // case and replace copy a shared buffer as it is, at its capacity
            ASSERT_TRUE(!shared || edit > 2 || capacityOf(s) == capacityOf(copy)) << edit;
            long const index = position();
            bool const inside = index >= 0 && index < static_cast<long>(expected.size());
            ASSERT_EQ(s[index], inside ? expected[static_cast<std::size_t>(index)] : '\0');
            a.old = expected;
        }
    }
}

TEST(StringTest, FormattedTextIsThePlatformsCutToTheEnginesCount) {
    // "%f" counts one character; "%0*d" of -4 counts as many as the platform's "7   " has;
    // where the platform writes fewer than counted, the engine's own text fills the field.
    String s("old");
    s.format("%f", 1.5);
    s.concatf("%0*d", -4, 7);
    s.concatf("[%.0d]", 0);
    EXPECT_EQ(textOf(s), "17   [0]");
    EXPECT_TRUE(usesSharedEmpty(s.format("%s", "")));
    // A new buffer is sized by the rule, and arguments in the old text stay readable.
    String grown("0123456789");
    grown.concatf("%0120d", 7);
    EXPECT_EQ(capacityOf(grown), 191);
    EXPECT_EQ(textOf(grown).substr(120), "0000000007");
    String t("abc");
    t.format("%s%s%s", t.buffer(), t.buffer(), t.buffer());
    t.concatf("<%s>%015d", t.buffer(), 1);
    EXPECT_EQ(textOf(t), "abcabcabc<abcabcabc>000000000000001");
}

// The C library converts through long, which saturates at 32 bits on the device.
TEST(StringTest, ToIntegerReadsLikeScanfAndSaturatesAt32Bits) {
    char const* const texts[] = {
        "42", "0x1F",       "010",        " -7abc",     "+12",         "abc",
        "",   "2147483647", "2147483648", "0xFFFFFFFF", "-2147483648", "-99999999999"};
    int const values[] = {42, 31, 8, -7, 12, -1, -1, INT_MAX, INT_MAX, INT_MAX, INT_MIN, INT_MIN};
    for (std::size_t i = 0; i < std::size(texts); ++i)
        EXPECT_EQ(String(texts[i]).toInteger(), values[i]) << texts[i];
}

TEST(StringTest, StringOfFormsTheValueText) {
    EXPECT_EQ(textOf(String::stringOf(false)) + textOf(String::stringOf(true)), "falsetrue");
    EXPECT_EQ(textOf(String::stringOf(static_cast<long>(INT32_MIN))), "-2147483648");
    EXPECT_EQ(textOf(String::stringOf(4294967295UL)), "4294967295");
    EXPECT_EQ(textOf(String::stringOf(reinterpret_cast<void*>(0xBEEFu))), "0xbeef");
    EXPECT_EQ(
        textOf(String::stringOf('x') + String::stringOf("yz", 1L, 5L) + String::stringOf("w")),
        "xzw");
}

// Every change swept through its allocation failures, on an unshared and on a shared buffer:
// each run ends with the old text or the new one, never anything between. Changes that build
// a String on the side only keep the invariants: such a String may fall back to empty.
TEST(StringTest, AllocationFailureLeavesStringUnchanged) {
    Step a{" a sample text", 3, 9, "long inserted ", '!', 'A'};
    for (Edit const& edit : kEdits) {
        std::string const expected = edit.expected(a);
        for (bool shared : {false, true}) {
            int injected = sweepAllocationFailures([&](AllocationFault& fault, bool& failed) {
                String s(a.old.c_str()); // unshared, with room for the shorter results only
                String const copy = shared ? s : String();
                fault.arm();
                edit.change(s, a);
                failed = fault.disarm();
                EXPECT_TRUE(invariantsHold(s)) << expected;
                EXPECT_TRUE(textOf(s) == expected ||
                            (failed && (textOf(s) == a.old || edit.kind == BuildsAside)))
                    << expected << ": " << textOf(s);
                EXPECT_TRUE(!shared || textOf(copy) == a.old) << expected;
            });
            EXPECT_TRUE(!shared || injected > 0 || expected == a.old) << expected;
        }
    }
}

} // namespace

// Comparison, ordering and search.
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

TEST(StringTest, EverythingAgreesWithTheStepByStepRules) {
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

TEST(StringTest, EqualsIgnoringCaseOfLongTextsAgreesWithStrncasecmp) {
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
