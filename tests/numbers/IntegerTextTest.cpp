// Integer texts against positional notation and a 64-bit reader.
#include <orvik_utilities/numbers/IntegerText.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace {

// The digits with the radix letter; negative values only in decimal, else refused (null).
std::string printed(int64_t value, int radix) {
    std::string text;
    for (uint64_t m = uint64_t(value < 0 ? -value : value); text.empty() || m != 0;
         m /= uint64_t(radix))
        text.insert(0, 1, "0123456789ABCDEF"[m % uint64_t(radix)]);
    text += radix == 2 ? "b" : radix == 8 ? "o" : radix == 16 ? "h" : "";
    return value >= 0 ? text : radix == 10 ? "-" + text : "null";
}

// What the reader's rules give, computed in 64 bits and reduced at the end.
uint32_t readReference(std::string const& text, bool withSign) {
    std::size_t const first = withSign && !text.empty() && text[0] == '-' ? 1 : 0;
    std::size_t end = text.size();
    uint64_t radix = 10;
    if (end > first && static_cast<unsigned char>(text[end - 1]) > 96) {
        char const letter = text[--end];
        radix = letter == 'b' ? 2 : letter == 'o' ? 8 : letter == 'h' || letter == 'x' ? 16 : 10;
    }
    uint64_t sum = 0, weight = 1;
    for (std::size_t i = end; i > first; --i, weight *= radix) {
        int64_t const c = static_cast<unsigned char>(text[i - 1]);
        int64_t const base = radix != 16 || c < 65 ? 48 : c > 96 ? 87 : 55;
        sum += weight * static_cast<uint64_t>(c - base);
    }
    return static_cast<uint32_t>(first == 1 ? 0 - sum : sum);
}

std::string shown(char const* result) { return result ? result : "null"; }

// Refusals (negative outside decimal, unknown radix, no buffer) show as "null".
TEST(IntegerTextTest, RendersEveryRadixAsPositionalNotationAndRefusesTheRest) {
    std::mt19937 rng(3u);
    char longest[40], text[] = "abcde";
    for (int i = 0; i < 20000; ++i) {
        uint32_t const bits = i < 4 ? 0x7FFFFFFFu + static_cast<uint32_t>(i)
                                    : static_cast<uint32_t>(rng()) >> (rng() % 32);
        auto const value = static_cast<int32_t>(bits);
        auto const small = static_cast<int16_t>(bits);
        auto const half = static_cast<uint16_t>(bits);
        for (int radix : {2, 8, 10, 16}) {
            char out[34]; // exactly the longest text, for the sanitizers
            ASSERT_EQ(shown(u_i32toa(bits, out, radix)), printed(bits, radix));
            ASSERT_EQ(shown(u_i16toa(half, out, radix)), printed(half, radix));
            ASSERT_EQ(shown(i32toa(value, out, radix)), printed(value, radix));
            ASSERT_EQ(shown(i16toa(small, out, radix)), printed(small, radix));
        }
    }
    std::memset(longest, '#', sizeof longest);
    EXPECT_TRUE(!u_i32toa(1, longest, 3) && !u_i16toa(1, longest, 36) && !i32toa(1, nullptr, 10));
    EXPECT_EQ(u_i32toa(0xFFFFFFFFu, longest, 2), longest);
    EXPECT_EQ(std::string(longest, 35), std::string(32, '1') + "b" + '\0' + '#');
    reverse(text);
    reverse(nullptr);
    EXPECT_STREQ(text, "edcba");
}

// Readers against the reference. A text is valid exactly when it is the canonical decimal
// form of the value read (no sign on unsigned kinds, no leading zero, "-0" or wrapping).
template <typename T, T (*read)(char const*), T (*valid)(int32_t*, char const*),
          T (*ranged)(int32_t*, char const*, T, T)>
void checkText(std::string const& text, std::mt19937& rng) {
    T const value = read(text.c_str());
    ASSERT_EQ(value, T(readReference(text, std::numeric_limits<T>::is_signed))) << text;
    bool const canonical = text == std::to_string(value);
    int32_t status = 1;
    ASSERT_TRUE(valid(&status, text.c_str()) == value && status == (canonical ? 0 : -1)) << text;
    // Bounds on the value or one off it; one off past a type's edge wraps to its other end.
    T const low = T(int64_t(value) + int(rng() % 3) - 1);
    T const high = T(int64_t(value) + int(rng() % 3) - 1);
    ASSERT_EQ(ranged(&status, text.c_str(), low, high), value);
    ASSERT_EQ(status, canonical && low <= value && value <= high ? 0 : -1);
    EXPECT_EQ(-1, int64_t(ranged(nullptr, "5", 1, 10)) + valid(&status, nullptr) + status +
                      read(nullptr));
}

TEST(IntegerTextTest, ReadsAsTheReferenceAndValidatesExactlyTheCanonicalForms) {
    std::mt19937 rng(7u);
    // Digits of every radix, the radix letters, and characters the rules count anyway.
    char const alphabet[] = "0123456789ABCDEFabcdefbohx-+ .@`Z\xE9";
    char const edges[][16] = {
        "-2147483648", "2147483648", "4294967295", "4294967296", "-32768", "32768", "65535",
        "65536",       "-0",         "0123",       "+1",         " 1",     "1d",    ""};
    for (int i = 0; i < 60000; ++i) {
        std::string text =
            std::to_string(int64_t(rng()) - int64_t(rng() >> rng() % 32)).substr(0, rng() % 12);
        text = i < 14 ? edges[i] : i % 2 ? text : std::string(rng() % (i % 10 ? 14 : 60), ' ');
        for (char& c : text)
            c = c == ' ' && i >= 14 ? alphabet[rng() % (sizeof alphabet - 1)] : c;
        checkText<int32_t, valueOf32, validValueOf32, validRangeValueOf32>(text, rng);
        checkText<uint32_t, u_valueOf32, u_validValueOf32, u_validRangeValueOf32>(text, rng);
        checkText<int16_t, valueOf16, validValueOf16, validRangeValueOf16>(text, rng);
        checkText<uint16_t, u_valueOf16, u_validValueOf16, u_validRangeValueOf16>(text, rng);
    }
    EXPECT_EQ(validValueOf32(nullptr, "7"), 7);
}

} // namespace
