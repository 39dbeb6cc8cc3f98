// libFuzzer target for the formatting engine: formats from fuzz bytes, each argument slot
// filled with what its directive reads, and the counting and storing runs cross-checked,
// "%n" reports included.
#include <orvik_utilities/text/Format.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t kMaxFormat = 512;
constexpr std::size_t kSlots = 24;
// Widths and precisions of at most three digits keep one run below a megabyte.
constexpr int kMaxDigits = 3;

int const kStarValues[] = {0, 1, -1, 5, -7, 12, 40, -40, INT_MIN};
uint32_t const kNumbers[] = {0,       1,          9,          10,         0x7F,
                             0x80,    0xFF,       0x7FFF,     0x8000,     0xFFFF,
                             0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 1234567890};
// Texts longer than 16 characters are measured by the C library rather than inline.
char const* const kTexts[] = {"", "x", "hello world", nullptr, "a text of more than sixteen"};
// No terminator: only a "%s" whose precision stays within it may be given this one.
char const kUnterminated[24] = {'u', 'n', 't', 'e', 'r', 'm', 'i', 'n', 'a', 't', 'e', 'd',
                                '-', 'b', 'u', 'f', 'f', 'e', 'r', '-', '-', '-', '-', '!'};

// Each "%n" slot reports into its own cell, so every report can be checked.
int counts[kSlots];
short shortCounts[kSlots];

// Copies the fuzz bytes into a format and, following the directive grammar, gives each
// argument slot a value of the type its directive reads.
class Preparer {
public:
    char format[kMaxFormat + 1];
    intptr_t slots[kSlots] = {};
    char reports[kSlots] = {}; // 'n' or 'h' for the slot of a "%n" or "%hn"

    Preparer(uint8_t const* data, std::size_t size)
        : in(data), end(data + size), seed(static_cast<uint32_t>(size)) {
        for (std::size_t i = 0; i < size; ++i)
            seed = seed * 31 + data[i];
        while (in < end && *in != 0 && length < kMaxFormat && copyPiece()) {
        }
        format[length] = '\0';
    }

private:
    uint8_t const* in;
    uint8_t const* end;
    std::size_t length = 0;
    std::size_t used = 0;
    uint32_t seed;

    uint32_t next(uint32_t n) {
        seed = seed * 1103515245u + 12345u;
        return (seed >> 8) % n;
    }

    bool more() const { return in < end && *in != 0 && length < kMaxFormat; }
    void copy() { format[length++] = static_cast<char>(*in++); }

    void copyDigits(int& value) {
        value = 0;
        for (int digits = 0; more() && *in >= '0' && *in <= '9'; ++digits) {
            if (digits < kMaxDigits) {
                value = value * 10 + (*in - '0');
                copy();
            } else {
                ++in;
            }
        }
    }

    // Returns false when the slots run out; the directive is then cut off at its '%'.
    bool take(intptr_t value) {
        if (used == kSlots)
            return false;
        slots[used++] = value;
        return true;
    }

    bool copyPiece() {
        if (*in != '%') {
            copy();
            return true;
        }
        std::size_t const start = length;
        copy();
        if (more() && *in == '%') {
            copy();
            return true;
        }
        while (more() && std::strchr("-+ #0", *in) != nullptr)
            copy();
        int unused;
        if (more() && *in == '*') {
            if (!take(kStarValues[next(9)]))
                return cut(start);
            copy();
        } else {
            copyDigits(unused);
        }
        int precision = -1;
        if (more() && *in == '.') {
            copy();
            if (more() && *in == '*') {
                int const value = kStarValues[next(9)];
                if (!take(value))
                    return cut(start);
                precision = value < 0 ? -1 : value;
                copy();
            } else {
                copyDigits(precision);
            }
        }
        bool shortLength = false;
        if (more() && (*in == 'h' || *in == 'l')) {
            shortLength = *in == 'h';
            copy();
        }
        if (!more())
            return true;
        bool ok = true;
        switch (*in) {
        case 'd':
        case 'i':
        case 'o':
        case 'u':
        case 'x':
        case 'X':
        case 'c':
            ok = take(static_cast<intptr_t>(kNumbers[next(15)]));
            break;
        case 'p':
            ok = take(next(4) == 0 ? 0 : reinterpret_cast<intptr_t>(&counts[0]));
            break;
        case 's':
            ok = take(reinterpret_cast<intptr_t>(precision >= 0 && precision <= 24 && next(2) == 0
                                                     ? kUnterminated
                                                     : kTexts[next(5)]));
            break;
        case 'n':
            ok = take(shortLength ? reinterpret_cast<intptr_t>(&shortCounts[used])
                                  : reinterpret_cast<intptr_t>(&counts[used]));
            if (ok)
                reports[used - 1] = shortLength ? 'h' : 'n';
            break;
        default:
            break;
        }
        if (!ok)
            return cut(start);
        copy();
        return true;
    }

    bool cut(std::size_t start) {
        length = start;
        return false;
    }
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
int lengthOf(Preparer const& p) {
    intptr_t const* s = p.slots;
    return strlenf(p.format, s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7], s[8], s[9], s[10],
                   s[11], s[12], s[13], s[14], s[15], s[16], s[17], s[18], s[19], s[20], s[21],
                   s[22], s[23]);
}

int sliceOf(Preparer const& p, char* dest, int32_t skip, uint32_t size) {
    intptr_t const* s = p.slots;
    return snxprintf(dest, skip, size, p.format, s[0], s[1], s[2], s[3], s[4], s[5], s[6], s[7],
                     s[8], s[9], s[10], s[11], s[12], s[13], s[14], s[15], s[16], s[17], s[18],
                     s[19], s[20], s[21], s[22], s[23]);
}
#pragma GCC diagnostic pop

void check(bool condition) {
    if (!condition)
        std::abort();
}

// No run here outputs 32768 characters, so a "%hn" report is never negative and -1 marks
// a report that was not written.
void clearReports() {
    std::memset(counts, 0xFF, sizeof counts);
    std::memset(shortCounts, 0xFF, sizeof shortCounts);
}

// What each "%n" slot reported in the last run; 0 for the other slots.
struct Reports {
    int32_t at[kSlots];
};

Reports reportsOf(Preparer const& p) {
    Reports r{};
    for (std::size_t i = 0; i < kSlots; ++i)
        r.at[i] = p.reports[i] == 'n' ? counts[i] : p.reports[i] == 'h' ? shortCounts[i] : 0;
    return r;
}

// A slice counts skipped characters but not dropped ones: the count stops where the
// buffer fills, after skip + size - 1 characters, and a one-byte buffer drops everything.
void checkReports(Preparer const& p, Reports const& whole, int32_t skip, uint32_t size) {
    int64_t const limit = size == 1 ? 0 : int64_t{skip} + size - 1;
    Reports const r = reportsOf(p);
    for (std::size_t i = 0; i < kSlots; ++i)
        check(r.at[i] == (whole.at[i] < limit ? whole.at[i] : limit));
}

// Each slice goes into a buffer of exactly its size, so a store past it is caught, and
// the bytes after the terminator must keep their old value.
void checkSlice(Preparer const& p, std::vector<char> const& full, Reports const& whole,
                int32_t skip, uint32_t size) {
    std::vector<char> part(size, '\x5A');
    clearReports();
    int const stored = sliceOf(p, part.data(), skip, size);
    auto const length = static_cast<int32_t>(full.size() - 1);
    int32_t const available = skip < length ? length - skip : 0;
    int32_t const expected =
        available < static_cast<int32_t>(size - 1) ? available : static_cast<int32_t>(size - 1);
    check(stored == expected);
    check(std::memcmp(part.data(), full.data() + (skip < length ? skip : length),
                      static_cast<std::size_t>(stored)) == 0);
    check(part[static_cast<std::size_t>(stored)] == '\0');
    for (std::size_t i = static_cast<std::size_t>(stored) + 1; i < size; ++i)
        check(part[i] == '\x5A');
    checkReports(p, whole, skip, size);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size) {
    Preparer const p(data, size);
    clearReports();
    int const length = lengthOf(p);
    check(length >= 0);
    Reports const whole = reportsOf(p);
    for (std::size_t i = 0; i < kSlots; ++i)
        check(whole.at[i] >= 0 && whole.at[i] <= length);

    // The full output, once in a buffer of exactly its size and once with a size that
    // never limits; both must report as the counting run did.
    auto const room = static_cast<uint32_t>(length) + 1;
    std::vector<char> full(room);
    clearReports();
    check(sliceOf(p, full.data(), 0, room) == length);
    check(full[static_cast<std::size_t>(length)] == '\0');
    checkReports(p, whole, 0, room);
    std::vector<char> again(room);
    clearReports();
    check(sliceOf(p, again.data(), 0, UINT32_MAX) == length);
    check(again == full);
    checkReports(p, whole, 0, UINT32_MAX);

    // An invalid slice runs nothing: no store, no terminator, no "%n" report.
    char untouched[4] = {'\x5A', '\x5A', '\x5A', '\x5A'};
    clearReports();
    check(sliceOf(p, untouched, -1 - static_cast<int32_t>(size % 3), 4) == 0);
    check(sliceOf(p, untouched, 0, 0) == 0);
    check(sliceOf(p, nullptr, 0, 4) == 0);
    check(std::memcmp(untouched, "ZZZZ", 4) == 0);
    Reports const none = reportsOf(p);
    for (std::size_t i = 0; i < kSlots; ++i)
        check(p.reports[i] == 0 || none.at[i] == -1);

    uint32_t const mix = static_cast<uint32_t>(size) * 2654435761u;
    checkSlice(p, full, whole, 0, 1);
    checkSlice(p, full, whole, 0, room < 8 ? room : 8);
    checkSlice(p, full, whole, static_cast<int32_t>(mix % room), 1 + (mix >> 16) % (room + 1));
    checkSlice(p, full, whole, static_cast<int32_t>((mix >> 8) % room), 1);
    checkSlice(p, full, whole, length, 4);
    checkSlice(p, full, whole, INT32_MAX, 2);
    return 0;
}
