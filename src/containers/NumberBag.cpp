// Pool of numbers kept as a bitmap, one bit per number, 1 = free.
#include <orvik_utilities/containers/NumberBag.h>

#include <cstring>
#include <new>

#if !defined(__arm__) && defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace {

constexpr uint32_t kAllBits = 0xFFFFFFFF;
// Pairs begin at even bits only (0, 2, ... 30), so a pair never spans two words.
constexpr uint32_t kPairStarts = 0x55555555;

// unsigned long is 32 bits on the device and 64 on x86_64 hosts. The double shift tests the
// high half without a shift count that is out of range on the device.
bool fits32(unsigned long value) { return (value >> 16 >> 16) == 0; }

uint32_t saturate32(unsigned long value) {
    return fits32(value) ? static_cast<uint32_t>(value) : kAllBits;
}

uint32_t lowestBit(uint32_t word) { return static_cast<uint32_t>(__builtin_ctz(word)); }

void takeBits(uint32_t* words, uint32_t offset, uint32_t bits) {
    words[offset / 32] &= ~(bits << (offset % 32));
}

// [lo, hi] within [first, last]; false when nothing is left of it.
bool clampBounds(unsigned long lo, unsigned long hi, uint32_t first, uint32_t last, uint32_t& low,
                 uint32_t& high) {
    if (!fits32(lo))
        return false;
    low = static_cast<uint32_t>(lo) > first ? static_cast<uint32_t>(lo) : first;
    high = saturate32(hi) < last ? saturate32(hi) : last;
    return low <= high;
}

// Zero words are tested several to a step: how many, and the test, suit each machine.
#if defined(__arm__)
constexpr uint32_t kWordsPerStep = 8;

// Whether any of the eight words from p is non-zero; p moves past them. Two multiple loads
// bring the words in: the compiler does not form them from C here, and four single loads
// cost four instructions where a multiple load costs one.
inline bool anyInStep(uint32_t const*& p) {
    uint32_t any;
    __asm__("ldmia %[p]!, {r4, r5, r6, r8}\n\t"
            "orr r4, r4, r5\n\t"
            "orr r6, r6, r8\n\t"
            "ldmia %[p]!, {r5, r8, r9, r10}\n\t"
            "orr r5, r5, r8\n\t"
            "orr r9, r9, r10\n\t"
            "orr r4, r4, r6\n\t"
            "orr r5, r5, r9\n\t"
            "orr %[any], r4, r5"
            : [any] "=r"(any), [p] "+r"(p)
            : "m"(*reinterpret_cast<uint32_t const(*)[8]>(p))
            : "r4", "r5", "r6", "r8", "r9", "r10");
    return any != 0;
}
#elif defined(__SSE2__)
constexpr uint32_t kWordsPerStep = 16;

// Sixteen words as four 16-byte loads: the host's scan then keeps ahead of a balanced-tree
// free list.
inline bool anyInStep(uint32_t const*& p) {
    __m128i a, b, c, d;
    std::memcpy(&a, p, sizeof a);
    std::memcpy(&b, p + 4, sizeof b);
    std::memcpy(&c, p + 8, sizeof c);
    std::memcpy(&d, p + 12, sizeof d);
    p += 16;
    __m128i const any = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
    return _mm_movemask_epi8(_mm_cmpeq_epi32(any, _mm_setzero_si128())) != 0xFFFF;
}

// The index of the first non-zero word of the sixteen from p, one of which is non-zero:
// four bits per word mark the zero ones, and the first clear bit finds it without a loop
// whose exit the processor would mispredict.
inline uint32_t firstInStep(uint32_t const* p) {
    uint64_t zeroWords = 0;
    for (unsigned i = 0; i < 4; ++i) {
        __m128i v;
        std::memcpy(&v, p + 4 * i, sizeof v);
        auto const bits =
            static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi32(v, _mm_setzero_si128())));
        zeroWords |= uint64_t{bits} << (16 * i);
    }
    return static_cast<uint32_t>(__builtin_ctzll(~zeroWords)) / 4;
}
#else
constexpr uint32_t kWordsPerStep = 8;

inline bool anyInStep(uint32_t const*& p) {
    uint32_t const any = p[0] | p[1] | p[2] | p[3] | p[4] | p[5] | p[6] | p[7];
    p += 8;
    return any != 0;
}
#endif

#if defined(__arm__) || !defined(__SSE2__)
// The index of the first non-zero word of the step from p, one of which is non-zero.
inline uint32_t firstInStep(uint32_t const* p) {
    uint32_t i = 0;
    while (p[i] == 0)
        ++i;
    return i;
}
#endif

// The first non-zero word in [w, end), or end. Lowest-first handing out leaves long runs of
// taken numbers at the bottom of the bag, and whole steps of zero words go by in a tight loop.
uint32_t skipZeroWords(uint32_t const* words, uint32_t w, uint32_t end) {
    uint32_t const* p = words + w;
    for (uint32_t steps = (end - w) / kWordsPerStep; steps != 0; --steps) {
        if (anyInStep(p)) {
            p -= kWordsPerStep;
            return static_cast<uint32_t>(p - words) + firstInStep(p);
        }
    }
    uint32_t const* const stop = words + end;
    while (p != stop && *p == 0)
        ++p;
    return static_cast<uint32_t>(p - words);
}

// The first free offset at or above from: from's word from its bit, then whole words up to
// lastWord.
bool findFree(uint32_t const* words, uint32_t from, uint32_t lastWord, uint32_t& found) {
    uint32_t w = from / 32;
    uint32_t const bits = words[w] & (kAllBits << (from % 32));
    if (bits == 0) {
        w = skipZeroWords(words, w + 1, lastWord + 1);
        if (w > lastWord)
            return false;
    }
    found = w * 32 + lowestBit(bits != 0 ? bits : words[w]);
    return true;
}

// The first free pair at or above from, searched as findFree does; from is at an even offset.
bool findFreePair(uint32_t const* words, uint32_t from, uint32_t lastWord, uint32_t& found) {
    uint32_t w = from / 32;
    uint32_t startBits = kAllBits << (from % 32);
    for (;;) {
        uint32_t const word = words[w];
        uint32_t const pairs = word & (word >> 1) & kPairStarts & startBits;
        if (pairs != 0) {
            found = w * 32 + lowestBit(pairs);
            return true;
        }
        if (w >= lastWord)
            return false;
        ++w;
        startBits = kAllBits;
    }
}

using Finder = bool (*)(uint32_t const*, uint32_t, uint32_t, uint32_t&);

// Round-robin within [low, high] by offsets: ahead from start up to high, then round from
// low to just below start. No offset outside [low, high] is ever found.
bool findRoundRobin(Finder find, uint32_t const* words, uint32_t low, uint32_t start, uint32_t high,
                    uint32_t& found) {
    if (find(words, start, high / 32, found) && found <= high)
        return true;
    return find(words, low, start / 32, found) && found < start;
}

} // namespace

NumberBag::NumberBag(unsigned long first, unsigned long last)
    : bitmap(nullptr), firstNumber(saturate32(first)), lastNumber(saturate32(last)), numberCount(0),
      wordCount(0) {
    // Outside the range model (empty, reversed, or all 2^32 numbers, whose count wraps to 0
    // in 32 bits): the bag stays empty rather than guessing at a range.
    if (!fits32(first) || firstNumber > lastNumber || lastNumber - firstNumber == kAllBits)
        return;
    uint32_t const count = lastNumber - firstNumber + 1;
    uint32_t const words = count / 32 + 1;
    bitmap = new (std::nothrow) uint32_t[words];
    if (bitmap == nullptr)
        return;
    numberCount = count;
    wordCount = words;
    for (uint32_t w = 0; w + 1 < words; ++w)
        bitmap[w] = kAllBits;
    // The last word is always there; when the count is a multiple of 32 it holds no number.
    uint32_t const rest = count % 32;
    bitmap[words - 1] = rest == 0 ? 0 : kAllBits >> (32 - rest);
}

NumberBag::~NumberBag() { delete[] bitmap; }

bool NumberBag::getNumber(unsigned long* number) {
    if (number == nullptr || bitmap == nullptr)
        return false;
    uint32_t const w = skipZeroWords(bitmap, 0, wordCount);
    if (w == wordCount)
        return false;
    uint32_t const offset = w * 32 + lowestBit(bitmap[w]);
    takeBits(bitmap, offset, 1);
    *number = firstNumber + offset;
    return true;
}

bool NumberBag::getNumber(unsigned long number) {
    if (!isInBag(number))
        return false;
    takeBits(bitmap, static_cast<uint32_t>(number) - firstNumber, 1);
    return true;
}

bool NumberBag::getNumberInRange(unsigned long lo, unsigned long hi, unsigned long* number) {
    uint32_t low, high, found;
    if (number == nullptr || bitmap == nullptr ||
        !clampBounds(lo, hi, firstNumber, lastNumber, low, high))
        return false;
    uint32_t const highOffset = high - firstNumber;
    if (!findFree(bitmap, low - firstNumber, highOffset / 32, found) || found > highOffset)
        return false;
    takeBits(bitmap, found, 1);
    *number = firstNumber + found;
    return true;
}

bool NumberBag::getNumberRoundRobin(unsigned long* number) {
    if (number == nullptr || bitmap == nullptr)
        return false;
    // The cursor wraps at 2^32 as on the device: after 0xFFFFFFFF comes 0.
    uint32_t start = static_cast<uint32_t>(*number) + 1;
    if (start < firstNumber || start > lastNumber)
        start = firstNumber;
    uint32_t const startOffset = start - firstNumber;
    uint32_t const w0 = startOffset / 32;
    uint32_t w = w0;
    uint32_t bits = bitmap[w0] & (kAllBits << (startOffset % 32));
    // Word w0 comes round again last, whole, for the free numbers below start.
    while (bits == 0) {
        w = (w + 1) % wordCount;
        bits = bitmap[w];
        if (bits == 0 && w == w0)
            return false;
    }
    uint32_t const offset = w * 32 + lowestBit(bits);
    takeBits(bitmap, offset, 1);
    *number = firstNumber + offset;
    return true;
}

bool NumberBag::getNumberInRangeRoundRobin(unsigned long lo, unsigned long hi,
                                           unsigned long* number) {
    uint32_t low, high, found;
    if (number == nullptr || bitmap == nullptr ||
        !clampBounds(lo, hi, firstNumber, lastNumber, low, high))
        return false;
    uint32_t start = static_cast<uint32_t>(*number) + 1;
    if (start < low || start > high)
        start = low;
    if (!findRoundRobin(findFree, bitmap, low - firstNumber, start - firstNumber,
                        high - firstNumber, found))
        return false;
    takeBits(bitmap, found, 1);
    *number = firstNumber + found;
    return true;
}

bool NumberBag::getNumberPairInRangeRoundRobin(unsigned long lo, unsigned long hi,
                                               unsigned long* number) {
    uint32_t low, high, found;
    // A pair needs two numbers of the clamped range; testing that before taking high - 1
    // keeps a high of 0 from wrapping round to the top of the 32-bit space.
    if (number == nullptr || bitmap == nullptr ||
        !clampBounds(lo, hi, firstNumber, lastNumber, low, high) || low == high)
        return false;
    uint32_t const pairMax = high - 1;
    // Pairs begin at even offsets from firstNumber, whatever the lower bound: an odd one
    // is raised to the next even offset.
    low += (low - firstNumber) % 2;
    if (low > pairMax)
        return false;
    uint32_t start = static_cast<uint32_t>(*number) + 2;
    start += (start - firstNumber) % 2;
    if (start < low || start > pairMax)
        start = low;
    if (!findRoundRobin(findFreePair, bitmap, low - firstNumber, start - firstNumber,
                        pairMax - firstNumber, found))
        return false;
    takeBits(bitmap, found, 3);
    *number = firstNumber + found;
    return true;
}

bool NumberBag::returnNumber(unsigned long number) {
    if (bitmap == nullptr || !fits32(number))
        return false;
    uint32_t const n = static_cast<uint32_t>(number);
    if (n < firstNumber || n > lastNumber || isInBag(number))
        return false;
    uint32_t const offset = n - firstNumber;
    bitmap[offset / 32] |= 1u << (offset % 32);
    return true;
}

bool NumberBag::isInBag(unsigned long number) {
    if (bitmap == nullptr || !fits32(number))
        return false;
    uint32_t const n = static_cast<uint32_t>(number);
    if (n < firstNumber || n > lastNumber)
        return false;
    uint32_t const offset = n - firstNumber;
    return (bitmap[offset / 32] >> (offset % 32) & 1u) != 0;
}
