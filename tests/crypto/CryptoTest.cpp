// MD5, SHA-1 and HMAC over both: OpenSSL as oracle natively; on the device, which has no
// oracle, fingerprints of the digests the native run checked, and published vectors.
#include <orvik_utilities/crypto/HmacContext.h>
#include <orvik_utilities/crypto/Md5HashContext.h>
#include <orvik_utilities/crypto/Sha1HashContext.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

#if ORVIK_TEST_WITH_OPENSSL
#include <openssl/evp.h>
#include <openssl/hmac.h>
#endif

namespace {

using Bytes = std::vector<unsigned char>;

// Everywhere below, index 0 is MD5 and 1 is SHA-1.
std::unique_ptr<HashContext> makeHash(int sha1) {
    return sha1 ? std::unique_ptr<HashContext>(new Sha1HashContext)
                : std::make_unique<Md5HashContext>();
}

// mt19937's raw output is fixed by the standard, so both targets build the same bytes.
Bytes message(std::size_t length, uint32_t seed) {
    std::mt19937 rng(seed);
    Bytes bytes(length);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(rng() >> 24);
    return bytes;
}

std::string hex(Bytes const& bytes, std::size_t length = SIZE_MAX) {
    std::string text;
    for (std::size_t i = 0; i < std::min(length, bytes.size()); ++i)
        text += {"0123456789abcdef"[bytes[i] >> 4], "0123456789abcdef"[bytes[i] & 15]};
    return text;
}

// Feeds data in pieces cut at random points (empty pieces included).
template <typename Context>
void hashInPieces(Context& context, Bytes const& data, std::mt19937& rng) {
    for (std::size_t done = 0, piece = 0; done < data.size(); done += piece) {
        piece = rng() % (data.size() - done + 1);
        context.hash(data.data() + done, piece);
    }
}

// FNV-1a over every digest of a grid, recorded once the native run had checked each one.
void fingerprint(uint64_t& value, Bytes const& bytes) {
    for (unsigned char byte : bytes)
        value = (value ^ byte) * 1099511628211ull;
}

#if ORVIK_TEST_WITH_OPENSSL
// The digest, or with a key the HMAC. HMAC() takes a null key as "keep the previous key",
// so an empty key still gets a pointer.
Bytes openssl(int sha1, Bytes const& data, Bytes const* key = nullptr) {
    static unsigned char const none = 0;
    EVP_MD const* md = sha1 ? EVP_sha1() : EVP_md5();
    Bytes out(EVP_MAX_MD_SIZE);
    unsigned int length = 0;
    if (key)
        HMAC(md, key->empty() ? &none : key->data(), static_cast<int>(key->size()), data.data(),
             data.size(), out.data(), &length);
    else
        EVP_Digest(data.data(), data.size(), out.data(), &length, md, nullptr);
    out.resize(length);
    return out;
}
#endif

// Messages of 0 to 302 bytes cross every padding case from every offset; long ones have
// whole blocks taken straight from the input. Keys of 0 to 200 bytes: empty, short, one
// block, hashed first. Returned lengths 0 to 23 and 100: 0 and too large mean complete.
// Each message is hashed whole into getHash; in random pieces into getCompleteHash after
// initialize or test() (which leaves an empty message); and into an HMAC after junk that
// reset() drops. destroy() then leaves the wiped state of a new context.
TEST(CryptoTest, AgreesWithOpensslForEveryLengthSplitKeyAndTruncation) {
    uint64_t const recorded[] = {0x4caae498dbeaaf4full, 0x0d7256243852b12eull};
    char const* const wipedState[] = {"b0e641c998cc3eae6fa2f8726d98cddd",
                                      "0ffd8d43b4e33c7c53461bd10f27a5461050d90d"};
    std::vector<std::size_t> lengths{1000u, 4095u, 4096u, 4097u, 65543u, 1048589u};
    for (std::size_t n = 0; n <= 302; ++n)
        lengths.push_back(n);
    for (int sha1 : {0, 1}) {
        auto const context = makeHash(sha1), inner = makeHash(sha1);
        uint32_t const complete = context->getCompleteHashLength();
        HmacContext hmac(inner.get());
        EXPECT_TRUE(hmac.getReturnedHashLength() == complete &&
                    hmac.getCompleteHashLength() == complete);
        std::mt19937 rng(11u);
        uint64_t fnv = 14695981039346656037ull;
        for (std::size_t n : lengths) {
            Bytes const data = message(n, uint32_t(n)), key = message(n % 201, uint32_t(n + 1000));
            unsigned long const asked = n % 25 == 24 ? 100 : n % 25;
            uint32_t const written = asked == 0 || asked > complete ? complete : uint32_t(asked);
            Bytes truncated(complete + 1, 0xEE), digest(complete), code(complete + 1, 0xEE);
            ASSERT_EQ(context->initialize(asked), 0);
            context->hash(data.data(), data.size());
            context->getHash(truncated.data());
            ASSERT_EQ(n % 2 ? context->test() : context->initialize(asked), 0);
            ASSERT_EQ(context->getReturnedHashLength(), n % 2 ? complete : written);
            hashInPieces(*context, data, rng);
            context->getCompleteHash(digest.data());

            ASSERT_EQ(hmac.initialize(key.data(), key.size(), asked), 0);
            ASSERT_EQ(hmac.getReturnedHashLength(), asked == 0 ? complete : asked);
            hmac.hash(key.data(), key.size());
            ASSERT_EQ(hmac.reset(), 0);
            hashInPieces(hmac, data, rng);
            hmac.getHash(code.data());
            ASSERT_EQ(Bytes({truncated[written], code[written]}), Bytes(2, 0xEE)) << "wrote past";
            code.resize(written);
#if ORVIK_TEST_WITH_OPENSSL
            ASSERT_EQ(hex(digest), hex(openssl(sha1, data))) << "length " << n;
            ASSERT_EQ(hex(code), hex(openssl(sha1, data, &key), written)) << "length " << n;
#endif
            ASSERT_EQ(hex(truncated, written), hex(digest, written)) << n;
            fingerprint(fnv, digest);
            fingerprint(fnv, code);
        }
        EXPECT_EQ(fnv, recorded[sha1]) << std::hex << "0x" << fnv;
        context->destroy(); // after 302 bytes at a returned length of 2
        EXPECT_EQ(context->getReturnedHashLength(), complete);
        Bytes wiped(complete);
        context->getCompleteHash(wiped.data());
        EXPECT_EQ(hex(wiped), wipedState[sha1]);
    }
}

// From RFC 1321 appendix A.5, FIPS 180-1 appendices A to C, and RFC 2202 cases 2, 6 and 7
// (a key longer than the block, hashed first); a key marks the HMAC vectors.
TEST(CryptoTest, PublishedVectors) {
    std::string const larger = "Test Using Larger Than Block-Size Key", aa(80, '\xaa');
    std::string const first = larger + " - Hash Key First";
    std::string const twoBlocks = larger + " and Larger Than One Block-Size Data";
    struct {
        int sha1;
        std::string key, text;
        char const* expected;
    } const vectors[] = {
        {0, "", "", "d41d8cd98f00b204e9800998ecf8427e"},
        {0, "", "12345678901234567890123456789012345678901234567890123456789012345678901234567890",
         "57edf4a22be3c955ac49da2e2107b67a"},
        {1, "", "", "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {1, "", "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {1, "", std::string(1000000, 'a'), "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
        {0, "Jefe", "what do ya want for nothing?", "750c783e6ab0b503eaa86e310a5db738"},
        {1, "Jefe", "what do ya want for nothing?", "effcdf6ae5eb2fa2d27416d5f184df9c259a7c79"},
        {0, aa, first, "6b1ab7fe4bd7bf8f0b62e6ce61b9d0cd"},
        {1, aa, first, "aa4ae5e15272d00e95705637ce8a3b55ed402112"},
        {0, aa, twoBlocks, "6f630fad67cda0ee1fb1f562db3aa53e"},
        {1, aa, twoBlocks, "e8e99d0f45237d786d6bbaa7965c7808bbff1a91"},
    };
    for (auto const& vector : vectors) {
        auto const hash = makeHash(vector.sha1);
        HmacContext hmac(hash.get());
        Bytes const key(vector.key.begin(), vector.key.end());
        Bytes const text(vector.text.begin(), vector.text.end());
        hash->initialize(0);
        if (!key.empty())
            hmac.initialize(key.data(), key.size(), 0);
        key.empty() ? hash->hash(text.data(), text.size()) : hmac.hash(text.data(), text.size());
        Bytes out(hash->getCompleteHashLength());
        key.empty() ? hash->getHash(out.data()) : hmac.getHash(out.data());
        EXPECT_EQ(hex(out), vector.expected) << vector.text;
    }
}

// 2^29 bytes are 2^32 bits: the count's high word must carry, both when one call adds it
// (n >> 29) and when the low word wraps between calls, and initialize must clear it. The
// zeros are a read-only anonymous mapping, which costs no memory; hashing allocates none.
TEST(CryptoTest, MessagesOf2To29BytesAndMoreCountIntoTheHighWord) {
    std::size_t const length = (std::size_t{1} << 29) + 5, piece = (std::size_t{1} << 20) + 3;
    void* zeros = mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(zeros, MAP_FAILED);
    auto const* bytes = static_cast<unsigned char const*>(zeros);
    unsigned char digests[36];
    orvik_test::AllocationCounter counter;
    Md5HashContext md5;
    md5.initialize(0);
    for (std::size_t done = 0; done < length; done += piece)
        md5.hash(bytes + done, std::min(piece, length - done));
    Sha1HashContext sha1;
    sha1.initialize(0);
    sha1.hash(bytes, length);
    munmap(zeros, length);
    md5.getHash(digests);
    sha1.getHash(digests + 16);
    EXPECT_EQ(md5.test() | sha1.test(), 0);
    EXPECT_EQ(counter.count(), 0);
    EXPECT_EQ(hex(Bytes(digests, digests + 36)), "53f83c490b7435d7e205466bfd984882"
                                                 "8e9aff269b0100da94e05015243e0a65c1399752");
}

// Records every call that reaches hash, then lets the real hash absorb it (or not).
template <typename Base> class WatchedHash : public Base {
public:
    void hash(unsigned char const* data, unsigned long length) override {
        calls.push_back(Bytes(data, data + length));
        if (!deaf)
            Base::hash(data, length);
    }
    std::vector<Bytes> calls;
    bool deaf = false;
};

// Finalising feeds the padding and the bit count through the object's own hash: MD5 as
// one padding run and the little-endian count, SHA-1 one byte at a time and the
// big-endian count. test() goes through it too, and sees a deaf hash fail.
TEST(CryptoTest, PaddingAndSelfTestGoThroughTheOverriddenHash) {
    for (std::size_t n : {0u, 3u, 55u, 56u, 63u, 64u, 119u, 120u, 200u}) {
        Bytes const data = message(n, 3u);
        Bytes padding((n % 64 < 56 ? 56 : 120) - n % 64, 0), count(8);
        padding[0] = 0x80;
        for (unsigned i = 0; i < 8; ++i)
            count[i] = static_cast<unsigned char>(uint64_t{n} * 8 >> (8 * i));
        std::vector<Bytes> md5Calls{data, padding, count}, sha1Calls{data};
        for (unsigned char byte : padding)
            sha1Calls.push_back(Bytes(1, byte));
        sha1Calls.push_back(Bytes(count.rbegin(), count.rend()));
        WatchedHash<Md5HashContext> md5;
        WatchedHash<Sha1HashContext> sha1;
        unsigned char digest[20];
        for (HashContext* context : std::vector<HashContext*>{&md5, &sha1}) {
            context->initialize(0);
            context->hash(data.data(), n);
            context->getHash(digest);
        }
        EXPECT_EQ(md5.calls, md5Calls) << n;
        EXPECT_EQ(sha1.calls, sha1Calls) << n;
        md5.deaf = sha1.deaf = true;
        EXPECT_EQ(md5.test() + sha1.test(), -2) << "a deaf hash passed its self-test";
    }
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

TEST(CryptoTest, HmacPassesFailuresOnRefusesUnfitHashesAndWipesItsKey) {
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
