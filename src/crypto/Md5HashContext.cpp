// MD5 as RFC 1321 defines it.
#include <orvik_utilities/crypto/Md5HashContext.h>

#include "crypto/HashBlocks.h"

#include <cstring>

using orvik::detail::rotateLeft;

namespace {

constexpr uint32_t kDigestLength = 16;
constexpr uint32_t kInitialState[4] = {0x67452301u, 0xefcdab89u, 0x98badcfeu, 0x10325476u};

// The padding block: 0x80 and zeros; at most 64 of it are ever fed.
constexpr unsigned char kPadding[64] = {0x80};

// The four step kinds of RFC 1321. The message word and constant do not depend on the
// previous step, so each step's critical path is only its boolean function, the add, the
// rotation and the final add.
inline void round1(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, unsigned s,
                   uint32_t k) {
    a = rotateLeft(a + k + x + (d ^ (b & (c ^ d))), s) + b;
}

// (b & d) | (c & ~d) as a sum of its two disjoint halves: c & ~d waits for nothing recent.
inline void round2(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, unsigned s,
                   uint32_t k) {
    a = rotateLeft(a + k + x + (c & ~d) + (b & d), s) + b;
}

inline void round3(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, unsigned s,
                   uint32_t k) {
    a = rotateLeft(a + k + x + (b ^ c ^ d), s) + b;
}

inline void round4(uint32_t& a, uint32_t b, uint32_t c, uint32_t d, uint32_t x, unsigned s,
                   uint32_t k) {
    a = rotateLeft(a + k + x + (c ^ (b | ~d)), s) + b;
}

} // namespace

Md5HashContext::Md5HashContext() { destroy(); }

Md5HashContext::~Md5HashContext() { destroy(); }

int Md5HashContext::initialize(unsigned long returnedLength) {
    return orvik::detail::startMessage(state, kInitialState, count, returnedHashLength,
                                       returnedLength, kDigestLength);
}

void Md5HashContext::destroy() {
    orvik::detail::wipeContext(state, count, buffer, returnedHashLength, kDigestLength);
}

void Md5HashContext::hash(unsigned char const* data, unsigned long length) {
    orvik::detail::absorb(count, buffer, data, length,
                          [this](unsigned char const* block) { md5Transform(block); });
}

uint32_t Md5HashContext::getReturnedHashLength() const { return returnedHashLength; }

void Md5HashContext::getHash(unsigned char* digest) {
    orvik::detail::writeReturned<kDigestLength>(
        digest, returnedHashLength,
        [this](unsigned char* complete) { Md5HashContext::getCompleteHash(complete); });
}

uint32_t Md5HashContext::getCompleteHashLength() const { return kDigestLength; }

// The padding and the count go through the virtual hash, so a derived context that
// watches its input sees the whole padded message.
void Md5HashContext::getCompleteHash(unsigned char* digest) {
    unsigned char bitCount[8];
    orvik::detail::storeLittleEndian(bitCount, count[0]);
    orvik::detail::storeLittleEndian(bitCount + 4, count[1]);
    uint32_t const index = (count[0] >> 3) % 64u;
    hash(kPadding, index < 56 ? 56 - index : 120 - index);
    hash(bitCount, sizeof bitCount);
    for (unsigned i = 0; i < 4; ++i)
        orvik::detail::storeLittleEndian(digest + 4 * i, state[i]);
}

int Md5HashContext::test() {
    static unsigned char const expected[kDigestLength] = {0x90, 0x01, 0x50, 0x98, 0x3c, 0xd2,
                                                          0x4f, 0xb0, 0xd6, 0x96, 0x3f, 0x7d,
                                                          0x28, 0xe1, 0x7f, 0x72};
    return orvik::detail::testWithAbc(*this, expected, kDigestLength);
}

// Unrolled: 64 steps with their own shifts and constants, the device's hottest code when it
// hashes; a loop would add its counting and table loads to every step.
void Md5HashContext::md5Transform(unsigned char const* block) {
    uint32_t x[16];
    orvik::detail::loadLittleEndianWords(x, block);
    uint32_t a = state[0];
    uint32_t b = state[1];
    uint32_t c = state[2];
    uint32_t d = state[3];

    round1(a, b, c, d, x[0], 7, 0xd76aa478u);
    round1(d, a, b, c, x[1], 12, 0xe8c7b756u);
    round1(c, d, a, b, x[2], 17, 0x242070dbu);
    round1(b, c, d, a, x[3], 22, 0xc1bdceeeu);
    round1(a, b, c, d, x[4], 7, 0xf57c0fafu);
    round1(d, a, b, c, x[5], 12, 0x4787c62au);
    round1(c, d, a, b, x[6], 17, 0xa8304613u);
    round1(b, c, d, a, x[7], 22, 0xfd469501u);
    round1(a, b, c, d, x[8], 7, 0x698098d8u);
    round1(d, a, b, c, x[9], 12, 0x8b44f7afu);
    round1(c, d, a, b, x[10], 17, 0xffff5bb1u);
    round1(b, c, d, a, x[11], 22, 0x895cd7beu);
    round1(a, b, c, d, x[12], 7, 0x6b901122u);
    round1(d, a, b, c, x[13], 12, 0xfd987193u);
    round1(c, d, a, b, x[14], 17, 0xa679438eu);
    round1(b, c, d, a, x[15], 22, 0x49b40821u);

    round2(a, b, c, d, x[1], 5, 0xf61e2562u);
    round2(d, a, b, c, x[6], 9, 0xc040b340u);
    round2(c, d, a, b, x[11], 14, 0x265e5a51u);
    round2(b, c, d, a, x[0], 20, 0xe9b6c7aau);
    round2(a, b, c, d, x[5], 5, 0xd62f105du);
    round2(d, a, b, c, x[10], 9, 0x02441453u);
    round2(c, d, a, b, x[15], 14, 0xd8a1e681u);
    round2(b, c, d, a, x[4], 20, 0xe7d3fbc8u);
    round2(a, b, c, d, x[9], 5, 0x21e1cde6u);
    round2(d, a, b, c, x[14], 9, 0xc33707d6u);
    round2(c, d, a, b, x[3], 14, 0xf4d50d87u);
    round2(b, c, d, a, x[8], 20, 0x455a14edu);
    round2(a, b, c, d, x[13], 5, 0xa9e3e905u);
    round2(d, a, b, c, x[2], 9, 0xfcefa3f8u);
    round2(c, d, a, b, x[7], 14, 0x676f02d9u);
    round2(b, c, d, a, x[12], 20, 0x8d2a4c8au);

    round3(a, b, c, d, x[5], 4, 0xfffa3942u);
    round3(d, a, b, c, x[8], 11, 0x8771f681u);
    round3(c, d, a, b, x[11], 16, 0x6d9d6122u);
    round3(b, c, d, a, x[14], 23, 0xfde5380cu);
    round3(a, b, c, d, x[1], 4, 0xa4beea44u);
    round3(d, a, b, c, x[4], 11, 0x4bdecfa9u);
    round3(c, d, a, b, x[7], 16, 0xf6bb4b60u);
    round3(b, c, d, a, x[10], 23, 0xbebfbc70u);
    round3(a, b, c, d, x[13], 4, 0x289b7ec6u);
    round3(d, a, b, c, x[0], 11, 0xeaa127fau);
    round3(c, d, a, b, x[3], 16, 0xd4ef3085u);
    round3(b, c, d, a, x[6], 23, 0x04881d05u);
    round3(a, b, c, d, x[9], 4, 0xd9d4d039u);
    round3(d, a, b, c, x[12], 11, 0xe6db99e5u);
    round3(c, d, a, b, x[15], 16, 0x1fa27cf8u);
    round3(b, c, d, a, x[2], 23, 0xc4ac5665u);

    round4(a, b, c, d, x[0], 6, 0xf4292244u);
    round4(d, a, b, c, x[7], 10, 0x432aff97u);
    round4(c, d, a, b, x[14], 15, 0xab9423a7u);
    round4(b, c, d, a, x[5], 21, 0xfc93a039u);
    round4(a, b, c, d, x[12], 6, 0x655b59c3u);
    round4(d, a, b, c, x[3], 10, 0x8f0ccc92u);
    round4(c, d, a, b, x[10], 15, 0xffeff47du);
    round4(b, c, d, a, x[1], 21, 0x85845dd1u);
    round4(a, b, c, d, x[8], 6, 0x6fa87e4fu);
    round4(d, a, b, c, x[15], 10, 0xfe2ce6e0u);
    round4(c, d, a, b, x[6], 15, 0xa3014314u);
    round4(b, c, d, a, x[13], 21, 0x4e0811a1u);
    round4(a, b, c, d, x[4], 6, 0xf7537e82u);
    round4(d, a, b, c, x[11], 10, 0xbd3af235u);
    round4(c, d, a, b, x[2], 15, 0x2ad7d2bbu);
    round4(b, c, d, a, x[9], 21, 0xeb86d391u);

    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
}
