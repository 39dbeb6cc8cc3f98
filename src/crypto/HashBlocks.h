// What MD5 and SHA-1 share: the 64-bit bit count, the 64-byte block buffer and a wipe
// the compiler cannot drop.
#ifndef ORVIK_UTILITIES_CRYPTO_HASH_BLOCKS_H
#define ORVIK_UTILITIES_CRYPTO_HASH_BLOCKS_H

#include <cstdint>
#include <cstring>

#include "internal/ByteOrder.h"

class HashContext;

namespace orvik {
namespace detail {

constexpr uint32_t kHashBlockLength = 64;

// The returned-length rule of both hashes: a request from 1 to the complete length is
// kept, 0 or anything larger means the complete length.
inline uint32_t returnedLength(unsigned long requested, uint32_t complete) {
    return requested >= 1 && requested <= complete ? static_cast<uint32_t>(requested) : complete;
}

inline uint32_t rotateLeft(uint32_t x, unsigned s) { return x << s | x >> (32u - s); }

// Zeroes memory whose object is about to die; a plain memset there is a dead store the
// optimiser may remove, leaving keys and message bytes behind.
inline void wipe(void* memory, std::size_t size) {
    std::memset(memory, 0, size);
    __asm__ __volatile__("" : : "r"(memory) : "memory");
}

// Absorbs n bytes into a 64-byte block buffer with a 64-bit bit count kept as two 32-bit
// words, low first. The head of the input completes the waiting block, whole blocks are
// compressed straight from the input, and only the tail is copied. The count is exact
// modulo 2^64 for any n an unsigned long can hold, on 32- and 64-bit hosts alike.
template <typename Compress>
inline void absorb(uint32_t (&count)[2], unsigned char (&buffer)[kHashBlockLength],
                   unsigned char const* input, unsigned long n, Compress compress) {
    uint32_t index = (count[0] >> 3) % kHashBlockLength;
    auto const bits = static_cast<uint32_t>(n << 3);
    count[0] += bits;
    if (count[0] < bits)
        ++count[1];
    count[1] += static_cast<uint32_t>(n >> 29);

    unsigned long done = 0;
    if (n >= kHashBlockLength - index) {
        done = kHashBlockLength - index;
        std::memcpy(buffer + index, input, done);
        compress(buffer);
        for (; n - done >= kHashBlockLength; done += kHashBlockLength)
            compress(input + done);
        index = 0;
    }
    // Finalising feeds SHA-1's padding one byte at a time: spare those calls a memcpy.
    if (n - done == 1)
        buffer[index] = input[done];
    else if (n != done)
        std::memcpy(buffer + index, input + done, n - done);
}

// The self-test of both hashes, made through the virtual operations so that it covers
// whatever a derived class overrides: initialize(0), "abc", getHash, compare the first
// getCompleteHashLength() bytes (at most length) with expected, initialize(0) again.
int testWithAbc(HashContext& context, unsigned char const* expected, uint32_t length);

} // namespace detail
} // namespace orvik

#endif
