// MD5 and SHA-1 through the HashContext interface: OpenSSL as oracle natively, recorded
// digests and published vectors on the device.
#include "crypto/CryptoTestSupport.h"
#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <sys/mman.h>

namespace {

using namespace crypto_test;

Bytes digestOf(Algorithm algorithm, Bytes const& data) {
    auto const context = makeHash(algorithm);
    context->initialize(0);
    context->hash(data.data(), data.size());
    Bytes digest(context->getCompleteHashLength());
    context->getCompleteHash(digest.data());
    return digest;
}

// Lengths 0 to 300 cross every padding case from every offset; the long ones have whole
// blocks compressed straight from the input. Each message is hashed whole into getHash
// with a returned length running through 0 to complete+2 (0 and too large: all of it),
// and in random pieces into getCompleteHash, which writes all of it whatever was asked.
TEST(HashContextTest, AgreesWithOpensslForEveryLengthSplitAndTruncation) {
    uint64_t const recorded[] = {0xa7752432af72f8d2ull, 0x50eefa5c66373970ull};
    std::vector<std::size_t> lengths;
    for (std::size_t n = 0; n <= 300; ++n)
        lengths.push_back(n);
    for (std::size_t n : {1000u, 4095u, 4096u, 4097u, 65543u, 1048589u})
        lengths.push_back(n);
    for (Algorithm algorithm : kAlgorithms) {
        SCOPED_TRACE(name(algorithm));
        auto const context = makeHash(algorithm);
        uint32_t const complete = context->getCompleteHashLength();
        ASSERT_EQ(complete, algorithm == Algorithm::Md5 ? 16u : 20u);
        std::mt19937 rng(11u);
        Fingerprint fingerprint;
        for (std::size_t n : lengths) {
            Bytes const data = message(n, static_cast<uint32_t>(n));
            unsigned long const asked = n % (complete + 3);
            uint32_t const written = asked == 0 || asked > complete ? complete : uint32_t(asked);
            ASSERT_EQ(context->initialize(asked), 0);
            ASSERT_EQ(context->getReturnedHashLength(), written);
            context->hash(data.data(), data.size());
            Bytes truncated(complete + 1, 0xEE);
            context->getHash(truncated.data());
            ASSERT_EQ(truncated[written], 0xEE) << "wrote past " << written;

            context->initialize(asked);
            hashInPieces(*context, data, rng);
            Bytes digest(complete);
            context->getCompleteHash(digest.data());
#if ORVIK_TEST_WITH_OPENSSL
            ASSERT_EQ(hex(digest), hex(opensslDigest(algorithm, data))) << "length " << n;
#endif
            ASSERT_EQ(hex(truncated.data(), written), hex(digest.data(), written)) << n;
            fingerprint.add(digest);
        }
        EXPECT_EQ(fingerprint.value, recorded[algorithm == Algorithm::Sha1])
            << std::hex << "0x" << fingerprint.value;
    }
}

// RFC 1321 appendix A.5 and FIPS 180-1 appendices A to C (a million "a").
TEST(HashContextTest, PublishedVectors) {
    std::string const upper = "ABCDEFGHIJKLMNOPQRSTUVWXYZ", lower = "abcdefghijklmnopqrstuvwxyz";
    struct {
        Algorithm algorithm;
        std::string text;
        int repeat;
        char const* digest;
    } const vectors[] = {
        {Algorithm::Md5, "", 1, "d41d8cd98f00b204e9800998ecf8427e"},
        {Algorithm::Md5, "a", 1, "0cc175b9c0f1b6a831c399e269772661"},
        {Algorithm::Md5, "abc", 1, "900150983cd24fb0d6963f7d28e17f72"},
        {Algorithm::Md5, "message digest", 1, "f96b697d7cb7938d525a2f31aaf161d0"},
        {Algorithm::Md5, lower, 1, "c3fcd3d76192e4007dfb496cca67e13b"},
        {Algorithm::Md5, upper + lower + "0123456789", 1, "d174ab98d277d9f5a5611c2c9f419d9f"},
        {Algorithm::Md5, "1234567890", 8, "57edf4a22be3c955ac49da2e2107b67a"},
        {Algorithm::Sha1, "", 1, "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
        {Algorithm::Sha1, "abc", 1, "a9993e364706816aba3e25717850c26c9cd0d89d"},
        {Algorithm::Sha1, "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", 1,
         "84983e441c3bd26ebaae4aa1f95129e5e54670f1"},
        {Algorithm::Sha1, std::string(1000, 'a'), 1000, "34aa973cd4c4daa4f61eeb2bdbad27316534016f"},
    };
    for (auto const& vector : vectors) {
        auto const context = makeHash(vector.algorithm);
        context->initialize(0);
        Bytes const text = bytesOf(vector.text);
        for (int i = 0; i < vector.repeat; ++i)
            context->hash(text.data(), text.size());
        Bytes digest(context->getCompleteHashLength());
        context->getHash(digest.data());
        EXPECT_EQ(hex(digest), vector.digest) << name(vector.algorithm) << " " << vector.text;
    }
}

// 2^29 bytes are 2^32 bits: the count's high word must carry, both when one call adds it
// (n >> 29) and when the low word wraps between calls, and initialize must clear it. The
// zeros come from a read-only anonymous mapping, which costs no memory.
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
    Sha1HashContext sha1;
    sha1.initialize(0);
    sha1.hash(bytes, length);
    munmap(zeros, length);

    Bytes md5Digest(16), sha1Digest(20);
    md5.getHash(md5Digest.data());
    sha1.getHash(sha1Digest.data());
    EXPECT_EQ(hex(md5Digest), "53f83c490b7435d7e205466bfd984882");
    EXPECT_EQ(hex(sha1Digest), "8e9aff269b0100da94e05015243e0a65c1399752");
    EXPECT_EQ(md5.test(), 0);
    EXPECT_EQ(sha1.test(), 0);
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
// big-endian count, so that the padded message ends on a block boundary.
TEST(HashContextTest, PaddingGoesThroughTheOverriddenHash) {
    for (std::size_t n : {0u, 3u, 55u, 56u, 63u, 64u, 119u, 120u, 200u}) {
        Bytes const data = message(n, 3u);
        WatchedHash<Md5HashContext> md5;
        WatchedHash<Sha1HashContext> sha1;
        Bytes md5Digest(16), sha1Digest(20);
        md5.initialize(0);
        md5.hash(data.data(), data.size());
        md5.getHash(md5Digest.data());
        sha1.initialize(0);
        sha1.hash(data.data(), data.size());
        sha1.getCompleteHash(sha1Digest.data());
        EXPECT_EQ(md5Digest, digestOf(Algorithm::Md5, data));
        EXPECT_EQ(sha1Digest, digestOf(Algorithm::Sha1, data));

        Bytes padding((n % 64 < 56 ? 56 : 120) - n % 64, 0);
        padding[0] = 0x80;
        Bytes count(8);
        for (unsigned i = 0; i < 8; ++i)
            count[i] = static_cast<unsigned char>(uint64_t{n} * 8 >> (8 * i));
        ASSERT_EQ(md5.calls.size(), 3u);
        EXPECT_EQ(md5.calls[1], padding) << n;
        EXPECT_EQ(md5.calls[2], count);
        ASSERT_EQ(sha1.calls.size(), 2 + padding.size()) << n;
        for (std::size_t i = 0; i < padding.size(); ++i)
            EXPECT_EQ(sha1.calls[1 + i], Bytes(1, padding[i])) << n << " byte " << i;
        EXPECT_EQ(sha1.calls.back(), Bytes(count.rbegin(), count.rend()));
    }
}

// test() runs through the overrides and leaves an empty message at the complete length;
// destroy() returns to the wiped state of a new context, whose zero chaining state gives
// its own fixed digest.
TEST(HashContextTest, TestAndDestroyLeaveDefinedStates) {
    char const* const zeroState[] = {"b0e641c998cc3eae6fa2f8726d98cddd",
                                     "0ffd8d43b4e33c7c53461bd10f27a5461050d90d"};
    WatchedHash<Md5HashContext> md5;
    WatchedHash<Sha1HashContext> sha1;
    for (HashContext* context :
         {static_cast<HashContext*>(&md5), static_cast<HashContext*>(&sha1)}) {
        uint32_t const complete = context->getCompleteHashLength();
        Algorithm const algorithm = complete == 16 ? Algorithm::Md5 : Algorithm::Sha1;
        unsigned char fresh[20], empty[20], wiped[20];
        context->getCompleteHash(fresh);
        EXPECT_EQ(hex(fresh, complete), zeroState[algorithm == Algorithm::Sha1]);

        context->initialize(4);
        context->hash(fresh, 15);
        EXPECT_EQ(context->test(), 0);
        EXPECT_EQ(context->getReturnedHashLength(), complete);
        context->getHash(empty);
        EXPECT_EQ(hex(empty, complete), hex(digestOf(algorithm, Bytes())));

        context->initialize(3);
        context->hash(fresh, 15);
        context->destroy();
        EXPECT_EQ(context->getReturnedHashLength(), complete);
        context->getCompleteHash(wiped);
        EXPECT_EQ(hex(wiped, complete), hex(fresh, complete));
    }
    EXPECT_EQ(md5.calls.at(3), bytesOf("abc"));
    md5.deaf = sha1.deaf = true;
    EXPECT_EQ(md5.test(), -1);
    EXPECT_EQ(sha1.test(), -1);
}

TEST(HashContextTest, AllocatesNothing) {
    orvik_test::AllocationCounter counter;
    Md5HashContext md5;
    Sha1HashContext sha1;
    EXPECT_EQ(md5.test() | sha1.test(), 0);
    EXPECT_EQ(counter.count(), 0);
}

} // namespace
