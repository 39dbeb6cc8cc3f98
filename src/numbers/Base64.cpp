// Base64 codec over the RFC 4648 alphabet. Text is written straight into one String buffer
// sized up front, and decoding runs whole 4-character groups until a foreign character
// forces the skipping path.
#include <orvik_utilities/numbers/Base64.h>

#include "text/StringAccess.h"

#include <cstdint>
#include <cstring>

using orvik::detail::StringAccess;

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

// Decoding a whole group takes four lookups whose results are ORed together: each table
// holds a character's value already shifted into its place, and kForeignBit for every code
// outside the alphabet, so one test of the sum rejects the group.
constexpr uint32_t kForeignBit = uint32_t{1} << 24;
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

inline void putGroup(uint32_t bits, unsigned char* out) {
    out[0] = static_cast<unsigned char>(bits >> 16);
    out[1] = static_cast<unsigned char>(bits >> 8);
    out[2] = static_cast<unsigned char>(bits);
}

inline void putWord(uint32_t word, unsigned char* out) {
    out[0] = static_cast<unsigned char>(word >> 24);
    out[1] = static_cast<unsigned char>(word >> 16);
    out[2] = static_cast<unsigned char>(word >> 8);
    out[3] = static_cast<unsigned char>(word);
}

// Encoding looks up two characters at a time, for each 12-bit half of a 3-byte block.
struct PairTable {
    char pair[4096][2];
};
constexpr PairTable makePairTable() {
    PairTable t{};
    for (int v = 0; v < 4096; ++v) {
        t.pair[v][0] = kAlphabet[v >> 6];
        t.pair[v][1] = kAlphabet[v & 63];
    }
    return t;
}
constexpr PairTable kPairs = makePairTable();

inline void encodeWhole(unsigned char const* in, char* out) {
    uint32_t const bits = uint32_t{in[0]} << 16 | uint32_t{in[1]} << 8 | in[2];
    std::memcpy(out, kPairs.pair[bits >> 12], 2);
    std::memcpy(out + 2, kPairs.pair[bits & 0xFFF], 2);
}

// Characters the encoding of count bytes takes, or -1 past what a String can hold.
int64_t encodedLength(uint64_t count, uint64_t blocksPerLine) {
    uint64_t const blocks = count / 3 + (count % 3 != 0);
    uint64_t chars = blocks * 4;
    if (blocksPerLine != 0)
        chars += 2 * (blocks / blocksPerLine + (blocks % blocksPerLine != 0));
    return chars <= INT32_MAX ? static_cast<int64_t>(chars) : -1;
}

bool overlaps(unsigned char const* bytes, uint64_t count, char const* text, int32_t capacity) {
    auto const a = reinterpret_cast<uintptr_t>(bytes);
    auto const b = reinterpret_cast<uintptr_t>(text);
    return a < b + static_cast<uint32_t>(capacity) + 1 && b < a + count;
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
    uint64_t const blocksPerLine = lineLength == 0 ? 0 : (lineLength / 4 == 0 ? 1 : lineLength / 4);
    int64_t const length = encodedLength(count, blocksPerLine);
    if (length < 0)
        return -1;
    auto const total = static_cast<int32_t>(length);

    // Written in place only when nothing else sees the buffer and it is not the input.
    StringAccess::Buffer* fresh = nullptr;
    char* out;
    if (StringAccess::writableFor(text, total) &&
        !overlaps(bytes, count, StringAccess::text(text), StringAccess::capacity(text))) {
        out = StringAccess::text(StringAccess::buffer(text));
    } else {
        fresh = StringAccess::make(
            static_cast<int32_t>(String::StringBuffer::NEAREST_VALID_STRING_LENGTH(total)));
        if (fresh == nullptr)
            return -1;
        out = StringAccess::text(fresh);
    }

    uint64_t const wholeBlocks = count / 3;
    uint64_t const perLine = blocksPerLine == 0 ? wholeBlocks : blocksPerLine;
    unsigned char const* in = bytes;
    uint64_t onLine = 0;
    for (uint64_t done = 0; done < wholeBlocks;) {
        uint64_t run =
            wholeBlocks - done < perLine - onLine ? wholeBlocks - done : perLine - onLine;
        done += run;
        onLine += run;
        for (; run != 0; --run, in += 3, out += 4)
            encodeWhole(in, out);
        if (blocksPerLine != 0 && onLine == blocksPerLine) {
            *out++ = '\r';
            *out++ = '\n';
            onLine = 0;
        }
    }
    if (unsigned const rest = static_cast<unsigned>(count % 3)) {
        unsigned char last[3] = {in[0], rest == 2 ? in[1] : static_cast<unsigned char>(0), 0};
        encodeBlock(last, reinterpret_cast<unsigned char*>(out), static_cast<long>(rest));
        out += 4;
        ++onLine;
    }
    if (blocksPerLine != 0 && onLine != 0) {
        *out++ = '\r';
        *out++ = '\n';
    }

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
        // Whole groups of four alphabet characters with room for their three bytes.
        std::size_t const groupsLeft = static_cast<std::size_t>(end - p) / 4;
        std::size_t const roomLeft = (capacity - written) / 3;
        unsigned char* out = output + written;
        std::size_t n = groupsLeft < roomLeft ? groupsLeft : roomLeft;
        // Four groups per round while all are clean, then single groups. Their twelve bytes
        // go out as three big-endian words, which the compiler stores whole.
        for (; n >= 4; n -= 4, p += 16, out += 12) {
            uint32_t const a = groupBits(p);
            uint32_t const b = groupBits(p + 4);
            uint32_t const c = groupBits(p + 8);
            uint32_t const d = groupBits(p + 12);
            if (((a | b | c | d) & kForeignBit) != 0)
                break;
            putWord(a << 8 | b >> 16, out);
            putWord(b << 16 | c >> 8, out + 4);
            putWord(c << 24 | d, out + 8);
        }
        for (; n != 0; --n, p += 4, out += 3) {
            uint32_t const bits = groupBits(p);
            if ((bits & kForeignBit) != 0)
                break;
            putGroup(bits, out);
        }
        written = static_cast<unsigned long>(out - output);

        // One group the slow way: skip foreign characters, stop at the end of the text.
        unsigned char slots[4] = {0, 0, 0, 0};
        int filled = 0;
        while (filled < 4 && p < end) {
            unsigned char const value = kValues.value[*p++];
            if (value != kForeign)
                slots[filled++] = value;
        }
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
