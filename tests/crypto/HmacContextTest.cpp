// HMAC over MD5 and SHA-1: OpenSSL's HMAC() as oracle natively, recorded codes and the
// RFC 2104 and RFC 2202 vectors on the device.
#include <orvik_utilities/crypto/HmacContext.h>

#include "crypto/CryptoTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

namespace {

using namespace crypto_test;

// Keys of every length from 0 to 200 (empty, short, exactly one block, hashed first),
// messages of every length from 0 to 300 in random pieces, and returned lengths from 0 to
// 100: the code is the leftmost min(returned, complete) bytes, the length is as asked.
TEST(HmacContextTest, AgreesWithOpensslForEveryKeyMessageAndReturnedLength) {
    uint64_t const recorded[] = {0x6537fdba146abe4aull, 0x6e6b57716f55ff66ull};
    for (Algorithm algorithm : kAlgorithms) {
        SCOPED_TRACE(name(algorithm));
        auto const hash = makeHash(algorithm);
        uint32_t const complete = hash->getCompleteHashLength();
        HmacContext hmac(hash.get());
        EXPECT_EQ(hmac.getReturnedHashLength(), complete);
        std::mt19937 rng(29u);
        Fingerprint fingerprint;
        for (std::size_t i = 0; i <= 300; ++i) {
            Bytes const key = message(i <= 200 ? i : i % 70, static_cast<uint32_t>(i + 1000));
            Bytes const data = message(i <= 200 ? i % 67 : i, static_cast<uint32_t>(i));
            unsigned long const asked = i % 25 == 24 ? 100 : i % 25;
            uint32_t const written = asked == 0 || asked > complete ? complete : uint32_t(asked);
            ASSERT_EQ(hmac.initialize(key.data(), key.size(), asked), 0);
            ASSERT_EQ(hmac.getReturnedHashLength(), asked == 0 ? complete : asked);
            ASSERT_EQ(hmac.getCompleteHashLength(), complete);
            hashInPieces(hmac, data, rng);
            Bytes code(complete + 1, 0xEE);
            hmac.getHash(code.data());
            ASSERT_EQ(code[written], 0xEE) << "wrote past " << written;
            code.resize(written);
            if (written == complete)
                fingerprint.add(code);
#if ORVIK_TEST_WITH_OPENSSL
            Bytes expected = opensslHmac(algorithm, key, data);
            expected.resize(written);
            ASSERT_EQ(hex(code), hex(expected)) << "key " << key.size() << ", " << data.size();
#endif
        }
        EXPECT_EQ(fingerprint.value, recorded[algorithm == Algorithm::Sha1])
            << std::hex << "0x" << fingerprint.value;
    }
}

// RFC 2202 test cases 1 to 7 for both hashes (HMAC-MD5's first three are RFC 2104's).
TEST(HmacContextTest, PublishedVectors) {
    Bytes counting(25);
    for (unsigned i = 0; i < 25; ++i)
        counting[i] = static_cast<unsigned char>(i + 1);
    Bytes const firstKey = bytesOf("Test Using Larger Than Block-Size Key - Hash Key First");
    Bytes const twoBlocks =
        bytesOf("Test Using Larger Than Block-Size Key and Larger Than One Block-Size Data");
    Bytes const jefe = bytesOf("Jefe"), question = bytesOf("what do ya want for nothing?");
    Bytes const hi = bytesOf("Hi There"), truncation = bytesOf("Test With Truncation");
    Bytes const aa(80, 0xaa), dd(50, 0xdd), cd(50, 0xcd);
    Algorithm const md5 = Algorithm::Md5, sha1 = Algorithm::Sha1;
    struct {
        Algorithm algorithm;
        Bytes key;
        Bytes data;
        char const* code;
    } const vectors[] = {
        {md5, Bytes(16, 0x0b), hi, "9294727a3638bb1c13f48ef8158bfc9d"},
        {md5, jefe, question, "750c783e6ab0b503eaa86e310a5db738"},
        {md5, Bytes(16, 0xaa), dd, "56be34521d144c88dbb8c733f0e8b3f6"},
        {md5, counting, cd, "697eaf0aca3a3aea3a75164746ffaa79"},
        {md5, Bytes(16, 0x0c), truncation, "56461ef2342edc00f9bab995690efd4c"},
        {md5, aa, firstKey, "6b1ab7fe4bd7bf8f0b62e6ce61b9d0cd"},
        {md5, aa, twoBlocks, "6f630fad67cda0ee1fb1f562db3aa53e"},
        {sha1, Bytes(20, 0x0b), hi, "b617318655057264e28bc0b6fb378c8ef146be00"},
        {sha1, jefe, question, "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
        {sha1, Bytes(20, 0xaa), dd, "125d7342b9ac11cd91a39af48aa17b4f63f175d3"},
        {sha1, counting, cd, "4c9007f4026250c6bc8414f9bf50c86c2d7235da"},
        {sha1, Bytes(20, 0x0c), truncation, "4c1a03424b55e07fe7f27be1d58bb9324a9a5a04"},
        {sha1, aa, firstKey, "aa4ae5e15272d00e95705637ce8a3b55ed402112"},
        {sha1, aa, twoBlocks, "e8e99d0f45237d786d6bbaa7965c7808bbff1a91"},
    };
    for (auto const& vector : vectors) {
        auto const hash = makeHash(vector.algorithm);
        HmacContext hmac(hash.get());
        hmac.initialize(vector.key.data(), vector.key.size(), 0);
        hmac.hash(vector.data.data(), vector.data.size());
        Bytes code(hmac.getCompleteHashLength());
        hmac.getHash(code.data());
        EXPECT_EQ(hex(code), vector.code);
        // reset() after getHash starts the same message under the same key again.
        EXPECT_EQ(hmac.reset(), 0);
        hmac.hash(vector.data.data(), vector.data.size());
        hmac.getHash(code.data());
        EXPECT_EQ(hex(code), vector.code);
    }
}

// A hash that cannot start passes its status on; one whose digest does not fit the block
// is refused and writes nothing.
class StubbornHash : public Md5HashContext {
public:
    int initialize(unsigned long returnedLength) override {
        return status != 0 ? status : Md5HashContext::initialize(returnedLength);
    }
    uint32_t getCompleteHashLength() const override { return length; }
    int status = 0;
    uint32_t length = 16;
};

TEST(HmacContextTest, HashFailuresAndUnfitHashes) {
    StubbornHash hash;
    HmacContext hmac(&hash);
    Bytes const key = bytesOf("key");
    hash.status = 7;
    EXPECT_EQ(hmac.initialize(key.data(), key.size(), 0), 7);
    EXPECT_EQ(hmac.reset(), 7);
    hash.status = 0;
    for (uint32_t length : {0u, 65u}) {
        hash.length = length;
        EXPECT_EQ(hmac.initialize(key.data(), key.size(), 0), -1) << length;
        Bytes out(8, 0xEE);
        hmac.getHash(out.data());
        EXPECT_EQ(out, Bytes(8, 0xEE));
    }
    hash.length = 64;
    EXPECT_EQ(hmac.initialize(key.data(), key.size(), 0), 0);
}

// The hash is borrowed: deleting the HmacContext leaves it working. destroy() forgets
// the hash and zeroes both key blocks, which follow the vtable and hash pointers.
TEST(HmacContextTest, BorrowsTheHashAndDestroyWipesTheKey) {
    Md5HashContext md5;
    alignas(HmacContext) unsigned char storage[sizeof(HmacContext)];
    auto* hmac = new (storage) HmacContext(&md5);
    Bytes const key = message(20, 8u);
    hmac->initialize(key.data(), key.size(), 0);
    hmac->destroy();
    Bytes const afterPointers(storage + 2 * sizeof(void*), storage + 2 * sizeof(void*) + 128);
    EXPECT_EQ(afterPointers, Bytes(128, 0));
    HashContext* forgotten = &md5;
    std::memcpy(&forgotten, storage + sizeof(void*), sizeof forgotten);
    EXPECT_EQ(forgotten, nullptr);
    hmac->~HmacContext();

    auto* owner = new HmacContext(&md5);
    owner->initialize(key.data(), key.size(), 0);
    delete owner;
    EXPECT_EQ(md5.test(), 0);
}

} // namespace
