// The formatting engine behind snxprintf, vsnxprintf, strlenf and vstrlenf.
#include <orvik_utilities/text/Format.h>

#include "internal/FormatDirective.h"

#include <cstring>
#include <type_traits>

using orvik::detail::Directive;
using orvik::detail::kAlternate;
using orvik::detail::kLeft;
using orvik::detail::kLong;
using orvik::detail::kPlus;
using orvik::detail::kShort;
using orvik::detail::kSpace;
using orvik::detail::kStarPrecision;
using orvik::detail::kStarWidth;
using orvik::detail::kZero;

namespace {

constexpr uint32_t kCountingSize = 0xFFFFFFFFu;

char const kLowerDigits[] = "0123456789abcdef";
char const kUpperDigits[] = "0123456789ABCDEF";

// One formatting run. The store flag is the template parameter of the run, so the
// counting run carries no stores and no destination at all.
struct Output {
    char* destination;
    uint32_t size;
    uint32_t stored;
    // Characters counted but not stored: produced is stored + skipped. Keeping this part
    // apart leaves one counter to advance on the usual path, where nothing is skipped.
    uint32_t skipped;
    uint32_t skip; // never negative once the run has started
};

inline uint32_t produced(Output const& out) { return out.stored + out.skipped; }

// Every character goes through this one step. A character that would take the last
// byte is dropped without being counted, so "%n" never reports characters that were lost.
template <bool kStore> inline void put(Output& out, char c) {
    if (out.stored + 1 >= out.size)
        return;
    if (produced(out) >= out.skip) {
        if constexpr (kStore)
            out.destination[out.stored] = c;
        ++out.stored;
    } else {
        ++out.skipped;
    }
}

// Short pieces (literals, prefixes, the usual fills) are written inline: a call into the C
// library costs more than such a copy.
constexpr uint32_t kShortPiece = 16;

// At -O3 GCC inlines this for a known short source (the "0x" prefix) and then warns about the
// wider branches, which that count never takes.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
#endif
inline char* copyBytes(char* to, char const* from, uint32_t count) {
    // Two fixed-size copies that may overlap cover every length from 4 to 16; fixed sizes
    // compile to plain moves (byte moves on the device, which has no unaligned access).
    if (count > 2 * 8) {
        std::memcpy(to, from, count);
    } else if (count >= 8) {
        std::memcpy(to, from, 8);
        std::memcpy(to + count - 8, from + count - 8, 8);
    } else if (count >= 4) {
        std::memcpy(to, from, 4);
        std::memcpy(to + count - 4, from + count - 4, 4);
    } else {
        for (uint32_t i = 0; i < count; ++i)
            to[i] = from[i];
    }
    return to + count;
}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

inline char* fillBytes(char* to, char fill, uint32_t count) {
    if (count != 0)
        std::memset(to, fill, count);
    return to + count;
}

// Whether put() would store each of the next count characters: nothing is left to skip and
// the terminator's byte stays free. Whole fields that pass are written without put().
inline bool fits(Output const& out, uint32_t count) {
    return produced(out) >= out.skip && count < out.size - out.stored;
}

inline void advance(Output& out, uint32_t count) { out.stored += count; }

// put() applied to count characters at once: the skipped ones first (skipping never
// fills the destination), then those that fit, and the rest dropped. The state goes in and
// out by value, so that the usual path can keep it in registers.
template <bool kStore>
__attribute__((noinline)) Output putManySlowly(Output out, char const* text, char fill,
                                               uint32_t count) {
    if (out.stored + 1 >= out.size)
        return out;
    uint32_t skipped = 0;
    if (produced(out) < out.skip) {
        uint32_t const toSkip = out.skip - produced(out);
        skipped = count < toSkip ? count : toSkip;
        out.skipped += skipped;
        count -= skipped;
    }
    uint32_t const room = out.size - 1 - out.stored;
    uint32_t const taken = count < room ? count : room;
    if constexpr (kStore) {
        if (text != nullptr)
            std::memcpy(out.destination + out.stored, text + skipped, taken);
        else
            std::memset(out.destination + out.stored, fill, taken);
    }
    advance(out, taken);
    return out;
}

template <bool kStore> inline void putText(Output& out, char const* text, uint32_t count) {
    if (!fits(out, count)) {
        out = putManySlowly<kStore>(out, text, '\0', count);
        return;
    }
    if constexpr (kStore)
        copyBytes(out.destination + out.stored, text, count);
    advance(out, count);
}

template <bool kStore> inline void putFill(Output& out, char fill, uint32_t count) {
    if (count == 0)
        return;
    if (!fits(out, count)) {
        out = putManySlowly<kStore>(out, nullptr, fill, count);
        return;
    }
    if constexpr (kStore)
        fillBytes(out.destination + out.stored, fill, count);
    advance(out, count);
}

// "00" to "99": a whole field is written from its last digit up, two digits per division.
// Constant divisors let the compiler divide by multiplying; the device has no divide
// instruction, and a library call per digit would dominate a short conversion.
char const kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

// Pairs are stored a byte at a time: a two-byte copy of unknown alignment is a library
// call on the device.
inline void putPair(char* at, uint32_t pair) {
    at[0] = kDigitPairs[2 * pair];
    at[1] = kDigitPairs[2 * pair + 1];
}

inline char* writeDecimal(char* to, uint32_t v, int32_t digits) {
    char* const end = to + digits;
    char* at = end;
    while (v >= 100) {
        uint32_t const rest = v / 100;
        at -= 2;
        putPair(at, v - rest * 100);
        v = rest;
    }
    if (v >= 10)
        putPair(at - 2, v);
    else
        at[-1] = static_cast<char>('0' + v);
    return end;
}

// Bases 8 and 16 are powers of two: dividing by a power of the base is a shift.
inline char* writeBinary(char* to, uint32_t v, int32_t digits, uint32_t bitsPerDigit,
                         char const* table) {
    uint32_t const mask = (1u << bitsPerDigit) - 1;
    for (uint32_t shift = static_cast<uint32_t>(digits - 1) * bitsPerDigit;;
         shift -= bitsPerDigit) {
        *to++ = table[(v >> shift) & mask];
        if (shift == 0)
            break;
    }
    return to;
}

constexpr uint32_t kPowersOfTen[] = {1u,      10u,      100u,      1000u,      10000u,
                                     100000u, 1000000u, 10000000u, 100000000u, 1000000000u};

// The digit count from the highest set bit: bits × 1233 / 4096 undershoots the decimal
// logarithm by at most one, which one comparison settles. 0 counts as one digit.
int32_t decimalDigits(uint32_t v) {
    uint32_t const nonZero = v | 1;
    auto const bits = static_cast<uint32_t>(32 - __builtin_clz(nonZero));
    uint32_t const estimate = (bits * 1233) >> 12;
    return static_cast<int32_t>(estimate + (nonZero >= kPowersOfTen[estimate] ? 1 : 0));
}

// The digit count follows from the highest set bit.
int32_t binaryDigits(uint32_t v, uint32_t bitsPerDigit) {
    auto const bits = static_cast<uint32_t>(v == 0 ? 1 : 32 - __builtin_clz(v));
    return static_cast<int32_t>((bits + bitsPerDigit - 1) / bitsPerDigit);
}

inline int32_t wrapped(uint32_t v) { return static_cast<int32_t>(v); }

// The fill that brings a field of the given length up to the width. A negative width (a '*'
// width of INT_MIN, whose magnitude no int holds, or digits wrapped past INT_MAX) fills
// nothing, in numbers and strings alike.
inline uint32_t fillFor(int32_t width, uint32_t length) {
    return width > 0 && static_cast<uint32_t>(width) > length
               ? static_cast<uint32_t>(width) - length
               : 0;
}

// How one number is written: its base (10, or 8 and 16 by bits per digit), digit table and
// prefix.
struct NumberForm {
    uint32_t bitsPerDigit; // 0 for decimal
    char const* table;
    char const* prefix;
    uint32_t prefixLength;
};

inline char* writeDigits(char* to, uint32_t v, int32_t digits, NumberForm const& form) {
    if (form.bitsPerDigit == 0)
        return writeDecimal(to, v, digits);
    return writeBinary(to, v, digits, form.bitsPerDigit, form.table);
}

template <bool kStore>
inline void putNumber(Output& out, Directive d, uint32_t v, NumberForm form) {
    int32_t const digits =
        form.bitsPerDigit == 0 ? decimalDigits(v) : binaryDigits(v, form.bitsPerDigit);
    int32_t precision = d.precision;
    if ((d.flags & kZero) != 0 && d.width > 0 && d.width > precision)
        precision = d.width - static_cast<int32_t>(form.prefixLength);
    uint32_t const zeros = precision > digits ? static_cast<uint32_t>(precision - digits) : 0;
    uint32_t const length = zeros + static_cast<uint32_t>(digits) + form.prefixLength;
    uint32_t const pad = fillFor(d.width, length);
    bool const left = (d.flags & kLeft) != 0;

    // pad + length is at most the larger of the width and length, so it cannot wrap.
    if (fits(out, pad + length)) {
        if constexpr (kStore) {
            char* to = out.destination + out.stored;
            if (!left)
                to = fillBytes(to, ' ', pad);
            // One or two characters, stored one by one: a loop here becomes a library call.
            if (form.prefixLength != 0) {
                to[0] = form.prefix[0];
                if (form.prefixLength == 2)
                    to[1] = form.prefix[1];
                to += form.prefixLength;
            }
            to = fillBytes(to, '0', zeros);
            to = writeDigits(to, v, digits, form);
            if (left)
                fillBytes(to, ' ', pad);
        }
        advance(out, pad + length);
        return;
    }

    if (!left)
        putFill<kStore>(out, ' ', pad);
    putText<kStore>(out, form.prefix, form.prefixLength);
    putFill<kStore>(out, '0', zeros);
    char text[32];
    writeDigits(text, v, digits, form);
    putText<kStore>(out, text, static_cast<uint32_t>(digits));
    if (left)
        putFill<kStore>(out, ' ', pad);
}

template <bool kStore>
__attribute__((always_inline)) inline void putString(Output& out, Directive d, char const* text,
                                                     uint32_t length) {
    uint32_t const fill = fillFor(d.width, length);
    if ((d.flags & kLeft) == 0)
        putFill<kStore>(out, (d.flags & kZero) != 0 ? '0' : ' ', fill);
    putText<kStore>(out, text, length);
    if ((d.flags & kLeft) != 0)
        putFill<kStore>(out, ' ', fill);
}

// At most precision bytes of the text are read, so a precision may bound an unterminated
// buffer. The usual short texts are measured inline, longer ones by the C library.
uint32_t textLength(char const* text, int32_t precision) {
    if (precision < 0) {
        for (uint32_t n = 0; n < kShortPiece; ++n) {
            if (text[n] == '\0')
                return n;
        }
        return static_cast<uint32_t>(kShortPiece + std::strlen(text + kShortPiece));
    }
    auto const limit = static_cast<uint32_t>(precision);
    for (uint32_t n = 0; n < kShortPiece; ++n) {
        if (n == limit || text[n] == '\0')
            return n;
    }
    return static_cast<uint32_t>(kShortPiece + strnlen(text + kShortPiece, limit - kShortPiece));
}

// The helpers read the arguments through the v-function's own parameter, by reference. A
// va_list parameter is a copy on some hosts and a pointer to the caller's list on others,
// where the caller's list is then spent, as after any v-function. No va_copy: on such hosts
// it reloads the list that va_start has just written, and that stall alone cost about as
// much as formatting a short number.
using ArgList = std::decay_t<va_list>;

// 'l' arguments are longs, which are 64 bits on a 64-bit host: the slot is read whole and
// its low 32 bits kept, so every host formats what the device would.
inline uint32_t unsignedArgument(ArgList& args, uint32_t flags) {
    uint32_t v = (flags & kLong) != 0 ? static_cast<uint32_t>(va_arg(args, unsigned long))
                                      : va_arg(args, unsigned int);
    return (flags & kShort) != 0 ? v & 0xFFFFu : v;
}

inline uint32_t signedArgument(ArgList& args, uint32_t flags) {
    // NOLINTNEXTLINE(bugprone-branch-clone): the two branches read slots of different widths
    uint32_t v = (flags & kLong) != 0 ? static_cast<uint32_t>(va_arg(args, long))
                                      : static_cast<uint32_t>(va_arg(args, int));
    if ((flags & kShort) != 0)
        v = (v & 0x8000u) != 0 ? v | 0xFFFF0000u : v & 0xFFFFu;
    return v;
}

// The '*' arguments come before the value, width first. A negative width means '-', but a
// '0' among the flags was already kept.
inline void takeStarArguments(Directive& d, ArgList& args) {
    if ((d.flags & kStarWidth) != 0) {
        int const width = va_arg(args, int);
        if (width < 0) {
            d.flags |= kLeft;
            d.width = wrapped(0u - static_cast<uint32_t>(width));
        } else {
            d.width = width;
        }
    }
    if ((d.flags & kStarPrecision) != 0) {
        int const precision = va_arg(args, int);
        d.precision = precision < 0 ? -1 : precision;
    }
}

// The sign of a signed conversion goes to the prefix; the magnitude is taken unsigned, so
// the most negative int needs no special case.
inline uint32_t takeSign(uint32_t v, uint32_t flags, NumberForm& form) {
    if ((v & 0x80000000u) != 0) {
        v = 0u - v;
        form.prefix = "-";
    } else if ((flags & kPlus) != 0) {
        form.prefix = "+";
    } else if ((flags & kSpace) != 0) {
        form.prefix = " ";
    }
    form.prefixLength = form.prefix[0] != '\0' ? 1 : 0;
    return v;
}

// "%n": reported in the counting run too, so a caller sizing a buffer sees the same counts.
inline void reportCount(Output const& out, uint32_t flags, ArgList& args) {
    if ((flags & kShort) != 0)
        *va_arg(args, short*) = static_cast<short>(produced(out) & 0xFFFFu);
    else
        *va_arg(args, int*) = static_cast<int>(produced(out));
}

// Writes one parsed directive's conversion; the format's NUL writes nothing.
template <bool kStore> void convert(Output& out, Directive d, char conversion, ArgList& args) {
    uint32_t v;
    NumberForm form{0, kLowerDigits, "", 0};
    switch (conversion) {
    case '\0':
        return;
    case 'd':
    case 'i':
        v = takeSign(signedArgument(args, d.flags), d.flags, form);
        break;
    case 'o':
        v = unsignedArgument(args, d.flags);
        form = {3, kLowerDigits, "0", (d.flags & kAlternate) != 0 && v != 0 ? 1u : 0u};
        break;
    case 'u':
        v = unsignedArgument(args, d.flags);
        break;
    case 'x':
    case 'X':
        v = unsignedArgument(args, d.flags);
        form = {4, conversion == 'X' ? kUpperDigits : kLowerDigits, conversion == 'X' ? "0X" : "0x",
                (d.flags & kAlternate) != 0 && v != 0 ? 2u : 0u};
        break;
    case 'p':
        // Pointers are 32 bits on the device; a 64-bit host keeps the low half.
        v = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(va_arg(args, void*)));
        form = {4, kLowerDigits, "0x", 2};
        break;
    case 'c': {
        char const c = static_cast<char>(va_arg(args, int));
        putString<kStore>(out, d, &c, c == '\0' || d.precision == 0 ? 0 : 1);
        return;
    }
    case 's': {
        char const* text = va_arg(args, char const*);
        if (text == nullptr)
            text = "(null)";
        putString<kStore>(out, d, text, textLength(text, d.precision));
        return;
    }
    case 'n':
        reportCount(out, d.flags, args);
        return;
    default:
        put<kStore>(out, conversion);
        return;
    }
    // Only numbers give up '0' for a precision; "%05.1s" still fills with zeros.
    if (d.precision >= 0)
        d.flags &= ~kZero;
    putNumber<kStore>(out, d, v, form);
}

// "%d", "%i" and "%u" with nothing between the '%' and the letter but an 'l' are most of
// what daemons format; whole numbers that fit skip the general field arithmetic. On the
// device it is a call of its own, with the state in and out by value as in putManySlowly:
// written in line, it crowds the registers of the directive loop and every other directive
// pays for it. A 64-bit host has the registers, and there the call would cost the time.
#if defined(__x86_64__)
#define ORVIK_PLAIN_DECIMAL_PLACE __attribute__((always_inline)) inline
#else
#define ORVIK_PLAIN_DECIMAL_PLACE __attribute__((noinline))
#endif
template <bool kStore>
ORVIK_PLAIN_DECIMAL_PLACE Output putPlainDecimal(Output out, uint32_t v, bool isSigned) {
    uint32_t const sign = isSigned ? v >> 31 : 0;
    if (sign != 0)
        v = 0u - v;
    int32_t const digits = decimalDigits(v);
    uint32_t const length = sign + static_cast<uint32_t>(digits);
    if (!fits(out, length)) {
        char text[16];
        text[0] = '-';
        writeDecimal(text + sign, v, digits);
        putText<kStore>(out, text, length);
        return out;
    }
    if constexpr (kStore) {
        char* const to = out.destination + out.stored;
        to[0] = '-'; // overwritten by the first digit when there is no sign
        writeDecimal(to + sign, v, digits);
    }
    advance(out, length);
    return out;
}

inline bool isPlainDecimal(Directive const& d, char conversion) {
    return ((d.flags & ~kLong) | static_cast<uint32_t>(d.width)) == 0 && d.precision < 0 &&
           (conversion == 'd' || conversion == 'i' || conversion == 'u');
}

// The directive after a '%': f points at the character following the '%' and is left
// after the conversion character, or on the format's NUL.
template <bool kStore> void runDirective(Output& out, char const*& f, ArgList& args) {
    Directive d;
    f = orvik::detail::parseDirective(f, d);
    // Only the storing run takes it: a second copy would cost the device more flash than
    // the counting run would gain.
    if (kStore && isPlainDecimal(d, *f)) {
        bool const isSigned = *f != 'u';
        uint32_t const v =
            isSigned ? signedArgument(args, d.flags) : unsignedArgument(args, d.flags);
        out = putPlainDecimal<kStore>(out, v, isSigned);
        ++f;
        return;
    }
    if ((d.flags & kLeft) != 0)
        d.flags &= ~kZero;
    if ((d.flags & (kStarWidth | kStarPrecision)) != 0)
        takeStarArguments(d, args);
    convert<kStore>(out, d, *f, args);
    if (*f != '\0')
        ++f;
}

template <bool kStore>
uint32_t run(char* destination, int32_t skip, uint32_t size, char const* format, ArgList args) {
    Output out{destination, size, 0, 0, static_cast<uint32_t>(skip)};
    char const* f = format;
    for (;;) {
        char const* literal = f;
        while (*f != '%' && *f != '\0')
            ++f;
        if (f != literal)
            putText<kStore>(out, literal, static_cast<uint32_t>(f - literal));
        if (*f == '\0')
            break;
        ++f;
        if (*f == '%') {
            put<kStore>(out, '%');
            ++f;
        } else {
            runDirective<kStore>(out, f, args);
        }
    }
    if constexpr (kStore)
        out.destination[out.stored] = '\0';
    return out.stored;
}

} // namespace

int vsnxprintf(char* dest, int32_t skip, uint32_t size, char const* format, va_list args) {
    if (dest == nullptr || size == 0 || skip < 0)
        return 0;
    return static_cast<int>(run<true>(dest, skip, size, format, args));
}

int snxprintf(char* dest, int32_t skip, uint32_t size, char const* format, ...) {
    va_list args;
    va_start(args, format);
    int const stored = vsnxprintf(dest, skip, size, format, args);
    va_end(args);
    return stored;
}

int vstrlenf(char const* format, va_list args) {
    return static_cast<int>(run<false>(nullptr, 0, kCountingSize, format, args));
}

int strlenf(char const* format, ...) {
    va_list args;
    va_start(args, format);
    int const length = vstrlenf(format, args);
    va_end(args);
    return length;
}
