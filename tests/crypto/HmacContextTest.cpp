// HMAC over MD5 and SHA-1: published vectors, failures of the borrowed hash, and the wipe.
// Its agreement with OpenSSL is checked on each hash's grid.
#include "crypto/CryptoChecks.h"

using namespace orvik_test;

namespace {

// RFC 2202 cases 2, 6 and 7 (a key longer than the block, hashed first).
TEST(HmacContextTest, PublishedVectors) {
    std::string const larger = "Test Using Larger Than Block-Size Key", aa(80, '\xaa');
    std::string const first = larger + " - Hash Key First";
    std::string const more = larger + " and Larger Than One Block-Size Data";
    Md5HashContext md5;
    Sha1HashContext sha1;
    std::string const cases[][3] = {
        {"Jefe", "what do ya want for nothing?",
         "750c783e6ab0b503eaa86e310a5db738 effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
        {aa, first, "6b1ab7fe4bd7bf8f0b62e6ce61b9d0cd aa4ae5e15272d00e95705637ce8a3b55ed402112"},
        {aa, more, "6f630fad67cda0ee1fb1f562db3aa53e e8e99d0f45237d786d6bbaa7965c7808bbff1a91"}};
    for (auto const& c : cases)
        EXPECT_EQ(digestOf(md5, c[0], c[1]) + " " + digestOf(sha1, c[0], c[1]), c[2]) << c[1];
}

// A hash that cannot start passes its status on; one whose digest does not fit is refused
// and writes nothing. destroy() zeroes the borrowed hash's pointer and both key blocks,
// which follow the vtable pointer.
class StubbornHash : public Md5HashContext {
public:
    int initialize(unsigned long returnedLength) override {
        return status != 0 ? status : Md5HashContext::initialize(returnedLength);
    }
    uint32_t getCompleteHashLength() const override { return length; }
    int status = 7;
    uint32_t length = 16;
};

TEST(HmacContextTest, PassesFailuresOnRefusesUnfitHashesAndWipesItsKey) {
    StubbornHash hash;
    alignas(HmacContext) unsigned char storage[sizeof(HmacContext)];
    auto* hmac = new (storage) HmacContext(&hash);
    Bytes const key = message(20, 8u);
    EXPECT_EQ(hmac->initialize(key.data(), key.size(), 0), 7);
    EXPECT_EQ(hmac->reset(), 7);
    hash.status = 0;
    unsigned char out[8] = {};
    for (uint32_t length : {0u, 65u}) {
        hash.length = length;
        EXPECT_EQ(hmac->initialize(key.data(), key.size(), 0), -1) << length;
        hmac->getHash(out);
    }
    EXPECT_EQ(Bytes(out, out + 8), Bytes(8, 0));
    hash.length = 64;
    EXPECT_EQ(hmac->initialize(key.data(), key.size(), 0), 0);
    hmac->destroy();
    std::size_t const wiped = sizeof(void*) + 128;
    EXPECT_EQ(Bytes(storage + sizeof(void*), storage + sizeof(void*) + wiped), Bytes(wiped, 0));
    hmac->~HmacContext();
    EXPECT_EQ(hash.test(), 0);
}

} // namespace
