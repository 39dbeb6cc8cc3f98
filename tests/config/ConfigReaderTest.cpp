// ConfigReader over random files read against a model of the format, with standard output
// captured to compare the "cfg: " lines byte for byte.
#include <orvik_utilities/config/ConfigReader.h>
#include <orvik_utilities/numbers/IntegerText.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <cctype>
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

std::string get(ConfigReader const& reader, std::string const& tag) {
    String const absent("<absent>");
    String const& v = reader.getValue(String(tag.c_str()), absent);
    return std::string(v.buffer(), std::size_t(v.length()));
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
    std::string v = value.c_str();
    std::transform(v.begin(), v.end(), v.begin(),
                   [](char c) { return char(std::tolower(c & 0xFF)); });
    return v == "on" ? 1 : v == "off" ? 0 : valueOf32(value.c_str());
}

// Random files of lines, comments, blanks, NUL bytes and lines past the 1022-byte pieces.
TEST_F(ConfigReaderTest, RandomFilesLoadAsTheModelSays) {
    std::mt19937 rng(5);
    char const* const tokens[] = {"a", "b", "on", "OfF", "12", "FFh", "=",    "=",
                                  "#", " ", "\t", "\r",  "\n", "\n",  "\xff", "\x80"};
    for (int round = 0; round < 300; ++round) {
        std::string f;
        for (auto n = rng() % 200; n > 0; --n)
            f += rng() % 40 ? std::string(tokens[rng() % 16])
                            : std::string(rng() % 2 ? 1 : 1000 + rng() % 50, "v\0"[rng() % 2]);
        Model m;
        std::string const expected = load(f, m);
        ConfigReader reader;
        CaptureStdout();
        ASSERT_TRUE(reader.initialize(write(f), 1 + rng() % 16));
        ASSERT_EQ(GetCapturedStdout(), expected);
        for (auto const& [tag, value] : m) {
            ASSERT_EQ(get(reader, tag), value);
            ASSERT_EQ(reader.getValueAsInt(String(tag.c_str()), 42), asInt(value)) << tag;
        }
        long const a12 = m.count("a12") ? asInt(m["a12"]) : 42;
        ASSERT_EQ(reader.getIndexedValueAsInt(String("a%lu"), 12, 42), a12);
        std::string const probe = std::string(tokens[rng() % 2]) + tokens[2 + rng() % 4];
        bool const known = m.count(probe) == 1;
        String const fallback("fallback");
        ASSERT_EQ(&reader.getValue(String(probe.c_str()), fallback) == &fallback, !known);
        CaptureStdout();
        ASSERT_EQ(reader.add(String(probe.c_str()), String("v w")), !known);
        ASSERT_EQ(GetCapturedStdout(),
                  known ? "cfg: Ignoring duplicate tag:" + probe + "=v w\n" : "");
        ASSERT_EQ(get(reader, probe), known ? m[probe] : "v w");
    }
}

// Patterns that do not hold exactly one integer conversion are never formatted.
TEST_F(ConfigReaderTest, IndexedTagsTakeOneIntegerConversion) {
    ConfigReader reader;
    ASSERT_TRUE(reader.initialize(write("if2_name=eth0\nx%3=pct\nn007=p\nr7=0x\n"), 2));
    auto indexed = [&](char const* pattern, unsigned long index) {
        return std::string(reader.getIndexedValue(String(pattern), index, String("-")).buffer());
    };
    EXPECT_EQ(indexed("if%lu_name", 2) + indexed("if%u_name", 2) + indexed("x%%%d", 3) +
                  indexed("n%.03lu", 7) + indexed("if%lu_name", 3) + indexed("n%03hu", 7),
              "eth0eth0pctp-p");
    for (char const* bad : {"if%s_name", "if%lu%lu", "if%*d", "if2_name", "if%n", "if%llu_name",
                            "if%", "if%2$d", "if%hhd_name"})
        EXPECT_EQ(indexed(bad, 2), "-") << bad;
    EXPECT_EQ(reader.getIndexedValueAsInt(String("r%x"), 7, 5), 0);
}

TEST_F(ConfigReaderTest, WithoutATableEverythingAnswersTheDefault) {
    ConfigReader reader;
    EXPECT_EQ(get(reader, "a"), "<absent>");
    EXPECT_EQ(reader.getIndexedValueAsInt(String("a%d"), 1, 3), 3);
    EXPECT_FALSE(reader.add(String("a"), String("1")));
    ASSERT_TRUE(reader.initialize(write("a1=x\n"), 8));
    ASSERT_TRUE(reader.initialize(write("b1=7\n"), 8));
    EXPECT_EQ(get(reader, "a1") + get(reader, "b1"), "<absent>7");
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

TEST(ConfigReaderHelpers, StrcpystripAndIndexof) {
    ConfigReader reader;
    char src[] = "  ab  ", tab[] = "\tx ", text[] = "a=b=c", dst[16] = "unchanged";
    // Refused: len == dstSize, fewer than len bytes after the spaces, a negative len, no dst.
    EXPECT_FALSE(reader.strcpystrip(dst, 4, src, 4) || reader.strcpystrip(dst, 16, src, 5) ||
                 reader.strcpystrip(dst, 16, src, -1) || reader.strcpystrip(nullptr, 16, src, 1));
    EXPECT_STREQ(dst, "unchanged");
    for (int len : {4, 3, 0})
        EXPECT_TRUE(reader.strcpystrip(dst, 16, src, len) && dst == std::string(len ? "ab" : ""));
    EXPECT_TRUE(reader.strcpystrip(dst, 5, tab, 3) && dst == std::string("\tx"));
    EXPECT_EQ(
        std::to_string(reader.indexof(text, '=')) + std::to_string(reader.indexof(text, 'a')) +
            std::to_string(reader.indexof(text, 'c')) + std::to_string(reader.indexof(text, 'x')) +
            std::to_string(reader.indexof(text, '\0')) +
            std::to_string(reader.indexof(nullptr, 'a')),
        "104-1-1-1");
}

} // namespace
