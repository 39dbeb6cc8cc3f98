// Integer text conversion. Every sum and product runs in uint32_t so that a 64-bit host
// wraps exactly as the device does ("4294967296" reads as 0).
#include <orvik_utilities/numbers/IntegerText.h>

#include <cstring>

namespace {

// The longest text: 32 binary digits, the radix letter and the terminator.
constexpr int kMaxText = 34;

char radixLetter(uint32_t radix) {
    switch (radix) {
    case 2:
        return 'b';
    case 8:
        return 'o';
    case 16:
        return 'h';
    default:
        return '\0';
    }
}

bool knownRadix(int radix) { return radix == 2 || radix == 8 || radix == 10 || radix == 16; }

// Digits, least significant first, backwards from p. The radix is a constant in each
// instance, so the division becomes a multiplication (the device has no divide instruction).
template <uint32_t Radix> char* digitsBackwards(uint32_t magnitude, char* p) {
    do {
        uint32_t const digit = magnitude % Radix;
        *--p = static_cast<char>(digit < 10 ? '0' + digit : 'A' + digit - 10);
        magnitude /= Radix;
    } while (magnitude != 0);
    return p;
}

// Writes the digits of magnitude (and the letter, and '-' for a negative decimal) into
// buffer. The text is built from its end in a scratch array, so the caller's buffer
// receives exactly the finished text.
char* render(uint32_t magnitude, bool negative, char* buffer, uint32_t radix) {
    char scratch[kMaxText];
    char* p = scratch + kMaxText;
    *--p = '\0';
    if (char const letter = radixLetter(radix))
        *--p = letter;
    switch (radix) {
    case 2:
        p = digitsBackwards<2>(magnitude, p);
        break;
    case 8:
        p = digitsBackwards<8>(magnitude, p);
        break;
    case 16:
        p = digitsBackwards<16>(magnitude, p);
        break;
    default:
        p = digitsBackwards<10>(magnitude, p);
        break;
    }
    if (negative)
        *--p = '-';
    std::memcpy(buffer, p, static_cast<size_t>(scratch + kMaxText - p));
    return buffer;
}

char* renderSigned(int32_t value, char* buffer, int radix) {
    if (buffer == nullptr || !knownRadix(radix) || (value < 0 && radix != 10))
        return nullptr;
    // The magnitude of the most negative value only fits the unsigned type.
    uint32_t const bits = static_cast<uint32_t>(value);
    return render(value < 0 ? 0u - bits : bits, value < 0, buffer, static_cast<uint32_t>(radix));
}

char* renderUnsigned(uint32_t value, char* buffer, int radix) {
    if (buffer == nullptr || !knownRadix(radix))
        return nullptr;
    return render(value, false, buffer, static_cast<uint32_t>(radix));
}

// Nothing is refused: letters and punctuation count by the same formulas as digits,
// and a negative digit value wraps like every other term.
uint32_t digitValue(unsigned char c, uint32_t radix) {
    uint32_t const code = c;
    if (radix == 16) {
        if (code > 96)
            return code - 87;
        if (code > 64)
            return code - 55;
    }
    return code - 48;
}

// Reads from the last character backwards. Once the weight has wrapped to 0 (after at
// most 32 places in every radix, since 2^32 divides 2^32, 8^11, 10^32 and 16^8) no
// further character can change the sum, so a text of any length reads as its whole value.
uint32_t readNumber(char const* text, bool withSign) {
    if (text == nullptr)
        return 0;
    auto const* first = reinterpret_cast<unsigned char const*>(text);
    bool negative = false;
    if (withSign && *first == '-') {
        negative = true;
        ++first;
    }
    unsigned char const* end = first + std::strlen(reinterpret_cast<char const*>(first));
    if (end == first)
        return 0;
    uint32_t radix = 10;
    if (end[-1] > 96) {
        switch (end[-1]) {
        case 'b':
            radix = 2;
            break;
        case 'o':
            radix = 8;
            break;
        case 'h':
        case 'x':
            radix = 16;
            break;
        default:
            break;
        }
        --end;
    }
    uint32_t sum = 0;
    for (uint32_t weight = 1; end != first && weight != 0; weight *= radix)
        sum += weight * digitValue(*--end, radix);
    return negative ? 0u - sum : sum;
}

// The validity check is a round trip: canonical text renders back to itself.
template <typename T, T (*read)(char const*), char* (*render)(T, char*, int)>
T validated(int32_t* status, char const* text) {
    char canonical[kMaxText];
    T const value = read(text);
    if (status != nullptr) {
        char const* rendered = render(value, canonical, 10);
        *status =
            text != nullptr && rendered != nullptr && std::strcmp(text, rendered) == 0 ? 0 : -1;
    }
    return value;
}

template <typename T, typename Validate>
T validInRange(int32_t* status, char const* text, T minimum, T maximum, Validate validate) {
    if (status == nullptr)
        return 0;
    T const value = validate(status, text);
    if (*status == 0 && (value < minimum || value > maximum))
        *status = -1;
    return value;
}

} // namespace

void reverse(char* text) {
    if (text == nullptr)
        return;
    char* back = text + std::strlen(text);
    while (text < back && text < --back) {
        char const c = *text;
        *text++ = *back;
        *back = c;
    }
}

char* i32toa(int32_t value, char* buffer, int radix) { return renderSigned(value, buffer, radix); }

char* u_i32toa(uint32_t value, char* buffer, int radix) {
    return renderUnsigned(value, buffer, radix);
}

char* i16toa(int16_t value, char* buffer, int radix) { return renderSigned(value, buffer, radix); }

char* u_i16toa(uint16_t value, char* buffer, int radix) {
    return renderUnsigned(value, buffer, radix);
}

int32_t valueOf32(char const* text) { return static_cast<int32_t>(readNumber(text, true)); }

uint32_t u_valueOf32(char const* text) { return readNumber(text, false); }

int16_t valueOf16(char const* text) { return static_cast<int16_t>(readNumber(text, true)); }

uint16_t u_valueOf16(char const* text) { return static_cast<uint16_t>(readNumber(text, false)); }

int32_t validValueOf32(int32_t* status, char const* text) {
    return validated<int32_t, valueOf32, i32toa>(status, text);
}

int16_t validValueOf16(int32_t* status, char const* text) {
    return validated<int16_t, valueOf16, i16toa>(status, text);
}

uint32_t u_validValueOf32(int32_t* status, char const* text) {
    return validated<uint32_t, u_valueOf32, u_i32toa>(status, text);
}

uint16_t u_validValueOf16(int32_t* status, char const* text) {
    return validated<uint16_t, u_valueOf16, u_i16toa>(status, text);
}

int32_t validRangeValueOf32(int32_t* status, char const* text, int32_t minimum, int32_t maximum) {
    return validInRange(status, text, minimum, maximum, validValueOf32);
}

int16_t validRangeValueOf16(int32_t* status, char const* text, int16_t minimum, int16_t maximum) {
    return validInRange(status, text, minimum, maximum, validValueOf16);
}

uint32_t u_validRangeValueOf32(int32_t* status, char const* text, uint32_t minimum,
                               uint32_t maximum) {
    return validInRange(status, text, minimum, maximum, u_validValueOf32);
}

uint16_t u_validRangeValueOf16(int32_t* status, char const* text, uint16_t minimum,
                               uint16_t maximum) {
    return validInRange(status, text, minimum, maximum, u_validValueOf16);
}
