// Inspection of String buffers and the invariant check run after every change.
#ifndef ORVIK_TESTS_SUPPORT_STRING_CHECKS_H
#define ORVIK_TESTS_SUPPORT_STRING_CHECKS_H

#include <orvik_utilities/text/String.h>

#include "internal/StringAccess.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>

namespace orvik_test {

using orvik::detail::StringAccess;

inline int32_t referencesOf(String const& s) { return StringAccess::references(s); }
inline int32_t capacityOf(String const& s) { return StringAccess::capacity(s); }
inline bool shareBuffer(String const& a, String const& b) {
    return StringAccess::buffer(a) == StringAccess::buffer(b);
}
inline bool usesSharedEmpty(String const& s) {
    return StringAccess::buffer(s) == String::StringBuffer::EMPTY();
}
inline std::string textOf(String const& s) {
    return std::string(s.buffer(), static_cast<std::size_t>(s.length()));
}
// A String holding exactly these bytes, embedded NULs included.
inline String bytesOf(std::string const& bytes) {
    String s;
    s.concat(bytes.data(), static_cast<long>(bytes.size()));
    return s;
}

// Bytes drawn from a small alphabet, so that matches and near misses are common.
template <std::size_t N>
std::string randomText(std::mt19937& random, char const (&alphabet)[N], std::size_t maxLength) {
    std::string text(random() % (maxLength + 1), ' ');
    for (char& c : text)
        c = alphabet[random() % N];
    return text;
}

// Terminator at the length, 0 <= length <= capacity, at least one holder, and the
// shared empty buffer still empty.
inline ::testing::AssertionResult invariantsHold(String const& s) {
    int32_t length = StringAccess::length(s);
    if (length < 0 || length > StringAccess::capacity(s))
        return ::testing::AssertionFailure()
               << "length " << length << " capacity " << StringAccess::capacity(s);
    if (s.buffer()[length] != '\0')
        return ::testing::AssertionFailure() << "no terminator at length " << length;
    if (StringAccess::references(s) < 1)
        return ::testing::AssertionFailure() << "reference count " << StringAccess::references(s);
    String::StringBuffer* empty = String::StringBuffer::EMPTY();
    if (empty->capacity() != 0 || String().length() != 0 || String().buffer()[0] != '\0')
        return ::testing::AssertionFailure() << "the shared empty buffer was written";
    return ::testing::AssertionSuccess();
}

} // namespace orvik_test

#endif
