// String storage and editing against a step-by-step model, comparison and search against
// step-by-step references and the C library, and allocation failure swept through every change.
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

TEST(StringTest, HandleIsOnePointerToAHeaderBeforeTheTextAndRefusesLengthsBeyond32Bits) {
    EXPECT_EQ(sizeof(String), sizeof(void*));
    String s("hello", 40);
    EXPECT_EQ(lastAllocationSize(), static_cast<std::size_t>(capacityOf(s)) + 13);
    String copy(s);
    copy = copy;       // keeps the count
    int32_t header[3]; // reference count, capacity, length
    std::memcpy(header, s.buffer() - sizeof header, sizeof header);
    EXPECT_EQ(std::vector<int32_t>(header, header + 3), (std::vector<int32_t>{2, 55, 5}));
    EXPECT_TRUE(shareBuffer(s, *copy));
    copy += "x"; // the first write unshares
    EXPECT_EQ(referencesOf(s) + referencesOf(copy), 2);
    // lengths beyond 32 bits are refused, on a 64-bit host like an allocation failure
    s.concat("x", LONG_MAX);
    EXPECT_EQ(String::StringBuffer::operator new(0, -1L), nullptr);
    if (sizeof(long) > 4) {
        long const huge = static_cast<long>(static_cast<int64_t>(INT32_MAX) * 4);
        EXPECT_TRUE(usesSharedEmpty(String("hello", huge)));
        s.concat("x", huge);
    }
    EXPECT_EQ(textOf(s), "hello");
}

// The rule rounds up in 16s, then 64s, in 32-bit arithmetic: a negative request wraps like
// the device's. Offsets and counts are clamped into the text; every empty result holds the
// one shared empty buffer, counted once per holder.
TEST(StringTest, ConstructorsSizeByTheRuleOrTheRequestAndShareOneEmptyBuffer) {
    long const needed[] = {0, 7, 8, 23, 24, 119, 120, 127, 128, 191, 192, 4096, INT32_MAX, -100};
    long const rounded[] = {7, 7, 23, 23, 39, 119, 135, 135, 191, 191, 255, 4159, INT32_MAX, -89};
    for (std::size_t i = 0; i < std::size(needed); ++i)
        EXPECT_EQ(String::StringBuffer::NEAREST_VALID_STRING_LENGTH(needed[i]), rounded[i]);
    int32_t const before = referencesOf(String::EMPTY());
    {
        String const made[] = {
            {'x'},    {"abcdefgh"},       {"abc", 200L},       {"abcdefghij", 2L}, {"abc", -5L},
            {"", 0L}, {"abcdef", 2L, 3L}, {"abcdef", -5L, 3L}, {"abcdef", 4L, 10L}};
        char const* const texts[] = {"x", "abcdefgh", "abc", "abcdefghij", "abc",
                                     "",  "cde",      "abc", "ef"};
        long const capacities[] = {7, 23, 255, 23, 7, 7, 7, 7, 7};
        for (std::size_t k = 0; k < std::size(made); ++k) {
            EXPECT_EQ(textOf(made[k]), texts[k]);
            EXPECT_TRUE(capacityOf(made[k]) == capacities[k] && referencesOf(made[k]) == 1) << k;
        }
        // a character always gets a new buffer; the shared empty one is never written
        EXPECT_EQ(capacityOf(String("abcdef") = 'z') + capacityOf(String() = ""), 7 + 7);
        char const* const none = nullptr;
        String h("abc"), i("abc"), j(" \t ");
        h = none;
        i = '\0';
        j.trim();
        String const empty[] = {
            {},  {'\0'}, {none}, {""}, {none, 100L}, {"abc", 5L, 1L}, {"abc", 1L, 0L},
            {h}, {i},    {j}};
        for (String const& e : empty)
            EXPECT_TRUE(usesSharedEmpty(e) && invariantsHold(e));
        EXPECT_EQ(referencesOf(String::EMPTY()), before + 13); // h, i, j and ten in the table
    }
    EXPECT_EQ(referencesOf(String::EMPTY()), before);
}

// A position near a text of the given length, now and then LONG_MIN or LONG_MAX.
long position(std::mt19937& random, std::size_t length) {
    auto const r = random() % (length + 60);
    return r == 0 ? LONG_MAX : r == 1 ? LONG_MIN : static_cast<long>(r % (length + 5)) - 2;
}

// One step's arguments, and the text before it.
struct Step {
    std::string old;
    long p, q;       // positions
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

std::string trimmed(std::string const& t, char const* blanks = " \t\n\v\f\r") {
    std::size_t const first = t.find_first_not_of(blanks);
    return first == std::string::npos ? ""
                                      : t.substr(first, t.find_last_not_of(blanks) + 1 - first);
}

// Each change, and the text a plain reading of its rule gives. Unless it assigns a new String,
// a change writes in place when the buffer is unshared and has room.
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

// Random changes in sequence, on Strings with more or less room; a third find the buffer
// shared with a copy, which must keep the old text.
TEST(StringTest, EditsAgreeWithAStepByStepModel) {
    char const alphabet[] = "aAzZ@{ \t\r\x08\x0e\xA0"; // case and blank boundaries, high, NUL
    std::mt19937 random(20240612u);
    auto pick = [&](long n) { return static_cast<long>(random() % static_cast<unsigned long>(n)); };
    auto byte = [&] { return alphabet[pick(static_cast<long>(sizeof alphabet))]; };
    for (int round = 0; round < 4000; ++round) {
        std::string old = randomText(random, alphabet, 8);
        String s("", pick(30)); // a private buffer of 7 to 39 characters
        s.concat(old.data(), static_cast<long>(old.size()));
        auto at = [&] { return position(random, old.size()); };
        for (int step = 0; step < 6; ++step) {
            Step const a{old, at(), at(), randomText(random, alphabet, 5), byte(), byte()};
            bool const shared = pick(3) == 0;
            String const copy = shared ? s : String();
            auto const edit = static_cast<std::size_t>(pick(std::size(kEdits)));
            char const* const storage = s.buffer();
            long const room = referencesOf(s) == 1 ? capacityOf(s) : -1; // for writing in place
            kEdits[edit].change(s, a);
            std::string const expected = kEdits[edit].expected(a);
            SCOPED_TRACE(testing::Message() << "round " << round << " edit " << edit);
            ASSERT_EQ(textOf(s), expected);
            ASSERT_TRUE(invariantsHold(s));
            ASSERT_TRUE(!shared || textOf(copy) == a.old) << "wrote into a copy";
            ASSERT_TRUE(kEdits[edit].kind != InPlace || expected.empty() ||
                        static_cast<long>(expected.size()) > room || s.buffer() == storage)
                << "took a new buffer";
            // every holder counted once: an assignment lets go of the old buffer
            int32_t const holders = shareBuffer(s, copy) ? 2 : 1;
            ASSERT_TRUE(usesSharedEmpty(s) || referencesOf(s) == holders);
            ASSERT_TRUE(usesSharedEmpty(copy) || referencesOf(copy) == holders);
            // case and replace copy a shared buffer as it is, at its capacity
            ASSERT_TRUE(!shared || edit > 2 || capacityOf(s) == capacityOf(copy));
            long const index = at();
            bool const inside = index >= 0 && index < static_cast<long>(expected.size());
            ASSERT_EQ(s[index], inside ? expected[static_cast<std::size_t>(index)] : '\0');
            old = expected;
        }
    }
}

// Every change swept through its allocation failures, on an unshared and on a shared buffer:
// it ends with the old text or the new one, or, where it builds a String aside, with empty.
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

TEST(StringTest, FormattedAndConvertedTextIsTheDevices) {
    // "%f" counts one character, "%0*d" of -4 as many as the platform's "7   " has; where the
    // platform writes fewer, the engine's own text fills the field. Arguments in the old text
    // stay readable while the new buffer is written.
    String s("old"), t("abc");
    s.format("%f", 1.5);
    s.concatf("%0*d", -4, 7);
    s.concatf("[%.0d]", 0);
    s.concatf("%0120d", 7);
    EXPECT_EQ(textOf(s), "17   [0]" + std::string(119, '0') + '7');
    EXPECT_EQ(capacityOf(s), 191);
    EXPECT_TRUE(usesSharedEmpty(s.format("%s", "")));
    t.format("%s%s%s", t.buffer(), t.buffer(), t.buffer());
    t.concatf("<%s>%015d", t.buffer(), 1);
    EXPECT_EQ(textOf(t), "abcabcabc<abcabcabc>000000000000001");
    // toInteger reads like scanf's "%li", saturated at the device's 32 bits
    char const* const texts[] = {
        "42", "0x1F",       "010",        " -7abc",     "+12",         "abc",
        "",   "2147483647", "2147483648", "0xFFFFFFFF", "-2147483648", "-99999999999"};
    int const values[] = {42, 31, 8, -7, 12, -1, -1, INT_MAX, INT_MAX, INT_MAX, INT_MIN, INT_MIN};
    for (std::size_t i = 0; i < std::size(texts); ++i)
        EXPECT_EQ(String(texts[i]).toInteger(), values[i]) << texts[i];
    EXPECT_EQ(textOf(String::stringOf(false) + String::stringOf(true) +
                     String::stringOf(static_cast<long>(INT32_MIN)) +
                     String::stringOf(4294967295UL) +
                     String::stringOf(reinterpret_cast<void*>(0xBEEFu)) + String::stringOf('x') +
                     String::stringOf("yz", 1L, 5L) + String::stringOf("w")),
              "falsetrue-214748364842949672950xbeefxzw");
}

int signOf(int value) { return (value > 0) - (value < 0); }

// ==, !=, <, >, <= and >= as they are, and as a strcmp order gives them.
template <typename A, typename B> std::vector<bool> relate(A const& a, B const& b) {
    return {a == b, a != b, (a < b), (a > b), a <= b, a >= b};
}
std::vector<bool> relations(int order, bool equal) {
    return {equal, !equal, (order < 0), (order > 0), order <= 0, order >= 0};
}

// A long text's copy with letters in either case and a few bytes changed, in one text or
// both: to a non-letter one case bit away, a foreign byte or a NUL.
std::string caseVariant(std::mt19937& random, std::string& a) {
    char const swaps[] = {'[', '\x7b', '\xe4', '\0', 'x'};
    std::string b = a;
    for (char& c : b) {
        bool const letter = (c | 0x20) >= 'a' && (c | 0x20) <= 'z';
        c = letter && random() % 2 ? static_cast<char>(c ^ 0x20) : c;
    }
    for (auto changes = random() % 3; changes > 0 && !a.empty(); --changes) {
        std::size_t const at = random() % a.size();
        (random() % 2 ? a : b)[at] = swaps[random() % sizeof swaps];
        if (random() % 3 == 0)
            a[at] = b[at] = '\0'; // a NUL in both stops the comparison, equal so far
    }
    return b;
}

TEST(StringTest, ComparisonAndSearchAgreeWithTheStepByStepRules) {
    // Few bytes, so that hits, near misses, NULs on either side, high bytes and the neighbours
    // of the letters are all common.
    char const alphabet[] = {'a', 'b', 'A', '\0', '\xff', '[', '{'};
    char const letters[] = {'a', 'Z', 'q', '[', '{', '@', '`', '\xc4', '\xe4', '\xff', '7'};
    std::mt19937 random(20240611u);
    for (int round = 0; round < 20000; ++round) {
        // now and then one buffer on both sides, or a long text against a case variant
        bool const oneBuffer = round % 11 == 0, folding = round % 10 == 1;
        std::string subject =
            folding ? randomText(random, letters, 300) : randomText(random, alphabet, 14);
        std::string const needle = oneBuffer ? subject
                                   : folding ? caseVariant(random, subject)
                                             : randomText(random, alphabet, 4);
        String const text = bytesOf(subject), arg = oneBuffer ? text : bytesOf(needle);
        char const *const t = subject.c_str(), *const n = needle.c_str();
        long const L = static_cast<long>(subject.size()), size = static_cast<long>(needle.size());
        long const from = position(random, subject.size()), at = position(random, needle.size());
        long const count = position(random, needle.size());
        char const c = needle.empty() ? static_cast<char>(random()) : needle[0];
        SCOPED_TRACE(testing::Message() << "round " << round << " from " << from);
        // searches: strchr and strstr as they are, the others tried position by position;
        // strchr stops at a NUL, while backwards NUL is a byte like any other
        auto found = [t](char const* p) { return p == nullptr ? -1L : static_cast<long>(p - t); };
        auto back = [](long p, auto hit) {
            while (p >= 0 && !hit(p))
                --p;
            return std::max(p, -1L);
        };
        auto forth = [&](long p, auto hit) {
            for (p = std::max(p, 0L); p <= L - size; ++p)
                if (hit(p))
                    return p;
            return -1L;
        };
        auto byte = [&](long p) { return t[p] == c; };
        ASSERT_EQ(text.indexOf(c), c == '\0' ? -1 : found(std::strchr(t, c)));
        ASSERT_EQ(text.indexOf(c, from),
                  c == '\0' || from >= L ? -1 : found(std::strchr(t + std::max(from, 0L), c)));
        ASSERT_EQ(text.lastIndexOf(c), back(L - 1, byte));
        ASSERT_EQ(text.lastIndexOf(c, from), back(std::min(from, L - 1), byte));
        auto strstrFrom = [&](long p) { return std::strstr(t + p, n) != nullptr; };
        auto strstrAt = [&](long p) { return std::strstr(t + p, n) == t + p; };
        auto folded = [&](long p) { return strnicmp(t + p, n, static_cast<uint32_t>(size)) == 0; };
        long const last = from < 0 ? -1 : std::min(from, L - size);
        ASSERT_EQ(text.indexOf(arg), found(std::strstr(t, n)));
        ASSERT_EQ(text.indexOf(arg, from),
                  L - size < from ? -1 : found(std::strstr(t + std::max(from, 0L), n)));
        ASSERT_EQ(text.lastIndexOf(arg), back(L - size, strstrFrom));
        ASSERT_EQ(text.lastIndexOf(arg, from), back(last, strstrAt));
        ASSERT_EQ(text.indexOfIgnoreCase(arg), forth(0, folded));
        ASSERT_EQ(text.indexOfIgnoreCase(arg, from), forth(from, folded));
        ASSERT_EQ(text.lastIndexOfIgnoreCase(arg), back(L - size, folded));
        ASSERT_EQ(text.lastIndexOfIgnoreCase(arg, from), back(last, folded));
        // prefixes, suffixes, regions and copies: ranges wholly inside, checked without sums
        auto inside = [](long p, long k, long length) {
            return k >= 0 && p >= 0 && p <= length - k;
        };
        auto holds = [&](long p) { return std::memcmp(t + p, n, needle.size()) == 0; };
        ASSERT_EQ(text.startsWith(arg, from), inside(from, size, L) && holds(from));
        ASSERT_EQ(text.startsWith(arg), size <= L && holds(0));
        ASSERT_EQ(text.endsWith(arg), size <= L && holds(L - size));
        bool const regions = inside(from, count, L) && inside(at, count, size);
        ASSERT_EQ(text.regionMatches(from, arg, at, count),
                  regions && std::strncmp(t + from, n + at, static_cast<std::size_t>(count)) == 0);
        ASSERT_EQ(text.regionMatches(true, from, arg, at, count),
                  regions && strncasecmp(t + from, n + at, static_cast<std::size_t>(count)) == 0);
        long const begin = std::clamp(from, 0L, L), end = std::clamp(count, begin, L);
        std::string copied(subject.size() + 2, '#'), expected = part(subject, begin, end - begin);
        expected.resize(copied.size(), '#'); // and no terminator
        ASSERT_EQ(text.getChars(from, count, copied.data()), end - begin);
        ASSERT_EQ(copied, expected);
        ASSERT_EQ(text.getChars(from, count, nullptr), 0);
        // glibc's C locale folds only 'A'-'Z' and compares unsigned, as the device does
        auto const limit = static_cast<uint32_t>(count);
        ASSERT_EQ(stricmp(t, n), signOf(strcasecmp(t, n)));
        ASSERT_EQ(strnicmp(t, n, limit), signOf(strncasecmp(t, n, limit)));
        // compareTo has the reversed sense; equals takes every byte, the others stop at a NUL;
        // a null text is the empty text judged by length, so one starting with NUL is greater
        int const order = signOf(std::strcmp(t, n));
        ASSERT_EQ(text.compareTo(arg), -order);
        ASSERT_EQ(text.compareToIgnoreCase(arg), signOf(strcasecmp(n, t)));
        ASSERT_EQ(text.equals(arg), subject == needle);
        ASSERT_EQ(text.equalsIgnoreCase(arg), size == L && strncasecmp(t, n, needle.size()) == 0);
        ASSERT_EQ(relate(text, arg), relations(order, order == 0 && size == L));
        char const* const other = round % 9 == 0 ? nullptr : n;
        int const otherOrder = other == nullptr ? L > 0 : order;
        ASSERT_EQ(text.equals(other), otherOrder == 0);
        ASSERT_EQ(text.equalsIgnoreCase(other),
                  other == nullptr ? subject.empty() : strcasecmp(t, other) == 0);
        ASSERT_EQ(relate(text, other), relations(otherOrder, otherOrder == 0));
        ASSERT_EQ(relate(other, text), relations(-otherOrder, otherOrder == 0));
        bool const oneChar = c == '\0' ? subject.empty() : subject.size() == 1 && subject[0] == c;
        ASSERT_EQ((std::vector<bool>{text == c, c == text, !(text != c), !(c != text)}),
                  std::vector<bool>(4, oneChar));
    }
}

} // namespace
