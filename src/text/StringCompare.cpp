// String comparison, ordering and search: the read-only half of String.
#include <orvik_utilities/text/Format.h>
#include <orvik_utilities/text/String.h>

#include "internal/CheckedSize.h"
#include "internal/StringAccess.h"

#include <string.h> // memrchr, memmem (GNU)

#include <cstring>

#if defined(__x86_64__)
#include <cpuid.h>

#include <atomic>
#endif

using orvik::detail::clampToInt32;
using orvik::detail::StringAccess;

namespace {

bool sameBuffer(String const& a, String const& b) {
    return StringAccess::buffer(a) == StringAccess::buffer(b);
}

char const* textOf(String const& s) { return StringAccess::text(s); }
int32_t lengthOf(String const& s) { return StringAccess::length(s); }
std::size_t bytes(int32_t n) { return static_cast<std::size_t>(n); }

// The magnitude of strcmp's result is the C library's choice and may differ between the
// targets; passing on only the sign keeps compareTo the same everywhere.
int signOf(int value) { return (value > 0) - (value < 0); }

long positionOf(char const* text, void const* found) {
    return found == nullptr ? -1 : static_cast<char const*>(found) - text;
}

// The bytes strstr and strcmp see of a needle: those before its first NUL.
int32_t visibleLength(char const* text, int32_t length) {
    void const* nul = std::memchr(text, '\0', bytes(length));
    return nul == nullptr ? length : static_cast<int32_t>(static_cast<char const*>(nul) - text);
}

// strstr(text + from, needle) as a position in text. memmem over the known length avoids
// strstr's scan of the haystack for its terminator; strstr stops at the first NUL after
// from, so a hit is kept only when no NUL lies between from and it (the needle, cut at its
// own NUL, holds none).
long forwardSearch(char const* text, int32_t length, int32_t from, char const* needle,
                   int32_t needleLength) {
    int32_t visible = visibleLength(needle, needleLength);
    char const* start = text + from;
    void const* hit = memmem(start, bytes(length - from), needle, bytes(visible));
    if (hit == nullptr)
        return -1;
    std::size_t before = bytes(static_cast<int32_t>(static_cast<char const*>(hit) - start));
    if (std::memchr(start, '\0', before) != nullptr)
        return -1;
    return positionOf(text, hit);
}

// The last p <= last where the needle's bytes stand at text + p; last + needleLength must
// not pass the text's length. A NUL-free needle only matches NUL-free bytes, so this is
// exactly the position at which strstr(text + p, needle) returns text + p.
long backwardSearch(char const* text, int32_t last, char const* needle, int32_t needleLength) {
    if (needleLength == 0)
        return last;
    std::size_t span = bytes(last) + 1;
    std::size_t rest = bytes(needleLength - 1);
    while (span > 0) {
        void const* hit = memrchr(text, needle[0], span);
        if (hit == nullptr)
            return -1;
        char const* p = static_cast<char const*>(hit);
        if (std::memcmp(p + 1, needle + 1, rest) == 0)
            return p - text;
        span = static_cast<std::size_t>(p - text);
    }
    return -1;
}

// The other case of an ASCII letter, or the byte itself.
char otherCase(char c) {
    auto const u = static_cast<unsigned char>(c);
    if ((u | 0x20u) >= 'a' && (u | 0x20u) <= 'z')
        return static_cast<char>(u ^ 0x20u);
    return c;
}

// The case-insensitive scans: strnicmp over the needle's length at each candidate. A match
// must start with the needle's first byte in either case, so candidates come from memchr
// (or memrchr) for both forms; each form is searched again only once the scan has passed
// its last hit, which keeps the whole scan linear.
long foldedSearchForward(char const* text, int32_t first, int32_t last, char const* needle,
                         int32_t needleLength) {
    if (needleLength == 0)
        return first <= last ? first : -1;
    if (first > last)
        return -1;
    char const forms[2] = {needle[0], otherCase(needle[0])};
    int const formCount = forms[0] == forms[1] ? 1 : 2;
    char const* const end = text + last + 1;
    auto find = [end](char const* from, char c) {
        return from < end ? static_cast<char const*>(
                                std::memchr(from, c, static_cast<std::size_t>(end - from)))
                          : nullptr;
    };
    char const* next[2] = {find(text + first, forms[0]),
                           formCount == 2 ? find(text + first, forms[1]) : nullptr};
    for (;;) {
        char const* candidate = next[0];
        if (next[1] != nullptr && (candidate == nullptr || next[1] < candidate))
            candidate = next[1];
        if (candidate == nullptr)
            return -1;
        if (strnicmp(candidate, needle, static_cast<uint32_t>(needleLength)) == 0)
            return candidate - text;
        for (int k = 0; k < formCount; ++k) {
            if (next[k] == candidate)
                next[k] = find(candidate + 1, forms[k]);
        }
    }
}

long foldedSearchBackward(char const* text, int32_t last, char const* needle,
                          int32_t needleLength) {
    if (needleLength == 0)
        return last;
    if (last < 0)
        return -1;
    char const forms[2] = {needle[0], otherCase(needle[0])};
    int const formCount = forms[0] == forms[1] ? 1 : 2;
    // Candidates lie before limit, which moves down to each candidate tried.
    auto find = [text](char const* limit, char c) {
        return limit > text ? static_cast<char const*>(
                                  memrchr(text, c, static_cast<std::size_t>(limit - text)))
                            : nullptr;
    };
    char const* const start = text + last + 1;
    char const* next[2] = {find(start, forms[0]), formCount == 2 ? find(start, forms[1]) : nullptr};
    for (;;) {
        char const* candidate = next[0];
        if (next[1] != nullptr && (candidate == nullptr || next[1] > candidate))
            candidate = next[1];
        if (candidate == nullptr)
            return -1;
        if (strnicmp(candidate, needle, static_cast<uint32_t>(needleLength)) == 0)
            return candidate - text;
        for (int k = 0; k < formCount; ++k) {
            if (next[k] == candidate)
                next[k] = find(candidate, forms[k]);
        }
    }
}

#if defined(__x86_64__)
// On x86_64 hosts the C library's folding comparisons are vector code, and equality ignoring
// case should keep pace with them: long stretches that match are skipped with SSE2 (always
// there) or AVX2 (when the processor has it), and strnicmp judges only the first block that
// does not. The device has no vector unit; there strnicmp's byte loop is used as it is.
using Bytes16 = unsigned char __attribute__((vector_size(16)));
using SignedBytes16 = signed char __attribute__((vector_size(16)));
using Bytes32 = unsigned char __attribute__((vector_size(32)));
using SignedBytes32 = signed char __attribute__((vector_size(32)));
constexpr std::size_t kFoldBlock = 64;

// SSE2 has no test of a whole register: the two halves are combined in general registers.
inline bool allZero(Bytes16 const& v) {
    uint64_t words[2];
    std::memcpy(words, &v, sizeof words);
    return (words[0] | words[1]) == 0;
}

// By reference: a 256-bit vector passed by value needs the AVX calling convention.
__attribute__((target("avx2"))) inline bool allZero(Bytes32 const& v) {
    using Words = long long __attribute__((vector_size(32)));
    auto const words = reinterpret_cast<Words>(v);
    return __builtin_ia32_ptestz256(words, words) != 0;
}

// The length, in whole blocks, of the leading part in which a and b differ at most in the
// case of 'A'-'Z'. A byte pair may differ only in the case bit, and only where the byte of a
// is a letter; adding 0x1f after forcing the case bit moves 'a'..'z' to the bottom of the
// signed byte range, so one signed compare recognises them.
template <typename Bytes, typename SignedBytes>
__attribute__((always_inline)) inline std::size_t
caseBlindBlocks(unsigned char const* a, unsigned char const* b, std::size_t n) {
    std::size_t done = 0;
    for (; n - done >= kFoldBlock; done += kFoldBlock) {
        Bytes differs = {};
        for (std::size_t k = 0; k < kFoldBlock; k += sizeof(Bytes)) {
            Bytes x, y;
            std::memcpy(&x, a + done + k, sizeof x);
            std::memcpy(&y, b + done + k, sizeof y);
            auto shifted = reinterpret_cast<SignedBytes>((x | 0x20) + 0x1f);
            auto letter = reinterpret_cast<Bytes>(shifted < -128 + 26);
            differs |= (x ^ y) & ~(letter & 0x20);
        }
        if (!allZero(differs))
            break;
    }
    return done;
}

using BlockScan = std::size_t (*)(unsigned char const*, unsigned char const*, std::size_t);

std::size_t caseBlindSse2(unsigned char const* a, unsigned char const* b, std::size_t n) {
    return caseBlindBlocks<Bytes16, SignedBytes16>(a, b, n);
}

__attribute__((target("avx2"))) std::size_t caseBlindAvx2(unsigned char const* a,
                                                          unsigned char const* b, std::size_t n) {
    return caseBlindBlocks<Bytes32, SignedBytes32>(a, b, n);
}

// AVX2 needs the instructions and the operating system saving the 256-bit registers. Asked
// with cpuid directly: the compiler's CPU-model helpers bring a static constructor along.
bool haveAvx2() {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx) || (ecx & bit_OSXSAVE) == 0)
        return false;
    unsigned savedLow = 0, savedHigh = 0;
    __asm__("xgetbv" : "=a"(savedLow), "=d"(savedHigh) : "c"(0));
    constexpr unsigned kSseAndAvxState = 0x6;
    return (savedLow & kSseAndAvxState) == kSseAndAvxState &&
           __get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) && (ebx & bit_AVX2) != 0;
}

std::size_t caseBlindPrefix(unsigned char const* a, unsigned char const* b, std::size_t n) {
    // Chosen on first use and kept, since cpuid costs more than most comparisons. Any
    // thread may be first; each would store the same choice, so relaxed order suffices.
    static std::atomic<BlockScan> chosen{nullptr};
    BlockScan scan = chosen.load(std::memory_order_relaxed);
    if (scan == nullptr) {
        scan = haveAvx2() ? caseBlindAvx2 : caseBlindSse2;
        chosen.store(scan, std::memory_order_relaxed);
    }
    return scan(a, b, n);
}

// strnicmp(a, b, n) == 0. A NUL in the blocks skipped means strnicmp would have stopped
// there, equal, before reaching the block that differs.
bool equalIgnoringCase(char const* a, char const* b, std::size_t n) {
    auto const* x = reinterpret_cast<unsigned char const*>(a);
    auto const* y = reinterpret_cast<unsigned char const*>(b);
    // Short texts stay with SSE2: choosing the wider code costs more than it saves there.
    std::size_t same = n < 4 * kFoldBlock ? caseBlindSse2(x, y, n) : caseBlindPrefix(x, y, n);
    if (same == n)
        return true;
    return strnicmp(a + same, b + same, static_cast<uint32_t>(n - same)) == 0 ||
           std::memchr(a, '\0', same) != nullptr;
}
#else
bool equalIgnoringCase(char const* a, char const* b, std::size_t n) {
    return strnicmp(a, b, static_cast<uint32_t>(n)) == 0;
}
#endif

int32_t atLeastZero(int32_t value) { return value < 0 ? 0 : value; }
int32_t smaller(int32_t a, int32_t b) { return a < b ? a : b; }

// True when [offset, offset + count) lies inside a text of the given length. Summed in 64
// bits: on the device offset + count can pass 2^31, which must not wrap back into range.
bool rangeInside(int64_t offset, int64_t count, int32_t length) {
    return offset >= 0 && offset + count <= length;
}

// A null operand is the empty text, judged by the length: a text that starts with a NUL
// byte is still longer than nothing.
int compareTexts(String const& left, char const* right) {
    if (right == nullptr)
        return lengthOf(left) > 0 ? 1 : 0;
    return std::strcmp(textOf(left), right);
}

} // namespace

// ---- comparison ---------------------------------------------------------------------------

int String::compareTo(String const& other) const {
    if (sameBuffer(*this, other))
        return 0;
    return signOf(std::strcmp(textOf(other), textOf(*this)));
}

int String::compareToIgnoreCase(String const& other) const {
    if (sameBuffer(*this, other))
        return 0;
    return stricmp(textOf(other), textOf(*this));
}

bool String::equals(String const& other) const {
    if (sameBuffer(*this, other))
        return true;
    int32_t n = lengthOf(*this);
    return n == lengthOf(other) && std::memcmp(textOf(*this), textOf(other), bytes(n)) == 0;
}

bool String::equals(char const* text) const {
    if (text == nullptr)
        return lengthOf(*this) == 0;
    return std::strcmp(textOf(*this), text) == 0;
}

bool String::equalsIgnoreCase(String const& other) const {
    if (sameBuffer(*this, other))
        return true;
    int32_t n = lengthOf(*this);
    if (n != lengthOf(other))
        return false;
    return equalIgnoringCase(textOf(*this), textOf(other), bytes(n));
}

bool String::equalsIgnoreCase(char const* text) const {
    if (text == nullptr)
        return lengthOf(*this) == 0;
    return stricmp(textOf(*this), text) == 0;
}

bool String::startsWith(String const& prefix) const { return startsWith(prefix, 0); }

bool String::startsWith(String const& prefix, long offset) const {
    int32_t from = clampToInt32(offset);
    int32_t n = lengthOf(prefix);
    if (from < 0 || lengthOf(*this) - from < n)
        return false;
    return std::memcmp(textOf(*this) + from, textOf(prefix), bytes(n)) == 0;
}

bool String::endsWith(String const& suffix) const {
    int32_t n = lengthOf(suffix);
    int32_t from = lengthOf(*this) - n;
    return from >= 0 && std::memcmp(textOf(*this) + from, textOf(suffix), bytes(n)) == 0;
}

bool String::regionMatches(bool ignoreCase, long offset, String const& other, long otherOffset,
                           long count) const {
    int32_t n = clampToInt32(count);
    int32_t own = clampToInt32(offset);
    int32_t theirs = clampToInt32(otherOffset);
    if (n < 0 || !rangeInside(own, n, lengthOf(*this)) || !rangeInside(theirs, n, lengthOf(other)))
        return false;
    char const* a = textOf(*this) + own;
    char const* b = textOf(other) + theirs;
    if (ignoreCase)
        return strnicmp(a, b, static_cast<uint32_t>(n)) == 0;
    return std::strncmp(a, b, bytes(n)) == 0;
}

bool String::regionMatches(long offset, String const& other, long otherOffset, long count) const {
    return regionMatches(false, offset, other, otherOffset, count);
}

long String::getChars(long begin, long end, char* destination) const {
    if (destination == nullptr)
        return 0;
    int32_t n = lengthOf(*this);
    int32_t from = smaller(atLeastZero(clampToInt32(begin)), n);
    int32_t to = clampToInt32(end);
    to = to < from ? from : smaller(to, n);
    // The destination may be this String's own buffer.
    std::memmove(destination, textOf(*this) + from, bytes(to - from));
    return to - from;
}

// ---- search -------------------------------------------------------------------------------

long String::indexOf(char c) const {
    if (c == '\0')
        return -1;
    return positionOf(textOf(*this), std::strchr(textOf(*this), c));
}

long String::indexOf(char c, long fromIndex) const {
    int32_t from = clampToInt32(fromIndex);
    if (c == '\0' || from >= lengthOf(*this))
        return -1;
    return positionOf(textOf(*this), std::strchr(textOf(*this) + atLeastZero(from), c));
}

long String::indexOf(String const& text) const {
    return forwardSearch(textOf(*this), lengthOf(*this), 0, textOf(text), lengthOf(text));
}

long String::indexOf(String const& text, long fromIndex) const {
    int32_t from = clampToInt32(fromIndex);
    int32_t length = lengthOf(*this);
    if (length - lengthOf(text) < from)
        return -1;
    return forwardSearch(textOf(*this), length, atLeastZero(from), textOf(text), lengthOf(text));
}

long String::indexOfIgnoreCase(String const& text) const { return indexOfIgnoreCase(text, 0); }

long String::indexOfIgnoreCase(String const& text, long fromIndex) const {
    int32_t from = clampToInt32(fromIndex);
    int32_t last = lengthOf(*this) - lengthOf(text);
    if (last < from)
        return -1;
    return foldedSearchForward(textOf(*this), atLeastZero(from), last, textOf(text),
                               lengthOf(text));
}

long String::lastIndexOf(char c) const {
    return positionOf(textOf(*this), memrchr(textOf(*this), c, bytes(lengthOf(*this))));
}

long String::lastIndexOf(char c, long fromIndex) const {
    int32_t from = clampToInt32(fromIndex);
    if (from < 0)
        return -1;
    int32_t span = smaller(from, lengthOf(*this) - 1) + 1;
    return positionOf(textOf(*this), memrchr(textOf(*this), c, bytes(span)));
}

long String::lastIndexOf(String const& text) const {
    char const* own = textOf(*this);
    int32_t length = lengthOf(*this);
    int32_t start = length - lengthOf(text);
    if (start < 0)
        return -1;
    char const* needle = textOf(text);
    int32_t visible = visibleLength(needle, lengthOf(text));
    // The backward walk asks strstr whether the tail from p holds the needle anywhere.
    // The first tail tried is the argument's full length long; when the argument has a NUL
    // strstr looks for less than that, so a hit anywhere in that tail (up to its first NUL)
    // answers with the tail's start. Every later step adds one character in front of a tail
    // known to be free of the needle, so a hit there is an occurrence starting at p.
    if (visible < lengthOf(text)) {
        int32_t tail = visibleLength(own + start, length - start);
        if (memmem(own + start, bytes(tail), needle, bytes(visible)) != nullptr)
            return start;
        if (start == 0)
            return -1;
        return backwardSearch(own, start - 1, needle, visible);
    }
    return backwardSearch(own, start, needle, visible);
}

long String::lastIndexOf(String const& text, long fromIndex) const {
    int32_t from = clampToInt32(fromIndex);
    if (from < 0)
        return -1;
    int32_t start = smaller(from, lengthOf(*this) - lengthOf(text));
    if (start < 0)
        return -1;
    char const* needle = textOf(text);
    return backwardSearch(textOf(*this), start, needle, visibleLength(needle, lengthOf(text)));
}

long String::lastIndexOfIgnoreCase(String const& text) const {
    int32_t start = lengthOf(*this) - lengthOf(text);
    if (start < 0)
        return -1;
    return foldedSearchBackward(textOf(*this), start, textOf(text), lengthOf(text));
}

long String::lastIndexOfIgnoreCase(String const& text, long fromIndex) const {
    int32_t from = clampToInt32(fromIndex);
    if (from < 0)
        return -1;
    int32_t start = smaller(from, lengthOf(*this) - lengthOf(text));
    if (start < 0)
        return -1;
    return foldedSearchBackward(textOf(*this), start, textOf(text), lengthOf(text));
}

// ---- free comparison operators --------------------------------------------------------------

bool operator==(String const& left, String const& right) {
    if (sameBuffer(left, right))
        return true;
    return lengthOf(left) == lengthOf(right) && std::strcmp(textOf(left), textOf(right)) == 0;
}

bool operator!=(String const& left, String const& right) { return !(left == right); }

bool operator<(String const& left, String const& right) {
    return !sameBuffer(left, right) && std::strcmp(textOf(left), textOf(right)) < 0;
}

bool operator>(String const& left, String const& right) {
    return !sameBuffer(left, right) && std::strcmp(textOf(left), textOf(right)) > 0;
}

bool operator<=(String const& left, String const& right) { return !(left > right); }

bool operator>=(String const& left, String const& right) { return !(left < right); }

bool operator==(String const& left, char const* right) { return compareTexts(left, right) == 0; }

bool operator==(char const* left, String const& right) { return right == left; }

bool operator!=(String const& left, char const* right) { return compareTexts(left, right) != 0; }

bool operator!=(char const* left, String const& right) { return right != left; }

bool operator<(String const& left, char const* right) { return compareTexts(left, right) < 0; }

bool operator<(char const* left, String const& right) { return compareTexts(right, left) > 0; }

bool operator>(String const& left, char const* right) { return compareTexts(left, right) > 0; }

bool operator>(char const* left, String const& right) { return compareTexts(right, left) < 0; }

bool operator<=(String const& left, char const* right) { return compareTexts(left, right) <= 0; }

bool operator<=(char const* left, String const& right) { return compareTexts(right, left) >= 0; }

bool operator>=(String const& left, char const* right) { return compareTexts(left, right) >= 0; }

bool operator>=(char const* left, String const& right) { return compareTexts(right, left) <= 0; }

bool operator==(String const& left, char right) {
    if (right == '\0')
        return lengthOf(left) == 0;
    return lengthOf(left) == 1 && textOf(left)[0] == right;
}

bool operator==(char left, String const& right) { return right == left; }

bool operator!=(String const& left, char right) { return !(left == right); }

bool operator!=(char left, String const& right) { return !(right == left); }
