// String editing and conversion: the changing half of String, plus substrings and stringOf.
#include <orvik_utilities/text/Format.h>
#include <orvik_utilities/text/String.h>

#include "internal/CheckedSize.h"
#include "internal/StringAccess.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

using orvik::detail::addLengths;
using orvik::detail::clampToInt32;
using orvik::detail::StringAccess;
using Buffer = String::StringBuffer;

namespace {

char* textOf(String& s) { return StringAccess::text(StringAccess::buffer(s)); }
char const* textOf(String const& s) { return StringAccess::text(s); }
int32_t lengthOf(String const& s) { return StringAccess::length(s); }
std::size_t bytes(int32_t n) { return static_cast<std::size_t>(n); }
int32_t nearest(int32_t n) { return static_cast<int32_t>(Buffer::NEAREST_VALID_STRING_LENGTH(n)); }

// Case conversion and replace keep the capacity when they copy a shared buffer: the copy
// takes the place of the original, so it should grow no differently. False when the copy
// could not be made.
bool unshare(String& s) {
    Buffer* old = StringAccess::buffer(s);
    if (!old->hasMultipleReferers())
        return true;
    Buffer* copy = new (old->capacity()) Buffer(*old);
    if (copy == nullptr)
        return false;
    StringAccess::adopt(s, copy);
    return true;
}

bool isBlank(char c) {
    auto const byte = static_cast<unsigned char>(c);
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

// Shared by the three inserts: text is n >= 1 bytes, position already checked.
void insertBytes(String& s, int32_t position, char const* text, int32_t n) {
    int32_t const length = lengthOf(s);
    int32_t newLength = 0;
    if (!addLengths(length, n, newLength))
        return;
    if (StringAccess::writableFor(s, newLength)) {
        char* own = textOf(s);
        std::memmove(own + position + n, own + position, bytes(length - position));
        // Inserting a String into itself reads its front, which the move above left alone
        // up to the position and shifted only behind it; memmove keeps the overlap defined.
        std::memmove(own + position, text, bytes(n));
        StringAccess::setLength(s, newLength);
    } else if (Buffer* fresh = StringAccess::make(nearest(newLength), position, textOf(s), n, text,
                                                  length - position, textOf(s) + position)) {
        StringAccess::adopt(s, fresh);
    }
}

// Writes the n characters of the formatted text at destination, which has room for n + 1.
// The characters are the platform's, cut to the engine's count. Where the platform writes
// fewer (or fails), the engine's own output fills the whole field instead, so the text
// never holds bytes nobody wrote and always agrees with its length.
ORVIK_PRINTF_LIKE(3, 0)
void writeFormatted(char* destination, int32_t n, char const* format, va_list args) {
    auto const size = static_cast<uint32_t>(n) + 1;
    va_list platformArgs;
    va_copy(platformArgs, args);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    int const written = std::vsnprintf(destination, size, format, platformArgs);
    va_end(platformArgs);
    if (written < n)
        vsnxprintf(destination, 0, size, format, args);
#pragma GCC diagnostic pop
}

// concatf and format: the formatted text goes after the first keep characters, or, for
// keep -1 (format), replaces the whole text, and a count of 0 then empties it. The
// arguments are read up to three times: counted, written by the platform, and written by
// the engine where the platform falls short.
ORVIK_PRINTF_LIKE(3, 0)
void formatAfter(String& s, int32_t keep, char const* format, va_list args) {
    va_list counting;
    va_copy(counting, args);
    int32_t const n = vstrlenf(format, counting);
    va_end(counting);
    if (n <= 0) {
        if (keep < 0)
            StringAccess::becomeEmpty(s);
        return;
    }
    int32_t const kept = keep < 0 ? 0 : keep;
    int32_t newLength = 0;
    if (!addLengths(kept, n, newLength))
        return;
    // A new buffer is adopted only once it is written, so arguments that point into the
    // old text still read valid memory.
    Buffer* target = StringAccess::buffer(s);
    if (!StringAccess::writableFor(s, newLength)) {
        target = StringAccess::make(nearest(newLength), kept, textOf(s));
        if (target == nullptr)
            return;
    }
    writeFormatted(StringAccess::text(target) + kept, n, format, args);
    if (target != StringAccess::buffer(s))
        StringAccess::adopt(s, target);
    StringAccess::setLength(s, newLength);
}

} // namespace

// ---- character replacement and case ---------------------------------------------------

void String::replace(char from, char to) {
    int32_t const n = lengthOf(*this);
    if (to == '\0' || n < 1 || !unshare(*this))
        return;
    char* text = textOf(*this);
    for (int32_t i = 0; i < n; ++i) {
        if (text[i] == from)
            text[i] = to;
    }
}

void String::toLowerCase() {
    int32_t const n = lengthOf(*this);
    if (n < 1 || !unshare(*this))
        return;
    char* text = textOf(*this);
    for (int32_t i = 0; i < n; ++i) {
        auto const byte = static_cast<unsigned char>(text[i]);
        if (byte >= 'A' && byte <= 'Z')
            text[i] = static_cast<char>(byte + ('a' - 'A'));
    }
}

void String::toUpperCase() {
    int32_t const n = lengthOf(*this);
    if (n < 1 || !unshare(*this))
        return;
    char* text = textOf(*this);
    for (int32_t i = 0; i < n; ++i) {
        auto const byte = static_cast<unsigned char>(text[i]);
        if (byte >= 'a' && byte <= 'z')
            text[i] = static_cast<char>(byte - ('a' - 'A'));
    }
}

// ---- removing -------------------------------------------------------------------------

void String::trim() {
    int32_t const length = lengthOf(*this);
    char const* text = textOf(*this);
    int32_t first = 0;
    while (first < length && isBlank(text[first]))
        ++first;
    int32_t last = length - 1;
    while (last >= 0 && isBlank(text[last]))
        --last;
    int32_t const n = last - first + 1;
    if (n <= 0) {
        StringAccess::becomeEmpty(*this);
    } else if (n < length) {
        if (StringAccess::buffer(*this)->hasMultipleReferers()) {
            if (Buffer* fresh = StringAccess::make(nearest(n), n, text + first))
                StringAccess::adopt(*this, fresh);
        } else {
            if (first > 0)
                std::memmove(textOf(*this), text + first, bytes(n));
            StringAccess::setLength(*this, n);
        }
    }
}

String& String::deleteRegion(long position) {
    int32_t const length = lengthOf(*this);
    int32_t p = clampToInt32(position);
    if (p < 0)
        p = 0;
    if (p >= length)
        return *this;
    if (!buf->hasMultipleReferers())
        StringAccess::setLength(*this, p);
    else if (Buffer* fresh = StringAccess::make(nearest(p), p, textOf(*this)))
        StringAccess::adopt(*this, fresh);
    return *this;
}

String& String::deleteRegion(long start, long end) {
    int32_t const length = lengthOf(*this);
    int32_t from = clampToInt32(start);
    int32_t to = clampToInt32(end);
    if (from < 0)
        from = 0;
    if (to > length)
        to = length;
    if (from >= to)
        return *this;
    int32_t const newLength = length - (to - from);
    if (!buf->hasMultipleReferers()) {
        char* text = textOf(*this);
        std::memmove(text + from, text + to, bytes(length - to));
        StringAccess::setLength(*this, newLength);
    } else if (Buffer* fresh = StringAccess::make(nearest(newLength), from, textOf(*this),
                                                  length - to, textOf(*this) + to)) {
        StringAccess::adopt(*this, fresh);
    }
    return *this;
}

// ---- inserting ------------------------------------------------------------------------

String& String::insert(long position, String const& text) {
    int32_t const p = clampToInt32(position);
    int32_t const n = lengthOf(text);
    if (n > 0 && p >= 0 && p <= lengthOf(*this))
        insertBytes(*this, p, textOf(text), n);
    return *this;
}

String& String::insert(long position, char const* text) {
    int32_t const p = clampToInt32(position);
    if (text == nullptr || text[0] == '\0' || p < 0 || p > lengthOf(*this))
        return *this;
    std::size_t const n = std::strlen(text);
    if (n <= static_cast<std::size_t>(orvik::detail::kMaxLength))
        insertBytes(*this, p, text, static_cast<int32_t>(n));
    return *this;
}

String& String::insert(long position, char c) {
    int32_t const p = clampToInt32(position);
    if (c != '\0' && p >= 0 && p <= lengthOf(*this))
        insertBytes(*this, p, &c, 1);
    return *this;
}

// ---- formatting -----------------------------------------------------------------------

String& String::concatf(char const* format, ...) {
    va_list args;
    va_start(args, format);
    formatAfter(*this, lengthOf(*this), format, args);
    va_end(args);
    return *this;
}

String& String::format(char const* format, ...) {
    va_list args;
    va_start(args, format);
    formatAfter(*this, -1, format, args);
    va_end(args);
    return *this;
}

// ---- conversion -----------------------------------------------------------------------

String String::substring(long start) const {
    int32_t const from = clampToInt32(start);
    if (from < 0 || from >= lengthOf(*this))
        return EMPTY();
    return String(textOf(*this) + from);
}

String String::substring(long start, long end) const {
    int32_t from = clampToInt32(start);
    int32_t const to = clampToInt32(end);
    if (from < 0)
        from = 0;
    if (from >= to || from >= lengthOf(*this))
        return EMPTY();
    return String(textOf(*this), from, to - from);
}

int String::toInteger() const {
    // "%li" and a clamp rather than "%i": the C library converts through long, which
    // saturates at 32 bits on the device but only at 64 on a 64-bit host, where "%i" would
    // keep the low half. Clamping gives every host the device's result.
    long value = 0;
    // NOLINTNEXTLINE(cert-err34-c): the result is sscanf's by contract, -1 when nothing converts
    if (std::sscanf(textOf(*this), "%li", &value) != 1)
        return -1;
    return clampToInt32(value);
}

String String::stringOf(bool value) { return String(value ? "true" : "false"); }

String String::stringOf(char c) { return String(c); }

String String::stringOf(char const* text) { return String(text); }

String String::stringOf(char const* text, long offset, long count) {
    return String(text, offset, count);
}

String String::stringOf(long value) {
    char text[32];
    std::snprintf(text, 31, "%ld", value);
    return String(text);
}

String String::stringOf(unsigned long value) {
    char text[32];
    std::snprintf(text, 31, "%lu", value);
    return String(text);
}

String String::stringOf(void* pointer) {
    char text[32];
    std::snprintf(text, 31, "%p", pointer);
    return String(text);
}
