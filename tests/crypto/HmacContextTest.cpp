// HMAC over MD5 and SHA-1: OpenSSL's HMAC() as oracle natively, recorded codes and the
// RFC 2104 and RFC 2202 vectors on the device.
#include <orvik_utilities/crypto/HmacContext.h>

#include "crypto/CryptoTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>

namespace {

using namespace crypto_test;

Bytes mac(HashContext& hash, Bytes const& key, Bytes const& data, unsigned long returned = 0) {
    HmacContext hmac(&hash);
    EXPECT_EQ(hmac.initialize(key.data(), key.size(), returned), 0);
    hmac.hash(data.data(), data.size());
    Bytes code(std::min(hmac.getReturnedHashLength(), hmac.getCompleteHashLength()));
    hmac.getHash(code.data());
    return code;
}

// Keys of every length from 0 to 200 (empty, short, exactly one block, hashed first) and
// messages of every length from 0 to 300, fed in random pieces.
TEST(HmacContextTest, AgreesWithOpensslForEveryKeyAndMessageLength) {
    uint64_t const recorded[] = {0x11bc3e5c37b4c31cull, 0xee754d1bfcb5d339ull};
    for (Algorithm algorithm : kAlgorithms) {
        SCOPED_TRACE(name(algorithm));
        auto const hash = makeHash(algorithm);
        HmacContext hmac(hash.get());
        std::mt19937 rng(29u);
        Fingerprint fingerprint;
        for (std::size_t i = 0; i <= 300; ++i) {
            Bytes const key = message(i <= 200 ? i : i % 70, static_cast<uint32_t>(i + 1000));
            Bytes const data = message(i <= 200 ? i % 67 : i, static_cast<uint32_t>(i));
            ASSERT_EQ(hmac.initialize(key.data(), key.size(), 0), 0);
            hashInPieces(hmac, data, rng);
            Bytes code(hmac.getCompleteHashLength());
            hmac.getHash(code.data());
#if ORVIK_TEST_WITH_OPENSSL
            ASSERT_EQ(hex(code), hex(opensslHmac(algorithm, key, data)))
                << "key " << key.size() << ", message " << data.size();
#endif
            fingerprint.add(code);
        }
        EXPECT_EQ(fingerprint.value, recorded[algorithm == Algorithm::Sha1])
            << std::hex << "0x" << fingerprint.value;
    }
}

struct Vector {
    Algorithm algorithm;
    Bytes key;
    Bytes data;
    char const* code;
};

// RFC 2202 test cases 1 to 7 for both hashes (HMAC-MD5's first three are RFC 2104's).
TEST(HmacContextTest, PublishedVectors) {
    Bytes counting(25);
    for (unsigned i = 0; i < 25; ++i)
        counting[i] = static_cast<unsigned char>(i + 1);
    Bytes const hashKeyFirst = bytesOf("Test Using Larger Than Block-Size Key - Hash Key First");
    Bytes const twoBlocks =
        bytesOf("Test Using Larger Than Block-Size Key and Larger Than One Block-Size Data");
    Bytes const hiThere = bytesOf("Hi There");
    Bytes const jefe = bytesOf("Jefe");
    Bytes const question = bytesOf("what do ya want for nothing?");
    Bytes const truncation = bytesOf("Test With Truncation");
    Bytes const aa80(80, 0xaa);
    Vector const vectors[] = {
        {Algorithm::Md5, Bytes(16, 0x0b), hiThere, "9294727a3638bb1c13f48ef8158bfc9d"},
        {Algorithm::Md5, jefe, question, "750c783e6ab0b503eaa86e310a5db738"},
        {Algorithm::Md5, Bytes(16, 0xaa), Bytes(50, 0xdd), "56be34521d144c88dbb8c733f0e8b3f6"},
        {Algorithm::Md5, counting, Bytes(50, 0xcd), "697eaf0aca3a3aea3a75164746ffaa79"},
        {Algorithm::Md5, Bytes(16, 0x0c), truncation, "56461ef2342edc00f9bab995690efd4c"},
        {Algorithm::Md5, aa80, hashKeyFirst, "6b1ab7fe4bd7bf8f0b62e6ce61b9d0cd"},
        {Algorithm::Md5, aa80, twoBlocks, "6f630fad67cda0ee1fb1f562db3aa53e"},
        {Algorithm::Sha1, Bytes(20, 0x0b), hiThere, "b617318655057264e28bc0b6fb378c8ef146be00"},
        {Algorithm::Sha1, jefe, question, "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
        {Algorithm::Sha1, Bytes(20, 0xaa), Bytes(50, 0xdd),
         "125d7342b9ac11cd91a39af48aa17b4f63f175d3"},
        {Algorithm::Sha1, counting, Bytes(50, 0xcd), "4c9007f4026250c6bc8414f9bf50c86c2d7235da"},
        {Algorithm::Sha1, Bytes(20, 0x0c), truncation, "4c1a03424b55e07fe7f27be1d58bb9324a9a5a04"},
        {Algorithm::Sha1, aa80, hashKeyFirst, "aa4ae5e15272d00e95705637ce8a3b55ed402112"},
        {Algorithm::Sha1, aa80, twoBlocks, "e8e99d0f45237d786d6bbaa7965c7808bbff1a91"},
    };
    for (Vector const& vector : vectors) {
        auto const hash = makeHash(vector.algorithm);
        EXPECT_EQ(hex(mac(*hash, vector.key, vector.data)), vector.code);
    }
}

// A key over 64 bytes stands for its digest; one of exactly 64 bytes is used as it is.
TEST(HmacContextTest, LongKeysAreHashedFirstAndABlockSizedKeyIsNot) {
    for (Algorithm algorithm : kAlgorithms) {
        auto const hash = makeHash(algorithm);
        Bytes const data = message(40, 1u);
        for (std::size_t length : {64u, 65u, 80u}) {
            Bytes const key = message(length, 2u);
            hash->initialize(0);
            hash->hash(key.data(), key.size());
            Bytes digest(hash->getCompleteHashLength());
            hash->getHash(digest.data());
            bool const same = mac(*hash, key, data) == mac(*hash, digest, data);
            EXPECT_EQ(same, length > 64) << name(algorithm) << " key " << length;
        }
    }
}

// The code is the leftmost bytes of the full one; a length above the complete one is
// reported as asked while getHash writes the complete length.
TEST(HmacContextTest, TruncatedCodesAndLengths) {
    for (Algorithm algorithm : kAlgorithms) {
        SCOPED_TRACE(name(algorithm));
        auto const hash = makeHash(algorithm);
        uint32_t const complete = hash->getCompleteHashLength();
        HmacContext hmac(hash.get());
        EXPECT_EQ(hmac.getReturnedHashLength(), complete);
        Bytes const key = bytesOf("Jefe");
        Bytes const data = bytesOf("what do ya want for nothing?");
        Bytes const full = mac(*hash, key, data);
        for (unsigned long asked : {0ul, 1ul, 12ul, 15ul, 16ul, 17ul, 19ul, 20ul, 21ul, 100ul}) {
            EXPECT_EQ(hmac.initialize(key.data(), key.size(), asked), 0);
            uint32_t const written =
                asked == 0 || asked > complete ? complete : static_cast<uint32_t>(asked);
            EXPECT_EQ(hmac.getReturnedHashLength(), asked == 0 ? complete : asked);
            EXPECT_EQ(hmac.getCompleteHashLength(), complete);
            hmac.hash(data.data(), data.size());
            Bytes out(40, 0xEE);
            hmac.getHash(out.data());
            EXPECT_EQ(hex(out.data(), written), hex(full.data(), written)) << asked;
            EXPECT_EQ(out[written], 0xEE) << "wrote past " << written;
        }
    }
}

// reset() starts the next message under the same key, however the last one ended.
TEST(HmacContextTest, ResetStartsTheNextMessageUnderTheSameKey) {
    Sha1HashContext sha1;
    HmacContext hmac(&sha1);
    Bytes const key = message(33, 4u);
    Bytes const first = message(100, 5u);
    Bytes const second = message(10, 6u);
    hmac.initialize(key.data(), key.size(), 0);
    hmac.hash(first.data(), first.size());
    Bytes code(20);
    hmac.getHash(code.data());
    EXPECT_EQ(code, mac(sha1, key, first));

    EXPECT_EQ(hmac.reset(), 0);
    hmac.hash(second.data(), second.size());
    hmac.getHash(code.data());
    EXPECT_EQ(code, mac(sha1, key, second));

    hmac.reset();
    hmac.hash(first.data(), first.size());
    EXPECT_EQ(hmac.reset(), 0);
    hmac.hash(second.data(), second.size());
    hmac.getHash(code.data());
    EXPECT_EQ(code, mac(sha1, key, second));
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
    EXPECT_EQ(hmac.initialize(key.data(), key.size(), 0), 0);

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
    HashContext* forgotten = nullptr;
    std::memcpy(&forgotten, storage + sizeof(void*), sizeof forgotten);
    EXPECT_EQ(forgotten, nullptr);
    hmac->~HmacContext();

    auto* owner = new HmacContext(&md5);
    owner->initialize(key.data(), key.size(), 0);
    delete owner;
    EXPECT_EQ(md5.test(), 0);
}

} // namespace
