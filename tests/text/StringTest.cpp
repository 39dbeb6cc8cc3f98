// String storage: buffer layout, sizing, sharing, construction, assignment, appending.
#include <orvik_utilities/text/String.h>

#include "support/AllocationFailure.h"
#include "support/StringChecks.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

using namespace orvik_test;

namespace {

// Reads a 32-bit header field straight from the buffer's bytes.
int32_t headerField(String const& s, int index) {
    char const* block = s.buffer() - 12;
    int32_t value;
    std::memcpy(&value, block + 4 * index, sizeof value);
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
    struct Row {
        long needed;
        long capacity;
    } const rows[] = {
        {0, 7},     {7, 7},     {8, 23},      {23, 23},
        {24, 39},   {104, 119}, {119, 119},   {120, 135},
        {127, 135}, {128, 191}, {191, 191},   {192, 255},
        {255, 255}, {256, 319}, {4096, 4159}, {INT32_MAX, INT32_MAX},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(String::StringBuffer::NEAREST_VALID_STRING_LENGTH(row.needed), row.capacity)
            << row.needed;
    }
    // The rule is 32-bit arithmetic: a negative request wraps like the device's.
    EXPECT_EQ(String::StringBuffer::NEAREST_VALID_STRING_LENGTH(-100), -89);
}

TEST(StringTest, EmptyFormsShareOneStaticBufferAndCountTheirHolders) {
    int32_t before = referencesOf(String::EMPTY());
    {
        String a, b(static_cast<char>(0)), c(static_cast<char const*>(nullptr)), d("");
        String e(nullptr, 100L), f("abc", 5L, 1L), g("abc", 1L, 0L);
        for (String const* s : {&a, &b, &c, &d, &e, &f, &g}) {
            EXPECT_TRUE(usesSharedEmpty(*s));
            EXPECT_EQ(s->length(), 0);
            EXPECT_STREQ(s->buffer(), "");
            EXPECT_TRUE(invariantsHold(*s));
        }
        EXPECT_EQ(referencesOf(a), before + 7);
        EXPECT_TRUE(String::StringBuffer::EMPTY()->hasMultipleReferers());
    }
    EXPECT_EQ(referencesOf(String::EMPTY()), before);
}

TEST(StringTest, ConstructorsSizeByTheRuleOrByTheRequest) {
    struct Row {
        char const* name;
        String value;
        char const* text;
        long capacity;
    } const rows[] = {
        {"one character", String('x'), "x", 7},
        {"8 characters", String("abcdefgh"), "abcdefgh", 23},
        {"127 characters", String(std::string(127, 'a').c_str()), nullptr, 135},
        {"128 characters", String(std::string(128, 'a').c_str()), nullptr, 191},
        {"request wins", String("abc", 200L), "abc", 255},
        {"text wins", String("abcdefghij", 2L), "abcdefghij", 23},
        {"negative request", String("abc", -5L), "abc", 7},
        {"empty text with a request is private", String("", 0L), "", 7},
        // offset and count are clamped into the text
        {"middle", String("abcdef", 2L, 3L), "cde", 7},
        {"negative offset", String("abcdef", -5L, 3L), "abc", 7},
        {"count past the end", String("abcdef", 4L, 10L), "ef", 7},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.name);
        if (row.text != nullptr) {
            EXPECT_STREQ(row.value.buffer(), row.text);
        }
        EXPECT_EQ(row.value.length(), static_cast<long>(std::strlen(row.value.buffer())));
        EXPECT_EQ(capacityOf(row.value), row.capacity);
        EXPECT_FALSE(usesSharedEmpty(row.value));
        EXPECT_EQ(referencesOf(row.value), 1);
        EXPECT_TRUE(invariantsHold(row.value));
    }
}

TEST(StringTest, CopySharesBufferUntilFirstWrite) {
    String a("abc");
    String b(a);
    EXPECT_TRUE(shareBuffer(a, b));
    EXPECT_EQ(referencesOf(a), 2);
    b += "x";
    EXPECT_FALSE(shareBuffer(a, b));
    EXPECT_STREQ(a.buffer(), "abc");
    EXPECT_STREQ(b.buffer(), "abcx");
    EXPECT_EQ(referencesOf(a), 1);
    EXPECT_EQ(referencesOf(b), 1);

    String c;
    c = a;
    EXPECT_TRUE(shareBuffer(a, c));
    c = c; // self-assignment keeps the count
    EXPECT_EQ(referencesOf(a), 2);
    a = "replaced"; // shared: a new buffer, c keeps the old text
    EXPECT_STREQ(c.buffer(), "abc");
    EXPECT_STREQ(a.buffer(), "replaced");
    EXPECT_TRUE(invariantsHold(a));
    EXPECT_TRUE(invariantsHold(c));
}

TEST(StringTest, AppendWritesInPlaceOnlyIntoAnUnsharedBufferWithRoom) {
    String s("abc");
    char const* before = s.buffer();
    {
        AllocationCounter counter;
        s += "defg"; // 7 characters: still fits capacity 7
        s += '\0';   // NUL appends nothing
        s.concat("", 0L);
        EXPECT_EQ(counter.count(), 0);
    }
    EXPECT_EQ(s.buffer(), before);
    EXPECT_STREQ(s.buffer(), "abcdefg");
    s += 'h'; // 8 characters: grows to 23
    EXPECT_NE(s.buffer(), before);
    EXPECT_EQ(capacityOf(s), 23);
    EXPECT_TRUE(invariantsHold(s));
}

TEST(StringTest, AppendingAStringToItselfDoublesItInPlaceAndWhenGrowing) {
    String inPlace("abc", 20L);
    char const* before = inPlace.buffer();
    inPlace += inPlace;
    EXPECT_STREQ(inPlace.buffer(), "abcabc");
    EXPECT_EQ(inPlace.buffer(), before);

    String growing("abcdefgh");
    growing.concat(growing);
    EXPECT_STREQ(growing.buffer(), "abcdefghabcdefgh");
    EXPECT_TRUE(invariantsHold(growing));
}

TEST(StringTest, ConcatCopiesExactlyCountBytesIncludingNul) {
    String s("a");
    s.concat("b\0c", 3L);
    EXPECT_EQ(s.length(), 4);
    EXPECT_EQ(textOf(s), std::string("ab\0c", 4));
    s.concat(nullptr, 5L);
    s.concat("zz", -1L);
    s += static_cast<char const*>(nullptr);
    s += String();
    EXPECT_EQ(s.length(), 4);
}

TEST(StringTest, AppendPastTheLengthRangeIsRefused) {
    String s("abc");
    s.concat("x", LONG_MAX);
    EXPECT_STREQ(s.buffer(), "abc");
    EXPECT_EQ(s[LONG_MAX], '\0');
    EXPECT_EQ(s[LONG_MIN], '\0');
    if (sizeof(long) > 4) {
        // Beyond 32 bits on a 64-bit host: refused like an allocation failure.
        long huge = static_cast<long>(static_cast<int64_t>(INT32_MAX) * 4);
        EXPECT_TRUE(usesSharedEmpty(String("abc", huge)));
        s.concat("x", huge);
        EXPECT_STREQ(s.buffer(), "abc");
    }
}

TEST(StringTest, AssignmentFromTextReusesAnUnsharedBuffer) {
    String s("abcdef");
    char const* before = s.buffer();
    s = s.buffer() + 1; // overlapping move
    EXPECT_STREQ(s.buffer(), "bcdef");
    s = "";
    EXPECT_EQ(s.buffer(), before);
    EXPECT_EQ(s.length(), 0);
    EXPECT_FALSE(usesSharedEmpty(s));

    String shared;
    shared = ""; // a shared buffer gets a private empty one
    EXPECT_FALSE(usesSharedEmpty(shared));
    EXPECT_EQ(capacityOf(shared), 7);

    s = static_cast<char const*>(nullptr);
    EXPECT_TRUE(usesSharedEmpty(s));
    String c("abc");
    c = '\0';
    EXPECT_TRUE(usesSharedEmpty(c));
    c = 'z';
    EXPECT_STREQ(c.buffer(), "z");
    EXPECT_EQ(capacityOf(c), 7);
    EXPECT_TRUE(invariantsHold(c));
}

TEST(StringTest, IndexOutsideTheTextReadsNul) {
    String s("abc");
    EXPECT_EQ(s[0], 'a');
    EXPECT_EQ(s[2], 'c');
    EXPECT_EQ(s[-1], '\0');
    EXPECT_EQ(s[3], '\0');
    EXPECT_EQ(&*s, &s);
}

TEST(StringTest, PlusOperatorsCopyTheLeftOperandThenAppend) {
    String ab("ab");
    EXPECT_STREQ((ab + String("cd")).buffer(), "abcd");
    EXPECT_STREQ((ab + "cd").buffer(), "abcd");
    EXPECT_STREQ((ab + 'c').buffer(), "abc");
    EXPECT_STREQ(("x" + String()).buffer(), "x");
    EXPECT_STREQ(('x' + ab).buffer(), "xab");
    EXPECT_STREQ((static_cast<char const*>(nullptr) + ab).buffer(), "ab");
    String same = ab + static_cast<char>(0);
    EXPECT_TRUE(shareBuffer(same, ab));
    EXPECT_STREQ(ab.buffer(), "ab");
}

TEST(StringTest, StaticEmptyStringSharesTheEmptyBuffer) {
    EXPECT_EQ(&String::EMPTY(), &String::EMPTY());
    EXPECT_TRUE(usesSharedEmpty(String::EMPTY()));
    EXPECT_EQ(String::StringBuffer::EMPTY()->capacity(), 0);
}

TEST(StringTest, DroppingTheLastHolderFreesTheBuffer) {
    auto* buffer = new (23L) String::StringBuffer(23L, 3L, "abc");
    ASSERT_NE(buffer, nullptr);
    buffer->link();
    EXPECT_TRUE(buffer->hasMultipleReferers());
    buffer->drop();
    EXPECT_FALSE(buffer->hasMultipleReferers());
    buffer->drop(); // frees; the sanitizer build reports a leak or double free otherwise
    EXPECT_EQ(String::StringBuffer::operator new(0, -1L), nullptr);
}

// Every allocating operation: a failed allocation leaves the String as it was and a
// constructor falls back to the shared empty buffer.
TEST(StringTest, AllocationFailureLeavesStringUnchanged) {
    int injected = sweepAllocationFailures([](AllocationFault& fault, bool& failed) {
        String original("shared text");
        String s(original);
        String grown("abcdefg");
        fault.arm();
        s += "more";
        grown += 'h';
        String built("text");
        String sized("", 50L);
        String sliced("abcdef", 1L, 3L);
        String single('q');
        String assigned(original);
        assigned = "other";
        String charAssigned(original);
        charAssigned = 'z';
        String sum = original + "!";
        failed = fault.disarm();

        for (String const* each :
             {&s, &grown, &built, &sized, &sliced, &single, &assigned, &charAssigned, &sum}) {
            EXPECT_TRUE(invariantsHold(*each));
        }
        EXPECT_TRUE(textOf(s) == "shared textmore" || textOf(s) == "shared text");
        EXPECT_TRUE(textOf(grown) == "abcdefgh" || textOf(grown) == "abcdefg");
        EXPECT_TRUE(textOf(built) == "text" || usesSharedEmpty(built));
        EXPECT_TRUE(capacityOf(sized) == 55 || usesSharedEmpty(sized));
        EXPECT_TRUE(textOf(sliced) == "bcd" || usesSharedEmpty(sliced));
        EXPECT_TRUE(textOf(single) == "q" || usesSharedEmpty(single));
        EXPECT_TRUE(textOf(assigned) == "other" || shareBuffer(assigned, original));
        EXPECT_TRUE(textOf(charAssigned) == "z" || shareBuffer(charAssigned, original));
        EXPECT_TRUE(textOf(sum) == "shared text!" || shareBuffer(sum, original));
        EXPECT_EQ(textOf(original), "shared text");
        if (!failed) {
            EXPECT_EQ(textOf(s), "shared textmore");
            EXPECT_EQ(textOf(sum), "shared text!");
        }
    });
    EXPECT_GE(injected, 18); // nine allocations, each failed once and always
}

} // namespace
