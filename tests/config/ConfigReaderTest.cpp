// ConfigReader against models of the file format and of the indexed lookups' tags.
#include <orvik_utilities/config/ConfigReader.h>
#include <orvik_utilities/numbers/IntegerText.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <random>

#pragma GCC diagnostic ignored "-Wformat-nonliteral" // the random patterns' reference tags

namespace {

using Model = std::map<std::string, std::string>;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

std::string const path = "/tmp/orvik-config-" + std::to_string(getpid()) + ".cfg";

String str(std::string const& s) { return String(s.c_str()); }

String write(std::string const& content) {
    std::ofstream(path, std::ios::binary) << content;
    return str(path);
}

struct ConfigReaderTest : testing::Test {
    void TearDown() override { unlink(path.c_str()); } // however the test ended
};

std::string text(String const& s) { return std::string(s.buffer(), std::size_t(s.length())); }

std::string get(ConfigReader const& reader, std::string const& tag) {
    return text(reader.getValue(str(tag), String("<absent>")));
}

// Pieces of up to 1022 bytes ending after a '\n'; outside comments the tag before the first
// '=' loses all bytes up to ' ', the value those at its ends; later equal tags are reported.
std::string load(std::string const& f, Model& m) {
    auto const blank = [](char c) { return (c & 0xFF) <= 32; };
    std::string out;
    for (std::size_t at = 0, next; at < f.size(); at = next) {
        next = std::min(std::min(f.find('\n', at), f.size() - 1) + 1, at + 1022);
        std::size_t const eq = f.substr(at, next - at).find('=');
        if (f[at] == '#' || eq == f.npos)
            continue;
        std::string tag = f.substr(at, eq), value = f.substr(at + eq + 1, next - at - eq - 1);
        tag.erase(std::remove_if(tag.begin(), tag.end(), blank), tag.end());
        value.erase(value.begin(), std::find_if_not(value.begin(), value.end(), blank));
        value.erase(std::find_if_not(value.rbegin(), value.rend(), blank).base(), value.end());
        if (!m.emplace(tag, value).second)
            out += "cfg: Ignoring duplicate tag:" + tag + "=" + value.c_str() + "\n";
    }
    return out;
}

std::string shown(std::string const& v) {
    char const* const s = v.c_str();
    long const n = strcasecmp(s, "on") == 0 ? 1 : strcasecmp(s, "off") == 0 ? 0 : valueOf32(s);
    return v + "=" + std::to_string(n);
}

// Random files loaded in turn, then random indexed patterns' tags added or not and looked up.
TEST_F(ConfigReaderTest, RandomFilesLoadAsTheModelSays) {
    std::mt19937 rng(5);
    char const* const tokens[] = {"a", "b", "on", "OfF", "12", "FFh", "=",    "=",
                                  "#", " ", "\t", "\r",  "\n", "\n",  "\xff", "\x80"};
    char const *const ends[] = {"a", "b", "x%%y", "on", ""}, *const sizes[] = {"", "l", "h", "hh"};
    unsigned long const indexes[] = {0, 12, 65536, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, ~0ul / 3};
    ConfigReader reader;
    for (int round = 0; round < 300; ++round) {
        std::string f;
        for (auto n = rng() % 200; n > 0; --n)
            f += rng() % 40 ? std::string(tokens[rng() % 16])
                            : std::string(rng() % 2 ? 1 : 1000 + rng() % 50, "v\0"[rng() % 2]);
        Model m;
        CaptureStdout();
        ASSERT_TRUE(reader.initialize(write(f), 1 + rng() % 16));
        ASSERT_EQ(GetCapturedStdout(), load(f, m));
        for (auto const& [tag, value] : m)
            ASSERT_EQ(get(reader, tag) + "=" + std::to_string(reader.getValueAsInt(str(tag), 42)),
                      shown(value));
        for (int probe = 0; probe < 8; ++probe) {
            std::string p = rng() % 8 ? ends[rng() % 5] : std::string(90 + rng() % 20, 'k');
            for (char const* part : {"%", "-", "+", " ", "#", "0", "1", "3", ".", "5"})
                p += *part == '%' || rng() % 4 == 0 ? part : "";
            p = p + sizes[rng() % 4] + "diuoxX"[rng() % 6] + ends[rng() % 5];
            unsigned long const index = indexes[rng() % 7];
            std::string const tag =
                text(p.find('l') != p.npos ? String().format(p.c_str(), index)
                                           : String().format(p.c_str(), unsigned(index)));
            bool const fresh = rng() % 2 && m.emplace(tag, "v w").second; // added when fresh
            ASSERT_TRUE(!fresh || reader.add(str(tag), String("v w")));
            ASSERT_EQ(text(reader.getIndexedValue(str(p), index, String("-"))) + "=" +
                          std::to_string(reader.getIndexedValueAsInt(str(p), index, 42)),
                      m.count(tag) ? shown(m[tag]) : "-=42");
        }
    }
}

// A derived reader's indexed lookups go through its overrides, with the tag in a String.
struct EchoingReader : ConfigReader {
    String const& getValue(String const& tag, String const&) const override { return seen = tag; }
    long getValueAsInt(String const& tag, long) const override { return tag.length(); }
    mutable String seen;
};

// The usual lookup allocates nothing; without a table or one integer conversion, the default.
TEST_F(ConfigReaderTest, DefaultsOverridesAndHelpers) {
    ConfigReader reader;
    EchoingReader derived;
    ASSERT_TRUE(reader.initialize(write("b1=7\n"), 8) && derived.initialize(write(""), 8));
    String const usual("b%lu"), none("none");
    orvik_test::AllocationCounter counter;
    EXPECT_EQ("7-1", text(reader.getIndexedValue(usual, 1, none)) +
                         std::to_string(reader.getIndexedValueAsInt(usual, 4, -1)));
    EXPECT_EQ(counter.count(), 0);
    EXPECT_EQ("b2=4", text(derived.getIndexedValue(usual, 2, none)) + "=" +
                          std::to_string(derived.getIndexedValueAsInt(usual, 123, 0)));
    for (char const* bad : {"b%s", "b%lu%lu", "b%*d", "b1", "b%n", "b%llu", "b%", "b%1$d", "b%.*d"})
        for (ConfigReader* r : {&reader, static_cast<ConfigReader*>(&derived)})
            EXPECT_EQ("none9", text(r->getIndexedValue(String(bad), 1, none)) +
                                   std::to_string(r->getIndexedValueAsInt(String(bad), 1, 9)));
    CaptureStdout();
    EXPECT_FALSE(reader.initialize(String("/nonexistent/orvik.cfg"), 8));
    EXPECT_TRUE(reader.add(String("a"), String("1")) && !reader.add(String("a"), String("2")) &&
                get(reader, "b1") == "<absent>"); // the new table stays for the caller
    EXPECT_EQ(GetCapturedStdout(), "cfg: Error in config file /nonexistent/orvik.cfg, line 0:\n"
                                   "cfg:   \ncfg: Ignoring duplicate tag:a=2\n");
    reader.cleanup(); // and again when destroyed
    EXPECT_EQ("<absent>3none3", get(reader, "a") + std::to_string(reader.getValueAsInt(usual, 3)) +
                                    text(reader.getIndexedValue(usual, 1, none)) +
                                    std::to_string(reader.getIndexedValueAsInt(usual, 1, 3)) +
                                    (reader.add(String("a"), String("1")) ? "added" : ""));
    // strcpystrip refuses len >= dstSize, len < 0, fewer bytes after the leading spaces, no dst.
    char src[] = "  \ta  ", dst[16] = "-";
    std::string got = reader.strcpystrip(nullptr, 16, src, 1) ? "!" : "";
    int const cases[][2] = {{4, 4}, {16, 5}, {16, -1}, {5, 4}, {16, 2}, {16, 0}};
    for (auto const& [size, len] : cases)
        got.append(reader.strcpystrip(dst, size, src, len) ? "+" : "").append(dst) += ",";
    for (char c : {'=', 'a', 'c', 'x', '\0'})
        got += std::to_string(reader.indexof("a=b=c", c));
    EXPECT_EQ(got + std::to_string(reader.indexof(nullptr, 'a')), "-,-,-,+\ta,+\ta,+,104-1-1-1");
}

// Out of memory, the reader keeps what it could store (the sanitizer build checks leaks).
TEST_F(ConfigReaderTest, AllocationFailuresDropEntriesCleanly) {
    String const file = write("a=1\nb=22\nc=333\n");
    int const injected = orvik_test::sweepAllocationFailures([&](auto& fault, bool& hit) {
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

} // namespace
