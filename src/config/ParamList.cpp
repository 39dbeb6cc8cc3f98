// Sorted tag/value list and its string form. Building and reading the form are linear:
// the writer sizes its String once, and the reader inserts behind the entry it made last
// when the tags arrive in order, as they do from the writer.
#include <orvik_utilities/config/ParamList.h>
#include <orvik_utilities/numbers/IntegerText.h>

#include <cstdint>
#include <cstring>
#include <new>

namespace {

using Pair = ParamList::TagValuePair;
using List = LinkedListManager<Pair>;

bool needsEscape(char c) { return c == '%' || c == '<' || c == '>'; }

// Escaped length, computed in 64 bits: the sum of a long list may pass 32 bits.
int64_t escapedLength(String const& text) {
    int64_t length = text.length();
    char const* const p = text.buffer();
    for (long i = 0; i < text.length(); ++i)
        if (needsEscape(p[i]))
            length += 2;
    return length;
}

void appendEscaped(String& out, String const& text) {
    char const* const p = text.buffer();
    long const length = text.length();
    long run = 0;
    for (long i = 0; i < length; ++i) {
        if (!needsEscape(p[i]))
            continue;
        out.concat(p + run, i - run);
        out.concat(p[i] == '%' ? "%25" : p[i] == '<' ? "%3c" : "%3e", 3);
        run = i + 1;
    }
    out.concat(p + run, length - run);
}

bool isHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Each "%" and two hexadecimal digits becomes the one byte of that code; any other '%'
// stays as it stands.
String unescaped(char const* p, long length) {
    String out;
    if (std::memchr(p, '%', std::size_t(length)) == nullptr) {
        out.concat(p, length);
        return out;
    }
    out = String("", length);
    long run = 0;
    for (long i = 0; i + 2 < length; ++i) {
        if (p[i] != '%' || !isHexDigit(p[i + 1]) || !isHexDigit(p[i + 2]))
            continue;
        char const digits[] = {p[i + 1], p[i + 2], 'x', '\0'};
        char const decoded = static_cast<char>(u_valueOf32(digits) & 0xFF);
        out.concat(p + run, i - run);
        out.concat(&decoded, 1);
        i += 2;
        run = i + 1;
    }
    out.concat(p + run, length - run);
    return out;
}

// Sets tag to value: the walk for its place starts at hint when hint sorts before tag,
// otherwise at the first entry. Returns the entry holding the tag, null when the new entry
// could not be made.
Pair* place(List& list, Pair* hint, String const& tag, String const& value) {
    Pair* at = hint != nullptr && hint->tag < tag ? hint : list.firstElmt();
    while (at != nullptr && at->tag < tag)
        at = at->getNext();
    if (at != nullptr && at->tag == tag) {
        at->tag = tag;
        at->value = value;
        return at;
    }
    Pair* const entry = new (std::nothrow) Pair;
    if (entry == nullptr)
        return nullptr;
    entry->tag = tag;
    entry->value = value;
    if (!list.add(entry, at)) {
        delete entry;
        return nullptr;
    }
    return entry;
}

Pair const* find(List const& list, String const& tag) {
    for (Pair const* at = list.firstElmt(); at != nullptr && at->tag <= tag; at = at->getNext())
        if (at->tag == tag)
            return at;
    return nullptr;
}

long indexOf(char const* p, long length, char c, long from) {
    if (from >= length)
        return -1;
    void const* const hit = std::memchr(p + from, c, std::size_t(length - from));
    return hit ? long(static_cast<char const*>(hit) - p) : -1;
}

// Moves pos to the next c at or after from; false (pos -1) when there is none.
bool seek(char const* p, long length, char c, long from, long& pos) {
    pos = indexOf(p, length, c, from);
    return pos >= 0;
}

// One element at pos, by the reader's rules; pos always moves on (or becomes -1).
bool readElement(char const* p, long length, long& pos, long& tagStart, long& tagLength,
                 long& valueStart, long& valueLength) {
    long const start = pos;
    if (!seek(p, length, '<', start, pos) || pos != start)
        return false;
    tagStart = pos + 1;
    if (!seek(p, length, '>', tagStart, pos))
        return false;
    tagLength = pos - tagStart;
    valueStart = pos + 1;
    if (!seek(p, length, '<', valueStart, pos))
        return false;
    valueLength = pos - valueStart;
    pos += 1;
    if (pos >= length || p[pos] != '/')
        return false;
    long const closingStart = pos + 1;
    if (!seek(p, length, '>', closingStart, pos))
        return false;
    if (pos - closingStart != tagLength ||
        std::memcmp(p + closingStart, p + tagStart, std::size_t(tagLength)) != 0)
        return false;
    pos += 1;
    return true;
}

} // namespace

ParamList::TagValuePair::TagValuePair() {}

ParamList::TagValuePair::TagValuePair(TagValuePair const& other)
    : LinkedListElement<TagValuePair>(other), tag(other.tag), value(other.value) {}

ParamList::TagValuePair::~TagValuePair() {}

ParamList::TagValuePair& ParamList::TagValuePair::operator=(TagValuePair const& other) {
    if (this != &other) {
        tag = other.tag;
        value = other.value;
    }
    return *this;
}

ParamList::ParamList() : stringFormValid(false) {}

ParamList::~ParamList() {}

void ParamList::setTagValue(String const& tag, String const& value) {
    place(list, nullptr, tag, value);
    stringFormValid = false;
}

void ParamList::setTagValue(String const& tag, unsigned long value) {
    String text;
    text.format("%lu", static_cast<unsigned long>(static_cast<uint32_t>(value)));
    setTagValue(tag, text);
}

bool ParamList::getTagValue(String const& tag, String& value) const {
    Pair const* const at = find(list, tag);
    if (at == nullptr)
        return false;
    value = at->value;
    return true;
}

bool ParamList::getTagValue(String const& tag, unsigned long& value) const {
    Pair const* const at = find(list, tag);
    if (at == nullptr)
        return false;
    value = u_valueOf32(at->value.buffer());
    return true;
}

String const& ParamList::getTagValueString() const {
    if (stringFormValid)
        return stringForm;
    int64_t total = 0;
    for (Pair const* at = list.firstElmt(); at != nullptr; at = at->getNext())
        total += 5 + 2 * escapedLength(at->tag) + escapedLength(at->value);
    stringForm = "";
    if (total == 0 || total > INT32_MAX) {
        stringFormValid = total == 0;
        return stringForm;
    }
    String form("", long(total));
    for (Pair const* at = list.firstElmt(); at != nullptr; at = at->getNext()) {
        form += '<';
        appendEscaped(form, at->tag);
        form += '>';
        appendEscaped(form, at->value);
        form.concat("</", 2);
        appendEscaped(form, at->tag);
        form += '>';
    }
    // Any piece that found no memory makes the form short; it is then not kept.
    if (form.length() == total) {
        stringForm = form;
        stringFormValid = true;
    }
    return stringForm;
}

void ParamList::setTagValueString(String const& text) {
    list.clear();
    stringFormValid = false;
    char const* const p = text.buffer();
    long const length = text.length();
    Pair* last = nullptr;
    long pos = 0;
    while (pos >= 0 && pos < length) {
        long tagStart = 0, tagLength = 0, valueStart = 0, valueLength = 0;
        if (!readElement(p, length, pos, tagStart, tagLength, valueStart, valueLength))
            continue;
        Pair* const at = place(list, last, unescaped(p + tagStart, tagLength),
                               unescaped(p + valueStart, valueLength));
        if (at != nullptr)
            last = at;
    }
}

ParamList& ParamList::operator=(ParamList const& other) {
    if (&other == this)
        return *this;
    list.clear();
    for (Pair const* at = other.list.firstElmt(); at != nullptr; at = at->getNext()) {
        Pair* const copy = new (std::nothrow) Pair(*at);
        if (copy != nullptr && !list.add(copy))
            delete copy;
    }
    stringFormValid = false;
    return *this;
}
