// Loads and stores of 16- and 32-bit values in a fixed byte order at any alignment.
#ifndef ORVIK_UTILITIES_INTERNAL_BYTE_ORDER_H
#define ORVIK_UTILITIES_INTERNAL_BYTE_ORDER_H

#include <cstdint>
#include <cstring>

namespace orvik {
namespace detail {

// Values are assembled from bytes: data comes straight from the caller's memory at any
// alignment, and ARMv5 faults on (or rotates) unaligned word loads. Compilers for hosts
// that allow unaligned access turn these into single loads and stores.
inline uint32_t loadLittleEndian(unsigned char const* p) {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

inline uint32_t loadBigEndian(unsigned char const* p) {
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | uint32_t{p[3]};
}

inline uint16_t loadBigEndian16(unsigned char const* p) {
    return static_cast<uint16_t>(p[0] << 8 | p[1]);
}

inline void storeLittleEndian(unsigned char* p, uint32_t value) {
    p[0] = static_cast<unsigned char>(value);
    p[1] = static_cast<unsigned char>(value >> 8);
    p[2] = static_cast<unsigned char>(value >> 16);
    p[3] = static_cast<unsigned char>(value >> 24);
}

inline void storeBigEndian(unsigned char* p, uint32_t value) {
    p[0] = static_cast<unsigned char>(value >> 24);
    p[1] = static_cast<unsigned char>(value >> 16);
    p[2] = static_cast<unsigned char>(value >> 8);
    p[3] = static_cast<unsigned char>(value);
}

inline void storeBigEndian16(unsigned char* p, uint32_t value) {
    p[0] = static_cast<unsigned char>(value >> 8);
    p[1] = static_cast<unsigned char>(value);
}

// Host byte order, for fields the kernel or a checksum reads as native words.
inline uint16_t loadHost16(unsigned char const* p) {
    uint16_t value;
    std::memcpy(&value, p, sizeof value);
    return value;
}

inline void storeHost16(unsigned char* p, uint16_t value) { std::memcpy(p, &value, sizeof value); }

} // namespace detail
} // namespace orvik

#endif
