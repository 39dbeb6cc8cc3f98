// Number bag: each way of taking numbers, the edges of the 32-bit space, allocation failure.
#include <orvik_utilities/containers/NumberBag.h>

#include "support/AllocationFailure.h"
#include "support/ContainerScripts.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

using namespace orvik_test;

namespace {

// Takes numbers with one operation until it fails; the cursor runs on as a caller's would.
template <typename Take> std::vector<unsigned long> drain(unsigned long cursor, Take take) {
    std::vector<unsigned long> taken;
    while (take(&cursor) && taken.size() < 600)
        taken.push_back(cursor);
    return taken;
}

using Numbers = std::vector<unsigned long>;

TEST(NumberBagTest, LayoutIsABitmapPointerAndFourWords) {
    EXPECT_EQ(sizeof(NumberBag), sizeof(void*) + 16);
    EXPECT_FALSE(std::is_polymorphic<NumberBag>::value);
    NumberBag bag(100, 163);
    EXPECT_EQ(lastAllocationSize(), 3 * sizeof(uint32_t));
}

TEST(NumberBagTest, LowestFirstThenReturnedNumbersComeBack) {
    NumberBag bag(0, 9);
    EXPECT_EQ(drain(0, [&](unsigned long* n) { return bag.getNumber(n); }),
              (Numbers{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_TRUE(bag.returnNumber(4));
    EXPECT_FALSE(bag.returnNumber(4));
    EXPECT_FALSE(bag.returnNumber(10));
    EXPECT_TRUE(bag.isInBag(4));
    unsigned long n = 77;
    EXPECT_TRUE(bag.getNumber(&n));
    EXPECT_EQ(n, 4u);
    EXPECT_FALSE(bag.getNumber(&n));
    EXPECT_EQ(n, 4u);
    EXPECT_FALSE(bag.getNumber(nullptr));
}

TEST(NumberBagTest, RangesOfWholeWordsHoldExactlyTheirNumbers) {
    for (unsigned long last : {131ul, 163ul, 164ul}) {
        NumberBag bag(100, last);
        Numbers const taken = drain(0, [&](unsigned long* n) { return bag.getNumber(n); });
        EXPECT_EQ(taken.size(), last - 99);
        EXPECT_EQ(taken.back(), last);
        EXPECT_FALSE(bag.isInBag(last + 1));
        EXPECT_FALSE(bag.returnNumber(last + 1));
    }
}

TEST(NumberBagTest, SpecificNumbersAreTakenOnceAndOnlyInRange) {
    NumberBag bag(10, 20);
    EXPECT_TRUE(bag.getNumber(10ul));
    EXPECT_FALSE(bag.getNumber(10ul));
    EXPECT_TRUE(bag.getNumber(20ul));
    EXPECT_FALSE(bag.getNumber(9ul));
    EXPECT_FALSE(bag.getNumber(21ul));
    for (unsigned long n : {9ul, 10ul, 20ul, 21ul, 0ul, 0xFFFFFFFFul})
        EXPECT_FALSE(bag.isInBag(n)) << n;
    EXPECT_TRUE(bag.isInBag(15));
}

TEST(NumberBagTest, RoundRobinContinuesAfterTheCursorAndWraps) {
    NumberBag bag(0, 9);
    unsigned long cursor = 9;
    for (unsigned long expected = 0; expected < 8; ++expected) {
        ASSERT_TRUE(bag.getNumberRoundRobin(&cursor));
        EXPECT_EQ(cursor, expected);
    }
    EXPECT_TRUE(bag.returnNumber(5));
    EXPECT_EQ(drain(cursor, [&](unsigned long* n) { return bag.getNumberRoundRobin(n); }),
              (Numbers{8, 9, 5}));
    // A cursor of 2^32 - 1 wraps to 0, and one below the range starts at its first number.
    NumberBag high(40, 100);
    cursor = 0xFFFFFFFF;
    EXPECT_TRUE(high.getNumberRoundRobin(&cursor));
    EXPECT_EQ(cursor, 40u);
    cursor = 3;
    EXPECT_TRUE(high.getNumberRoundRobin(&cursor));
    EXPECT_EQ(cursor, 41u);
    cursor = 100;
    EXPECT_TRUE(high.getNumberRoundRobin(&cursor));
    EXPECT_EQ(cursor, 42u);
    EXPECT_FALSE(high.getNumberRoundRobin(nullptr));
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
    EXPECT_EQ(inRange(0, 100), (Numbers{0, 1, 2}));
    NumberBag above(50, 60);
    unsigned long n = 1;
    EXPECT_FALSE(above.getNumberInRange(0, 49, &n));
    EXPECT_EQ(n, 1u);
}

TEST(NumberBagTest, RangeRoundRobinWrapsAtTheRangeNotTheBag) {
    NumberBag bag(0, 9);
    for (unsigned long n : {0ul, 1ul, 5ul, 6ul, 7ul, 8ul, 9ul})
        bag.getNumber(n);
    unsigned long cursor = 4;
    EXPECT_TRUE(bag.getNumberInRangeRoundRobin(2, 4, &cursor));
    EXPECT_EQ(cursor, 2u);
    EXPECT_EQ(drain(cursor, [&](unsigned long* n) {
                  return bag.getNumberInRangeRoundRobin(2, 4, n);
              }),
              (Numbers{3, 4}));
    bag.returnNumber(5);
    cursor = 1;
    EXPECT_FALSE(bag.getNumberInRangeRoundRobin(2, 4, &cursor));
    EXPECT_EQ(cursor, 1u);
    bag.returnNumber(3);
    cursor = 3;
    EXPECT_TRUE(bag.getNumberInRangeRoundRobin(2, 4, &cursor));
    EXPECT_EQ(cursor, 3u);
    EXPECT_FALSE(bag.getNumberInRangeRoundRobin(7, 3, &cursor));
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
    EXPECT_EQ(pairs(1000, 1009), (Numbers{1000, 1004, 1006, 1008}));
    EXPECT_TRUE(bag.isInBag(1002));

    NumberBag full(1000, 1009);
    unsigned long n = 5;
    EXPECT_FALSE(full.getNumberPairInRangeRoundRobin(1000, 1000, &n));
    EXPECT_FALSE(full.getNumberPairInRangeRoundRobin(0, 1000, &n));
    EXPECT_EQ(n, 5u);
    EXPECT_TRUE(full.getNumberPairInRangeRoundRobin(1000, 1001, &n));
    EXPECT_EQ(n, 1000u);
    // An odd lower bound is raised to an even offset: 1002, never 1001.
    EXPECT_TRUE(full.getNumberPairInRangeRoundRobin(1001, 1009, &n));
    EXPECT_EQ(n, 1002u);
    EXPECT_TRUE(full.isInBag(1004) && full.isInBag(1005));
    EXPECT_FALSE(full.getNumberPairInRangeRoundRobin(1009, 1009, &n));
    EXPECT_FALSE(NumberBag(0, 0).getNumberPairInRangeRoundRobin(0, 0, &n));
}

TEST(NumberBagTest, TopOfThe32BitSpaceWrapsWithoutOverrun) {
    NumberBag bag(0xFFFFFF00, 0xFFFFFFFF);
    unsigned long cursor = 0xFFFFFFFE;
    EXPECT_TRUE(bag.getNumberRoundRobin(&cursor));
    EXPECT_EQ(cursor, 0xFFFFFFFFu);
    EXPECT_TRUE(bag.getNumberRoundRobin(&cursor));
    EXPECT_EQ(cursor, 0xFFFFFF00u);
    cursor = 0xFFFFFFFD;
    EXPECT_TRUE(bag.getNumberPairInRangeRoundRobin(0, 0xFFFFFFFF, &cursor));
    EXPECT_EQ(cursor, 0xFFFFFF02u);
    EXPECT_TRUE(bag.getNumberInRangeRoundRobin(0xFFFFFFF0, 0xFFFFFFFF, &cursor));
    EXPECT_EQ(cursor, 0xFFFFFFF0u);
    EXPECT_TRUE(bag.returnNumber(0xFFFFFFFF));
    EXPECT_TRUE(bag.isInBag(0xFFFFFFFF));
    Numbers const rest = drain(0, [&](unsigned long* n) { return bag.getNumber(n); });
    EXPECT_EQ(rest.size(), 252u);
    EXPECT_EQ(rest.back(), 0xFFFFFFFFu);
}

TEST(NumberBagTest, RangesOutsideTheModelGiveAnEmptyBag) {
    if (sizeof(unsigned long) > 4) {
        // Wider than 32 bits: numbers and lower bounds lie beyond every range.
        auto const beyond = static_cast<unsigned long>(UINT64_C(0x100000005));
        NumberBag top(0xFFFFFFF0, beyond);
        unsigned long n = 0;
        EXPECT_FALSE(top.isInBag(beyond));
        EXPECT_FALSE(top.getNumber(beyond));
        EXPECT_FALSE(top.getNumberInRange(beyond, beyond, &n));
        EXPECT_TRUE(top.getNumberInRange(0xFFFFFFFF, beyond, &n));
        EXPECT_EQ(n, 0xFFFFFFFFu);
        EXPECT_FALSE(NumberBag(beyond, beyond).isInBag(0xFFFFFFFF));
    }
    for (auto range : {std::pair<unsigned long, unsigned long>{10, 9}, {0, 0xFFFFFFFF}}) {
        NumberBag bag(range.first, range.second);
        unsigned long n = 3;
        EXPECT_FALSE(bag.getNumber(&n));
        EXPECT_FALSE(bag.getNumber(9ul));
        EXPECT_FALSE(bag.getNumberRoundRobin(&n));
        EXPECT_FALSE(bag.getNumberInRange(0, 0xFFFFFFFF, &n));
        EXPECT_FALSE(bag.getNumberInRangeRoundRobin(0, 0xFFFFFFFF, &n));
        EXPECT_FALSE(bag.getNumberPairInRangeRoundRobin(0, 0xFFFFFFFF, &n));
        EXPECT_FALSE(bag.returnNumber(9));
        EXPECT_FALSE(bag.isInBag(10));
        EXPECT_EQ(n, 3u);
    }
}

TEST(NumberBagTest, BagWithoutItsBitmapAnswersFalseEverywhere) {
    int injected = sweepAllocationFailures([](AllocationFault& fault, bool& failed) {
        fault.arm();
        NumberBag bag(0, 99);
        failed = fault.disarm();
        unsigned long n = 50;
        EXPECT_EQ(bag.isInBag(50), !failed);
        EXPECT_EQ(bag.getNumber(&n), !failed);
        EXPECT_EQ(bag.getNumberRoundRobin(&n), !failed);
        EXPECT_EQ(bag.getNumberInRange(0, 99, &n), !failed);
        EXPECT_EQ(bag.getNumberInRangeRoundRobin(0, 99, &n), !failed);
        EXPECT_EQ(bag.getNumberPairInRangeRoundRobin(0, 99, &n), !failed);
        EXPECT_EQ(bag.getNumber(60ul), !failed);
        EXPECT_EQ(bag.returnNumber(60), !failed);
    });
    EXPECT_EQ(injected, 2);
}

TEST(NumberBagTest, RandomOperationsAgreeWithTheSetModel) {
    EXPECT_EQ(runSeededScripts(runNumberBagScript, 17, 300, 1200), "");
}

} // namespace
