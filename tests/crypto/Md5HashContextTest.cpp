// MD5 on the OpenSSL grid (HMAC too), 2^32-bit counts and the padding.
#include "crypto/CryptoChecks.h"

using namespace orvik_test;

namespace {

TEST(Md5HashContextTest, AgreesWithOpensslForEveryLengthSplitKeyAndTruncation) {
    checkGrid<Md5HashContext>(0x4caae498dbeaaf4full, "b0e641c998cc3eae6fa2f8726d98cddd");
}

// Fed in pieces, so the low word of the count wraps between calls.
TEST(Md5HashContextTest, MessagesOf2To29BytesAndMoreCountIntoTheHighWord) {
    Md5HashContext md5;
    EXPECT_EQ(digestOfManyZeros(md5, (std::size_t{1} << 20) + 3),
              "53f83c490b7435d7e205466bfd984882");
}

TEST(Md5HashContextTest, PaddingAndSelfTestGoThroughTheOverriddenHash) {
    checkFinalising<Md5HashContext>(false);
}

} // namespace
