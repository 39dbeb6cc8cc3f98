// ASCII case-insensitive comparisons, with glibc's C-locale strcasecmp as oracle.
#include <orvik_utilities/text/Format.h>

#include <gtest/gtest.h>

#include <strings.h>

#include <random>
#include <string>

namespace {

int sign(int v) { return (v > 0) - (v < 0); }

// In the C locale glibc folds only 'A'-'Z' and compares bytes unsigned, as the device
// does; its results are reduced to their sign, so exactly -1, 0 and 1 are demanded.
TEST(CaseCompareTest, AgreesWithCLocaleStrcasecmp) {
    // Letters near the case boundary, their non-letter neighbours and high bytes.
    char const alphabet[] = "aAzZbB@[`{\x7F\x80\xC1\xE1";
    std::mt19937 rng(7u);
    auto pick = [&](std::size_t n) { return static_cast<std::size_t>(rng() % n); };
    for (int i = 0; i < 20000; ++i) {
        std::string a;
        std::string b;
        for (std::size_t k = pick(5); k > 0; --k)
            a += alphabet[pick(sizeof alphabet - 1)];
        for (std::size_t k = pick(5); k > 0; --k)
            b += alphabet[pick(sizeof alphabet - 1)];
        auto const count = static_cast<uint32_t>(pick(6));
        ASSERT_EQ(stricmp(a.c_str(), b.c_str()), sign(strcasecmp(a.c_str(), b.c_str())));
        ASSERT_EQ(strnicmp(a.c_str(), b.c_str(), count),
                  sign(strncasecmp(a.c_str(), b.c_str(), count)));
        ASSERT_EQ(strnicmp(a.c_str(), b.c_str(), 0xFFFFFFFFu),
                  sign(strcasecmp(a.c_str(), b.c_str())));
    }
}

} // namespace
