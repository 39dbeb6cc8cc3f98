// Device cost of the digests: 1 KiB absorbed by MD5 and SHA-1 against plain portable
// transforms written here from the public algorithm descriptions (words assembled from
// bytes, the steps of each round in a loop).
#include <orvik_utilities/crypto/Md5HashContext.h>
#include <orvik_utilities/crypto/Sha1HashContext.h>

#include "ProbeMain.h"

#include <cstdint>
#include <cstring>

namespace {

volatile uint32_t sink;
// Word-aligned, as the buffers daemons hash are; both sides read the same bytes.
alignas(4) unsigned char message[1024];

void fillMessage() {
    for (unsigned i = 0; i < sizeof message; ++i)
        message[i] = static_cast<unsigned char>(i * 29u + 3u);
}

uint32_t rotl(uint32_t x, unsigned s) { return x << s | x >> (32 - s); }

// MD5: four rounds of sixteen steps over the block's little-endian words.
uint32_t const kMd5Sines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
unsigned const kMd5Shifts[4][4] = {
    {7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

struct PortableMd5 {
    uint32_t state[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

    void transform(unsigned char const* block) {
        uint32_t x[16];
        for (unsigned i = 0; i < 16; ++i)
            x[i] = uint32_t{block[4 * i]} | uint32_t{block[4 * i + 1]} << 8 |
                   uint32_t{block[4 * i + 2]} << 16 | uint32_t{block[4 * i + 3]} << 24;
        uint32_t a = state[0], b = state[1], c = state[2], d = state[3];
        for (unsigned i = 0; i < 64; ++i) {
            uint32_t f;
            unsigned g;
            if (i < 16) {
                f = (b & c) | (~b & d);
                g = i;
            } else if (i < 32) {
                f = (b & d) | (c & ~d);
                g = (5 * i + 1) % 16;
            } else if (i < 48) {
                f = b ^ c ^ d;
                g = (3 * i + 5) % 16;
            } else {
                f = c ^ (b | ~d);
                g = (7 * i) % 16;
            }
            uint32_t const next = b + rotl(a + f + kMd5Sines[i] + x[g], kMd5Shifts[i / 16][i % 4]);
            a = d;
            d = c;
            c = b;
            b = next;
        }
        state[0] += a;
        state[1] += b;
        state[2] += c;
        state[3] += d;
    }
};

// SHA-1: eighty steps over a schedule expanded from the block's big-endian words.
struct PortableSha1 {
    uint32_t state[5] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};

    void transform(unsigned char const* block) {
        uint32_t w[80];
        for (unsigned i = 0; i < 16; ++i)
            w[i] = uint32_t{block[4 * i]} << 24 | uint32_t{block[4 * i + 1]} << 16 |
                   uint32_t{block[4 * i + 2]} << 8 | uint32_t{block[4 * i + 3]};
        for (unsigned i = 16; i < 80; ++i)
            w[i] = rotl(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
        uint32_t a = state[0], b = state[1], c = state[2], d = state[3], e = state[4];
        for (unsigned i = 0; i < 80; ++i) {
            uint32_t f, k;
            if (i < 20) {
                f = (b & c) | (~b & d);
                k = 0x5a827999;
            } else if (i < 40) {
                f = b ^ c ^ d;
                k = 0x6ed9eba1;
            } else if (i < 60) {
                f = (b & c) | (b & d) | (c & d);
                k = 0x8f1bbcdc;
            } else {
                f = b ^ c ^ d;
                k = 0xca62c1d6;
            }
            uint32_t const t = rotl(a, 5) + f + e + k + w[i];
            e = d;
            d = c;
            c = rotl(b, 30);
            b = a;
            a = t;
        }
        state[0] += a;
        state[1] += b;
        state[2] += c;
        state[3] += d;
        state[4] += e;
    }
};

// A running message: whole blocks go straight to the transform (the probes feed 1 KiB).
template <typename Digest> void portableAbsorb(Digest& digest, unsigned long n) {
    fillMessage();
    for (unsigned long i = 0; i < n; ++i) {
        for (unsigned offset = 0; offset < sizeof message; offset += 64)
            digest.transform(message + offset);
        sink = digest.state[0];
    }
}

void portableMd5(unsigned long n) {
    PortableMd5 digest;
    portableAbsorb(digest, n);
}

void portableSha1(unsigned long n) {
    PortableSha1 digest;
    portableAbsorb(digest, n);
}

template <typename Context> void absorb(unsigned long n) {
    fillMessage();
    Context context;
    context.initialize(0);
    unsigned char digest[20];
    for (unsigned long i = 0; i < n; ++i) {
        context.hash(message, sizeof message);
        sink = message[i % 64];
    }
    context.getCompleteHash(digest);
    sink = digest[0];
}

void md5(unsigned long n) { absorb<Md5HashContext>(n); }
void sha1(unsigned long n) { absorb<Sha1HashContext>(n); }

ProbeCase const kCases[] = {
    {"md5_1k", "portable_md5_1k", "Md5HashContext::hash 1 KiB", md5},
    {"portable_md5_1k", "-", "portable MD5 transform, 16 blocks", portableMd5},
    {"sha1_1k", "portable_sha1_1k", "Sha1HashContext::hash 1 KiB", sha1},
    {"portable_sha1_1k", "-", "portable SHA-1 transform, 16 blocks", portableSha1},
};

} // namespace

int main(int argc, char** argv) { return probeMain(argc, argv, kCases); }
