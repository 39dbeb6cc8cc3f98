// Private access to String's buffer (String befriends it), shared by the subsystems that
// write String text in place: text's own sources, Base64, and the tests' inspections.
#ifndef ORVIK_UTILITIES_INTERNAL_STRING_ACCESS_H
#define ORVIK_UTILITIES_INTERNAL_STRING_ACCESS_H

#include <orvik_utilities/text/String.h>

#include <cstdint>
#include <new>

namespace orvik {
namespace detail {

struct StringAccess {
    using Buffer = String::StringBuffer;

    static Buffer* buffer(String const& s) { return s.buf; }
    static char* text(Buffer* b) { return b->characters; }
    static char const* text(String const& s) { return s.buf->characters; }
    static int32_t length(String const& s) { return s.buf->used; }
    static int32_t capacity(String const& s) { return s.buf->size; }
    static int32_t references(String const& s) { return s.buf->references; }

    // The in-place branch of copy on write: only an unshared buffer with room.
    static bool writableFor(String const& s, int32_t newLength) {
        return !s.buf->hasMultipleReferers() && s.buf->size >= newLength;
    }

    static void setLength(String& s, int32_t n) {
        s.buf->characters[n] = '\0';
        s.buf->used = n;
    }

    // Builds a buffer through the class's own allocation operator; null on failure.
    template <typename... Pieces> static Buffer* make(int32_t capacity, Pieces... pieces) {
        return new (static_cast<long>(capacity)) Buffer(capacity, pieces...);
    }

    // Drops the old buffer and takes the new one, whose count of 1 is this handle's.
    static void adopt(String& s, Buffer* fresh) {
        s.buf->drop();
        s.buf = fresh;
    }

    static void becomeEmpty(String& s) {
        Buffer* empty = Buffer::EMPTY();
        empty->link();
        s.buf->drop();
        s.buf = empty;
    }
};

} // namespace detail
} // namespace orvik

#endif
