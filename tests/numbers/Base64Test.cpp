// Base64 against a plain RFC 4648 encoder.
#include <orvik_utilities/numbers/Base64.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using namespace orvik_test;

namespace {

using Bytes = std::vector<unsigned char>;

// Lines of lineLength / 4 groups (at least one), each ending in CR LF; 0 means one line, unbroken.
std::string encodedReference(Bytes data, unsigned long lineLength) {
    static char const alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::size_t const n = data.size(), perLine = lineLength < 4 ? 4 : lineLength / 4 * 4;
    std::string text;
    data.resize(n + 2);
    for (std::size_t i = 0; i < n; i += 3) {
        uint32_t const v = uint32_t{data[i]} << 16 | uint32_t{data[i + 1]} << 8 | data[i + 2];
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k <= n ? alphabet[v >> (18 - 6 * k) & 63] : '=';
        if (lineLength != 0 && ((i / 3 + 1) * 4 % perLine == 0 || i + 3 >= n))
            text += "\r\n";
    }
    return text;
}

// Decodes into capacity bytes followed by a guard byte, which must stay untouched.
std::string decoded(std::string const& text, unsigned long capacity, int expectedStatus) {
    Bytes out(capacity + 1, 0xA5);
    unsigned long length = capacity;
    EXPECT_EQ(Base64::decode(String(text.c_str()), out.data(), length), expectedStatus) << text;
    EXPECT_EQ(out[capacity], 0xA5) << "wrote past the capacity: " << text;
    return std::string(out.begin(), out.begin() + static_cast<long>(length));
}

TEST(Base64Test, EncodesAsTheReferenceAndDecodesBackThroughForeignCharacters) {
    std::mt19937 rng(11u);
    char const foreign[] = "=\r\n -.*\x80\xFF";
    for (std::size_t size = 0; size < 300; ++size) {
        Bytes data(size);
        for (auto& b : data)
            b = static_cast<unsigned char>(rng());
        std::string const raw(data.begin(), data.end());
        for (unsigned long line : {0ul, 1ul, 3ul, 4ul, 7ul, 8ul, 64ul, 76ul, 77ul}) {
            String text("previous content");
            ASSERT_EQ(Base64::encode(data.data(), size, line, text), 0);
            ASSERT_EQ(text.buffer(), encodedReference(data, line)) << size << '/' << line;
            ASSERT_EQ(decoded(text.buffer(), size, 0), raw);
        }
        // Foreign characters anywhere, padding in the middle included, change nothing.
        std::string noisy = encodedReference(data, 0);
        for (int k = 0; k < 8; ++k)
            noisy.insert(rng() % (noisy.size() + 1), 1, foreign[rng() % (sizeof foreign - 1)]);
        ASSERT_EQ(decoded(noisy, size, 0), raw) << noisy;
    }
}

// Partial groups give what their characters hold; when the buffer is too small the bytes
// that fit are written and the length then holds the capacity.
TEST(Base64Test, DecodesPartialGroupsStopsAtTheCapacityAndEncodesOverItsOwnText) {
    // clang-format off
    struct Row { char const* text; unsigned long capacity; int status; char const* bytes; } const rows[] = {
        {"TWE", 3, 0, "Ma"}, {"TQ", 3, 0, "M"}, {"T", 3, 0, ""}, {"====", 0, 0, ""}, {"TWFuTWFu", 5, -1, "ManMa"},
        {"TWFuTW", 3, -1, "Man"}, {"TWFu TWFuTWFu", 7, -1, "ManManM"}, {"TWFu", 0, -1, ""}, {"QQ==QQ==", 3, 0, "A\x04\x10"}};
    // clang-format on
    for (Row const& row : rows)
        EXPECT_EQ(decoded(row.text, row.capacity, row.status), row.bytes) << row.text;
    unsigned long length = 4;
    EXPECT_TRUE(Base64::decode(String("TWFu"), nullptr, length) == -1 && length == 0);
    unsigned char in[3] = {'M', 'a', 'n'}, out[4];
    Base64::encodeBlock(in, out, 3);
    EXPECT_EQ(std::string(out, out + 4), "TWFu");
    // Encoding over its own text reads the old text.
    String text("TWFu, the target's own characters");
    ASSERT_EQ(Base64::encode(reinterpret_cast<unsigned char const*>(text.buffer()), 4, 0, text), 0);
    EXPECT_STREQ(text.buffer(), "VFdGdQ==");
    EXPECT_EQ(Base64::encode(in, 0xFFFFFFFFul, 0, text), -1); // more than a String holds
    EXPECT_STREQ(text.buffer(), "VFdGdQ==");
    EXPECT_TRUE(Base64::encode(nullptr, 5, 76, text) == 0 && text.length() == 0); // no bytes
}

// The target is sized once, never grown block by block: one allocation, so two runs fail.
TEST(Base64Test, AllocationFailureLeavesTheTextUnchanged) {
    Bytes const data(3000, 'q');
    int const runs = sweepAllocationFailures([&](AllocationFault& fault, bool& injected) {
        String text("before");
        fault.arm();
        int const status = Base64::encode(data.data(), data.size(), 76, text);
        injected = fault.disarm();
        EXPECT_STREQ(text.buffer(), status == 0 ? encodedReference(data, 76).c_str() : "before");
        EXPECT_EQ(injected, status == -1);
    });
    EXPECT_EQ(runs, 2);
}

} // namespace
