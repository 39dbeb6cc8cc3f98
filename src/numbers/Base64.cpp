// Base64 codec over the RFC 4648 alphabet. Text is written straight into one String buffer
// sized up front, and decoding runs whole 4-character groups until a foreign character
// forces the skipping path.
#include <orvik_utilities/numbers/Base64.h>

#include "internal/ByteOrder.h"
#include "internal/StringAccess.h"

#include <cstdint>
#include <cstring>

using orvik::detail::StringAccess;

// Large tables (8 KiB for encoding, 4 KiB for decoding) pay on x86, where they stay in a
// big cache and the pair lookups halve the work. On the device they would cost flash and
// most of the data cache for no gain: the 64-character alphabet and a 256-byte value
// table serve there.
#if defined(__x86_64__) || defined(__i386__)
#define ORVIK_BASE64_LARGE_TABLES 1
#else
#define ORVIK_BASE64_LARGE_TABLES 0
#endif

namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr unsigned char kPad = '=';

// One entry per code from '+' (43) to 'z' (122): the character's value plus 62, or '$' for
// a code in that span that is not in the alphabet.
constexpr unsigned char kFirstCode = 43;
constexpr unsigned char kNotInAlphabet = '$';
constexpr unsigned char kDecoding[80] = {
    124, '$', '$', '$', 125, 114, 115, 116, 117, 118, 119, 120, 121, 122, 123, '$',
    '$', '$', '$', '$', '$', '$', 62,  63,  64,  65,  66,  67,  68,  69,  70,  71,
    72,  73,  74,  75,  76,  77,  78,  79,  80,  81,  82,  83,  84,  85,  86,  87,
    '$', '$', '$', '$', '$', '$', 88,  89,  90,  91,  92,  93,  94,  95,  96,  97,
    98,  99,  100, 101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112, 113};

// The same information over all 256 codes, so the group loop needs no range checks:
// a character's value, or kForeign.
constexpr unsigned char kForeign = 0xFF;
struct ValueTable {
    unsigned char value[256];
};
constexpr ValueTable makeValueTable() {
    ValueTable t{};
    for (int code = 0; code < 256; ++code) {
        unsigned const index = static_cast<unsigned>(code - kFirstCode);
        t.value[code] = index < sizeof kDecoding && kDecoding[index] != kNotInAlphabet
                            ? static_cast<unsigned char>(kDecoding[index] - 62)
                            : kForeign;
    }
    return t;
}
constexpr ValueTable kValues = makeValueTable();

// A group's 24 bits, with kForeignBit set when any of its four characters is foreign.
constexpr uint32_t kForeignBit = uint32_t{1} << 24;

#if ORVIK_BASE64_LARGE_TABLES
// Four lookups whose results are ORed together: each table holds a character's value
// already shifted into its place, and kForeignBit for every code outside the alphabet.
struct ShiftedTables {
    uint32_t place[4][256];
};
constexpr ShiftedTables makeShiftedTables() {
    ShiftedTables t{};
    for (int code = 0; code < 256; ++code)
        for (int k = 0; k < 4; ++k)
            t.place[k][code] = kValues.value[code] == kForeign
                                   ? kForeignBit
                                   : uint32_t{kValues.value[code]} << (18 - 6 * k);
    return t;
}
constexpr ShiftedTables kShifted = makeShiftedTables();

inline uint32_t groupBits(unsigned char const* p) {
    return kShifted.place[0][p[0]] | kShifted.place[1][p[1]] | kShifted.place[2][p[2]] |
           kShifted.place[3][p[3]];
}
#else
// Values are below 64 and kForeign has bit 7 set, so one test of the four values' OR
// finds a foreign character.
inline uint32_t groupBits(unsigned char const* p) {
    uint32_t const a = kValues.value[p[0]];
    uint32_t const b = kValues.value[p[1]];
    uint32_t const c = kValues.value[p[2]];
    uint32_t const d = kValues.value[p[3]];
    return (a << 18 | b << 12 | c << 6 | d) | ((a | b | c | d) & 0x80u) << 17;
}
#endif

inline void putGroup(uint32_t bits, unsigned char* out) {
    out[0] = static_cast<unsigned char>(bits >> 16);
    out[1] = static_cast<unsigned char>(bits >> 8);
    out[2] = static_cast<unsigned char>(bits);
}

#if ORVIK_BASE64_LARGE_TABLES
// Two characters at a time, for each 12-bit half of a 3-byte block, stored in the order
// they go out on a little-endian machine.
struct PairTable {
    uint16_t pair[4096];
};
constexpr PairTable makePairTable() {
    PairTable t{};
    for (int v = 0; v < 4096; ++v)
        t.pair[v] = static_cast<uint16_t>(static_cast<unsigned char>(kAlphabet[v >> 6]) |
                                          static_cast<unsigned char>(kAlphabet[v & 63]) << 8);
    return t;
}
constexpr PairTable kPairs = makePairTable();

inline uint32_t quad(uint32_t bits) {
    return uint32_t{kPairs.pair[bits >> 12]} | uint32_t{kPairs.pair[bits & 0xFFF]} << 16;
}

// blocks whole 3-byte blocks; returns the end of their text. Two blocks go per step as one
// 8-byte load and one 8-byte store while a load of 8 bytes stays inside the input.
char* encodeBlocks(unsigned char const* in, uint32_t blocks, char* out) {
    for (; blocks >= 3; blocks -= 2, in += 6, out += 8) {
        uint64_t word;
        std::memcpy(&word, in, sizeof word);
        uint64_t const bits = __builtin_bswap64(word) >> 16;
        uint64_t const text = quad(static_cast<uint32_t>(bits >> 24)) |
                              uint64_t{quad(static_cast<uint32_t>(bits) & 0xFFFFFFu)} << 32;
        std::memcpy(out, &text, sizeof text);
    }
    for (; blocks != 0; --blocks, in += 3, out += 4) {
        uint32_t const text = quad(uint32_t{in[0]} << 16 | uint32_t{in[1]} << 8 | in[2]);
        std::memcpy(out, &text, sizeof text);
    }
    return out;
}
#else
char* encodeBlocks(unsigned char const* in, uint32_t blocks, char* out) {
    for (; blocks != 0; --blocks, in += 3, out += 4) {
        uint32_t const bits = uint32_t{in[0]} << 16 | uint32_t{in[1]} << 8 | in[2];
        out[0] = kAlphabet[bits >> 18];
        out[1] = kAlphabet[bits >> 12 & 63];
        out[2] = kAlphabet[bits >> 6 & 63];
        out[3] = kAlphabet[bits & 63];
    }
    return out;
}
#endif

// The most bytes whose text, without line breaks, still fits a String; more is refused
// before any arithmetic, so sizing stays in 32 bits on every host.
constexpr unsigned long kMostBytes = 3 * (INT32_MAX / 4);

// Characters the encoding of count bytes takes with blocksPerLine blocks to a line (0: one
// line without a break), or -1 past what a String can hold.
int32_t encodedLength(unsigned long count, uint32_t blocksPerLine) {
    if (count > kMostBytes)
        return -1;
    auto const bytes = static_cast<uint32_t>(count);
    uint32_t const blocks = bytes / 3 + (bytes % 3 != 0);
    uint32_t chars = blocks * 4;
    if (blocksPerLine != 0)
        chars += 2 * (blocks / blocksPerLine + (blocks % blocksPerLine != 0));
    return chars <= INT32_MAX ? static_cast<int32_t>(chars) : -1;
}

bool overlaps(unsigned char const* bytes, unsigned long count, char const* text, int32_t capacity) {
    auto const a = reinterpret_cast<uintptr_t>(bytes);
    auto const b = reinterpret_cast<uintptr_t>(text);
    return a < b + static_cast<uint32_t>(capacity) + 1 && b < a + count;
}

// Where the text of total characters goes: the String's own buffer when nothing else sees
// it, it has the room and it is not the input; otherwise a fresh buffer, handed back in
// fresh for the caller to adopt. Null when no buffer can be had.
char* bufferFor(String& text, int32_t total, unsigned char const* bytes, unsigned long count,
                StringAccess::Buffer*& fresh) {
    if (StringAccess::writableFor(text, total) &&
        !overlaps(bytes, count, StringAccess::text(text), StringAccess::capacity(text)))
        return StringAccess::text(StringAccess::buffer(text));
    fresh = StringAccess::make(
        static_cast<int32_t>(String::StringBuffer::NEAREST_VALID_STRING_LENGTH(total)));
    return fresh == nullptr ? nullptr : StringAccess::text(fresh);
}

inline char* endLine(char* out) {
    out[0] = '\r';
    out[1] = '\n';
    return out + 2;
}

// The text of count bytes: full lines of blocksPerLine blocks (0: no breaks), then the
// last, shorter line with the padded final block. Every line ends in CR LF.
void encodeText(unsigned char const* in, uint32_t count, uint32_t blocksPerLine, char* out) {
    uint32_t blocks = count / 3;
    if (blocksPerLine != 0) {
        for (; blocks >= blocksPerLine; blocks -= blocksPerLine, in += 3 * blocksPerLine)
            out = endLine(encodeBlocks(in, blocksPerLine, out));
    }
    out = encodeBlocks(in, blocks, out);
    in += 3 * blocks;
    if (unsigned const rest = count % 3) {
        unsigned char last[3] = {in[0], rest == 2 ? in[1] : static_cast<unsigned char>(0), 0};
        Base64::encodeBlock(last, reinterpret_cast<unsigned char*>(out), static_cast<long>(rest));
        out += 4;
        ++blocks;
    }
    if (blocksPerLine != 0 && blocks != 0)
        endLine(out);
}

// Whole groups of four alphabet characters from p, at most room of them, written to out;
// p stops at the first group with a foreign character. Returns the end of what was written.
unsigned char* decodeGroups(unsigned char const*& p, unsigned char const* end, unsigned char* out,
                            std::size_t room) {
    std::size_t const groups = static_cast<std::size_t>(end - p) / 4;
    std::size_t n = groups < room ? groups : room;
    // Four groups per round while all are clean, then single groups. Their twelve bytes
    // go out as three big-endian words.
    for (; n >= 4; n -= 4, p += 16, out += 12) {
        uint32_t const a = groupBits(p);
        uint32_t const b = groupBits(p + 4);
        uint32_t const c = groupBits(p + 8);
        uint32_t const d = groupBits(p + 12);
        if (((a | b | c | d) & kForeignBit) != 0)
            break;
        orvik::detail::storeBigEndian(out, a << 8 | b >> 16);
        orvik::detail::storeBigEndian(out + 4, b << 16 | c >> 8);
        orvik::detail::storeBigEndian(out + 8, c << 24 | d);
    }
    for (; n != 0; --n, p += 4, out += 3) {
        uint32_t const bits = groupBits(p);
        if ((bits & kForeignBit) != 0)
            break;
        putGroup(bits, out);
    }
    return out;
}

// The values of up to four alphabet characters from p, skipping foreign ones; returns how
// many were found before the end of the text.
int gatherGroup(unsigned char const*& p, unsigned char const* end, unsigned char (&slots)[4]) {
    int filled = 0;
    while (filled < 4 && p < end) {
        unsigned char const value = kValues.value[*p++];
        if (value != kForeign)
            slots[filled++] = value;
    }
    return filled;
}

} // namespace

void Base64::encodeBlock(unsigned char* input, unsigned char* output, long validBytes) {
    output[0] = static_cast<unsigned char>(kAlphabet[input[0] >> 2]);
    output[1] = static_cast<unsigned char>(kAlphabet[(input[0] & 3) << 4 | input[1] >> 4]);
    output[2] = validBytes < 2
                    ? kPad
                    : static_cast<unsigned char>(kAlphabet[(input[1] & 15) << 2 | input[2] >> 6]);
    output[3] = validBytes < 3 ? kPad : static_cast<unsigned char>(kAlphabet[input[2] & 63]);
}

void Base64::decodeBlock(unsigned char* input, unsigned char* output) {
    output[0] = static_cast<unsigned char>(input[0] << 2 | input[1] >> 4);
    output[1] = static_cast<unsigned char>(input[1] << 4 | input[2] >> 2);
    output[2] = static_cast<unsigned char>(input[2] << 6 | input[3]);
}

int Base64::encode(unsigned char const* bytes, unsigned long count, unsigned long lineLength,
                   String& text) {
    if (bytes == nullptr || count == 0) {
        StringAccess::becomeEmpty(text);
        return 0;
    }
    // Lines of 2^32 blocks or more are longer than any text: one line, one break.
    unsigned long const perLine = lineLength == 0 ? 0 : lineLength / 4 == 0 ? 1 : lineLength / 4;
    uint32_t const blocksPerLine =
        perLine > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(perLine);
    int32_t const total = encodedLength(count, blocksPerLine);
    if (total < 0)
        return -1;
    StringAccess::Buffer* fresh = nullptr;
    char* const out = bufferFor(text, total, bytes, count, fresh);
    if (out == nullptr)
        return -1;
    encodeText(bytes, static_cast<uint32_t>(count), blocksPerLine, out);
    if (fresh != nullptr)
        StringAccess::adopt(text, fresh);
    StringAccess::setLength(text, total);
    return 0;
}

int Base64::decode(String const& text, unsigned char* output, unsigned long& length) {
    auto const* p = reinterpret_cast<unsigned char const*>(StringAccess::text(text));
    unsigned char const* const end = p + StringAccess::length(text);
    unsigned long const capacity = output == nullptr ? 0 : length;
    unsigned long written = 0;

    for (;;) {
        unsigned char* const out = decodeGroups(p, end, output + written, (capacity - written) / 3);
        written = static_cast<unsigned long>(out - output);

        // One group the slow way: skip foreign characters, stop at the end of the text.
        unsigned char slots[4] = {0, 0, 0, 0};
        int const filled = gatherGroup(p, end, slots);
        if (filled == 0)
            break;
        unsigned char bytes[3];
        decodeBlock(slots, bytes);
        for (int i = 0; i < filled - 1; ++i) {
            if (written == capacity) {
                length = capacity;
                return -1;
            }
            output[written++] = bytes[i];
        }
        if (filled < 4)
            break;
    }
    length = written;
    return 0;
}
