// Reference-counted text with shared, copy-on-write buffers.
#ifndef ORVIK_UTILITIES_TEXT_STRING_H
#define ORVIK_UTILITIES_TEXT_STRING_H

/// @file

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
///
/// Process-wide state: the shared empty buffer and EMPTY(), built on first use, unlocked. A
/// String, and every String sharing its buffer, is used by one thread at a time; copy the
/// text (stringOf(buffer())) before handing it to another thread.
///
/// Numbers never become characters by accident: construction, assignment, += and + from
/// an integer, floating-point or enumeration type do not compile (only char, signed char and
/// unsigned char are characters).
///
/// @code
/// String name("eth0");
/// String copy = name;                  // shares the buffer
/// copy += ':';                         // copy gets a buffer of its own, name is unchanged
/// copy.concatf("%ld", 1500L);          // "eth0:1500"
/// long mtu = 1500;
/// // copy += mtu;                      // does not compile: would append byte 0xDC
/// @endcode
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
        /// Count 1; three pieces, as the two-piece form.
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
        /// Releases a block whose construction failed (the placement form of operator new).
        static void operator delete(void* block, long capacity);

        /// The sizing rule: the smallest 16k+7 >= n up to 127, else the smallest 64k-1 >= n.
        /// Computed in 32 bits; arguments beyond the 32-bit range are clamped into it.
        static long NEAREST_VALID_STRING_LENGTH(long n);

        /// Adds one holder.
        void link();
        /// Removes one holder; frees the buffer when none remain, never the shared empty one.
        void drop();
        /// The number of characters the buffer holds without growing.
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
    /// Deleted: an integer, floating-point or enumeration value would become one character
    /// (`long mtu = 1500; String s(mtu);` holds byte 0xDC). Construct from a `char`, or
    /// write the number as text with stringOf() or format().
    template <typename Number, typename = orvik::detail::IfNarrowsToCharacter<Number>>
    String(Number value) = delete;
    /// Shares other's buffer.
    String(String const& other);
    /// Drops this handle's hold on the buffer (freed with the last one).
    ~String();

    /// Shares other's buffer, dropping the own one.
    String& operator=(String const& other);
    /// In place when unshared with room (a pointer into the own text works); null empties.
    String& operator=(char const* text);
    /// NUL empties; otherwise always a new buffer of capacity 7.
    String& operator=(char c);
    /// Deleted: `t = 65` would give "A". Assign a `char`, or stringOf() the number.
    template <typename Number, typename = orvik::detail::IfNarrowsToCharacter<Number>>
    String& operator=(Number value) = delete;

    /// Appends other's text.
    String& concat(String const& other);
    /// Appends exactly count bytes (embedded NULs included); nothing for null or count <= 0.
    String& concat(char const* bytes, long count);
    /// Appends other's text, as concat().
    String& operator+=(String const& other);
    /// Appends the text up to its NUL; nothing for null.
    String& operator+=(char const* text);
    /// Nothing for NUL.
    String& operator+=(char c);
    /// Deleted: `s += mtu` would append one byte. Append a `char`, or concatf() the number.
    template <typename Number, typename = orvik::detail::IfNarrowsToCharacter<Number>>
    String& operator+=(Number value) = delete;

    /// The number of characters (embedded NULs included).
    long length() const;
    /// The characters, valid until this String is next changed or destroyed.
    char const* buffer() const;
    /// NUL outside 0 <= index < length.
    char operator[](long index) const;
    /// This String itself.
    String& operator*();
    /// A static empty String, built on first use and destroyed at exit.
    static String& EMPTY();

    // ---- comparison and search: nothing here changes the String ----
    // Two Strings holding one buffer answer at once. Positions are 0-based; -1 is "none".

    /// The sign of strcmp(other, this) as -1, 0 or 1: 1 when this text sorts first, the
    /// reverse of operator<.
    int compareTo(String const& other) const;
    /// stricmp(other, this), with the same reversed sense: -1, 0 or 1.
    int compareToIgnoreCase(String const& other) const;
    /// Same length and same bytes (embedded NULs included).
    bool equals(String const& other) const;
    /// strcmp equality; null matches exactly the empty text.
    bool equals(char const* text) const;
    /// Same length, and strnicmp over it finds no difference (it stops at a shared NUL).
    bool equalsIgnoreCase(String const& other) const;
    /// stricmp equality; null matches exactly the empty text.
    bool equalsIgnoreCase(char const* text) const;
    /// startsWith(prefix, 0).
    bool startsWith(String const& prefix) const;
    /// False for a negative offset or too little text after it.
    bool startsWith(String const& prefix, long offset) const;
    /// The last suffix.length() characters match suffix; false when the text is shorter.
    bool endsWith(String const& suffix) const;
    /// count characters from offset and otherOffset match (strncmp or strnicmp); false when
    /// count is negative or either range is not wholly inside its text (sums never wrap).
    bool regionMatches(bool ignoreCase, long offset, String const& other, long otherOffset,
                       long count) const;
    /// regionMatches(false, ...): case counts.
    bool regionMatches(long offset, String const& other, long otherOffset, long count) const;
    /// Moves [begin, end), clamped into the text, to destination (no terminator); returns
    /// the number moved, 0 for a null destination.
    long getChars(long begin, long end, char* destination) const;

    /// -1 for NUL.
    long indexOf(char c) const;
    /// From fromIndex (negative counts as 0); -1 for NUL or fromIndex >= length.
    long indexOf(char c, long fromIndex) const;
    /// First occurrence as strstr finds it: both texts end at their first NUL for this
    /// search. An empty argument gives 0.
    long indexOf(String const& text) const;
    /// As indexOf from fromIndex (negative counts as 0); -1 when fewer characters than the
    /// argument's length follow fromIndex.
    long indexOf(String const& text, long fromIndex) const;
    /// First position where strnicmp over the argument's length finds no difference.
    long indexOfIgnoreCase(String const& text) const;
    /// From fromIndex (negative counts as 0), with the same room rule as indexOf.
    long indexOfIgnoreCase(String const& text, long fromIndex) const;
    /// Backwards over the whole length; NUL is found like any other byte.
    long lastIndexOf(char c) const;
    /// Backwards from the smaller of fromIndex and length-1; -1 for a negative fromIndex.
    long lastIndexOf(char c, long fromIndex) const;
    /// Last occurrence; an empty argument gives the length. Of an argument with a NUL only
    /// the part before it is sought, and a hit within the last argument-length characters
    /// answers with their start.
    long lastIndexOf(String const& text) const;
    /// Last occurrence starting at or before fromIndex; -1 for a negative fromIndex.
    long lastIndexOf(String const& text, long fromIndex) const;
    /// Last position where strnicmp over the argument's length finds no difference.
    long lastIndexOfIgnoreCase(String const& text) const;
    /// As above, starting no later than fromIndex; -1 for a negative fromIndex.
    long lastIndexOfIgnoreCase(String const& text, long fromIndex) const;

    // ---- editing: copy on write; an allocation failure leaves the String unchanged ----

    /// Every from becomes to; nothing when to is NUL or the text is empty. Un-shares by
    /// copying the buffer at its capacity.
    void replace(char from, char to);
    /// 'A'-'Z' only; un-shares as replace does.
    void toLowerCase();
    /// 'a'-'z' only; un-shares as replace does.
    void toUpperCase();
    /// Removes leading and trailing tab, LF, VT, FF, CR and space; all-blank gives the
    /// shared empty buffer.
    void trim();
    /// Keeps the characters before position (negative counts as 0).
    String& deleteRegion(long position);
    /// Removes [start, end), start clamped up to 0 and end down to the length.
    String& deleteRegion(long start, long end);
    /// Inserts before position (0 .. length); nothing for an empty argument or a position
    /// outside the text.
    String& insert(long position, String const& text);
    /// The text must not point into this String.
    String& insert(long position, char const* text);
    /// Inserts one character, as the String form; nothing for NUL.
    String& insert(long position, char c);
    /// Appends formatted text: the length is vstrlenf's count, the characters the platform
    /// vsnprintf's cut to it. Where the platform writes fewer ("%.0d" of 0), the engine's own
    /// text fills the field. Arguments must not point into this String (a new buffer is
    /// adopted only after writing, so they stay readable, but in place they are overwritten).
    String& concatf(char const* format, ...) ORVIK_PRINTF_LIKE(2, 3);
    /// Replaces the text with formatted text, sized and written as concatf; a count of 0
    /// gives the shared empty buffer.
    String& format(char const* format, ...) ORVIK_PRINTF_LIKE(2, 3);

    /// The text from start to the end; empty unless 0 <= start < length.
    String substring(long start) const;
    /// [start, end) cut at the length; empty when start >= end or start >= length. A
    /// negative start counts as 0, as in deleteRegion: (-2, 3) on "abcdef" gives "abc".
    String substring(long start, long end) const;
    /// sscanf "%i" (decimal, 0x hexadecimal, 0 octal, sign, leading blanks); -1 when
    /// nothing converts, so "-1" and "abc" look alike. Values beyond 32 bits saturate at
    /// INT_MIN/INT_MAX on every host, as the device's 32-bit long conversion does.
    int toInteger() const;

    /// "true" or "false".
    static String stringOf(bool value);
    /// String(c).
    static String stringOf(char c);
    /// String(text).
    static String stringOf(char const* text);
    /// String(text, offset, count).
    static String stringOf(char const* text, long offset, long count);
    /// "%ld", "%lu" and "%p" by the platform's snprintf; a 64-bit host prints its whole
    /// long and pointer, which agrees with the device for every value the device can hold.
    static String stringOf(long value);
    /// "%lu", as stringOf(long).
    static String stringOf(unsigned long value);
    /// "%p", as stringOf(long).
    static String stringOf(void* pointer);

private:
    friend struct orvik::detail::StringAccess;

    /// Appends count bytes; callers have filtered null, empty and NUL arguments.
    void internalConcat(char const* bytes, long count);

    StringBuffer* buf;
};

/// @name Concatenation
/// A new String; the operands never change. When memory runs out, the result lacks the
/// operand whose copy could not be allocated.
/// @{

/// Copy of the left operand, then += of the right one.
ORVIK_API String operator+(String const& left, String const& right);
/// Copy of the left operand, then += of the right one.
ORVIK_API String operator+(String const& left, char const* right);
/// Copy of the left operand, then += of the right one (nothing for NUL).
ORVIK_API String operator+(String const& left, char right);
/// String built from the left operand, then += of the right one.
ORVIK_API String operator+(char const* left, String const& right);
/// String built from the left operand, then += of the right one.
ORVIK_API String operator+(char left, String const& right);
/// Deleted: the number would be added as one character.
template <typename Number, typename = orvik::detail::IfNarrowsToCharacter<Number>>
String operator+(String const& left, Number right) = delete;
/// Deleted: the number would be added as one character.
template <typename Number, typename = orvik::detail::IfNarrowsToCharacter<Number>>
String operator+(Number left, String const& right) = delete;
/// @}

/// @name Comparison
/// strcmp order of the texts (bytes unsigned, stopping at NUL); one buffer held by both
/// operands answers at once. A null char const* is the empty text judged by length: a
/// String whose text starts with a NUL byte is still greater. Each operator is the
/// comparison its symbol names under this order.
/// @{

/// Equal texts under the order above.
ORVIK_API bool operator==(String const& left, String const& right);
ORVIK_API bool operator!=(String const& left, String const& right);
ORVIK_API bool operator<(String const& left, String const& right);
ORVIK_API bool operator>(String const& left, String const& right);
ORVIK_API bool operator<=(String const& left, String const& right);
ORVIK_API bool operator>=(String const& left, String const& right);
ORVIK_API bool operator==(String const& left, char const* right);
ORVIK_API bool operator==(char const* left, String const& right);
ORVIK_API bool operator!=(String const& left, char const* right);
ORVIK_API bool operator!=(char const* left, String const& right);
ORVIK_API bool operator<(String const& left, char const* right);
ORVIK_API bool operator<(char const* left, String const& right);
ORVIK_API bool operator>(String const& left, char const* right);
ORVIK_API bool operator>(char const* left, String const& right);
ORVIK_API bool operator<=(String const& left, char const* right);
ORVIK_API bool operator<=(char const* left, String const& right);
ORVIK_API bool operator>=(String const& left, char const* right);
ORVIK_API bool operator>=(char const* left, String const& right);
/// NUL equals exactly the empty text; otherwise the text is that one character.
ORVIK_API bool operator==(String const& left, char right);
ORVIK_API bool operator==(char left, String const& right);
ORVIK_API bool operator!=(String const& left, char right);
ORVIK_API bool operator!=(char left, String const& right);
/// @}

#endif
