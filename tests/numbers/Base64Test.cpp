// Base64: encoding against a plain RFC 4648 reference cut into lines, decoding as its
// inverse through any foreign characters, the capacity rule and allocation failure.
#include <orvik_utilities/numbers/Base64.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

using namespace orvik_test;

namespace {

using Bytes = std::vector<unsigned char>;

std::string reference(Bytes const& data, unsigned long lineLength) {
    static char const alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string flat;
    for (std::size_t i = 0; i < data.size(); i += 3) {
        uint32_t v = uint32_t{data[i]} << 16;
        if (i + 1 < data.size())
            v |= uint32_t{data[i + 1]} << 8;
        if (i + 2 < data.size())
            v |= data[i + 2];
        for (std::size_t k = 0; k < 4; ++k)
            flat += i + k <= data.size() ? alphabet[(v >> (18 - 6 * k)) & 63] : '=';
    }
    if (lineLength == 0)
        return flat;
    std::size_t const perLine = 4 * (lineLength / 4 == 0 ? 1 : lineLength / 4);
    std::string lines;
    for (std::size_t i = 0; i < flat.size(); i += perLine)
        lines += flat.substr(i, perLine) + "\r\n";
    return lines;
}

std::string encoded(Bytes const& data, unsigned long lineLength) {
    String text("previous content");
    EXPECT_EQ(Base64::encode(data.data(), data.size(), lineLength, text), 0);
    return std::string(text.buffer(), static_cast<std::size_t>(text.length()));
}

Bytes decoded(std::string const& text, unsigned long capacity, int expectedStatus) {
    Bytes out(capacity + 1, 0xA5);
    unsigned long length = capacity;
    EXPECT_EQ(Base64::decode(String(text.c_str()), out.data(), length), expectedStatus) << text;
    EXPECT_EQ(out[capacity], 0xA5) << "wrote past the capacity: " << text;
    out.resize(length);
    return out;
}

Bytes bytesOf(char const* text) { return Bytes(text, text + std::strlen(text)); }

TEST(Base64Test, EncodesAsTheReferenceAndDecodesBackThroughForeignCharacters) {
    std::mt19937 rng(11u);
    auto r = [&rng] { return static_cast<uint32_t>(rng()); };
    char const foreign[] = "=\r\n -.*\x80\xFF";
    for (std::size_t size = 0; size < 300; ++size) {
        Bytes data(size);
        for (auto& b : data)
            b = static_cast<unsigned char>(r());
        for (unsigned long line : {0ul, 1ul, 3ul, 4ul, 7ul, 8ul, 64ul, 76ul, 77ul}) {
            std::string const text = encoded(data, line);
            ASSERT_EQ(text, reference(data, line)) << size << " bytes, line " << line;
            ASSERT_EQ(decoded(text, size, 0), data);
        }
        // Foreign characters anywhere, padding in the middle included, change nothing.
        std::string noisy = reference(data, 0);
        for (int k = 0; k < 8; ++k)
            noisy.insert(r() % (noisy.size() + 1), 1, foreign[r() % (sizeof foreign - 1)]);
        ASSERT_EQ(decoded(noisy, size, 0), data) << noisy;
    }
}

TEST(Base64Test, DecodesGroupsOfAlphabetCharactersWhateverStandsBetween) {
    EXPECT_EQ(decoded("TWE", 3, 0), bytesOf("Ma"));
    EXPECT_EQ(decoded("TQ", 3, 0), bytesOf("M"));
    EXPECT_EQ(decoded("T", 3, 0), Bytes());
    EXPECT_EQ(decoded("====", 0, 0), Bytes());
    EXPECT_EQ(decoded("QQ==QQ==", 3, 0), (Bytes{65, 4, 16}));
    EXPECT_EQ(decoded("T W\r\nFuTWFu", 6, 0), bytesOf("ManMan"));
}

// The bytes that fit are written, and the length then holds the capacity.
TEST(Base64Test, TooSmallBufferReportsTheCapacity) {
    EXPECT_EQ(decoded("TWFuTWFu", 6, 0), bytesOf("ManMan"));
    EXPECT_EQ(decoded("TWFuTWFu", 5, -1), bytesOf("ManMa"));
    EXPECT_EQ(decoded("TWFuTW", 3, -1), bytesOf("Man"));
    EXPECT_EQ(decoded("TWFu TWFuTWFu", 7, -1), bytesOf("ManManM"));
    EXPECT_EQ(decoded("TWFu", 0, -1), Bytes());
    unsigned long length = 4;
    EXPECT_EQ(Base64::decode(String("TWFu"), nullptr, length), -1);
    EXPECT_EQ(length, 0u);
}

TEST(Base64Test, WholeBlocksHaveNoPadding) {
    unsigned char in[3] = {'M', 'a', 'n'};
    unsigned char out[4];
    Base64::encodeBlock(in, out, 3);
    EXPECT_EQ(std::string(out, out + 4), "TWFu");
}

TEST(Base64Test, EncodingOverItsOwnTextReadsTheOldText) {
    String text("TWFu, the target's own characters");
    String const before(text.buffer());
    auto const* own = reinterpret_cast<unsigned char const*>(text.buffer());
    ASSERT_EQ(Base64::encode(own, 4, 0, text), 0);
    EXPECT_STREQ(text.buffer(), "VFdGdQ==");
    EXPECT_STREQ(before.buffer(), "TWFu, the target's own characters");
}

TEST(Base64Test, AllocationFailureLeavesTheTextUnchanged) {
    Bytes const data = bytesOf("any bytes at all");
    int const runs = sweepAllocationFailures([&](AllocationFault& fault, bool& injected) {
        String text("before");
        String const copy(text);
        fault.arm();
        int const status = Base64::encode(data.data(), data.size(), 76, text);
        injected = fault.disarm();
        if (status == 0)
            EXPECT_STREQ(text.buffer(), reference(data, 76).c_str());
        else
            EXPECT_STREQ(text.buffer(), "before");
        EXPECT_EQ(injected, status == -1);
    });
    EXPECT_GT(runs, 0);

    // The target is sized once, never grown block by block.
    Bytes const large(1 << 16, 0x5A);
    String text;
    AllocationCounter counter;
    ASSERT_EQ(Base64::encode(large.data(), large.size(), 76, text), 0);
    EXPECT_EQ(counter.count(), 1);
}

} // namespace
