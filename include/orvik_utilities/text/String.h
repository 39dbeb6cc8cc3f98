// Reference-counted text with shared, copy-on-write buffers.
#ifndef ORVIK_UTILITIES_TEXT_STRING_H
#define ORVIK_UTILITIES_TEXT_STRING_H

#include <orvik_utilities/export.h>

#include <cstddef>
#include <cstdint>

namespace orvik {
namespace detail {
struct StringAccess;
}
} // namespace orvik

/// A handle of one pointer to a shared buffer. Copies share the buffer; a change writes in
/// place only into an unshared buffer with room, otherwise it builds a new buffer first, so
/// an allocation failure leaves the String as it was. A null char const* means "".
/// Lengths are 32-bit: on 64-bit hosts, a length or capacity beyond 2^31-1 is refused
/// like an allocation failure, and out-of-range positions behave as on the device.
class ORVIK_API String {
public:
    /// One malloc block: reference count, capacity, length (32 bits each) and the
    /// NUL-terminated characters.
    class ORVIK_API StringBuffer {
    public:
        /// Count 1, capacity 0, text "": only for the shared empty buffer.
        StringBuffer();
        /// Count 1, the given capacity, text "".
        explicit StringBuffer(long capacity);
        /// Count 1, the given capacity, the one character c.
        StringBuffer(long capacity, char c);
        /// Count 1, the given capacity; copies length bytes of text and terminates.
        StringBuffer(long capacity, long length, char const* text);
        /// Count 1; the pieces one after the other. Pieces are not checked against the
        /// capacity: callers size the buffer by NEAREST_VALID_STRING_LENGTH of the total.
        StringBuffer(long capacity, long length1, char const* text1, long length2,
                     char const* text2);
        StringBuffer(long capacity, long length1, char const* text1, long length2,
                     char const* text2, long length3, char const* text3);
        /// Count 1, same capacity and text as other.
        StringBuffer(StringBuffer const& other);
        StringBuffer& operator=(StringBuffer const&) = delete;

        /// malloc(capacity + 13); the size argument is ignored. Null when malloc fails or
        /// the capacity is negative or above 2^31-1 (we refuse rather than wrap).
        static void* operator new(std::size_t size, long capacity) noexcept;
        /// Both release the block with free.
        static void operator delete(void* block);
        static void operator delete(void* block, long capacity);

        /// The sizing rule: the smallest 16k+7 >= n up to 127, else the smallest 64k-1 >= n.
        /// Computed in 32 bits; arguments beyond the 32-bit range are clamped into it.
        static long NEAREST_VALID_STRING_LENGTH(long n);

        /// Adds one holder.
        void link();
        /// Removes one holder; frees the buffer when none remain, never the shared empty one.
        void drop();
        long capacity() const;
        /// True while more than one holder (the shared empty buffer counts itself) exists.
        bool hasMultipleReferers() const;
        /// The static shared empty buffer, built on first use and never freed.
        static StringBuffer* EMPTY();

    private:
        friend class String;
        friend struct orvik::detail::StringAccess;

        int32_t references;
        int32_t size;
        int32_t used;
        char characters[1];
    };

    /// The shared empty buffer; allocates nothing.
    String();
    /// NUL gives the shared empty buffer; otherwise capacity 7 holding c.
    String(char c);
    /// Null or "" gives the shared empty buffer.
    String(char const* text);
    /// Capacity for the larger of request and strlen(text), even for "". Null gives the
    /// shared empty buffer.
    String(char const* text, long capacityRequest);
    /// count characters from offset, both clamped into text; an empty result shares the
    /// empty buffer.
    String(char const* text, long offset, long count);
    String(String const& other);
    ~String();

    String& operator=(String const& other);
    /// In place when unshared with room (a pointer into the own text works); null empties.
    String& operator=(char const* text);
    /// NUL empties; otherwise always a new buffer of capacity 7.
    String& operator=(char c);

    /// Appends other's text.
    String& concat(String const& other);
    /// Appends exactly count bytes (embedded NULs included); nothing for null or count <= 0.
    String& concat(char const* bytes, long count);
    String& operator+=(String const& other);
    String& operator+=(char const* text);
    /// Nothing for NUL.
    String& operator+=(char c);

    long length() const;
    /// The characters, valid until this String is next changed or destroyed.
    char const* buffer() const;
    /// NUL outside 0 <= index < length.
    char operator[](long index) const;
    String& operator*();
    /// A static empty String, built on first use and destroyed at exit.
    static String& EMPTY();

private:
    friend struct orvik::detail::StringAccess;

    /// Appends count bytes; callers have filtered null, empty and NUL arguments.
    void internalConcat(char const* bytes, long count);

    StringBuffer* buf;
};

/// Copy of the left operand, then += of the right one.
ORVIK_API String operator+(String const& left, String const& right);
ORVIK_API String operator+(String const& left, char const* right);
ORVIK_API String operator+(String const& left, char right);
/// String built from the left operand, then += of the right one.
ORVIK_API String operator+(char const* left, String const& right);
ORVIK_API String operator+(char left, String const& right);

#endif
