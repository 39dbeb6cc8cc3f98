// The vtable slot that a pointer to a virtual member function names (Itanium C++ ABI).
#ifndef ORVIK_TESTS_SUPPORT_VIRTUAL_SLOT_H
#define ORVIK_TESTS_SUPPORT_VIRTUAL_SLOT_H

#include <cstddef>
#include <cstring>

namespace orvik_test {

// Slot index counted from the vtable's address point (complete and deleting destructors
// take 0 and 1); -1 for a non-virtual function. ARM keeps the virtual flag in the
// adjustment word, other targets in the low bit of the offset.
template <typename Member> long virtualSlot(Member member) {
    static_assert(sizeof member == 2 * sizeof(std::ptrdiff_t), "Itanium member pointer");
    std::ptrdiff_t words[2];
    std::memcpy(words, &member, sizeof words);
#if defined(__arm__) || defined(__aarch64__)
    bool const isVirtual = (words[1] & 1) != 0;
    std::ptrdiff_t const offset = words[0];
#else
    bool const isVirtual = (words[0] & 1) != 0;
    std::ptrdiff_t const offset = words[0] - 1;
#endif
    return isVirtual ? static_cast<long>(offset / std::ptrdiff_t(sizeof(void*))) : -1;
}

} // namespace orvik_test

#endif
