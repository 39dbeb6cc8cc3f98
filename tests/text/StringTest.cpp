// String storage: buffer layout, sizing, sharing and construction. What the changes write is
// checked against a model, and the in-place path and allocation failure, in StringEditTest.
#include <orvik_utilities/text/String.h>

#include "support/AllocationFailure.h"
#include "support/StringChecks.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <iterator>

using namespace orvik_test;

namespace {

// Reads a 32-bit header field straight from the buffer's bytes.
int32_t headerField(String const& s, int index) {
    int32_t value;
    std::memcpy(&value, s.buffer() - 12 + 4 * index, sizeof value);
    return value;
}

TEST(StringTest, HandleIsOnePointerToAHeaderOfThreeFieldsBeforeTheText) {
    EXPECT_EQ(sizeof(String), sizeof(void*));
    String s("hello", 40);
    EXPECT_EQ(lastAllocationSize(), static_cast<std::size_t>(capacityOf(s)) + 13);
    String copy(s);
    EXPECT_EQ(headerField(s, 0), 2);  // reference count
    EXPECT_EQ(headerField(s, 1), 55); // capacity
    EXPECT_EQ(headerField(s, 2), 5);  // length
    EXPECT_STREQ(s.buffer(), "hello");
}

TEST(StringTest, SizingRuleRoundsUpInSixteensThenSixtyFours) {
    // 32-bit arithmetic: a negative request wraps like the device's
    long const needed[] = {0, 7, 8, 23, 24, 119, 120, 127, 128, 191, 192, 4096, INT32_MAX, -100};
    long const capacity[] = {7, 7, 23, 23, 39, 119, 135, 135, 191, 191, 255, 4159, INT32_MAX, -89};
    for (std::size_t i = 0; i < std::size(needed); ++i)
        EXPECT_EQ(String::StringBuffer::NEAREST_VALID_STRING_LENGTH(needed[i]), capacity[i]);
}

TEST(StringTest, EmptyFormsShareOneStaticBufferAndCountTheirHolders) {
    int32_t before = referencesOf(String::EMPTY());
    {
        String a, b(static_cast<char>(0)), c(static_cast<char const*>(nullptr)), d("");
        String e(nullptr, 100L), f("abc", 5L, 1L), g("abc", 1L, 0L), h("abc"), i("abc"), j(" \t ");
        h = static_cast<char const*>(nullptr);
        i = '\0';
        j.trim(); // all blank
        for (String const* s : {&a, &b, &c, &d, &e, &f, &g, &h, &i, &j})
            EXPECT_TRUE(usesSharedEmpty(*s) && invariantsHold(*s));
        EXPECT_EQ(referencesOf(a), before + 10);
        EXPECT_TRUE(String::StringBuffer::EMPTY()->hasMultipleReferers());
    }
    EXPECT_EQ(referencesOf(String::EMPTY()), before);
    EXPECT_EQ(&String::EMPTY(), &String::EMPTY());
    EXPECT_EQ(String::StringBuffer::EMPTY()->capacity(), 0);
}

TEST(StringTest, ConstructorsSizeByTheRuleOrByTheRequest) {
    struct Row {
        String value;
        char const* text;
        long capacity;
    } const rows[] = {
        {String('x'), "x", 7},
        {String("abcdefgh"), "abcdefgh", 23},
        {String("abc", 200L), "abc", 255},
        {String("abcdefghij", 2L), "abcdefghij", 23},
        {String("abc", -5L), "abc", 7},
        {String("", 0L), "", 7},
        // offset and count are clamped into the text
        {String("abcdef", 2L, 3L), "cde", 7},
        {String("abcdef", -5L, 3L), "abc", 7},
        {String("abcdef", 4L, 10L), "ef", 7},
        // a character always gets a new buffer of 7; the shared empty buffer is never written
        {String("abcdef") = 'z', "z", 7},
        {String() = "", "", 7}};
    for (Row const& row : rows) {
        EXPECT_STREQ(row.value.buffer(), row.text);
        EXPECT_EQ(capacityOf(row.value), row.capacity) << row.text;
        EXPECT_EQ(referencesOf(row.value), 1) << row.text;
    }
}

TEST(StringTest, CopiesShareTheBufferUntilTheFirstWrite) {
    String a("abc"), b(a);
    EXPECT_TRUE(shareBuffer(a, b));
    b = b; // keeps the count
    EXPECT_EQ(referencesOf(a), 2);
    EXPECT_EQ(&*b, &b);
    b += "x";
    EXPECT_EQ(referencesOf(a) + referencesOf(b), 2);
}

TEST(StringTest, LengthsBeyond32BitsAreRefused) {
    String s("abc");
    s.concat("x", LONG_MAX);
    EXPECT_EQ(textOf(s), "abc");
    EXPECT_EQ(String::StringBuffer::operator new(0, -1L), nullptr);
    if (sizeof(long) > 4) {
        // On a 64-bit host: refused like an allocation failure.
        long huge = static_cast<long>(static_cast<int64_t>(INT32_MAX) * 4);
        EXPECT_TRUE(usesSharedEmpty(String("abc", huge)));
        s.concat("x", huge);
        EXPECT_EQ(textOf(s), "abc");
    }
}

} // namespace
