// SHA-1 as FIPS 180-1 (and RFC 3174) defines it.
#include <orvik_utilities/crypto/Sha1HashContext.h>

#include "crypto/HashBlocks.h"

#include <cstring>

using orvik::detail::loadBigEndian;
using orvik::detail::rotateLeft;

namespace {

constexpr uint32_t kDigestLength = 20;
constexpr uint32_t kInitialState[5] = {0x67452301u, 0xefcdab89u, 0x98badcfeu, 0x10325476u,
                                       0xc3d2e1f0u};

// Steps 0 to 15 take the block's words, read big-endian, into a ring of the last 16.
inline uint32_t load(uint32_t (&w)[16], unsigned char const* block, unsigned step) {
    w[step] = loadBigEndian(block + 4 * step);
    return w[step];
}

// Steps 16 to 79 derive their word from four earlier ones and put it in the ring.
inline uint32_t expand(uint32_t (&w)[16], unsigned step) {
    uint32_t const value =
        rotateLeft(w[(step + 13) & 15] ^ w[(step + 8) & 15] ^ w[(step + 2) & 15] ^ w[step & 15], 1);
    w[step & 15] = value;
    return value;
}

// The four step kinds; the caller rotates the roles of a to e from step to step.
inline void choose(uint32_t a, uint32_t& b, uint32_t c, uint32_t d, uint32_t& e, uint32_t w) {
    e += 0x5a827999u + w + (d ^ (b & (c ^ d))) + rotateLeft(a, 5);
    b = rotateLeft(b, 30);
}

inline void parity1(uint32_t a, uint32_t& b, uint32_t c, uint32_t d, uint32_t& e, uint32_t w) {
    e += 0x6ed9eba1u + w + (b ^ c ^ d) + rotateLeft(a, 5);
    b = rotateLeft(b, 30);
}

// The majority as a sum of its two disjoint parts, (b & c) and (d & (b ^ c)).
inline void majority(uint32_t a, uint32_t& b, uint32_t c, uint32_t d, uint32_t& e, uint32_t w) {
    e += 0x8f1bbcdcu + w + (d & (b ^ c)) + (b & c) + rotateLeft(a, 5);
    b = rotateLeft(b, 30);
}

inline void parity2(uint32_t a, uint32_t& b, uint32_t c, uint32_t d, uint32_t& e, uint32_t w) {
    e += 0xca62c1d6u + w + (b ^ c ^ d) + rotateLeft(a, 5);
    b = rotateLeft(b, 30);
}

} // namespace

Sha1HashContext::Sha1HashContext() { destroy(); }

Sha1HashContext::~Sha1HashContext() { destroy(); }

int Sha1HashContext::initialize(unsigned long returnedLength) {
    returnedHashLength = orvik::detail::returnedLength(returnedLength, kDigestLength);
    count[0] = 0;
    count[1] = 0;
    std::memcpy(state, kInitialState, sizeof state);
    return 0;
}

void Sha1HashContext::destroy() {
    orvik::detail::wipe(state, sizeof state);
    orvik::detail::wipe(count, sizeof count);
    orvik::detail::wipe(buffer, sizeof buffer);
    returnedHashLength = kDigestLength;
}

void Sha1HashContext::hash(unsigned char const* data, unsigned long length) {
    orvik::detail::absorb(count, buffer, data, length,
                          [this](unsigned char const* block) { sha1Transform(block); });
}

uint32_t Sha1HashContext::getReturnedHashLength() const { return returnedHashLength; }

void Sha1HashContext::getHash(unsigned char* digest) {
    unsigned char complete[kDigestLength];
    Sha1HashContext::getCompleteHash(complete);
    std::memcpy(digest, complete, returnedHashLength);
}

uint32_t Sha1HashContext::getCompleteHashLength() const { return kDigestLength; }

// The padding goes through the virtual hash one byte at a time, then the count in one
// call, so a derived context that watches its input sees the whole padded message.
void Sha1HashContext::getCompleteHash(unsigned char* digest) {
    unsigned char bitCount[8];
    orvik::detail::storeBigEndian(bitCount, count[1]);
    orvik::detail::storeBigEndian(bitCount + 4, count[0]);
    static unsigned char const marker = 0x80;
    static unsigned char const zero = 0;
    hash(&marker, 1);
    // Bounded, so a derived hash that drops its input cannot hold us here.
    for (unsigned fed = 0; fed < 63 && (count[0] & 504u) != 448u; ++fed)
        hash(&zero, 1);
    hash(bitCount, sizeof bitCount);
    for (unsigned i = 0; i < 5; ++i)
        orvik::detail::storeBigEndian(digest + 4 * i, state[i]);
}

int Sha1HashContext::test() {
    static unsigned char const expected[kDigestLength] = {0xa9, 0x99, 0x3e, 0x36, 0x47, 0x06, 0x81,
                                                          0x6a, 0xba, 0x3e, 0x25, 0x71, 0x78, 0x50,
                                                          0xc2, 0x6c, 0x9c, 0xd0, 0xd8, 0x9d};
    return orvik::detail::testWithAbc(*this, expected, kDigestLength);
}

void Sha1HashContext::sha1Transform(unsigned char const* block) {
    uint32_t w[16];
    uint32_t a = state[0];
    uint32_t b = state[1];
    uint32_t c = state[2];
    uint32_t d = state[3];
    uint32_t e = state[4];

    choose(a, b, c, d, e, load(w, block, 0));
    choose(e, a, b, c, d, load(w, block, 1));
    choose(d, e, a, b, c, load(w, block, 2));
    choose(c, d, e, a, b, load(w, block, 3));
    choose(b, c, d, e, a, load(w, block, 4));
    choose(a, b, c, d, e, load(w, block, 5));
    choose(e, a, b, c, d, load(w, block, 6));
    choose(d, e, a, b, c, load(w, block, 7));
    choose(c, d, e, a, b, load(w, block, 8));
    choose(b, c, d, e, a, load(w, block, 9));
    choose(a, b, c, d, e, load(w, block, 10));
    choose(e, a, b, c, d, load(w, block, 11));
    choose(d, e, a, b, c, load(w, block, 12));
    choose(c, d, e, a, b, load(w, block, 13));
    choose(b, c, d, e, a, load(w, block, 14));
    choose(a, b, c, d, e, load(w, block, 15));
    choose(e, a, b, c, d, expand(w, 16));
    choose(d, e, a, b, c, expand(w, 17));
    choose(c, d, e, a, b, expand(w, 18));
    choose(b, c, d, e, a, expand(w, 19));

    parity1(a, b, c, d, e, expand(w, 20));
    parity1(e, a, b, c, d, expand(w, 21));
    parity1(d, e, a, b, c, expand(w, 22));
    parity1(c, d, e, a, b, expand(w, 23));
    parity1(b, c, d, e, a, expand(w, 24));
    parity1(a, b, c, d, e, expand(w, 25));
    parity1(e, a, b, c, d, expand(w, 26));
    parity1(d, e, a, b, c, expand(w, 27));
    parity1(c, d, e, a, b, expand(w, 28));
    parity1(b, c, d, e, a, expand(w, 29));
    parity1(a, b, c, d, e, expand(w, 30));
    parity1(e, a, b, c, d, expand(w, 31));
    parity1(d, e, a, b, c, expand(w, 32));
    parity1(c, d, e, a, b, expand(w, 33));
    parity1(b, c, d, e, a, expand(w, 34));
    parity1(a, b, c, d, e, expand(w, 35));
    parity1(e, a, b, c, d, expand(w, 36));
    parity1(d, e, a, b, c, expand(w, 37));
    parity1(c, d, e, a, b, expand(w, 38));
    parity1(b, c, d, e, a, expand(w, 39));

    majority(a, b, c, d, e, expand(w, 40));
    majority(e, a, b, c, d, expand(w, 41));
    majority(d, e, a, b, c, expand(w, 42));
    majority(c, d, e, a, b, expand(w, 43));
    majority(b, c, d, e, a, expand(w, 44));
    majority(a, b, c, d, e, expand(w, 45));
    majority(e, a, b, c, d, expand(w, 46));
    majority(d, e, a, b, c, expand(w, 47));
    majority(c, d, e, a, b, expand(w, 48));
    majority(b, c, d, e, a, expand(w, 49));
    majority(a, b, c, d, e, expand(w, 50));
    majority(e, a, b, c, d, expand(w, 51));
    majority(d, e, a, b, c, expand(w, 52));
    majority(c, d, e, a, b, expand(w, 53));
    majority(b, c, d, e, a, expand(w, 54));
    majority(a, b, c, d, e, expand(w, 55));
    majority(e, a, b, c, d, expand(w, 56));
    majority(d, e, a, b, c, expand(w, 57));
    majority(c, d, e, a, b, expand(w, 58));
    majority(b, c, d, e, a, expand(w, 59));

    parity2(a, b, c, d, e, expand(w, 60));
    parity2(e, a, b, c, d, expand(w, 61));
    parity2(d, e, a, b, c, expand(w, 62));
    parity2(c, d, e, a, b, expand(w, 63));
    parity2(b, c, d, e, a, expand(w, 64));
    parity2(a, b, c, d, e, expand(w, 65));
    parity2(e, a, b, c, d, expand(w, 66));
    parity2(d, e, a, b, c, expand(w, 67));
    parity2(c, d, e, a, b, expand(w, 68));
    parity2(b, c, d, e, a, expand(w, 69));
    parity2(a, b, c, d, e, expand(w, 70));
    parity2(e, a, b, c, d, expand(w, 71));
    parity2(d, e, a, b, c, expand(w, 72));
    parity2(c, d, e, a, b, expand(w, 73));
    parity2(b, c, d, e, a, expand(w, 74));
    parity2(a, b, c, d, e, expand(w, 75));
    parity2(e, a, b, c, d, expand(w, 76));
    parity2(d, e, a, b, c, expand(w, 77));
    parity2(c, d, e, a, b, expand(w, 78));
    parity2(b, c, d, e, a, expand(w, 79));

    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
    state[4] += e;
}
