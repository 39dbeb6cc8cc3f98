// Indexed lookups against String::format: whichever way the reader forms the tag, it finds
// what String::format would name, for plain and derived readers, and allocates nothing for
// the usual pattern.
#include <orvik_utilities/config/ConfigReader.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

namespace {

// Sees every lookup by tag, so the test can tell that indexed lookups went through it.
class CountingReader : public ConfigReader {
public:
    String const& getValue(String const& tag, String const& defaultValue) const override {
        ++calls;
        return ConfigReader::getValue(tag, defaultValue);
    }
    long getValueAsInt(String const& tag, long defaultValue) const override {
        ++calls;
        return ConfigReader::getValueAsInt(tag, defaultValue);
    }
    mutable int calls = 0;
};

class ConfigReaderIndexedTest : public testing::Test {
protected:
    void load(ConfigReader& reader) const {
        std::ofstream(path) << "# indexed tags are added below\n";
        ASSERT_TRUE(reader.initialize(String(path.c_str()), 64));
    }
    void TearDown() override { std::remove(path.c_str()); }
    std::string const path = "/tmp/orvik-indexed-" + std::to_string(getpid()) + ".cfg";
};

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
    return std::string(tag.buffer(), std::size_t(tag.length()));
}

// One integer conversion with any flags, width, precision and size, between literals that
// are sometimes longer than any stack buffer a reader would use for the tag.
std::string randomPattern(std::mt19937& rng) {
    static char const* const literals[] = {"r", "if", "x%%y", "port.", ""};
    std::string p = rng() % 8 ? literals[rng() % 5] : std::string(90 + rng() % 20, 'k');
    p += '%';
    for (char flag : std::string("-+ #0"))
        if (rng() % 4 == 0)
            p += flag;
    if (rng() % 3 == 0)
        p += std::to_string(rng() % 14);
    if (rng() % 3 == 0)
        p += "." + (rng() % 4 ? std::to_string(rng() % 6) : std::string());
    static char const* const sizes[] = {"", "l", "h", "hh", "l"};
    p += sizes[rng() % 5];
    p += "diuoxX"[rng() % 6];
    p += literals[rng() % 5];
    return p;
}

TEST_F(ConfigReaderIndexedTest, FindsTheTagStringFormatWrites) {
    std::vector<unsigned long> indexes = {
        0, 1, 7, 255, 65535, 65536, 0x7FFFFFFFul, 0x80000000ul, 0xFFFFFFFFul};
    if (sizeof(long) > 4)
        indexes.push_back(static_cast<unsigned long>(0x100000005ull));
    std::mt19937 rng(29);
    for (int round = 0; round < 60; ++round) {
        ConfigReader plain;
        CountingReader derived;
        load(plain);
        load(derived);
        std::vector<std::string> patterns;
        for (int i = 0; i < 12; ++i)
            patterns.push_back(randomPattern(rng));
        // Every second tag is stored; a stored value names its pattern and index.
        int n = 0;
        for (std::string const& pattern : patterns) {
            for (unsigned long index : indexes) {
                if (++n % 2 == 0)
                    continue;
                String const tag(referenceTag(pattern, index).c_str());
                String const value(std::to_string(n).c_str());
                testing::internal::CaptureStdout(); // a repeated tag reports itself
                plain.add(tag, value);
                derived.add(tag, value);
                testing::internal::GetCapturedStdout();
            }
        }
        String const none("none");
        for (std::string const& pattern : patterns) {
            for (unsigned long index : indexes) {
                std::string const tag = referenceTag(pattern, index);
                String const expected = plain.getValue(String(tag.c_str()), none);
                String const format(pattern.c_str());
                ASSERT_STREQ(plain.getIndexedValue(format, index, none).buffer(), expected.buffer())
                    << pattern << " " << index;
                ASSERT_STREQ(derived.getIndexedValue(format, index, none).buffer(),
                             expected.buffer())
                    << pattern << " " << index;
                long const number = expected == none ? -1 : std::stol(expected.buffer());
                ASSERT_EQ(plain.getIndexedValueAsInt(format, index, -1), number) << pattern;
                ASSERT_EQ(derived.getIndexedValueAsInt(format, index, -1), number) << pattern;
            }
        }
        ASSERT_EQ(derived.calls, 4 * static_cast<int>(patterns.size() * indexes.size()) / 2);
    }
}

TEST_F(ConfigReaderIndexedTest, UsualPatternsAllocateNothingAndSkipOverrides) {
    ConfigReader plain;
    CountingReader derived;
    load(plain);
    load(derived);
    for (ConfigReader* reader : {&plain, static_cast<ConfigReader*>(&derived)}) {
        reader->add(String("route12"), String("10.0.0.1"));
        reader->add(String("if3_mtu"), String("1500"));
    }
    String const pattern("route%lu"), mtu("if%u_mtu"), none("none");
    orvik_test::AllocationCounter counter;
    EXPECT_STREQ(plain.getIndexedValue(pattern, 12, none).buffer(), "10.0.0.1");
    EXPECT_EQ(&plain.getIndexedValue(pattern, 13, none), &none);
    EXPECT_EQ(plain.getIndexedValueAsInt(mtu, 3, -1), 1500);
    EXPECT_EQ(plain.getIndexedValueAsInt(mtu, 4, -1), -1);
    EXPECT_EQ(counter.count(), 0);
    // A derived reader's own lookups still see the formatted tag.
    EXPECT_STREQ(derived.getIndexedValue(pattern, 12, none).buffer(), "10.0.0.1");
    EXPECT_EQ(derived.getIndexedValueAsInt(mtu, 3, -1), 1500);
    EXPECT_EQ(derived.calls, 2);
}

} // namespace
