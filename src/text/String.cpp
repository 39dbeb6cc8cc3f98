// String storage: buffers, sizing, sharing, construction, assignment and appending.
#include <orvik_utilities/text/String.h>

#include "internal/CheckedSize.h"
#include "internal/StringAccess.h"

#include <cstdlib>
#include <cstring>

using orvik::detail::clampToInt32;
using orvik::detail::fitsLength;
using orvik::detail::StringAccess;
using Buffer = String::StringBuffer;

namespace {

constexpr int32_t kHeaderBytes = 12;
constexpr int32_t kSingleCharCapacity = 7;

void copyPiece(char*& to, long count, char const* from) {
    if (count > 0) {
        std::memcpy(to, from, static_cast<std::size_t>(count));
        to += count;
    }
}

// strlen as a 32-bit length; false for texts a 32-bit length cannot describe.
bool textLength(char const* text, int32_t& n) {
    std::size_t wide = std::strlen(text);
    if (wide > static_cast<std::size_t>(orvik::detail::kMaxLength))
        return false;
    n = static_cast<int32_t>(wide);
    return true;
}

Buffer* linkedEmpty() {
    Buffer* empty = Buffer::EMPTY();
    empty->link();
    return empty;
}

int32_t nearest(int32_t n) { return static_cast<int32_t>(Buffer::NEAREST_VALID_STRING_LENGTH(n)); }

// Kept out of line so that the in-place append of one character stays a leaf function.
__attribute__((noinline)) void appendGrowing(String& s, char c) { s.concat(&c, 1); }

} // namespace

// ---- String::StringBuffer -------------------------------------------------------------

Buffer::StringBuffer() : references(1), size(0), used(0) { characters[0] = '\0'; }

Buffer::StringBuffer(long capacity) : references(1), size(clampToInt32(capacity)), used(0) {
    characters[0] = '\0';
}

Buffer::StringBuffer(long capacity, char c) : references(1), size(clampToInt32(capacity)), used(1) {
    char* text = characters;
    text[0] = c;
    text[1] = '\0';
}

Buffer::StringBuffer(long capacity, long length, char const* text)
    : StringBuffer(capacity, length, text, 0, nullptr, 0, nullptr) {}

Buffer::StringBuffer(long capacity, long length1, char const* text1, long length2,
                     char const* text2)
    : StringBuffer(capacity, length1, text1, length2, text2, 0, nullptr) {}

Buffer::StringBuffer(long capacity, long length1, char const* text1, long length2,
                     char const* text2, long length3, char const* text3)
    : references(1), size(clampToInt32(capacity)), used(0) {
    char* end = characters;
    copyPiece(end, length1, text1);
    copyPiece(end, length2, text2);
    copyPiece(end, length3, text3);
    *end = '\0';
    used = static_cast<int32_t>(end - characters);
}

Buffer::StringBuffer(StringBuffer const& other)
    : references(1), size(other.size), used(other.used) {
    std::memcpy(characters, other.characters, static_cast<std::size_t>(other.used) + 1);
}

void* Buffer::operator new(std::size_t, long capacity) noexcept {
    if (!fitsLength(capacity))
        return nullptr;
    return std::malloc(static_cast<std::size_t>(capacity) + kHeaderBytes + 1);
}

void Buffer::operator delete(void* block) { std::free(block); }

void Buffer::operator delete(void* block, long) { std::free(block); }

long Buffer::NEAREST_VALID_STRING_LENGTH(long n) {
    // Unsigned 32-bit arithmetic so that a 64-bit host rounds, and wraps for
    // negative requests, exactly like the device.
    int32_t n32 = clampToInt32(n);
    uint32_t u = static_cast<uint32_t>(n32);
    uint32_t rounded;
    if (n32 <= 127)
        rounded = ((u + 1u - 8u + 15u) & ~15u) + 8u - 1u;
    else
        rounded = ((u + 1u - 128u + 63u) & ~63u) + 128u - 1u;
    return static_cast<int32_t>(rounded);
}

void Buffer::link() { ++references; }

void Buffer::drop() {
    if (--references == 0 && this != EMPTY())
        delete this;
}

long Buffer::capacity() const { return size; }

bool Buffer::hasMultipleReferers() const { return references > 1; }

Buffer* Buffer::EMPTY() {
    // Built on first use, never destroyed: Strings living in other static objects
    // may still refer to it while the program exits.
    static StringBuffer empty;
    return &empty;
}

// ---- String: construction and assignment ------------------------------------------------

String::String() : buf(linkedEmpty()) {}

String::String(char c) : buf(nullptr) {
    if (c != '\0')
        buf = StringAccess::make(kSingleCharCapacity, c);
    if (buf == nullptr)
        buf = linkedEmpty();
}

String::String(char const* text) : buf(nullptr) {
    int32_t n = 0;
    if (text != nullptr && textLength(text, n) && n > 0)
        buf = StringAccess::make(nearest(n), n, text);
    if (buf == nullptr)
        buf = linkedEmpty();
}

String::String(char const* text, long capacityRequest) : buf(nullptr) {
    int32_t n = 0;
    if (text != nullptr && textLength(text, n) && capacityRequest <= orvik::detail::kMaxLength) {
        int32_t request = clampToInt32(capacityRequest);
        buf = StringAccess::make(nearest(request > n ? request : n), n, text);
    }
    if (buf == nullptr)
        buf = linkedEmpty();
}

String::String(char const* text, long offset, long count) : buf(nullptr) {
    int32_t n = 0;
    if (text != nullptr && textLength(text, n)) {
        int64_t from = offset < 0 ? 0 : (offset > n ? n : offset);
        int64_t take = count > n - from ? n - from : count;
        if (take > 0) {
            int32_t take32 = static_cast<int32_t>(take);
            buf = StringAccess::make(nearest(take32), take32, text + from);
        }
    }
    if (buf == nullptr)
        buf = linkedEmpty();
}

String::String(String const& other) : buf(other.buf) { buf->link(); }

String::~String() {
    buf->drop();
    buf = nullptr;
}

String& String::operator=(String const& other) {
    if (&other != this) {
        other.buf->link();
        buf->drop();
        buf = other.buf;
    }
    return *this;
}

String& String::operator=(char const* text) {
    if (text == nullptr) {
        StringAccess::becomeEmpty(*this);
        return *this;
    }
    int32_t n = 0;
    if (!textLength(text, n))
        return *this;
    if (StringAccess::writableFor(*this, n)) {
        // The text may be a pointer into this very buffer.
        std::memmove(buf->characters, text, static_cast<std::size_t>(n));
        StringAccess::setLength(*this, n);
    } else if (Buffer* fresh = StringAccess::make(nearest(n), n, text)) {
        StringAccess::adopt(*this, fresh);
    }
    return *this;
}

String& String::operator=(char c) {
    if (c == '\0')
        StringAccess::becomeEmpty(*this);
    else if (Buffer* fresh = StringAccess::make(kSingleCharCapacity, c))
        StringAccess::adopt(*this, fresh);
    return *this;
}

// ---- String: appending ---------------------------------------------------------------------

void String::internalConcat(char const* bytes, long count) {
    int32_t oldLength = buf->used;
    int32_t newLength = 0;
    if (!fitsLength(count) ||
        !orvik::detail::addLengths(oldLength, static_cast<int32_t>(count), newLength))
        return;
    if (StringAccess::writableFor(*this, newLength)) {
        // Overlap-safe: appending a String to itself reads from the same buffer.
        std::memmove(buf->characters + oldLength, bytes, static_cast<std::size_t>(count));
        StringAccess::setLength(*this, newLength);
    } else if (Buffer* fresh = StringAccess::make(nearest(newLength), oldLength, buf->characters,
                                                  count, bytes)) {
        StringAccess::adopt(*this, fresh);
    }
}

String& String::concat(String const& other) {
    if (other.buf->used >= 1)
        internalConcat(other.buf->characters, other.buf->used);
    return *this;
}

String& String::concat(char const* bytes, long count) {
    if (bytes != nullptr && count > 0)
        internalConcat(bytes, count);
    return *this;
}

String& String::operator+=(String const& other) { return concat(other); }

String& String::operator+=(char const* text) {
    int32_t n = 0;
    if (text != nullptr && textLength(text, n) && n > 0)
        internalConcat(text, n);
    return *this;
}

String& String::operator+=(char c) {
    if (c == '\0')
        return *this;
    // Texts built one character at a time spend most appends here: the in-place case
    // without the general path's checks and byte move.
    Buffer* b = buf;
    if (!b->hasMultipleReferers() && b->used < b->size) {
        char* text = b->characters;
        text[b->used] = c;
        text[++b->used] = '\0';
    } else {
        appendGrowing(*this, c);
    }
    return *this;
}

// ---- String: accessors ------------------------------------------------------------------

long String::length() const { return buf->used; }

char const* String::buffer() const { return buf->characters; }

char String::operator[](long index) const {
    if (index < 0 || index >= buf->used)
        return '\0';
    return buf->characters[index];
}

String& String::operator*() { return *this; }

String& String::EMPTY() {
    // Registered for destruction at exit by the first call.
    static String empty;
    return empty;
}

// ---- free operators -------------------------------------------------------------------

String operator+(String const& left, String const& right) {
    String result(left);
    result += right;
    return result;
}

String operator+(String const& left, char const* right) {
    String result(left);
    result += right;
    return result;
}

String operator+(String const& left, char right) {
    String result(left);
    result += right;
    return result;
}

String operator+(char const* left, String const& right) {
    String result(left);
    result += right;
    return result;
}

String operator+(char left, String const& right) {
    String result(left);
    result += right;
    return result;
}
