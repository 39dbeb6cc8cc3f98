// ConfigReader over random files read against a model of the format (standard output
// captured to compare the "cfg: " lines byte for byte), and indexed lookups over random
// patterns against the tag String::format writes.
#include <orvik_utilities/config/ConfigReader.h>
#include <orvik_utilities/numbers/IntegerText.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <random>
#include <string>

namespace {

using Model = std::map<std::string, std::string>;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

// Each test writes its file to a path of its own, removed however the test ends.
class ConfigReaderTest : public testing::Test {
protected:
    String write(std::string const& content) const {
        std::ofstream(path, std::ios::binary) << content;
        return String(path.c_str());
    }
    void TearDown() override { std::remove(path.c_str()); }
    std::string const path = "/tmp/orvik-config-" + std::to_string(getpid()) + ".cfg";
};

std::string text(String const& s) { return std::string(s.buffer(), std::size_t(s.length())); }

std::string get(ConfigReader const& reader, std::string const& tag) {
    return text(reader.getValue(String(tag.c_str()), String("<absent>")));
}

// What a load makes of a file: pieces of at most 1022 bytes, each ending after a '\n';
// outside comments the tag before the first '=' loses every byte up to ' ', the value those
// at both ends; the first of equal tags stays and later ones are reported.
std::string load(std::string const& f, Model& m) {
    std::string out;
    for (std::size_t at = 0, next; at < f.size(); at = next) {
        next = std::min(std::min(f.find('\n', at), f.size() - 1) + 1, at + 1022);
        std::string const piece = f.substr(at, next - at);
        std::size_t const eq = piece.find('=');
        if (piece[0] == '#' || eq == std::string::npos)
            continue;
        std::string tag;
        for (char c : piece.substr(0, eq))
            tag += (c & 0xFF) > 32 ? std::string(1, c) : "";
        std::size_t b = eq + 1, e = piece.size();
        while (b < e && (piece[b] & 0xFF) <= 32)
            ++b;
        while (e > b && (piece[e - 1] & 0xFF) <= 32)
            --e;
        std::string const value = piece.substr(b, e - b);
        if (!m.emplace(tag, value).second)
            out += "cfg: Ignoring duplicate tag:" + tag + "=" + value.c_str() + "\n";
    }
    return out;
}

long asInt(std::string const& value) {
    char const* const v = value.c_str();
    return strcasecmp(v, "on") == 0 ? 1 : strcasecmp(v, "off") == 0 ? 0 : valueOf32(v);
}

// Counts lookups by tag: a derived reader's indexed lookups go through its overrides.
struct CountingReader : ConfigReader {
    String const& getValue(String const& tag, String const& defaultValue) const override {
        return ++calls, ConfigReader::getValue(tag, defaultValue);
    }
    long getValueAsInt(String const& tag, long defaultValue) const override {
        return ++calls, ConfigReader::getValueAsInt(tag, defaultValue);
    }
    mutable int calls = 0;
};

// One integer conversion with any flags, width, precision and size, between literals that
// are sometimes longer than any stack buffer a reader would use for the tag.
std::string randomPattern(std::mt19937& rng) {
    static char const* const literals[] = {"a", "b", "x%%y", "on", ""};
    static char const* const sizes[] = {"", "l", "h", "hh", "l"};
    std::string p = (rng() % 8 ? literals[rng() % 5] : std::string(90 + rng() % 20, 'k')) + '%';
    for (char flag : std::string("-+ #0"))
        p += rng() % 4 ? "" : std::string(1, flag);
    p += rng() % 3 ? "" : std::to_string(rng() % 14);
    p += rng() % 3 ? "" : "." + (rng() % 4 ? std::to_string(rng() % 6) : std::string());
    p += sizes[rng() % 5];
    return p + "diuoxX"[rng() % 6] + literals[rng() % 5];
}

// The tag as String::format writes it, with the index passed as the pattern asks.
std::string referenceTag(std::string const& pattern, unsigned long index) {
    String tag;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    if (pattern.find('l') != std::string::npos)
        tag.format(pattern.c_str(), index);
    else
        tag.format(pattern.c_str(), static_cast<unsigned>(index));
#pragma GCC diagnostic pop
    return text(tag);
}

// Random files of lines, comments, blanks, NUL bytes and lines past the 1022-byte pieces,
// read by plain and derived readers. Then tags of random indexed patterns are added (each
// reported when present) or not, and found by indexed lookups as the model says.
TEST_F(ConfigReaderTest, RandomFilesLoadAsTheModelSays) {
    std::mt19937 rng(5);
    char const* const tokens[] = {"a", "b", "on", "OfF", "12", "FFh", "=",    "=",
                                  "#", " ", "\t", "\r",  "\n", "\n",  "\xff", "\x80"};
    unsigned long const indexes[] = {0, 12, 65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, ~0ul / 3};
    for (int round = 0; round < 300; ++round) {
        std::string f;
        for (auto n = rng() % 200; n > 0; --n)
            f += rng() % 40 ? std::string(tokens[rng() % 16])
                            : std::string(rng() % 2 ? 1 : 1000 + rng() % 50, "v\0"[rng() % 2]);
        Model m;
        std::string const expected = load(f, m);
        CountingReader derived;
        ConfigReader plain, &reader = round % 2 ? derived : plain;
        CaptureStdout();
        ASSERT_TRUE(reader.initialize(write(f), 1 + rng() % 16));
        ASSERT_EQ(GetCapturedStdout(), expected);
        for (auto const& [tag, value] : m) {
            ASSERT_EQ(get(reader, tag), value);
            ASSERT_EQ(reader.getValueAsInt(String(tag.c_str()), 42), asInt(value)) << tag;
        }
        for (int probe = 0; probe < 8; ++probe) {
            String const pattern(randomPattern(rng).c_str()), fallback("fallback");
            unsigned long const index = indexes[rng() % 7];
            std::string const tag = referenceTag(pattern.buffer(), index);
            bool const known = m.count(tag) == 1;
            if (rng() % 2) {
                CaptureStdout();
                ASSERT_EQ(reader.add(String(tag.c_str()), String("v w")), !known);
                ASSERT_EQ(GetCapturedStdout(),
                          known ? "cfg: Ignoring duplicate tag:" + tag + "=v w\n" : "");
                m.emplace(tag, "v w");
            }
            int const calls = derived.calls;
            auto const found = m.find(tag);
            String const& got = reader.getIndexedValue(pattern, index, fallback);
            ASSERT_EQ(&got == &fallback, found == m.end()) << pattern.buffer() << " " << index;
            ASSERT_EQ(text(got), found == m.end() ? "fallback" : found->second);
            ASSERT_EQ(reader.getIndexedValueAsInt(pattern, index, 42),
                      found == m.end() ? 42 : asInt(found->second));
            ASSERT_EQ(derived.calls, calls + (round % 2) * 2);
        }
    }
}

// The usual pattern is formatted on the stack: a plain reader's lookup allocates nothing.
TEST_F(ConfigReaderTest, UsualIndexedLookupsAllocateNothing) {
    ConfigReader reader;
    ASSERT_TRUE(reader.initialize(write("route12=7\n"), 8));
    String const route("route%lu"), none("none");
    orvik_test::AllocationCounter counter;
    EXPECT_EQ(reader.getIndexedValue(route, 12, none).length() +
                  reader.getIndexedValueAsInt(route, 12, -1) +
                  reader.getIndexedValueAsInt(route, 4, -1),
              1 + 7 - 1);
    EXPECT_EQ(counter.count(), 0);
}

// Without a table, and for patterns without exactly one integer conversion (which would
// name a stored tag if formatted), every lookup answers the default.
TEST_F(ConfigReaderTest, WithoutATableOrAValidPatternLookupsAnswerTheDefault) {
    ConfigReader reader;
    CountingReader derived;
    EXPECT_EQ(get(reader, "a") + text(reader.getIndexedValue(String("a%d"), 1, String("-"))),
              "<absent>-");
    EXPECT_EQ(reader.getIndexedValueAsInt(String("a%d"), 1, 3), 3);
    EXPECT_FALSE(reader.add(String("a"), String("1")));
    ASSERT_TRUE(reader.initialize(write("a1=x\n"), 8));
    ASSERT_TRUE(reader.initialize(write("b1=7\nif2_name=eth0\n"), 8) &&
                derived.initialize(write("if2_name=eth0\n"), 8));
    EXPECT_EQ(get(reader, "a1") + get(reader, "b1"), "<absent>7");
    for (char const* bad : {"if%s_name", "if%lu%lu", "if%*d", "if2_name", "if%n", "if%llu_name",
                            "if%", "if%2$d", "if%.*d"})
        for (ConfigReader* r : {&reader, static_cast<ConfigReader*>(&derived)})
            EXPECT_EQ(text(r->getIndexedValue(String(bad), 2, String("-"))) +
                          std::to_string(r->getIndexedValueAsInt(String(bad), 2, 9)),
                      "-9")
                << bad;
    CaptureStdout();
    EXPECT_FALSE(reader.initialize(String("/nonexistent/orvik.cfg"), 8));
    EXPECT_EQ(GetCapturedStdout(), "cfg: Error in config file /nonexistent/orvik.cfg, line 0:\n"
                                   "cfg:   \n");
    EXPECT_EQ(reader.getValueAsInt(String("b1"), -5), -5);
    EXPECT_TRUE(reader.add(String("a"), String("1"))); // the table stays for the caller
    reader.cleanup();
    reader.cleanup();
    EXPECT_EQ(get(reader, "a"), "<absent>");
}

// Every allocation of a load can fail: the reader keeps what it could store, and loses or
// leaks nothing else (the sanitizer build checks the leaks).
TEST_F(ConfigReaderTest, AllocationFailuresDropEntriesCleanly) {
    String const file = write("a=1\nb=22\nc=333\n");
    int injected = orvik_test::sweepAllocationFailures([&](auto& fault, bool& hit) {
        ConfigReader reader;
        String const d("d"), four("4");
        CaptureStdout();
        fault.arm();
        reader.initialize(file, 4);
        bool const added = reader.add(d, four);
        hit = fault.disarm();
        GetCapturedStdout();
        EXPECT_EQ(added, get(reader, "d") == "4");
        for (auto const& [tag, value] : Model{{"a", "1"}, {"b", "22"}, {"c", "333"}, {"d", "4"}})
            EXPECT_TRUE(get(reader, tag) == "<absent>" || get(reader, tag) == value) << tag;
    });
    EXPECT_GT(injected, 4);
}

TEST_F(ConfigReaderTest, StrcpystripAndIndexof) {
    ConfigReader reader;
    char src[] = "  ab  ", tab[] = "\tx ", dst[16] = "unchanged";
    // Refused: len == dstSize, fewer than len bytes after the spaces, a negative len, no dst.
    EXPECT_FALSE(reader.strcpystrip(dst, 4, src, 4) || reader.strcpystrip(dst, 16, src, 5) ||
                 reader.strcpystrip(dst, 16, src, -1) || reader.strcpystrip(nullptr, 16, src, 1));
    EXPECT_STREQ(dst, "unchanged");
    for (int len : {4, 3, 0})
        EXPECT_TRUE(reader.strcpystrip(dst, 16, src, len) && dst == std::string(len ? "ab" : ""));
    EXPECT_TRUE(reader.strcpystrip(dst, 5, tab, 3) && dst == std::string("\tx"));
    std::string found;
    for (char c : {'=', 'a', 'c', 'x', '\0'})
        found += std::to_string(reader.indexof("a=b=c", c)) + " ";
    EXPECT_EQ(found + std::to_string(reader.indexof(nullptr, 'a')), "1 0 4 -1 -1 -1");
}

} // namespace
