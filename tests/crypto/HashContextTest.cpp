// MD5 and SHA-1 through the HashContext interface: OpenSSL as oracle natively, recorded
// digests and published vectors on the device.
#include "crypto/CryptoTestSupport.h"
#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

#include <cstring>

namespace {

using namespace crypto_test;

Bytes completeDigest(HashContext& context, Bytes const& data) {
    context.initialize(0);
    context.hash(data.data(), data.size());
    Bytes digest(context.getCompleteHashLength());
    context.getCompleteHash(digest.data());
    return digest;
}

std::string digestHex(Algorithm algorithm, Bytes const& data) {
    auto const context = makeHash(algorithm);
    return hex(completeDigest(*context, data));
}

// Lengths 0 to 300 cross every padding case (55, 56, 63, 64, 119, 120 bytes) from every
// offset; the long ones have whole blocks compressed straight from the input.
TEST(HashContextTest, AgreesWithOpensslForEveryLengthAndSplit) {
    uint64_t const recorded[] = {0xa7752432af72f8d2ull, 0x50eefa5c66373970ull};
    std::vector<std::size_t> lengths;
    for (std::size_t n = 0; n <= 300; ++n)
        lengths.push_back(n);
    for (std::size_t n : {1000u, 4095u, 4096u, 4097u, 65543u, 1048589u})
        lengths.push_back(n);
    for (Algorithm algorithm : kAlgorithms) {
        SCOPED_TRACE(name(algorithm));
        auto const context = makeHash(algorithm);
        std::mt19937 rng(11u);
        Fingerprint fingerprint;
        for (std::size_t n : lengths) {
            Bytes const data = message(n, static_cast<uint32_t>(n));
            Bytes const digest = completeDigest(*context, data);
#if ORVIK_TEST_WITH_OPENSSL
            ASSERT_EQ(hex(digest), hex(opensslDigest(algorithm, data))) << "length " << n;
#endif
            fingerprint.add(digest);

            context->initialize(0);
            hashInPieces(*context, data, rng);
            Bytes pieces(digest.size());
            context->getCompleteHash(pieces.data());
            ASSERT_EQ(hex(pieces), hex(digest)) << "length " << n << " in pieces";
        }
        EXPECT_EQ(fingerprint.value, recorded[algorithm == Algorithm::Sha1])
            << std::hex << "0x" << fingerprint.value;
    }
}

// getHash writes exactly the first returned-length bytes; 0 and anything above the
// complete length mean all of it, and getCompleteHash always writes all of it.
TEST(HashContextTest, TruncatedDigestsAreTheFirstBytes) {
    for (Algorithm algorithm : kAlgorithms) {
        SCOPED_TRACE(name(algorithm));
        auto const context = makeHash(algorithm);
        uint32_t const complete = context->getCompleteHashLength();
        EXPECT_EQ(complete, algorithm == Algorithm::Md5 ? 16u : 20u);
        Bytes const data = message(77, 5u);
        Bytes const full = completeDigest(*context, data);
        for (unsigned long asked = 0; asked <= complete + 2; ++asked) {
            uint32_t const expected =
                asked == 0 || asked > complete ? complete : static_cast<uint32_t>(asked);
            EXPECT_EQ(context->initialize(asked), 0);
            EXPECT_EQ(context->getReturnedHashLength(), expected);
            context->hash(data.data(), data.size());
            Bytes out(32, 0xEE);
            context->getHash(out.data());
            EXPECT_EQ(hex(out.data(), expected), hex(full.data(), expected)) << asked;
            EXPECT_EQ(out[expected], 0xEE) << "wrote past " << expected;

            context->initialize(asked);
            context->hash(data.data(), data.size());
            Bytes whole(complete);
            context->getCompleteHash(whole.data());
            EXPECT_EQ(hex(whole), hex(full));
        }
        EXPECT_EQ(context->getCompleteHashLength(), complete);
    }
}

struct Vector {
    Algorithm algorithm;
    std::string text;
    int repeat;
    char const* digest;
};

// RFC 1321 appendix A.5 and FIPS 180-1 appendices A to C.
TEST(HashContextTest, PublishedVectors) {
    std::string const letters = "abcdefghijklmnopqrstuvwxyz";
    Vector const vectors[] = {
        {Algorithm::Md5, "", 1, "d41d8cd98f00b204e9800998ecf8427e"},
        {Algorithm::Md5, "a", 1, "0cc175b9c0f1b6a831c399e269772661"},
        {Algorithm::Md5, "abc", 1, "900150983cd24fb0d6963f7d28e17f72"},
        {Algorithm::Md5, "message digest", 1, "f96b697d7cb7938d525a2f31aaf161d0"},
        {Algorithm::Md5, letters, 1, "c3fcd3d76192e4007dfb496cca67e13b"},
        {Algorithm::Md5, "ABCDEFGHIJKLMNOPQRSTUVWXYZ" + letters + "0123456789", 1,
         "d174ab98d277d9f5a5611c2c9f419d9f"},
        {Algorithm::Md5, "1234567890", 8, "57edf4a22be3c955ac49da2e2107b67a"},
        {Algorithm::Sha1, "", 1, "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {Algorithm::Sha1, "abc", 1, "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {Algorithm::Sha1, "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 1,
         "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {Algorithm::Sha1, std::string(1000, 'a'), 1000, "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
    };
    for (Vector const& vector : vectors) {
        auto const context = makeHash(vector.algorithm);
        context->initialize(0);
        for (int i = 0; i < vector.repeat; ++i)
            context->hash(reinterpret_cast<unsigned char const*>(vector.text.data()),
                          vector.text.size());
        Bytes digest(context->getCompleteHashLength());
        context->getHash(digest.data());
        EXPECT_EQ(hex(digest), vector.digest) << name(vector.algorithm) << " " << vector.text;
        EXPECT_EQ(context->test(), 0);
    }
}

// 2^29 bytes are 2^32 bits: the count's high word must carry, both when one call adds it
// (n >> 29) and when the low word wraps between calls. The zeros come from a read-only
// anonymous mapping, which costs no memory.
TEST(HashContextTest, MessagesOf2To29BytesAndMoreCountIntoTheHighWord) {
    std::size_t const length = (std::size_t{1} << 29) + 5;
    void* zeros = mmap(nullptr, length, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(zeros, MAP_FAILED);
    auto const* bytes = static_cast<unsigned char const*>(zeros);

    Md5HashContext md5;
    md5.initialize(0);
    std::size_t const piece = (std::size_t{1} << 20) + 3;
    for (std::size_t done = 0; done < length; done += piece)
        md5.hash(bytes + done, std::min(piece, length - done));
    Bytes md5Digest(16);
    md5.getHash(md5Digest.data());

    Sha1HashContext sha1;
    sha1.initialize(0);
    sha1.hash(bytes, length);
    Bytes sha1Digest(20);
    sha1.getHash(sha1Digest.data());
    munmap(zeros, length);

    EXPECT_EQ(hex(md5Digest), "53f83c490b7435d7e205466bfd984882");
    EXPECT_EQ(hex(sha1Digest), "8e9aff269b0100da94e05015243e0a65c1399752");
    // initialize clears the high word too.
    EXPECT_EQ(md5.test(), 0);
    EXPECT_EQ(sha1.test(), 0);
}

// Records every call that reaches hash, then lets the real hash absorb it.
template <typename Base> class WatchedHash : public Base {
public:
    void hash(unsigned char const* data, unsigned long length) override {
        calls.push_back(Bytes(data, data + length));
        Base::hash(data, length);
    }
    std::vector<Bytes> calls;
};

// Finalising feeds the padding and the bit count through the object's own hash: MD5 as
// one padding run and the little-endian count, SHA-1 one byte at a time and the
// big-endian count, so that the padded message ends on a block boundary.
TEST(HashContextTest, PaddingGoesThroughTheOverriddenHash) {
    for (std::size_t n : {0u, 3u, 55u, 56u, 63u, 64u, 119u, 120u, 200u}) {
        Bytes const data = message(n, 3u);
        uint64_t const bits = uint64_t{n} * 8;

        WatchedHash<Md5HashContext> md5;
        md5.initialize(0);
        md5.hash(data.data(), data.size());
        Bytes digest(16);
        md5.getHash(digest.data());
        EXPECT_EQ(hex(digest), digestHex(Algorithm::Md5, data));
        ASSERT_EQ(md5.calls.size(), 3u);
        std::size_t const index = n % 64;
        Bytes padding(index < 56 ? 56 - index : 120 - index, 0);
        padding[0] = 0x80;
        EXPECT_EQ(md5.calls[1], padding) << n;
        Bytes count(8);
        for (unsigned i = 0; i < 8; ++i)
            count[i] = static_cast<unsigned char>(bits >> (8 * i));
        EXPECT_EQ(md5.calls[2], count);

        WatchedHash<Sha1HashContext> sha1;
        sha1.initialize(0);
        sha1.hash(data.data(), data.size());
        Bytes sha1Digest(20);
        sha1.getCompleteHash(sha1Digest.data());
        EXPECT_EQ(hex(sha1Digest), digestHex(Algorithm::Sha1, data));
        std::size_t const ones = padding.size();
        ASSERT_EQ(sha1.calls.size(), 2 + ones) << n;
        for (std::size_t i = 1; i <= ones; ++i)
            EXPECT_EQ(sha1.calls[i], Bytes(1, i == 1 ? 0x80 : 0)) << n << " byte " << i;
        std::reverse(count.begin(), count.end());
        EXPECT_EQ(sha1.calls.back(), count);
    }
    // The self-test also runs through the overrides.
    WatchedHash<Sha1HashContext> watched;
    EXPECT_EQ(watched.test(), 0);
    EXPECT_EQ(watched.calls.front(), bytesOf("abc"));
}

// A context whose hash swallows its input fails its self-test, and finalising it ends.
template <typename Base> class DeafHash : public Base {
public:
    void hash(unsigned char const*, unsigned long) override {}
};

TEST(HashContextTest, SelfTestReportsAWrongImplementation) {
    DeafHash<Md5HashContext> md5;
    DeafHash<Sha1HashContext> sha1;
    EXPECT_EQ(md5.test(), -1);
    EXPECT_EQ(sha1.test(), -1);
}

// test() leaves an empty message at the complete length; destroy() returns to the wiped
// state of a new context, whose zero chaining state gives its own fixed digests.
TEST(HashContextTest, TestAndDestroyLeaveDefinedStates) {
    char const* const zeroState[] = {"b0e641c998cc3eae6fa2f8726d98cddd",
                                     "0ffd8d43b4e33c7c53461bd10f27a5461050d90d"};
    for (Algorithm algorithm : kAlgorithms) {
        SCOPED_TRACE(name(algorithm));
        auto const context = makeHash(algorithm);
        uint32_t const complete = context->getCompleteHashLength();
        Bytes fresh(complete);
        context->getCompleteHash(fresh.data());
        EXPECT_EQ(hex(fresh), zeroState[algorithm == Algorithm::Sha1]);

        context->initialize(4);
        context->hash(bytesOf("partial message").data(), 15);
        EXPECT_EQ(context->test(), 0);
        EXPECT_EQ(context->getReturnedHashLength(), complete);
        Bytes empty(complete);
        context->getHash(empty.data());
        EXPECT_EQ(hex(empty), digestHex(algorithm, Bytes()));

        context->initialize(3);
        context->hash(bytesOf("partial message").data(), 15);
        context->destroy();
        EXPECT_EQ(context->getReturnedHashLength(), complete);
        Bytes wiped(complete);
        context->getCompleteHash(wiped.data());
        EXPECT_EQ(hex(wiped), hex(fresh));
    }
}

TEST(HashContextTest, AllocatesNothing) {
    orvik_test::AllocationCounter counter;
    {
        Md5HashContext md5;
        Sha1HashContext sha1;
        EXPECT_EQ(md5.test() | sha1.test(), 0);
    }
    EXPECT_EQ(counter.count(), 0);
}

} // namespace
