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
    for (int i = 0; i < 250; ++i, random.discard(300)) {
        std::generate(bytes.begin(), bytes.end(), [&random] { return uint8_t(random()); });
        ASSERT_EQ(runNumberBagScript(bytes.data(), bytes.size()), "") << "script " << i;
    }
}

bool isEmpty(NumberBag& bag) {
    unsigned long n = 3;
    bool any = bag.returnNumber(9) || bag.isInBag(10) || bag.getNumber(9ul);
    for (uint32_t op : {0u, 2u, 3u, 4u, 5u})
        any = any || bagStep(bag, op, 0, 0xFFFFFFFF, n);
    return !any && n == 3;
}

// A bag whose bitmap could not be allocated is empty; numbers and lower bounds wider than
// 32 bits lie beyond every range; without a cursor nothing is taken.
TEST(NumberBagTest, WithoutBitmapBeyond32BitsAndNoCursor) {
    EXPECT_EQ(sweepAllocationFailures([&](AllocationFault& fault, bool& failed) {
                  fault.arm();
                  NumberBag bag(100, 163);
                  failed = fault.disarm();
                  EXPECT_EQ(isEmpty(bag), failed);
              }),
              2);
    unsigned long n = 5;
    EXPECT_FALSE(NumberBag(0, 63).getNumber(static_cast<unsigned long*>(nullptr)));
    if (sizeof(unsigned long) > 4) {
        auto const beyond = static_cast<unsigned long>(0x100000005ull);
        NumberBag top(0xFFFFFFF0, beyond), far(beyond, beyond);
        EXPECT_FALSE(top.isInBag(beyond) || top.getNumber(beyond) || top.returnNumber(beyond) ||
                     top.getNumberInRange(beyond, beyond, &n));
        EXPECT_TRUE(top.getNumberInRange(0xFFFFFFFF, beyond, &n) && n == 0xFFFFFFFF);
        EXPECT_TRUE(isEmpty(far));
    }
}

} // namespace
