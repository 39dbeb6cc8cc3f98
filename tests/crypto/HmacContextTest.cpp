// HMAC: failures of the borrowed hash, and the wipe. Its agreement with OpenSSL, over MD5 and
// SHA-1, is checked on each hash's grid.
#include "crypto/CryptoChecks.h"

using namespace orvik_test;

namespace {

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
