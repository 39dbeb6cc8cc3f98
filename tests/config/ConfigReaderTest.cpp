// ConfigReader over real files written by each test into its own temporary directory, with
// standard output captured to compare the "cfg: " lines byte for byte.
#include <orvik_utilities/config/ConfigReader.h>
#include <orvik_utilities/numbers/IntegerText.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>

namespace {

// A directory under /tmp, removed with its files when the test ends, however it ends.
class TempDir {
public:
    TempDir() {
        char pattern[] = "/tmp/orvik-config-XXXXXX";
        char const* made = mkdtemp(pattern);
        path = made ? made : "";
    }
    ~TempDir() {
        if (!path.empty())
            std::system(("rm -rf '" + path + "'").c_str());
    }
    String write(char const* name, std::string const& content) const {
        std::string const file = path + "/" + name;
        std::ofstream(file, std::ios::binary) << content;
        return String(file.c_str());
    }
    std::string path;
};

// Standard output of a scope, taken from file descriptor 1 itself.
class StdoutCapture {
public:
    StdoutCapture() {
        std::fflush(stdout);
        saved = dup(1);
        sink = std::tmpfile();
        dup2(fileno(sink), 1);
    }
    ~StdoutCapture() { text(); }
    std::string text() {
        if (saved >= 0) {
            std::fflush(stdout);
            dup2(saved, 1);
            close(saved);
            saved = -1;
            std::rewind(sink);
            int c;
            while ((c = std::fgetc(sink)) != EOF)
                captured += char(c);
            std::fclose(sink);
        }
        return captured;
    }

private:
    int saved = -1;
    std::FILE* sink = nullptr;
    std::string captured;
};

std::string get(ConfigReader const& reader, char const* tag) {
    String const absent("<absent>");
    String const& v = reader.getValue(String(tag), absent);
    return std::string(v.buffer(), std::size_t(v.length()));
}

TEST(ConfigReaderTest, ReadsTheFileFormat) {
    TempDir dir;
    String const file = dir.write("a.cfg",
                                  "  key = some value  \n"
                                  "eq=a=b\n"
                                  "empty=\n"
                                  "=x\n"
                                  "#hash=1\n"
                                  " #hash=2\n"
                                  "s p a c e d=3\n"
                                  "\t\ttabbed=4\n"
                                  "crlf=5\r\n"
                                  "quoted=\"a b\" # not a comment \\\n"
                                  "no equals here\n"
                                  "\n"
                                  "Case=upper\n"
                                  "last=9");
    ConfigReader reader;
    StdoutCapture out;
    ASSERT_TRUE(reader.initialize(file, 16));
    EXPECT_EQ(out.text(), "");
    EXPECT_EQ(get(reader, "key"), "some value");
    EXPECT_EQ(get(reader, "eq"), "a=b");
    EXPECT_EQ(get(reader, "empty"), "");
    EXPECT_EQ(get(reader, ""), "x");
    EXPECT_EQ(get(reader, "#hash"), "2");
    EXPECT_EQ(get(reader, "hash"), "<absent>");
    EXPECT_EQ(get(reader, "key "), "<absent>");
    EXPECT_EQ(get(reader, "spaced"), "3");
    EXPECT_EQ(get(reader, "key"), "some value");
    EXPECT_EQ(get(reader, "tabbed"), "4");
    EXPECT_EQ(get(reader, "crlf"), "5");
    EXPECT_EQ(get(reader, "quoted"), "\"a b\" # not a comment \\");
    EXPECT_EQ(get(reader, "Case"), "upper");
    EXPECT_EQ(get(reader, "case"), "<absent>");
    EXPECT_EQ(get(reader, "noequalshere"), "<absent>");
    EXPECT_EQ(get(reader, "last"), "9");
    String const fallback("fallback");
    EXPECT_EQ(&reader.getValue(String("missing"), fallback), &fallback);
}

TEST(ConfigReaderTest, FirstEntryWinsAndLaterOnesAreReported) {
    TempDir dir;
    ConfigReader reader;
    StdoutCapture out;
    ASSERT_TRUE(reader.initialize(dir.write("d.cfg", "a=1\nb=x\na = 2 \n a=3\n"), 4));
    EXPECT_TRUE(reader.add(String("new"), String("v")));
    EXPECT_FALSE(reader.add(String("b"), String("y z")));
    EXPECT_EQ(out.text(), "cfg: Ignoring duplicate tag:a=2\n"
                          "cfg: Ignoring duplicate tag:a=3\n"
                          "cfg: Ignoring duplicate tag:b=y z\n");
    EXPECT_EQ(get(reader, "a"), "1");
    EXPECT_EQ(get(reader, "b"), "x");
    EXPECT_EQ(get(reader, "new"), "v");
}

// fgets with 1023 bytes reads at most 1022 characters: longer lines come in pieces, each a
// line of its own, and a piece may start a comment or an entry.
TEST(ConfigReaderTest, LongLinesAreReadInPiecesOf1022) {
    std::string const a1014(1014, 'a');
    std::string content = "long=" + std::string(1495, 'v') + "\n";    // 1501: two pieces
    content += std::string(1022, 'x') + "#c=1\n";                     // "#c=1" is a comment
    content += std::string(1022, 'y') + "t=2\n";                      // "t=2" an entry
    content += "exact=" + std::string(1015, 'e') + "\n";              // 1022 with the line end
    content += "over=" + std::string(1017, 'o') + "\nafter=3\n";     // "\n" alone is skipped
    TempDir dir;
    ConfigReader reader;
    StdoutCapture out;
    ASSERT_TRUE(reader.initialize(dir.write("l.cfg", content), 64));
    EXPECT_EQ(get(reader, "long"), std::string(1017, 'v'));
    EXPECT_EQ(get(reader, "c"), "<absent>");
    EXPECT_EQ(get(reader, "t"), "2");
    EXPECT_EQ(get(reader, "exact"), std::string(1015, 'e'));
    EXPECT_EQ(get(reader, "over"), std::string(1017, 'o'));
    EXPECT_EQ(get(reader, "after"), "3");
    EXPECT_EQ(out.text(), "");
}

TEST(ConfigReaderTest, BinaryBytesAreDataAndNulIsWhiteSpace) {
    char const bytes[] = "ta\0g=1\nv=\0a\0b\0\nhi\xff\x80=\x01\xfe\x7f\n";
    std::string const content(bytes, sizeof bytes - 1);
    TempDir dir;
    ConfigReader reader;
    ASSERT_TRUE(reader.initialize(dir.write("b.cfg", content), 8));
    EXPECT_EQ(get(reader, "tag"), "1");
    EXPECT_EQ(get(reader, "v"), std::string("a\0b", 3));
    EXPECT_EQ(get(reader, "hi\xff\x80"), "\xfe\x7f");
}

TEST(ConfigReaderTest, MissingFileReportsLineZeroAndAnswersDefaults) {
    ConfigReader reader;
    StdoutCapture out;
    EXPECT_FALSE(reader.initialize(String("/nonexistent/orvik.cfg"), 8));
    EXPECT_EQ(out.text(), "cfg: Error in config file /nonexistent/orvik.cfg, line 0:\n"
                          "cfg:   \n");
    EXPECT_EQ(get(reader, "a"), "<absent>");
    EXPECT_EQ(reader.getValueAsInt(String("a"), -5), -5);
    // The table stays: a caller may still add entries.
    EXPECT_TRUE(reader.add(String("a"), String("1")));
}

TEST(ConfigReaderTest, IntegersOnOffAndIndexedTags) {
    TempDir dir;
    ConfigReader reader;
    ASSERT_TRUE(reader.initialize(
        dir.write("i.cfg", "a=ON\nb=On\nc=on\nd=OFF\ne=off\nf=12\ng=-7\nh=FFh\ni=onx\n"
                           "route3=-1\nroute4=oFf\nif2_name=eth0\nx%3=pct\nr7=0x\nn007=p\n"),
        2));
    char const* tags[] = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "zz"};
    long const values[] = {1, 1, 1, 0, 0, 12, -7, 255, valueOf32("onx"), 42};
    for (std::size_t k = 0; k < std::size(tags); ++k)
        EXPECT_EQ(reader.getValueAsInt(String(tags[k]), 42), values[k]) << tags[k];
    EXPECT_EQ(reader.getIndexedValueAsInt(String("route%lu"), 3, 5), -1);
    EXPECT_EQ(reader.getIndexedValueAsInt(String("route%lu"), 4, 5), 0);
    EXPECT_EQ(reader.getIndexedValueAsInt(String("route%lu"), 5, 5), 5);
    EXPECT_EQ(reader.getIndexedValueAsInt(String("r%x"), 7, 5), 0);
    String const none("none");
    auto indexed = [&](char const* pattern, unsigned long index) {
        String const& v = reader.getIndexedValue(String(pattern), index, none);
        return std::string(v.buffer());
    };
    EXPECT_EQ(indexed("if%lu_name", 2), "eth0");
    EXPECT_EQ(indexed("if%u_name", 2), "eth0");
    EXPECT_EQ(indexed("x%%%d", 3), "pct");
    EXPECT_EQ(indexed("if%lu_name", 3), "none");
    EXPECT_EQ(indexed("n%.03lu", 7), "p");
    // Patterns that do not hold exactly one integer conversion are never formatted.
    for (char const* bad : {"if%s_name", "if%lu%lu", "if%*d", "if2_name", "if%n", "if%llu_name",
                            "if%", "if%2$d"})
        EXPECT_EQ(indexed(bad, 2), "none") << bad;
}

TEST(ConfigReaderTest, InitializeStartsAfreshAndLookupsWithoutTableAnswerDefaults) {
    struct Counting : ConfigReader {
        int cleanups = 0;
        void cleanup() override {
            ++cleanups;
            ConfigReader::cleanup();
        }
    };
    TempDir dir;
    Counting reader;
    EXPECT_EQ(get(reader, "a"), "<absent>");
    EXPECT_EQ(reader.getIndexedValueAsInt(String("a%d"), 1, 3), 3);
    EXPECT_FALSE(reader.add(String("a"), String("1")));
    ASSERT_TRUE(reader.initialize(dir.write("1.cfg", "a1=x\nshared=1\n"), 8));
    EXPECT_EQ(reader.cleanups, 1);
    ASSERT_TRUE(reader.initialize(dir.write("2.cfg", "b1=y\nshared=2\n"), 8));
    EXPECT_EQ(reader.cleanups, 2);
    EXPECT_EQ(get(reader, "a1"), "<absent>");
    EXPECT_EQ(get(reader, "b1"), "y");
    EXPECT_EQ(get(reader, "shared"), "2");
    reader.cleanup();
    reader.cleanup();
    EXPECT_EQ(get(reader, "b1"), "<absent>");
    EXPECT_EQ(reader.getValueAsInt(String("shared"), 7), 7);
}

TEST(ConfigReaderTest, ManyEntriesInASmallTable) {
    std::ostringstream content;
    for (int i = 0; i < 10000; ++i)
        content << "tag" << i << " = " << i * 7 << "\n";
    TempDir dir;
    ConfigReader reader;
    ASSERT_TRUE(reader.initialize(dir.write("m.cfg", content.str()), 100));
    for (unsigned long i = 0; i < 10000; ++i)
        ASSERT_EQ(reader.getIndexedValueAsInt(String("tag%lu"), i, -1), long(i * 7)) << i;
}

// Every allocation of a load can fail: the reader keeps what it could store, and loses or
// leaks nothing else (the sanitizer build checks the leaks).
TEST(ConfigReaderTest, AllocationFailuresDropEntriesCleanly) {
    TempDir dir;
    String const file = dir.write("f.cfg", "a=1\nb=22\nc=333\n");
    int injected = orvik_test::sweepAllocationFailures([&](auto& fault, bool& hit) {
        ConfigReader reader;
        String const d("d"), four("4");
        StdoutCapture out;
        fault.arm();
        reader.initialize(file, 4);
        reader.add(d, four);
        hit = fault.disarm();
        out.text();
        for (auto const& [tag, value] : {std::pair<char const*, char const*>{"a", "1"},
                                         {"b", "22"}, {"c", "333"}, {"d", "4"}}) {
            std::string const v = get(reader, tag);
            EXPECT_TRUE(v == "<absent>" || v == value) << tag << " " << v;
        }
    });
    EXPECT_GT(injected, 4);
}

TEST(ConfigReaderTest, StrcpystripAndIndexof) {
    ConfigReader reader;
    char src[] = "  ab  ";
    char dst[16] = "unchanged";
    EXPECT_TRUE(reader.strcpystrip(dst, 16, src, 4));
    EXPECT_STREQ(dst, "ab");
    EXPECT_TRUE(reader.strcpystrip(dst, 16, src, 3));
    EXPECT_STREQ(dst, "ab");
    EXPECT_TRUE(reader.strcpystrip(dst, 16, src, 0));
    EXPECT_STREQ(dst, "");
    std::strcpy(dst, "unchanged");
    EXPECT_FALSE(reader.strcpystrip(dst, 4, src, 4));  // len == dstSize
    EXPECT_FALSE(reader.strcpystrip(dst, 16, src, 5)); // only four after the spaces
    EXPECT_FALSE(reader.strcpystrip(dst, 16, src, -1));
    EXPECT_FALSE(reader.strcpystrip(nullptr, 16, src, 1));
    EXPECT_STREQ(dst, "unchanged");
    char tab[] = "\tx ";
    EXPECT_TRUE(reader.strcpystrip(dst, 5, tab, 3));
    EXPECT_STREQ(dst, "\tx");
    char text[] = "a=b=c";
    EXPECT_EQ(reader.indexof(text, '='), 1);
    EXPECT_EQ(reader.indexof(text, 'a'), 0);
    EXPECT_EQ(reader.indexof(text, 'c'), 4);
    EXPECT_EQ(reader.indexof(text, 'x'), -1);
    EXPECT_EQ(reader.indexof(text, '\0'), -1);
    EXPECT_EQ(reader.indexof(nullptr, 'a'), -1);
}

} // namespace
