// What MD5 and SHA-1 share: the 64-bit bit count, the 64-byte block buffer, the loading of
// a block's words, the bodies of the interface's small operations, and a wipe the compiler
// cannot drop.
#ifndef ORVIK_UTILITIES_CRYPTO_HASH_BLOCKS_H
#define ORVIK_UTILITIES_CRYPTO_HASH_BLOCKS_H

#include "internal/ByteOrder.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

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

// The sixteen words of a block in a fixed byte order, at any alignment. Blocks nearly
// always come word-aligned (the context's own buffer, the caller's arrays), and on a
// little-endian machine such a block is copied whole, a few multiple loads on the device,
// instead of being assembled from 64 byte loads; big-endian words are then swapped in
// registers.
inline bool copiesWhole(unsigned char const* block) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    return (reinterpret_cast<uintptr_t>(block) & 3u) == 0;
#else
    static_cast<void>(block);
    return false;
#endif
}

inline void loadLittleEndianWords(uint32_t (&words)[16], unsigned char const* block) {
    if (copiesWhole(block)) {
        std::memcpy(words, __builtin_assume_aligned(block, 4), sizeof words);
        return;
    }
    for (unsigned i = 0; i < 16; ++i)
        words[i] = loadLittleEndian(block + 4 * i);
}

inline void loadBigEndianWords(uint32_t (&words)[16], unsigned char const* block) {
    if (copiesWhole(block)) {
        auto const* aligned = static_cast<unsigned char const*>(__builtin_assume_aligned(block, 4));
        for (unsigned i = 0; i < 16; ++i) {
            uint32_t word;
            std::memcpy(&word, aligned + 4 * i, sizeof word);
            words[i] = __builtin_bswap32(word);
        }
        return;
    }
    for (unsigned i = 0; i < 16; ++i)
        words[i] = loadBigEndian(block + 4 * i);
}

// The bodies of the small operations MD5 and SHA-1 share; each context passes its own
// fields. Wiping sets the returned length to the complete one, as a new context has.
template <std::size_t N>
inline int startMessage(uint32_t (&state)[N], uint32_t const (&initial)[N], uint32_t (&count)[2],
                        uint32_t& returned, unsigned long requested, uint32_t complete) {
    returned = returnedLength(requested, complete);
    count[0] = 0;
    count[1] = 0;
    std::memcpy(state, initial, sizeof state);
    return 0;
}

template <std::size_t N>
inline void wipeContext(uint32_t (&state)[N], uint32_t (&count)[2],
                        unsigned char (&buffer)[kHashBlockLength], uint32_t& returned,
                        uint32_t complete) {
    wipe(state, sizeof state);
    wipe(count, sizeof count);
    wipe(buffer, sizeof buffer);
    returned = complete;
}

// getHash: the complete digest, of which the first returned bytes go out.
template <uint32_t Complete, typename Finish>
inline void writeReturned(unsigned char* digest, uint32_t returned, Finish finish) {
    unsigned char complete[Complete];
    finish(complete);
    std::memcpy(digest, complete, returned);
}

// Absorbs n bytes into a 64-byte block buffer with a 64-bit bit count kept as two 32-bit
// words, low first. The head of the input completes a waiting block, whole blocks are
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
    if (index != 0 && n >= kHashBlockLength - index) {
        done = kHashBlockLength - index;
        std::memcpy(buffer + index, input, done);
        compress(buffer);
        index = 0;
    }
    if (index == 0) {
        for (; n - done >= kHashBlockLength; done += kHashBlockLength)
            compress(input + done);
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
