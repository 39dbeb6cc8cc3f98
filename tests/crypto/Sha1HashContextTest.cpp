// SHA-1 on the OpenSSL grid (HMAC too), 2^32-bit counts and the padding.
#include "crypto/CryptoChecks.h"

using namespace orvik_test;

namespace {

TEST(Sha1HashContextTest, AgreesWithOpensslForEveryLengthSplitKeyAndTruncation) {
    checkGrid<Sha1HashContext>(0x0d7256243852b12eull, "0ffd8d43b4e33c7c53461bd10f27a5461050d90d");
}

// In one call, so the count's high word takes n >> 29.
TEST(Sha1HashContextTest, MessagesOf2To29BytesAndMoreCountIntoTheHighWord) {
    Sha1HashContext sha1;
    EXPECT_EQ(digestOfManyZeros(sha1, std::size_t{1} << 30),
              "8e9aff269b0100da94e05015243e0a65c1399752");
}

TEST(Sha1HashContextTest, PaddingAndSelfTestGoThroughTheOverriddenHash) {
    checkFinalising<Sha1HashContext>(true);
}

} // namespace
