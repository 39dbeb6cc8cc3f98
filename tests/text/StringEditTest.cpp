// String editing and conversion: results, copy on write, in-place edits and allocation failure.
#include <orvik_utilities/text/String.h>

#include "support/AllocationFailure.h"
#include "support/StringChecks.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <string>

using namespace orvik_test;

namespace {

using Edit = std::function<void(String&)>;

struct EditRow {
    char const* name;
    char const* before;
    Edit edit;
    std::string after;
};

// Runs each edit on an unshared String and on one whose buffer a copy shares: the results
// agree, the copy keeps the old text, and every result keeps the invariants.
void expectEdits(std::initializer_list<EditRow> rows) {
    for (EditRow const& row : rows) {
        String alone(row.before);
        row.edit(alone);
        EXPECT_EQ(textOf(alone), row.after) << row.name << " (unshared)";
        EXPECT_TRUE(invariantsHold(alone)) << row.name;

        String shared(row.before);
        String copy(shared);
        row.edit(shared);
        EXPECT_EQ(textOf(shared), row.after) << row.name << " (shared)";
        EXPECT_EQ(textOf(copy), row.before) << row.name << ": the copy changed";
        EXPECT_TRUE(invariantsHold(shared)) << row.name;
        EXPECT_TRUE(invariantsHold(copy)) << row.name;
        if (row.after.empty() && usesSharedEmpty(shared)) {
            EXPECT_TRUE(usesSharedEmpty(alone)) << row.name;
        }
    }
}

TEST(StringEditTest, ReplaceAndCaseConversionTouchOnlyTheirCharacters) {
    expectEdits({
        {"replace", "banana", [](String& s) { s.replace('a', 'b'); }, "bbnbnb"},
        {"replace by NUL", "banana", [](String& s) { s.replace('a', '\0'); }, "banana"},
        {"upper", "abc-xyz{}`@", [](String& s) { s.toUpperCase(); }, "ABC-XYZ{}`@"},
        {"lower", "ABC-XYZ[]@`", [](String& s) { s.toLowerCase(); }, "abc-xyz[]@`"},
        // Bytes above 127 are not letters, whatever the signedness of char.
        {"lower high bytes", "\xC4\xD6Z\xE4", [](String& s) { s.toLowerCase(); }, "\xC4\xD6z\xE4"},
        {"upper high bytes", "\xE4\xF6z\xC4", [](String& s) { s.toUpperCase(); }, "\xE4\xF6Z\xC4"},
    });

    // Replacing also reaches NUL bytes inside the length.
    String withNul;
    withNul.concat("a\0a", 3);
    withNul.replace('\0', '-');
    EXPECT_EQ(textOf(withNul), "a-a");
}

TEST(StringEditTest, UnsharingCopyKeepsTheCapacityEvenWhenNothingChanges) {
    String original("hello", 100L);
    String copy(original);
    copy.toUpperCase();
    EXPECT_FALSE(shareBuffer(original, copy));
    EXPECT_EQ(capacityOf(copy), capacityOf(original));
    EXPECT_EQ(textOf(copy), "HELLO");

    String again(original);
    again.replace('z', 'y');
    EXPECT_FALSE(shareBuffer(original, again)) << "a shared buffer is copied before replacing";
    EXPECT_EQ(capacityOf(again), capacityOf(original));

    // The shared empty buffer is never copied and never written.
    String empty;
    empty.toLowerCase();
    empty.replace('\0', 'x');
    EXPECT_TRUE(usesSharedEmpty(empty));
}

TEST(StringEditTest, TrimRemovesOnlyTheSixBlankCharacters) {
    expectEdits({
        {"both ends", " \t\r\n x y \v\f", [](String& s) { s.trim(); }, "x y"},
        {"nothing to do", "abc", [](String& s) { s.trim(); }, "abc"},
        // Byte 0xA0 and other controls are not blanks, whatever the signedness of char.
        {"not blanks",
         "\xA0\x1F"
         "a\x08",
         [](String& s) { s.trim(); },
         "\xA0\x1F"
         "a\x08"},
        {"all blank", "   ", [](String& s) { s.trim(); }, ""},
    });
    String blank(" \t ");
    blank.trim();
    EXPECT_TRUE(usesSharedEmpty(blank));
    String empty;
    empty.trim();
    EXPECT_TRUE(usesSharedEmpty(empty));

    // A shared buffer gets a new one sized for what is left.
    String shared(" word ", 200L);
    String copy(shared);
    shared.trim();
    EXPECT_EQ(capacityOf(shared), 7);
}

TEST(StringEditTest, DeleteRegionClampsItsBounds) {
    expectEdits({
        {"tail", "abcdef", [](String& s) { s.deleteRegion(2); }, "ab"},
        {"tail from negative", "abcdef", [](String& s) { s.deleteRegion(-1); }, ""},
        {"tail past length", "abcdef", [](String& s) { s.deleteRegion(9); }, "abcdef"},
        {"tail far out", "abcdef", [](String& s) { s.deleteRegion(LONG_MAX); }, "abcdef"},
        {"middle", "abcdef", [](String& s) { s.deleteRegion(1, 3); }, "adef"},
        {"negative start", "abcdef", [](String& s) { s.deleteRegion(-5, 2); }, "cdef"},
        {"end past length", "abcdef", [](String& s) { s.deleteRegion(4, 100); }, "abcd"},
        {"everything", "abcdef", [](String& s) { s.deleteRegion(LONG_MIN, LONG_MAX); }, ""},
        {"empty region", "abcdef", [](String& s) { s.deleteRegion(3, 3); }, "abcdef"},
        {"start past length", "abcdef", [](String& s) { s.deleteRegion(7, 9); }, "abcdef"},
    });

    // Deleting everything from a shared buffer leaves a private empty buffer with room.
    String shared("abc");
    String copy(shared);
    shared.deleteRegion(0);
    EXPECT_FALSE(usesSharedEmpty(shared));
    EXPECT_EQ(capacityOf(shared), 7);
    EXPECT_EQ(shared.length(), 0);
}

TEST(StringEditTest, InsertAcceptsPositionsFromZeroToTheLength) {
    expectEdits({
        {"front", "abc", [](String& s) { s.insert(0, "xy"); }, "xyabc"},
        {"middle", "abc", [](String& s) { s.insert(1, String("xy")); }, "axybc"},
        {"end", "abc", [](String& s) { s.insert(3, "xy"); }, "abcxy"},
        {"char", "abc", [](String& s) { s.insert(2, '-'); }, "ab-c"},
        {"past the end", "abc", [](String& s) { s.insert(4, "xy"); }, "abc"},
        {"negative", "abc", [](String& s) { s.insert(-1, "xy"); }, "abc"},
        {"far out", "abc", [](String& s) { s.insert(LONG_MIN, 'x'); }, "abc"},
        {"NUL", "abc", [](String& s) { s.insert(1, '\0'); }, "abc"},
        {"null text", "abc", [](String& s) { s.insert(1, static_cast<char const*>(nullptr)); },
         "abc"},
        {"empty String", "abc", [](String& s) { s.insert(1, String()); }, "abc"},
        {"into empty", "", [](String& s) { s.insert(0, "xy"); }, "xy"},
        {"itself", "abc", [](String& s) { s.insert(1, s); }, "aabcbc"},
    });

    // Into itself, in place with room and into a new buffer alike.
    String roomy("abcd", 40L);
    roomy.insert(2, roomy);
    EXPECT_EQ(textOf(roomy), "ababcdcd");
    String full("abcdefg");
    full.insert(7, full);
    EXPECT_EQ(textOf(full), "abcdefgabcdefg");
    EXPECT_EQ(capacityOf(full), 23);
}

TEST(StringEditTest, FormatAndConcatfTakeTheEnginesCount) {
    expectEdits({
        {"format", "old text", [](String& s) { s.format("%d-%s", 12, "ab"); }, "12-ab"},
        {"format address", "x", [](String& s) { s.format("%lu.%lu.%lu.%lu", 10ul, 0ul, 0ul, 1ul); },
         "10.0.0.1"},
        {"concatf", "n=", [](String& s) { s.concatf("%05d", 42); }, "n=00042"},
        {"concatf NUL char", "ab", [](String& s) { s.concatf("%c", '\0'); }, "ab"},
        {"format empty", "abc", [](String& s) { s.format("%s", ""); }, ""},
        // The engine counts "%f" as one character: the platform's first one stays.
        {"format float", "", [](String& s) { s.format("%f", 1.5); }, "1"},
        // Where the platform writes less than the engine counts, the engine's text is kept.
        {"format zero at precision 0", "", [](String& s) { s.format("[%.0d]", 0); }, "[0]"},
        {"concatf zero at precision 0", "v", [](String& s) { s.concatf("%.0u", 0u); }, "v0"},
    });

    String empty("abc");
    empty.format("%s", "");
    EXPECT_TRUE(usesSharedEmpty(empty));

    // A new buffer is sized for the whole text by the sizing rule.
    String grown("0123456789");
    grown.concatf("%0120d", 7);
    EXPECT_EQ(grown.length(), 130);
    EXPECT_EQ(capacityOf(grown), 191);
    EXPECT_EQ(grown.buffer()[129], '7');
}

TEST(StringEditTest, FormatReadsArgumentsFromTheOldTextSafelyWhenItGrows) {
    String s("abc");
    s.format("%s%s%s", s.buffer(), s.buffer(), s.buffer());
    EXPECT_EQ(textOf(s), "abcabcabc");
    s.concatf("<%s>%015d", s.buffer(), 1);
    EXPECT_EQ(textOf(s), "abcabcabc<abcabcabc>000000000000001");
}

TEST(StringEditTest, UnsharedEditsWithRoomNeverAllocate) {
    String s("  Hello, World  ", 100L);
    char const* const storage = s.buffer();
    AllocationCounter counter;
    s.trim();
    s.toUpperCase();
    s.toLowerCase();
    s.replace('o', '0');
    s.deleteRegion(1, 3);
    s.insert(0, "<<");
    s.insert(2, '-');
    s.insert(s.length(), s);
    s.concatf("|%d|%s", 42, "x");
    s.format("%s and %d", "formatted", 7);
    s.deleteRegion(9);
    EXPECT_EQ(counter.count(), 0);
    EXPECT_EQ(s.buffer(), storage);
    EXPECT_EQ(textOf(s), "formatted");
}

TEST(StringEditTest, SubstringsClampTheirEnd) {
    String const s("abcdef");
    struct Row {
        String actual;
        char const* expected;
    } const rows[] = {
        {s.substring(2), "cdef"},
        {s.substring(0), "abcdef"},
        {s.substring(6), ""},
        {s.substring(-1), ""},
        {s.substring(1, 3), "bc"},
        {s.substring(4, 100), "ef"},
        {s.substring(3, 3), ""},
        {s.substring(6, 8), ""},
        {s.substring(4, 2), ""},
        {s.substring(1, LONG_MAX), "bcdef"},
        // A negative start counts as 0, as deleteRegion's does.
        {s.substring(-2, 3), "abc"},
        {s.substring(LONG_MIN, 1), "a"},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(textOf(row.actual), row.expected);
        EXPECT_TRUE(invariantsHold(row.actual));
    }
    EXPECT_TRUE(usesSharedEmpty(s.substring(9)));
}

TEST(StringEditTest, ToIntegerReadsLikeScanfAndSaturatesAt32Bits) {
    struct Row {
        char const* text;
        int expected;
    } const rows[] = {
        {"42", 42},
        {"0x1F", 31},
        {"010", 8},
        {" -7abc", -7},
        {"+12", 12},
        {"abc", -1},
        {"", -1},
        {"-1", -1},
        {"2147483647", INT_MAX},
        // The C library converts through long, which saturates at 32 bits on the device.
        {"2147483648", INT_MAX},
        {"4294967295", INT_MAX},
        {"0xFFFFFFFF", INT_MAX},
        {"-2147483648", INT_MIN},
        {"-99999999999", INT_MIN},
    };
    for (Row const& row : rows)
        EXPECT_EQ(String(row.text).toInteger(), row.expected) << row.text;
}

TEST(StringEditTest, StringOfFormsTheValueText) {
    EXPECT_EQ(textOf(String::stringOf(false)), "false");
    EXPECT_EQ(textOf(String::stringOf(static_cast<long>(INT32_MIN))), "-2147483648");
    EXPECT_EQ(textOf(String::stringOf(4294967295UL)), "4294967295");
    EXPECT_EQ(textOf(String::stringOf(reinterpret_cast<void*>(0xBEEFu))), "0xbeef");
}

// Every editing operation, swept through its allocation failures on an unshared and on a
// shared buffer: each run ends with the old text or the new one, never anything between.
TEST(StringEditTest, AllocationFailureLeavesStringUnchanged) {
    struct Op {
        char const* name;
        Edit edit;
        char const* after;
    } const ops[] = {
        {"replace", [](String& s) { s.replace('a', 'A'); }, "A sAmple text"},
        {"toUpperCase", [](String& s) { s.toUpperCase(); }, "A SAMPLE TEXT"},
        {"trim", [](String& s) { s.trim(); }, "a sample text"},
        {"deleteRegion", [](String& s) { s.deleteRegion(3); }, "a s"},
        {"deleteRegion range", [](String& s) { s.deleteRegion(2, 9); }, "a text"},
        {"insert", [](String& s) { s.insert(2, "long inserted "); }, "a long inserted sample text"},
        {"insert String", [](String& s) { s.insert(0, String("+")); }, "+a sample text"},
        {"concatf", [](String& s) { s.concatf(" and %d more", 12345); },
         "a sample text and 12345 more"},
        {"format", [](String& s) { s.format("%s!", "replaced by a longer one"); },
         "replaced by a longer one!"},
    };
    for (Op const& op : ops) {
        for (bool shared : {false, true}) {
            int injected = sweepAllocationFailures([&](AllocationFault& fault, bool& failed) {
                String s(" a sample text");
                s.trim(); // unshared, with room for the shorter results only
                String copy;
                if (shared)
                    copy = s;
                fault.arm();
                op.edit(s);
                failed = fault.disarm();
                EXPECT_TRUE(invariantsHold(s)) << op.name;
                if (failed) {
                    EXPECT_TRUE(textOf(s) == "a sample text" || textOf(s) == op.after)
                        << op.name << ": " << textOf(s);
                } else {
                    EXPECT_EQ(textOf(s), op.after) << op.name;
                }
                if (shared) {
                    EXPECT_EQ(textOf(copy), "a sample text") << op.name;
                }
            });
            (void)injected;
        }
    }
}

} // namespace
