// The printf directive grammar of the formatting engine, shared with the configuration
// reader's check of indexed-tag patterns so that both read a pattern the same way.
#ifndef ORVIK_UTILITIES_INTERNAL_FORMAT_DIRECTIVE_H
#define ORVIK_UTILITIES_INTERNAL_FORMAT_DIRECTIVE_H

#include <cstdint>

namespace orvik {
namespace detail {

constexpr uint32_t kLeft = 1;
constexpr uint32_t kPlus = 2;
constexpr uint32_t kSpace = 4;
constexpr uint32_t kAlternate = 8;
constexpr uint32_t kZero = 16;
constexpr uint32_t kShort = 32;
constexpr uint32_t kLong = 64;
// The width or the precision is a '*': an int argument, read before the value.
constexpr uint32_t kStarWidth = 128;
constexpr uint32_t kStarPrecision = 256;

struct Directive {
    uint32_t flags;
    int32_t width;     // 0 when absent
    int32_t precision; // -1 when absent
};

// Reads decimal digits; the value wraps in 32 bits rather than overflowing an int.
inline int32_t readDirectiveNumber(char const*& f) {
    uint32_t n = 0;
    while (static_cast<unsigned char>(*f - '0') < 10)
        n = n * 10 + static_cast<uint32_t>(*f++ - '0');
    return static_cast<int32_t>(n);
}

// Parses flags, width, precision and one 'h' or 'l' from f, which points just after the
// '%'. Returns the conversion character's place (the format's NUL when it ends early).
inline char const* parseDirective(char const* f, Directive& d) {
    d = Directive{0, 0, -1};
    // Every flag character sorts at or below '0', so letters and digits leave at once.
    for (; *f <= '0'; ++f) {
        uint32_t bit = 0;
        switch (*f) {
        case '-':
            bit = kLeft;
            break;
        case '+':
            bit = kPlus;
            break;
        case ' ':
            bit = kSpace;
            break;
        case '#':
            bit = kAlternate;
            break;
        case '0':
            bit = kZero;
            break;
        default:
            break;
        }
        if (bit == 0)
            break;
        d.flags |= bit;
    }
    if (*f == '*') {
        d.flags |= kStarWidth;
        ++f;
    } else {
        d.width = readDirectiveNumber(f);
    }
    if (*f == '.') {
        ++f;
        if (*f == '*') {
            d.flags |= kStarPrecision;
            ++f;
        } else {
            d.precision = readDirectiveNumber(f);
        }
    }
    if (*f == 'h') {
        d.flags |= kShort;
        ++f;
    } else if (*f == 'l') {
        d.flags |= kLong;
        ++f;
    }
    return f;
}

} // namespace detail
} // namespace orvik

#endif
