// 32-bit size arithmetic that behaves the same on the device and on 64-bit hosts.
#ifndef ORVIK_UTILITIES_INTERNAL_CHECKED_SIZE_H
#define ORVIK_UTILITIES_INTERNAL_CHECKED_SIZE_H

#include <cstdint>

namespace orvik {
namespace detail {

constexpr int32_t kMaxLength = INT32_MAX;

// long is 32 bits on the device, 64 on x86_64 hosts: saturating keeps every
// out-of-range position out of range instead of letting truncation wrap it back in.
inline int32_t clampToInt32(long value) {
    int64_t wide = value;
    if (wide > INT32_MAX)
        return INT32_MAX;
    if (wide < INT32_MIN)
        return INT32_MIN;
    return static_cast<int32_t>(wide);
}

// True when value fits a 32-bit length (0 .. 2^31-1).
inline bool fitsLength(long value) {
    int64_t wide = value;
    return wide >= 0 && wide <= kMaxLength;
}

// a + b for two valid lengths, refusing a sum past the 32-bit range.
inline bool addLengths(int32_t a, int32_t b, int32_t& sum) {
    if (b > kMaxLength - a)
        return false;
    sum = a + b;
    return true;
}

} // namespace detail
} // namespace orvik

#endif
