// Number bag: each way of taking numbers on the documented scenarios, ranges outside the
// model and allocation failure; the seeded scripts compare everything with the set model,
// on ranges of whole and partial words and at the top of the 32-bit space.
#include <orvik_utilities/containers/NumberBag.h>

#include "support/AllocationFailure.h"
#include "support/ContainerScripts.h"

#include <gtest/gtest.h>

#include <vector>

using namespace orvik_test;

namespace {

using Numbers = std::vector<unsigned long>;

// Takes numbers with one operation until it fails; the cursor runs on as a caller's would.
template <typename Take> Numbers drain(unsigned long cursor, Take take) {
    Numbers taken;
    while (take(&cursor) && taken.size() < 600)
        taken.push_back(cursor);
    return taken;
}

TEST(NumberBagTest, LowestFirstThenReturnedNumbersComeBack) {
    EXPECT_EQ(sizeof(NumberBag), sizeof(void*) + 16);
    NumberBag bag(0, 9);
    EXPECT_EQ(drain(0, [&](unsigned long* n) { return bag.getNumber(n); }),
              (Numbers{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_TRUE(bag.returnNumber(4));
    EXPECT_FALSE(bag.returnNumber(4));
    EXPECT_FALSE(bag.returnNumber(10));
    EXPECT_TRUE(bag.getNumber(4ul));
    EXPECT_FALSE(bag.getNumber(4ul));
    EXPECT_FALSE(bag.getNumber(nullptr));
    // 64 numbers fill two words exactly; the third stays empty.
    NumberBag whole(100, 163);
    EXPECT_EQ(lastAllocationSize(), 3 * sizeof(uint32_t));
    EXPECT_EQ(drain(0, [&](unsigned long* n) { return whole.getNumber(n); }).size(), 64u);
    EXPECT_FALSE(whole.returnNumber(164));
}

TEST(NumberBagTest, RoundRobinContinuesAfterTheCursorAndWraps) {
    NumberBag bag(0, 9);
    EXPECT_EQ(drain(9, [&](unsigned long* n) { return *n != 7 && bag.getNumberRoundRobin(n); }),
              (Numbers{0, 1, 2, 3, 4, 5, 6, 7}));
    EXPECT_TRUE(bag.returnNumber(5));
    EXPECT_EQ(drain(7, [&](unsigned long* n) { return bag.getNumberRoundRobin(n); }),
              (Numbers{8, 9, 5}));
    // A cursor of 2^32 - 1 wraps to 0, and one outside the range starts at its first number.
    NumberBag high(40, 100);
    EXPECT_EQ(drain(0xFFFFFFFF, [&](unsigned long* n) {
                  return *n != 41 && high.getNumberRoundRobin(n);
              }),
              (Numbers{40, 41}));
    unsigned long cursor = 100;
    EXPECT_TRUE(high.getNumberRoundRobin(&cursor));
    EXPECT_EQ(cursor, 42u);
}

TEST(NumberBagTest, RangeRequestsStayInsideTheirBounds) {
    NumberBag bag(0, 9);
    auto inRange = [&](unsigned long lo, unsigned long hi) {
        return drain(0, [&](unsigned long* n) { return bag.getNumberInRange(lo, hi, n); });
    };
    EXPECT_EQ(inRange(3, 5), (Numbers{3, 4, 5}));
    EXPECT_EQ(inRange(7, 7), (Numbers{7}));
    EXPECT_EQ(inRange(8, 6), Numbers{});
    EXPECT_EQ(inRange(12, 40), Numbers{});
    EXPECT_EQ(inRange(6, 0xFFFFFFFF), (Numbers{6, 8, 9}));
    for (unsigned long n : {0ul, 1ul, 5ul, 6ul})
        bag.returnNumber(n);
    // The cursor at 4 wraps to 2 in [2, 4]; 5 is free but outside and never handed out.
    bag.returnNumber(2);
    unsigned long cursor = 4;
    EXPECT_TRUE(bag.getNumberInRangeRoundRobin(2, 4, &cursor));
    EXPECT_EQ(cursor, 2u);
    bag.returnNumber(4);
    EXPECT_TRUE(bag.getNumberInRangeRoundRobin(2, 4, &cursor));
    EXPECT_EQ(cursor, 4u);
    EXPECT_FALSE(bag.getNumberInRangeRoundRobin(2, 4, &cursor));
    EXPECT_FALSE(bag.getNumberInRangeRoundRobin(7, 3, &cursor));
    EXPECT_EQ(cursor, 4u);
}

TEST(NumberBagTest, PairsAreAlignedConsecutiveFreeNumbers) {
    NumberBag bag(1000, 1009);
    auto pairs = [&](unsigned long lo, unsigned long hi) {
        return drain(998, [&](unsigned long* n) {
            return bag.getNumberPairInRangeRoundRobin(lo, hi, n);
        });
    };
    EXPECT_EQ(pairs(1000, 1009), (Numbers{1000, 1002, 1004, 1006, 1008}));
    EXPECT_FALSE(bag.isInBag(1009));
    for (unsigned long n = 1000; n <= 1009; ++n)
        bag.returnNumber(n);
    bag.getNumber(1003ul);
    EXPECT_EQ(pairs(1000, 1001), (Numbers{1000}));
    EXPECT_EQ(pairs(1000, 1000), Numbers{});
    EXPECT_EQ(pairs(0, 1000), Numbers{});
    // An odd lower bound is raised to an even offset: 1004, never 1001 or 1005.
    EXPECT_EQ(pairs(1001, 1009), (Numbers{1004, 1006, 1008}));
    EXPECT_TRUE(bag.isInBag(1002));
    unsigned long n = 5;
    EXPECT_FALSE(NumberBag(0, 0).getNumberPairInRangeRoundRobin(0, 0, &n));
    EXPECT_EQ(n, 5u);
}

TEST(NumberBagTest, RangesOutsideTheModelAndMissingBitmapsGiveAnEmptyBag) {
    auto empty = [](NumberBag& bag) {
        unsigned long n = 3;
        bool const any = bag.getNumber(&n) || bag.getNumber(9ul) || bag.getNumberRoundRobin(&n) ||
                         bag.getNumberInRange(0, 0xFFFFFFFF, &n) ||
                         bag.getNumberInRangeRoundRobin(0, 0xFFFFFFFF, &n) ||
                         bag.getNumberPairInRangeRoundRobin(0, 0xFFFFFFFF, &n) ||
                         bag.returnNumber(9) || bag.isInBag(10);
        return !any && n == 3;
    };
    NumberBag reversed(10, 9), everything(0, 0xFFFFFFFF);
    EXPECT_TRUE(empty(reversed));
    EXPECT_TRUE(empty(everything));
    int injected = sweepAllocationFailures([&](AllocationFault& fault, bool& failed) {
        fault.arm();
        NumberBag bag(0, 99);
        failed = fault.disarm();
        EXPECT_EQ(empty(bag), failed);
    });
    EXPECT_EQ(injected, 2);
    if (sizeof(unsigned long) > 4) {
        // Numbers and lower bounds wider than 32 bits lie beyond every range.
        auto const beyond = static_cast<unsigned long>(UINT64_C(0x100000005));
        NumberBag top(0xFFFFFFF0, beyond);
        unsigned long n = 0;
        EXPECT_FALSE(top.isInBag(beyond) || top.getNumber(beyond) ||
                     top.getNumberInRange(beyond, beyond, &n));
        EXPECT_TRUE(top.getNumberInRange(0xFFFFFFFF, beyond, &n));
        EXPECT_EQ(n, 0xFFFFFFFFu);
        NumberBag far(beyond, beyond);
        EXPECT_TRUE(empty(far));
    }
}

// Lowest-first searches skip runs of taken words eight at a time: one free number placed
// at every word position of a full bag, around each group of eight and in the words left
// over after the last whole group, must be the one found, and never one past the bound.
TEST(NumberBagTest, LongTakenRunsAreSkippedToTheFirstFreeNumber) {
    uint32_t const last = 32 * 21 + 4; // 21 whole words, a partial one, then the spare word
    NumberBag bag(1000, 1000 + last);
    unsigned long n = 0;
    for (uint32_t v = 0; v <= last; ++v)
        ASSERT_TRUE(bag.getNumber(1000ul + v));
    EXPECT_FALSE(bag.getNumber(&n));
    for (uint32_t v = 0; v <= last; v += 13) {
        ASSERT_TRUE(bag.returnNumber(1000ul + v));
        EXPECT_FALSE(bag.getNumberInRange(1000, 1000ul + v - 1, &n)) << v;
        EXPECT_TRUE(bag.getNumberInRange(1000ul + v / 2, 1000ul + last, &n));
        EXPECT_EQ(n, 1000ul + v);
        ASSERT_TRUE(bag.returnNumber(1000ul + v));
        EXPECT_TRUE(bag.getNumber(&n));
        EXPECT_EQ(n, 1000ul + v);
    }
    EXPECT_FALSE(bag.getNumber(&n));
    EXPECT_FALSE(bag.getNumberInRange(1000, 1000ul + last, &n));
}

TEST(NumberBagTest, RandomOperationsAgreeWithTheSetModel) {
    EXPECT_EQ(runSeededScripts(runNumberBagScript, 17, 300, 1200), "");
}

} // namespace
