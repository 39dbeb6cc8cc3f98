// Configuration file reader: one pass over the file into a string-keyed table of values.
#include <orvik_utilities/config/ConfigReader.h>
#include <orvik_utilities/containers/INStringHashTable.h>
#include <orvik_utilities/numbers/IntegerText.h>
#include <orvik_utilities/text/Format.h>

#include "internal/FormatDirective.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <new>
#include <typeinfo>

namespace {

// A line piece holds what fgets with a 1023-byte buffer would return: at most 1022 bytes,
// ending after the first '\n'. Read in blocks, so a NUL byte in the file is kept and counted
// instead of ending the text early.
constexpr std::size_t pieceLimit = 1022;

class PieceReader {
public:
    explicit PieceReader(std::FILE* in) : file(in) {}

    // The next piece into out; its length, 0 at the end of the file.
    std::size_t next(unsigned char* out) {
        std::size_t length = 0;
        while (length < pieceLimit) {
            if (begin == end && !refill())
                break;
            std::size_t const available = end - begin;
            std::size_t const room = pieceLimit - length;
            std::size_t const span = available < room ? available : room;
            unsigned char const* const from = block + begin;
            void const* const newline = std::memchr(from, '\n', span);
            std::size_t const take =
                newline ? std::size_t(static_cast<unsigned char const*>(newline) - from) + 1 : span;
            std::memcpy(out + length, from, take);
            length += take;
            begin += take;
            if (newline)
                break;
        }
        return length;
    }

private:
    bool refill() {
        begin = 0;
        end = std::fread(block, 1, sizeof block, file);
        return end > 0;
    }

    std::FILE* file;
    std::size_t begin = 0;
    std::size_t end = 0;
    unsigned char block[4096];
};

bool isBlank(unsigned char c) { return c <= 32; }

String textOf(unsigned char const* bytes, std::size_t length) {
    String text;
    text.concat(reinterpret_cast<char const*>(bytes), long(length));
    return text;
}

bool store(INStringHashTable* table, char const* tag, String const& value) {
    if (table == nullptr)
        return false;
    if (table->getValueFromKey(tag, nullptr)) {
        std::printf("cfg: Ignoring duplicate tag:%s=%s\n", tag, value.buffer());
        return false;
    }
    String* const copy = new (std::nothrow) String(value);
    if (copy == nullptr)
        return false;
    if (!table->addEntry(tag, copy)) {
        delete copy;
        return false;
    }
    return true;
}

// One entry line: the tag loses every blank, the value its blanks at both ends.
void readEntry(INStringHashTable* table, unsigned char* piece, std::size_t length) {
    auto* const equals = static_cast<unsigned char*>(std::memchr(piece, '=', length));
    if (equals == nullptr)
        return;
    std::size_t tagLength = 0;
    for (unsigned char* p = piece; p != equals; ++p)
        if (!isBlank(*p))
            piece[tagLength++] = *p;
    unsigned char* first = equals + 1;
    unsigned char* last = piece + length;
    while (first != last && isBlank(*first))
        ++first;
    while (last != first && isBlank(last[-1]))
        --last;
    // The tag moved to the front, so the terminator cannot reach the value.
    piece[tagLength] = '\0';
    String const value = textOf(first, std::size_t(last - first));
    // Out of memory the value comes out short: the entry is dropped, not stored wrong.
    if (value.length() == last - first)
        store(table, reinterpret_cast<char const*>(piece), value);
}

void deleteValue(void* value) { delete static_cast<String*>(value); }

long asInteger(String const& value) {
    if (value.equalsIgnoreCase("on"))
        return 1;
    if (value.equalsIgnoreCase("off"))
        return 0;
    return valueOf32(value.buffer());
}

// What kind of argument the single conversion of a tag pattern reads, and whether the
// library's engine alone writes the same text as String::format would.
enum class IndexConversion { Invalid, Int, Long };

struct TagPattern {
    IndexConversion kind;
    bool engineAgrees;
};

// A pattern holds exactly one integer conversion, read with the formatting engine's own
// directive grammar; the C library's "hh" is taken as well. String::format writes the C
// library's text where it is as long as the engine's; the engine alone writes the same
// text unless the pattern has '#' (octal with a precision), a precision (zero with
// precision 0 has no digit in C) or "hh".
TagPattern patternOf(char const* format) {
    using namespace orvik::detail;
    TagPattern found{IndexConversion::Invalid, true};
    int conversions = 0;
    for (char const* p = format; *p != '\0'; ++p) {
        if (*p != '%')
            continue;
        ++p;
        if (*p == '%')
            continue;
        Directive d;
        p = parseDirective(p, d);
        bool const charSized = (d.flags & kShort) != 0 && *p == 'h';
        if (charSized)
            ++p;
        if ((d.flags & (kStarWidth | kStarPrecision)) != 0 || *p == '\0' ||
            std::strchr("diuoxX", *p) == nullptr)
            return TagPattern{IndexConversion::Invalid, false};
        found.kind = (d.flags & kLong) != 0 ? IndexConversion::Long : IndexConversion::Int;
        found.engineAgrees = !charSized && (d.flags & kAlternate) == 0 && d.precision < 0;
        ++conversions;
    }
    return conversions == 1 ? found : TagPattern{IndexConversion::Invalid, false};
}

// The tag of an indexed lookup, through String::format.
void formatTag(String& tag, String const& tagFormat, IndexConversion kind, unsigned long index) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    if (kind == IndexConversion::Long)
        tag.format(tagFormat.buffer(), index);
    else
        tag.format(tagFormat.buffer(), static_cast<unsigned>(index));
#pragma GCC diagnostic pop
}

// The usual tag is formatted on the stack by the engine, so a lookup allocates nothing.
// Longer tags, patterns where the engine and the C library differ, and 64-bit hosts'
// indexes past 31 bits (which the C library writes whole and the engine cuts to the
// device's width) take String::format.
constexpr uint32_t kTagRoom = 96;

bool formatTagInPlace(char (&tag)[kTagRoom], char const* pattern, TagPattern form,
                      unsigned long index) {
    if (!form.engineAgrees || (sizeof(long) > 4 && index > 0x7FFFFFFFul))
        return false;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    int const n = form.kind == IndexConversion::Long
                      ? snxprintf(tag, 0, kTagRoom, pattern, index)
                      : snxprintf(tag, 0, kTagRoom, pattern, static_cast<unsigned>(index));
#pragma GCC diagnostic pop
    return n < static_cast<int>(kTagRoom) - 1;
}

// An indexed lookup answered without a String: false when it must go through one.
// Otherwise value is the stored value, or null for an absent tag or an invalid pattern.
bool findIndexedInPlace(INStringHashTable const& table, String const& tagFormat, TagPattern form,
                        unsigned long index, String const*& value) {
    value = nullptr;
    if (form.kind == IndexConversion::Invalid)
        return true;
    char tag[kTagRoom];
    if (!formatTagInPlace(tag, tagFormat.buffer(), form, index))
        return false;
    void* found = nullptr;
    if (table.getValueFromKey(tag, &found))
        value = static_cast<String const*>(found);
    return true;
}

} // namespace

ConfigReader::ConfigReader() : table(nullptr) {}

ConfigReader::~ConfigReader() { ConfigReader::cleanup(); }

bool ConfigReader::initialize(String const& fileName, unsigned long tableSize) {
    cleanup();
    table = new (std::nothrow) INStringHashTable(tableSize);
    std::FILE* const file = table ? std::fopen(fileName.buffer(), "r") : nullptr;
    if (file == nullptr) {
        std::printf("cfg: Error in config file %s, line %ld:\n", fileName.buffer(), 0L);
        std::printf("cfg:   %s\n", "");
        return false;
    }
    PieceReader reader(file);
    unsigned char piece[pieceLimit];
    while (std::size_t const length = reader.next(piece))
        if (piece[0] != '#')
            readEntry(table, piece, length);
    std::fclose(file);
    return true;
}

void ConfigReader::cleanup() {
    if (table == nullptr)
        return;
    table->passAllPointers(deleteValue);
    delete table;
    table = nullptr;
}

String const& ConfigReader::getValue(String const& tag, String const& defaultValue) const {
    void* value = nullptr;
    if (table == nullptr || !table->getValueFromKey(tag.buffer(), &value))
        return defaultValue;
    return *static_cast<String const*>(value);
}

long ConfigReader::getValueAsInt(String const& tag, long defaultValue) const {
    void* value = nullptr;
    if (table == nullptr || !table->getValueFromKey(tag.buffer(), &value))
        return defaultValue;
    return asInteger(*static_cast<String const*>(value));
}

// A derived reader may override getValue or getValueAsInt: its indexed lookups keep going
// through them, with the tag in a String. A plain reader answers on the stack.
String const& ConfigReader::getIndexedValue(String const& tagFormat, unsigned long index,
                                            String const& defaultValue) const {
    if (table == nullptr)
        return defaultValue;
    TagPattern const form = patternOf(tagFormat.buffer());
    String const* value = nullptr;
    if (typeid(*this) == typeid(ConfigReader) &&
        findIndexedInPlace(*table, tagFormat, form, index, value))
        return value != nullptr ? *value : defaultValue;
    if (form.kind == IndexConversion::Invalid)
        return defaultValue;
    String tag;
    formatTag(tag, tagFormat, form.kind, index);
    return getValue(tag, defaultValue);
}

long ConfigReader::getIndexedValueAsInt(String const& tagFormat, unsigned long index,
                                        long defaultValue) const {
    if (table == nullptr)
        return defaultValue;
    TagPattern const form = patternOf(tagFormat.buffer());
    String const* value = nullptr;
    if (typeid(*this) == typeid(ConfigReader) &&
        findIndexedInPlace(*table, tagFormat, form, index, value))
        return value != nullptr ? asInteger(*value) : defaultValue;
    if (form.kind == IndexConversion::Invalid)
        return defaultValue;
    String tag;
    formatTag(tag, tagFormat, form.kind, index);
    return getValueAsInt(tag, defaultValue);
}

bool ConfigReader::add(String const& tag, String const& value) {
    return store(table, tag.buffer(), value);
}

bool ConfigReader::strcpystrip(char* dst, int dstSize, char* src, int len) {
    if (dst == nullptr || src == nullptr || len < 0 || len >= dstSize)
        return false;
    char const* rest = src;
    while (*rest == ' ')
        ++rest;
    if (strnlen(rest, std::size_t(len)) < std::size_t(len))
        return false;
    while (len > 0 && rest[len - 1] == ' ')
        --len;
    std::memcpy(dst, rest, std::size_t(len));
    dst[len] = '\0';
    return true;
}

int ConfigReader::indexof(char* str, char c) {
    if (str == nullptr || c == '\0')
        return -1;
    for (int i = 0; i < INT_MAX && str[i] != '\0'; ++i)
        if (str[i] == c)
            return i;
    return -1;
}
