// Small converters and validators. The scanf-style readers are written out here rather
// than left to the host's sscanf: the device's long is 32 bits, so its "%d" and "%lu"
// saturate at 32 bits, and a 64-bit host's would not.
#include <orvik_utilities/numbers/Converters.h>

#include <cstring>

namespace {

// "0x" and the bytes in memory order, 10 characters, no terminator.
char* putHexWord(unsigned char const* bytes, char* out) {
    *out++ = '0';
    *out++ = 'x';
    for (int i = 0; i < 4; ++i) {
        *out++ = binToHexLut[bytes[i]][0];
        *out++ = binToHexLut[bytes[i]][1];
    }
    return out;
}

// The device is little-endian: the least significant byte lies first in memory.
void memoryOrder(uint32_t word, unsigned char bytes[4]) {
    for (int i = 0; i < 4; ++i)
        bytes[i] = static_cast<unsigned char>(word >> (8 * i));
}

bool isScanfSpace(unsigned char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// One scanf integer conversion in base 10 with the device's strtol/strtoul rules: leading
// white space, an optional sign, at least one digit. Signed values saturate at the 32-bit
// limits; unsigned ones give 0xFFFFFFFF when the magnitude passes 32 bits and are otherwise
// negated modulo 2^32 after a '-'. Advances p past the number; false when none is there.
template <bool Unsigned> bool scanNumber(unsigned char const*& p, uint32_t& result) {
    unsigned char const* s = p;
    while (isScanfSpace(*s))
        ++s;
    bool const negative = *s == '-';
    if (*s == '-' || *s == '+')
        ++s;
    if (*s < '0' || *s > '9')
        return false;
    uint64_t magnitude = 0;
    bool overflow = false;
    for (; *s >= '0' && *s <= '9'; ++s) {
        magnitude = magnitude * 10 + (*s - '0');
        if (magnitude > UINT32_MAX) {
            overflow = true;
            magnitude = UINT32_MAX;
        }
    }
    p = s;
    if (Unsigned) {
        auto const m = static_cast<uint32_t>(magnitude);
        result = overflow ? UINT32_MAX : negative ? 0u - m : m;
    } else if (negative) {
        result = magnitude > uint64_t{1} << 31 ? uint32_t{1} << 31
                                               : 0u - static_cast<uint32_t>(magnitude);
    } else {
        result = magnitude > INT32_MAX ? uint32_t{INT32_MAX} : static_cast<uint32_t>(magnitude);
    }
    return true;
}

// Reads numbers separated by the literal characters of a pattern such as "-" "-" "T" ":" ":":
// fields[0] ... fields[count-1], the separator before field i being separators[i-1].
// Returns how many fields were read, as sscanf counts its conversions.
template <bool Unsigned>
int scanFields(char const* text, char const* separators, uint32_t* fields, int count) {
    auto const* p = reinterpret_cast<unsigned char const*>(text);
    for (int i = 0; i < count; ++i) {
        if (i > 0 && *p++ != static_cast<unsigned char>(separators[i - 1]))
            return i;
        if (!scanNumber<Unsigned>(p, fields[i]))
            return i;
    }
    return count;
}

struct Bounds {
    int32_t low;
    int32_t high;
};

// Signed comparisons, as the device compares its ints.
int validateFields(char const* text, char const* separators, Bounds const* bounds, int count) {
    if (text == nullptr)
        return -1;
    uint32_t fields[6];
    if (scanFields<false>(text, separators, fields, count) != count)
        return -1;
    for (int i = 0; i < count; ++i) {
        auto const value = static_cast<int32_t>(fields[i]);
        if (value < bounds[i].low || value > bounds[i].high)
            return -1;
    }
    return 0;
}

constexpr Bounds kYear = {1999, 2035};
constexpr Bounds kMonth = {1, 12};
constexpr Bounds kDay = {1, 31};
constexpr Bounds kHour = {0, 23};
constexpr Bounds kMinute = {0, 59};

} // namespace

char const binToHexLut[256][3] = {
#define ORVIK_HEX_ROW(h)                                                                           \
    {h, '0', 0}, {h, '1', 0}, {h, '2', 0}, {h, '3', 0}, {h, '4', 0}, {h, '5', 0}, {h, '6', 0},     \
        {h, '7', 0}, {h, '8', 0}, {h, '9', 0}, {h, 'a', 0}, {h, 'b', 0}, {h, 'c', 0}, {h, 'd', 0}, \
        {h, 'e', 0}, {                                                                             \
        h, 'f', 0                                                                                  \
    }
    ORVIK_HEX_ROW('0'), ORVIK_HEX_ROW('1'), ORVIK_HEX_ROW('2'),
    ORVIK_HEX_ROW('3'), ORVIK_HEX_ROW('4'), ORVIK_HEX_ROW('5'),
    ORVIK_HEX_ROW('6'), ORVIK_HEX_ROW('7'), ORVIK_HEX_ROW('8'),
    ORVIK_HEX_ROW('9'), ORVIK_HEX_ROW('a'), ORVIK_HEX_ROW('b'),
    ORVIK_HEX_ROW('c'), ORVIK_HEX_ROW('d'), ORVIK_HEX_ROW('e'),
    ORVIK_HEX_ROW('f')
#undef ORVIK_HEX_ROW
};

void convBinToHex(uint32_t word, char* output) {
    unsigned char bytes[4];
    memoryOrder(word, bytes);
    *putHexWord(bytes, output) = '\0';
}

int32_t nbrOfChars_forDataChunk2String(int32_t dataLength, int32_t lineLength) {
    if (dataLength <= 0)
        return 2;
    // A line ends after the first word that reaches lineLength bytes.
    int64_t const wordsPerLine = lineLength > 0 ? (int64_t{lineLength} + 3) / 4 : 1;
    int64_t const words = (int64_t{dataLength} + 3) / 4;
    int64_t const lines = (words + wordsPerLine - 1) / wordsPerLine;
    int64_t const size = lines * (11 * wordsPerLine + 2) + 1;
    return size <= INT32_MAX ? static_cast<int32_t>(size) : -1;
}

void dataChunk2String(uint32_t const* data, char* output, int32_t dataLength, int32_t lineLength) {
    if (output == nullptr)
        return;
    auto const* bytes = reinterpret_cast<unsigned char const*>(data);
    int32_t const length = data == nullptr ? 0 : dataLength;
    char* out = output;
    int32_t onLine = 0;
    for (int32_t at = 0; at < length; at += 4) {
        unsigned char word[4] = {0, 0, 0, 0};
        std::memcpy(word, bytes + at, length - at < 4 ? static_cast<size_t>(length - at) : 4u);
        out = putHexWord(word, out);
        *out++ = ' ';
        onLine += 4;
        if (onLine >= lineLength) {
            *out++ = '\n';
            onLine = 0;
        }
    }
    *out++ = '\n';
    *out = '\0';
}

uint32_t nextHigherPowerOf2(uint32_t value) {
    if (value == 0)
        return 1;
    if ((value & (value - 1)) == 0)
        return value;
    // Doubling once per significant bit; past 2^31 the power wraps to 0.
    uint32_t power = 1;
    for (; value != 0; value >>= 1)
        power <<= 1;
    return power;
}

int e164Number(char const* text) {
    if (text == nullptr)
        return -1;
    for (auto const* p = reinterpret_cast<unsigned char const*>(text); *p != '\0'; ++p) {
        bool const allowed = (*p >= '0' && *p <= '9') || (*p >= 'A' && *p <= 'Z') || *p == '*' ||
                             *p == '#' || *p == '?';
        if (!allowed)
            return -1;
    }
    return 0;
}

int validateTimeString(char const* text) {
    static constexpr Bounds bounds[6] = {kYear, kMonth, kDay, kHour, kMinute, kMinute};
    return validateFields(text, "--T::", bounds, 6);
}

int validateTime(char const* text) {
    static constexpr Bounds bounds[3] = {kHour, kMinute, kMinute};
    return validateFields(text, "::", bounds, 3);
}

int validateDate(char const* text) {
    static constexpr Bounds bounds[3] = {kYear, kMonth, kDay};
    return validateFields(text, "--", bounds, 3);
}

int convIPStr2IPUl(char const* text, uint32_t* result) {
    uint32_t parts[4];
    if (text == nullptr || result == nullptr || scanFields<true>(text, "...", parts, 4) != 4)
        return -1;
    *result = (parts[0] << 24) + (parts[1] << 16) + (parts[2] << 8) + parts[3];
    return 0;
}

int convIPUL2IPStr(uint32_t address, char* output) {
    unsigned char bytes[4];
    memoryOrder(address, bytes);
    char* out = output;
    for (int i = 0; i < 4; ++i) {
        unsigned const b = bytes[i];
        if (b >= 100)
            *out++ = static_cast<char>('0' + b / 100);
        if (b >= 10)
            *out++ = static_cast<char>('0' + b / 10 % 10);
        *out++ = static_cast<char>('0' + b % 10);
        *out++ = i < 3 ? '.' : '\0';
    }
    return 0;
}
