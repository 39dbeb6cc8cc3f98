// ASCII case-insensitive comparisons: only 'A'-'Z' fold, every byte compares unsigned.
#include <orvik_utilities/text/Format.h>

namespace {

// Bytes are compared unsigned on every host, so a byte >= 0x80 sorts after ASCII also
// where char is signed.
inline uint32_t folded(char c) {
    auto const byte = static_cast<uint32_t>(static_cast<unsigned char>(c));
    return byte - 'A' < 26u ? byte + 32u : byte;
}

// The result once the walk has stopped without finding a difference.
inline int byEnds(char const* a, char const* b) {
    if (*a != '\0')
        return 1;
    return *b == '\0' ? 0 : -1;
}

} // namespace

int stricmp(char const* a, char const* b) {
    for (; *a != '\0' && *b != '\0'; ++a, ++b) {
        uint32_t const x = folded(*a);
        uint32_t const y = folded(*b);
        if (x != y)
            return x < y ? -1 : 1;
    }
    return byEnds(a, b);
}

int strnicmp(char const* a, char const* b, uint32_t count) {
    for (; count != 0 && *a != '\0' && *b != '\0'; ++a, ++b, --count) {
        uint32_t const x = folded(*a);
        uint32_t const y = folded(*b);
        if (x != y)
            return x < y ? -1 : 1;
    }
    return count == 0 ? 0 : byEnds(a, b);
}
