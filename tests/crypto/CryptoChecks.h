// Shared by the hash tests: seeded messages, random splits, the oracle grid (OpenSSL natively,
// on the device fingerprints of what the native run checked) and a hash recording its calls.
#ifndef ORVIK_TESTS_CRYPTO_CRYPTO_CHECKS_H
#define ORVIK_TESTS_CRYPTO_CRYPTO_CHECKS_H

#include <orvik_utilities/crypto/HmacContext.h>
#include <orvik_utilities/crypto/Md5HashContext.h>
#include <orvik_utilities/crypto/Sha1HashContext.h>

#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#if ORVIK_TEST_WITH_OPENSSL
#include <openssl/evp.h>
#include <openssl/hmac.h>
#endif

namespace orvik_test {

using Bytes = std::vector<unsigned char>;

// mt19937's raw output is fixed by the standard, so both targets build the same bytes.
inline Bytes message(std::size_t length, uint32_t seed) {
    std::mt19937 rng(seed);
    Bytes bytes(length);
    for (auto& byte : bytes)
        byte = static_cast<unsigned char>(rng() >> 24);
    return bytes;
}

inline std::string hex(Bytes const& bytes, std::size_t length = SIZE_MAX) {
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
inline void fingerprint(uint64_t& value, Bytes const& bytes) {
    for (unsigned char byte : bytes)
        value = (value ^ byte) * 1099511628211ull;
}

#if ORVIK_TEST_WITH_OPENSSL
// The digest, or with a key the HMAC. HMAC() takes a null key as "keep the previous key",
// so an empty key still gets a pointer.
inline Bytes openssl(bool sha1, Bytes const& data, Bytes const* key = nullptr) {
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
// Each message is hashed whole, from an odd address, into getHash; in random pieces into
// getCompleteHash after initialize or test() (which leaves an empty message); and into an
// HMAC over the same hash after junk that reset() drops. destroy() then leaves the wiped
// state of a new context. The HMAC shares the grid's messages, so it is checked here too.
template <typename Hash> void checkGrid(uint64_t recorded, char const* wipedState) {
    [[maybe_unused]] bool const sha1 = std::is_same<Hash, Sha1HashContext>::value;
    std::size_t const large[] = {1000u, 4095u, 4096u, 4097u, 65543u, 1048589u};
    Hash context, inner;
    uint32_t const complete = context.getCompleteHashLength();
    HmacContext hmac(&inner);
    EXPECT_TRUE(hmac.getReturnedHashLength() == complete &&
                hmac.getCompleteHashLength() == complete);
    std::mt19937 rng(11u);
    uint64_t fnv = 14695981039346656037ull;
    for (std::size_t i = 0; i < 6 + 303; ++i) {
        std::size_t const n = i < 6 ? large[i] : i - 6;
        Bytes const data = message(n, uint32_t(n)), key = message(n % 201, uint32_t(n + 1000));
        unsigned long const asked = n % 25 == 24 ? 100 : n % 25;
        uint32_t const written = asked == 0 || asked > complete ? complete : uint32_t(asked);
        Bytes truncated(complete + 1, 0xEE), digest(complete), code(complete + 1, 0xEE);
        Bytes shifted(n + 1); // at an odd address, whole blocks are loaded byte by byte
        std::copy_n(data.data(), n, shifted.data() + 1);
        ASSERT_EQ(context.initialize(asked), 0);
        context.hash(shifted.data() + 1, n);
        context.getHash(truncated.data());
        ASSERT_EQ(n % 2 ? context.test() : context.initialize(asked), 0);
        ASSERT_EQ(context.getReturnedHashLength(), n % 2 ? complete : written);
        hashInPieces(context, data, rng);
        context.getCompleteHash(digest.data());

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
    EXPECT_EQ(fnv, recorded) << std::hex << "0x" << fnv;
    context.destroy(); // after 302 bytes at a returned length of 2
    EXPECT_EQ(context.getReturnedHashLength(), complete);
    Bytes wiped(complete);
    context.getCompleteHash(wiped.data());
    EXPECT_EQ(hex(wiped), wipedState);
}

// 2^29 bytes are 2^32 bits: the count's high word must carry, and initialize must clear it.
// The zeros are a read-only anonymous mapping, which costs no memory; hashing allocates
// none. The digest of 2^29 + 5 zero bytes fed in pieces of the given size.
inline std::string digestOfManyZeros(HashContext& context, std::size_t piece) {
    std::size_t const length = (std::size_t{1} << 29) + 5;
    void* zeros = mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(zeros, MAP_FAILED);
    auto const* bytes = static_cast<unsigned char const*>(zeros);
    AllocationCounter counter;
    context.initialize(0);
    for (std::size_t done = 0; zeros != MAP_FAILED && done < length; done += piece)
        context.hash(bytes + done, std::min(piece, length - done));
    munmap(zeros, length);
    Bytes digest(context.getCompleteHashLength());
    context.getHash(digest.data());
    EXPECT_EQ(context.test(), 0);
    EXPECT_EQ(counter.count(), 0);
    return hex(digest);
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

// Finalising n seeded bytes feeds through the object's own hash the padding (0x80 and zeros
// up to 56 mod 64), MD5 in one call and SHA-1 a byte per call, then the 64-bit bit count in
// one call, MD5's little-endian and SHA-1's big-endian. test() goes through the hash too, and
// must see a deaf one fail.
template <typename Hash> void checkFinalising(bool sha1) {
    for (std::size_t n : {0u, 3u, 55u, 56u, 63u, 64u, 119u, 120u, 200u}) {
        std::size_t const padding = (n % 64 < 56 ? 56 : 120) - n % 64;
        std::vector<Bytes> expected{message(n, 3u)};
        expected.resize(sha1 ? padding + 1 : 2, Bytes(sha1 ? 1 : padding, 0));
        expected[1][0] = 0x80;
        expected.push_back(Bytes(8));
        for (unsigned i = 0; i < 8; ++i)
            expected.back()[sha1 ? 7 - i : i] =
                static_cast<unsigned char>(uint64_t{n} * 8 >> (8 * i));
        WatchedHash<Hash> hash;
        unsigned char digest[20];
        hash.initialize(0);
        hash.hash(expected[0].data(), n);
        hash.getHash(digest);
        EXPECT_EQ(hash.calls, expected) << n;
        hash.deaf = true;
        EXPECT_EQ(hash.test(), -1) << "a deaf hash passed its self-test";
    }
}

} // namespace orvik_test

#endif
