// The number bag: seeded scripts against the model of free flags (ContainerScripts.h), then
// what the scripts cannot reach: a missing bitmap, numbers past 32 bits, long taken runs.
#include "containers/ContainerScripts.h"
#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <random>

using namespace orvik_test;

namespace {

TEST(NumberBagTest, SeededScriptsAgreeWithTheModel) {
    std::mt19937 random(17u);
    std::vector<uint8_t> bytes(1200);
    for (int i = 0; i < 250; ++i) {
        for (uint8_t& b : bytes)
            b = static_cast<uint8_t>(random());
        random.discard(300);
        ASSERT_EQ(runNumberBagScript(bytes.data(), bytes.size()), "") << "script " << i;
    }
}

bool isEmpty(NumberBag& bag) {
    unsigned long n = 3;
    unsigned long const all = 0xFFFFFFFF;
    return !(bag.getNumber(&n) || bag.getNumber(9ul) || bag.getNumberRoundRobin(&n) ||
             bag.getNumberInRange(0, all, &n) || bag.getNumberInRangeRoundRobin(0, all, &n) ||
             bag.getNumberPairInRangeRoundRobin(0, all, &n) || bag.returnNumber(9) ||
             bag.isInBag(10) || n != 3);
}

// A bag whose bitmap could not be allocated is empty; numbers and lower bounds wider than
// 32 bits lie beyond every range; pairs start at even offsets.
TEST(NumberBagTest, WithoutBitmapBeyond32BitsAndPairStarts) {
    int injected = sweepAllocationFailures([&](AllocationFault& fault, bool& failed) {
        fault.arm();
        NumberBag bag(100, 163);
        failed = fault.disarm();
        EXPECT_EQ(isEmpty(bag), failed);
    });
    EXPECT_EQ(injected, 2);
    unsigned long n = 5;
    EXPECT_FALSE(NumberBag(0, 0).getNumberPairInRangeRoundRobin(0, 0, &n) || n != 5);
    // No cursor, and a cursor that is no pair's start: the next pair after it.
    NumberBag bag(0, 63);
    EXPECT_FALSE(bag.getNumber(static_cast<unsigned long*>(nullptr)));
    EXPECT_TRUE(bag.getNumberPairInRangeRoundRobin(0, 63, &(n = 1)) && n == 4);
    if (sizeof(unsigned long) > 4) {
        auto const beyond = static_cast<unsigned long>(0x100000005ull);
        NumberBag top(0xFFFFFFF0, beyond), far(beyond, beyond);
        EXPECT_FALSE(top.isInBag(beyond) || top.getNumber(beyond) || top.returnNumber(beyond) ||
                     top.getNumberInRange(beyond, beyond, &n));
        EXPECT_TRUE(top.getNumberInRange(0xFFFFFFFF, beyond, &n) && n == 0xFFFFFFFF);
        EXPECT_TRUE(isEmpty(far));
    }
}

// Lowest-first searches skip runs of taken words several at a time: one free number placed
// at every word position of a full bag, around each group of words and in the words left
// over after the last whole group, must be the one found, and never one past the bound.
TEST(NumberBagTest, SkipsLongTakenRunsToTheFirstFreeNumber) {
    unsigned long const last = 1000 + 32 * 21 + 4; // 21 whole words, a partial one, a spare
    NumberBag bag(1000, last);
    unsigned long n = 0;
    for (unsigned long v = 1000; v <= last; ++v)
        ASSERT_TRUE(bag.getNumber(v));
    for (unsigned long v = 1000; v <= last; v += 13) {
        ASSERT_TRUE(bag.returnNumber(v));
        EXPECT_FALSE(bag.getNumberInRange(1000, v - 1, &n)) << v;
        EXPECT_TRUE(bag.getNumberInRange(500 + v / 2, last, &n) && n == v);
        ASSERT_TRUE(bag.returnNumber(v));
        EXPECT_TRUE(bag.getNumber(&n) && n == v);
    }
    EXPECT_FALSE(bag.getNumber(&n));
}

} // namespace
