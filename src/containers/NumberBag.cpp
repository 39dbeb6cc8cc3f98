// Pool of numbers kept as a bitmap, one bit per number, 1 = free.
#include <orvik_utilities/containers/NumberBag.h>

#include <new>

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

// [lo, hi] within [first, last]; false when nothing is left of it.
bool clampBounds(unsigned long lo, unsigned long hi, uint32_t first, uint32_t last, uint32_t& low,
                 uint32_t& high) {
    if (!fits32(lo))
        return false;
    low = static_cast<uint32_t>(lo) > first ? static_cast<uint32_t>(lo) : first;
    high = saturate32(hi) < last ? saturate32(hi) : last;
    return low <= high;
}

// Beside the bitmap, in the same allocation, a summary with one bit per bitmap word (1 =
// the word is not zero) lets every search step over 32 words of taken numbers at a time:
// lowest-first handing out leaves long runs of them at the bottom of the bag. The summary
// lives past the words the bag's fields describe, so its layout stays as it always was.
struct Bitmap {
    uint32_t* words;
    uint32_t* summary;

    void take(uint32_t offset, uint32_t bits) const {
        uint32_t const w = offset / 32;
        words[w] &= ~(bits << (offset % 32));
        if (words[w] == 0)
            summary[w / 32] &= ~(1u << (w % 32));
    }
    void give(uint32_t offset) const {
        uint32_t const w = offset / 32;
        words[w] |= 1u << (offset % 32);
        summary[w / 32] |= 1u << (w % 32);
    }

    // The first non-zero word in [from, end), or end.
    uint32_t nextWord(uint32_t from, uint32_t end) const {
        if (from >= end)
            return end;
        uint32_t s = from / 32;
        uint32_t const lastS = (end - 1) / 32;
        uint32_t bits = summary[s] & (kAllBits << (from % 32));
        while (bits == 0) {
            if (s == lastS)
                return end;
            bits = summary[++s];
        }
        uint32_t const w = s * 32 + lowestBit(bits);
        return w < end ? w : end;
    }
};

uint32_t summaryWordsFor(uint32_t words) { return words / 32 + 1; }

Bitmap bitmapOf(uint32_t* words, uint32_t wordCount) { return {words, words + wordCount}; }

// The first free offset at or above from: from's word from its bit, then whole words up to
// lastWord.
bool findFree(Bitmap const& map, uint32_t from, uint32_t lastWord, uint32_t& found) {
    uint32_t w = from / 32;
    uint32_t bits = map.words[w] & (kAllBits << (from % 32));
    if (bits == 0) {
        w = map.nextWord(w + 1, lastWord + 1);
        if (w > lastWord)
            return false;
        bits = map.words[w];
    }
    found = w * 32 + lowestBit(bits);
    return true;
}

// The first free pair at or above from, searched as findFree does; from is at an even offset.
bool findFreePair(Bitmap const& map, uint32_t from, uint32_t lastWord, uint32_t& found) {
    uint32_t w = from / 32;
    uint32_t startBits = kAllBits << (from % 32);
    for (;;) {
        uint32_t const word = map.words[w];
        uint32_t const pairs = word & (word >> 1) & kPairStarts & startBits;
        if (pairs != 0) {
            found = w * 32 + lowestBit(pairs);
            return true;
        }
        w = map.nextWord(w + 1, lastWord + 1);
        if (w > lastWord)
            return false;
        startBits = kAllBits;
    }
}

using Finder = bool (*)(Bitmap const&, uint32_t, uint32_t, uint32_t&);

// Round-robin within [low, high] by offsets: ahead from start up to high, then round from
// low to just below start. No offset outside [low, high] is ever found.
bool findRoundRobin(Finder find, Bitmap const& map, uint32_t low, uint32_t start, uint32_t high,
                    uint32_t& found) {
    if (find(map, start, high / 32, found) && found <= high)
        return true;
    return find(map, low, start / 32, found) && found < start;
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
    uint32_t const summaryWords = summaryWordsFor(words);
    bitmap = new (std::nothrow) uint32_t[words + summaryWords];
    if (bitmap == nullptr)
        return;
    numberCount = count;
    wordCount = words;
    for (uint32_t w = 0; w + 1 < words; ++w)
        bitmap[w] = kAllBits;
    // The last word is always there; when the count is a multiple of 32 it holds no number.
    uint32_t const rest = count % 32;
    bitmap[words - 1] = rest == 0 ? 0 : kAllBits >> (32 - rest);
    Bitmap const map = bitmapOf(bitmap, wordCount);
    for (uint32_t s = 0; s < summaryWords; ++s)
        map.summary[s] = 0;
    for (uint32_t w = 0; w < words; ++w) {
        if (bitmap[w] != 0)
            map.summary[w / 32] |= 1u << (w % 32);
    }
}

NumberBag::~NumberBag() { delete[] bitmap; }

bool NumberBag::getNumber(unsigned long* number) {
    if (number == nullptr || bitmap == nullptr)
        return false;
    Bitmap const map = bitmapOf(bitmap, wordCount);
    uint32_t const w = map.nextWord(0, wordCount);
    if (w == wordCount)
        return false;
    uint32_t const offset = w * 32 + lowestBit(bitmap[w]);
    map.take(offset, 1);
    *number = firstNumber + offset;
    return true;
}

bool NumberBag::getNumber(unsigned long number) {
    if (!isInBag(number))
        return false;
    bitmapOf(bitmap, wordCount).take(static_cast<uint32_t>(number) - firstNumber, 1);
    return true;
}

bool NumberBag::getNumberInRange(unsigned long lo, unsigned long hi, unsigned long* number) {
    uint32_t low, high, found;
    if (number == nullptr || bitmap == nullptr ||
        !clampBounds(lo, hi, firstNumber, lastNumber, low, high))
        return false;
    Bitmap const map = bitmapOf(bitmap, wordCount);
    uint32_t const highOffset = high - firstNumber;
    if (!findFree(map, low - firstNumber, highOffset / 32, found) || found > highOffset)
        return false;
    map.take(found, 1);
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
    Bitmap const map = bitmapOf(bitmap, wordCount);
    uint32_t w = w0;
    uint32_t bits = bitmap[w0] & (kAllBits << (startOffset % 32));
    // Word w0 comes round again last, whole, for the free numbers below start.
    if (bits == 0) {
        w = map.nextWord(w0 + 1, wordCount);
        if (w == wordCount && (w = map.nextWord(0, w0 + 1)) > w0)
            return false;
        bits = bitmap[w];
    }
    uint32_t const offset = w * 32 + lowestBit(bits);
    map.take(offset, 1);
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
    Bitmap const map = bitmapOf(bitmap, wordCount);
    if (!findRoundRobin(findFree, map, low - firstNumber, start - firstNumber, high - firstNumber,
                        found))
        return false;
    map.take(found, 1);
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
    Bitmap const map = bitmapOf(bitmap, wordCount);
    if (!findRoundRobin(findFreePair, map, low - firstNumber, start - firstNumber,
                        pairMax - firstNumber, found))
        return false;
    map.take(found, 3);
    *number = firstNumber + found;
    return true;
}

bool NumberBag::returnNumber(unsigned long number) {
    if (bitmap == nullptr || !fits32(number))
        return false;
    uint32_t const n = static_cast<uint32_t>(number);
    if (n < firstNumber || n > lastNumber || isInBag(number))
        return false;
    bitmapOf(bitmap, wordCount).give(n - firstNumber);
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
