// SHA-1 as FIPS 180-1 (and RFC 3174) defines it.
#include <orvik_utilities/crypto/Sha1HashContext.h>

#include "crypto/HashBlocks.h"

#include <cstring>

using orvik::detail::rotateLeft;

namespace {

constexpr uint32_t kDigestLength = 20;
constexpr uint32_t kInitialState[5] = {0x67452301u, 0xefcdab89u, 0x98badcfeu, 0x10325476u,
                                       0xc3d2e1f0u};

// Steps 0 to 15 take the block's words, read big-endian into a ring of the last 16;
// steps 16 to 79 derive their word from four earlier ones and put it in the ring.
inline uint32_t expand(uint32_t (&w)[16], unsigned step) {
    uint32_t const value =
        rotateLeft(w[(step + 13) & 15] ^ w[(step + 8) & 15] ^ w[(step + 2) & 15] ^ w[step & 15], 1);
    w[step & 15] = value;
    return value;
}

// The four step kinds; the caller rotates the roles of a to e from step to step.
inline void choose(uint32_t a, uint32_t& b, uint32_t c, uint32_t d, uint32_t& e, uint32_t w,
                   uint32_t k) {
    e += k + w + (d ^ (b & (c ^ d))) + rotateLeft(a, 5);
    b = rotateLeft(b, 30);
}

inline void parity1(uint32_t a, uint32_t& b, uint32_t c, uint32_t d, uint32_t& e, uint32_t w,
                    uint32_t k) {
    e += k + w + (b ^ c ^ d) + rotateLeft(a, 5);
    b = rotateLeft(b, 30);
}

// The majority as a sum of its two disjoint parts, (b & c) and (d & (b ^ c)).
inline void majority(uint32_t a, uint32_t& b, uint32_t c, uint32_t d, uint32_t& e, uint32_t w,
                     uint32_t k) {
    e += k + w + (d & (b ^ c)) + (b & c) + rotateLeft(a, 5);
    b = rotateLeft(b, 30);
}

inline void parity2(uint32_t a, uint32_t& b, uint32_t c, uint32_t d, uint32_t& e, uint32_t w,
                    uint32_t k) {
    e += k + w + (b ^ c ^ d) + rotateLeft(a, 5);
    b = rotateLeft(b, 30);
}

// Each round's constant stays in a register for its twenty steps: without this barrier the
// compiler reloads it from the literal pool at every step, one load in fifteen.
inline void keepInRegister(uint32_t& k) { __asm__("" : "+r"(k)); }

} // namespace

Sha1HashContext::Sha1HashContext() { destroy(); }

Sha1HashContext::~Sha1HashContext() { destroy(); }

int Sha1HashContext::initialize(unsigned long returnedLength) {
    return orvik::detail::startMessage(state, kInitialState, count, returnedHashLength,
                                       returnedLength, kDigestLength);
}

void Sha1HashContext::destroy() {
    orvik::detail::wipeContext(state, count, buffer, returnedHashLength, kDigestLength);
}

void Sha1HashContext::hash(unsigned char const* data, unsigned long length) {
    orvik::detail::absorb(count, buffer, data, length,
                          [this](unsigned char const* block) { sha1Transform(block); });
}

uint32_t Sha1HashContext::getReturnedHashLength() const { return returnedHashLength; }

void Sha1HashContext::getHash(unsigned char* digest) {
    orvik::detail::writeReturned<kDigestLength>(
        digest, returnedHashLength,
        [this](unsigned char* complete) { Sha1HashContext::getCompleteHash(complete); });
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

// Unrolled: 80 steps whose roles rotate, the device's hottest code when it hashes; a loop
// would have to move all five words every step.
void Sha1HashContext::sha1Transform(unsigned char const* block) {
    uint32_t w[16];
    orvik::detail::loadBigEndianWords(w, block);
    uint32_t a = state[0];
    uint32_t b = state[1];
    uint32_t c = state[2];
    uint32_t d = state[3];
    uint32_t e = state[4];

    uint32_t k = 0x5a827999u;
    keepInRegister(k);
    choose(a, b, c, d, e, w[0], k);
    choose(e, a, b, c, d, w[1], k);
    choose(d, e, a, b, c, w[2], k);
    choose(c, d, e, a, b, w[3], k);
    choose(b, c, d, e, a, w[4], k);
    choose(a, b, c, d, e, w[5], k);
    choose(e, a, b, c, d, w[6], k);
    choose(d, e, a, b, c, w[7], k);
    choose(c, d, e, a, b, w[8], k);
    choose(b, c, d, e, a, w[9], k);
    choose(a, b, c, d, e, w[10], k);
    choose(e, a, b, c, d, w[11], k);
    choose(d, e, a, b, c, w[12], k);
    choose(c, d, e, a, b, w[13], k);
    choose(b, c, d, e, a, w[14], k);
    choose(a, b, c, d, e, w[15], k);
    choose(e, a, b, c, d, expand(w, 16), k);
    choose(d, e, a, b, c, expand(w, 17), k);
    choose(c, d, e, a, b, expand(w, 18), k);
    choose(b, c, d, e, a, expand(w, 19), k);

    k = 0x6ed9eba1u;
    keepInRegister(k);
    parity1(a, b, c, d, e, expand(w, 20), k);
    parity1(e, a, b, c, d, expand(w, 21), k);
    parity1(d, e, a, b, c, expand(w, 22), k);
    parity1(c, d, e, a, b, expand(w, 23), k);
    parity1(b, c, d, e, a, expand(w, 24), k);
    parity1(a, b, c, d, e, expand(w, 25), k);
    parity1(e, a, b, c, d, expand(w, 26), k);
    parity1(d, e, a, b, c, expand(w, 27), k);
    parity1(c, d, e, a, b, expand(w, 28), k);
    parity1(b, c, d, e, a, expand(w, 29), k);
    parity1(a, b, c, d, e, expand(w, 30), k);
    parity1(e, a, b, c, d, expand(w, 31), k);
    parity1(d, e, a, b, c, expand(w, 32), k);
    parity1(c, d, e, a, b, expand(w, 33), k);
    parity1(b, c, d, e, a, expand(w, 34), k);
    parity1(a, b, c, d, e, expand(w, 35), k);
    parity1(e, a, b, c, d, expand(w, 36), k);
    parity1(d, e, a, b, c, expand(w, 37), k);
    parity1(c, d, e, a, b, expand(w, 38), k);
    parity1(b, c, d, e, a, expand(w, 39), k);

    k = 0x8f1bbcdcu;
    keepInRegister(k);
    majority(a, b, c, d, e, expand(w, 40), k);
    majority(e, a, b, c, d, expand(w, 41), k);
    majority(d, e, a, b, c, expand(w, 42), k);
    majority(c, d, e, a, b, expand(w, 43), k);
    majority(b, c, d, e, a, expand(w, 44), k);
    majority(a, b, c, d, e, expand(w, 45), k);
    majority(e, a, b, c, d, expand(w, 46), k);
    majority(d, e, a, b, c, expand(w, 47), k);
    majority(c, d, e, a, b, expand(w, 48), k);
    majority(b, c, d, e, a, expand(w, 49), k);
    majority(a, b, c, d, e, expand(w, 50), k);
    majority(e, a, b, c, d, expand(w, 51), k);
    majority(d, e, a, b, c, expand(w, 52), k);
    majority(c, d, e, a, b, expand(w, 53), k);
    majority(b, c, d, e, a, expand(w, 54), k);
    majority(a, b, c, d, e, expand(w, 55), k);
    majority(e, a, b, c, d, expand(w, 56), k);
    majority(d, e, a, b, c, expand(w, 57), k);
    majority(c, d, e, a, b, expand(w, 58), k);
    majority(b, c, d, e, a, expand(w, 59), k);

    k = 0xca62c1d6u;
    keepInRegister(k);
    parity2(a, b, c, d, e, expand(w, 60), k);
    parity2(e, a, b, c, d, expand(w, 61), k);
    parity2(d, e, a, b, c, expand(w, 62), k);
    parity2(c, d, e, a, b, expand(w, 63), k);
    parity2(b, c, d, e, a, expand(w, 64), k);
    parity2(a, b, c, d, e, expand(w, 65), k);
    parity2(e, a, b, c, d, expand(w, 66), k);
    parity2(d, e, a, b, c, expand(w, 67), k);
    parity2(c, d, e, a, b, expand(w, 68), k);
    parity2(b, c, d, e, a, expand(w, 69), k);
    parity2(a, b, c, d, e, expand(w, 70), k);
    parity2(e, a, b, c, d, expand(w, 71), k);
    parity2(d, e, a, b, c, expand(w, 72), k);
    parity2(c, d, e, a, b, expand(w, 73), k);
    parity2(b, c, d, e, a, expand(w, 74), k);
    parity2(a, b, c, d, e, expand(w, 75), k);
    parity2(e, a, b, c, d, expand(w, 76), k);
    parity2(d, e, a, b, c, expand(w, 77), k);
    parity2(c, d, e, a, b, expand(w, 78), k);
    parity2(b, c, d, e, a, expand(w, 79), k);

    state[0] += a;
    state[1] += b;
    state[2] += c;
    state[3] += d;
    state[4] += e;
}
