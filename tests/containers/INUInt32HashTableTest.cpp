// Integer-keyed hash table: bucket rule, chain order, duplicates, allocation failure; the
// seeded scripts cover walks and removals against the model.
#include <orvik_utilities/containers/INUInt32HashTable.h>

#include "containers/HashChain.h"
#include "support/AllocationFailure.h"
#include "support/ContainerScripts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <type_traits>

using namespace orvik_test;

namespace {

int values[4];

TEST(INUInt32HashTableTest, BucketCountIsTheSmallestPowerOfTwoAtLeastTheSize) {
    EXPECT_EQ(sizeof(INUInt32HashTable), sizeof(void*) + 8);
    EXPECT_FALSE(std::is_polymorphic<INUInt32HashTable>::value);
    unsigned long const rows[][2] = {{0, 2}, {1, 2},  {2, 2},   {3, 4},     {4, 4},
                                     {5, 8}, {9, 16}, {17, 32}, {100, 128}, {1000, 1024}};
    for (auto const& row : rows) {
        // Whatever hash function is named, the low bits decide.
        INUInt32HashTable table(row[0], static_cast<HashFunctionType>(row[0]));
        EXPECT_EQ(table.calculateHash(0xFFFFFFFF), row[1] - 1) << row[0];
    }
    // Past 2^31 the count stops at 2^31 instead of running the 32-bit mask round.
    for (unsigned long size : {0x80000000ul, 0xFFFFFFFFul, static_cast<unsigned long>(-1)})
        EXPECT_EQ(orvik::detail::bucketMaskFor(size), 0x7FFFFFFFu) << size;
}

TEST(INUInt32HashTableTest, CollidingAndRepeatedKeysChainOldestFirst) {
    INUInt32HashTable table(8, HASH_FUNCTION_DEFAULT);
    table.addEntry(5, &values[0]);
    table.addEntry(13, &values[1]);
    table.addEntry(5, &values[2]);
    EXPECT_EQ(table.getLongestChain(), 3u);
    void* found = nullptr;
    EXPECT_TRUE(table.getValueFromKey(13, &found));
    EXPECT_EQ(found, &values[1]);
    EXPECT_TRUE(table.removeEntry(5));
    EXPECT_TRUE(table.getValueFromKey(5, &found));
    EXPECT_EQ(found, &values[2]);
    EXPECT_TRUE(table.removeEntry(5));
    EXPECT_FALSE(table.removeEntry(5));
    EXPECT_FALSE(table.getValueFromKey(5, &found));
    EXPECT_EQ(found, &values[2]);
    if (sizeof(unsigned long) > 4) {
        // Keys are 32 bits wide on every host.
        EXPECT_TRUE(table.getValueFromKey(static_cast<unsigned long>(UINT64_C(0x10000000D)),
                                          nullptr));
    }
}

TEST(INUInt32HashTableTest, PassAllPointersLetsTheCallerFreeTheValues) {
    INUInt32HashTable table(2, HASH_FUNCTION_DEFAULT);
    for (unsigned long key = 0; key < 10; ++key)
        table.addEntry(key % 3, std::malloc(16));
    table.passAllPointers(std::free);
    table.passAllPointers(nullptr);
    table.removeAllEntries();
    EXPECT_EQ(table.getNumberOfKeys(), 0u);
    EXPECT_TRUE(table.addEntry(1, &values[0]));
    EXPECT_EQ(table.getFirstNPointers(4, nullptr), 0u);
}

TEST(INUInt32HashTableTest, AllocationFailureLeavesTheTableAsItWas) {
    int injected = sweepAllocationFailures([](AllocationFault& fault, bool& failed) {
        INUInt32HashTable table(4, HASH_FUNCTION_DEFAULT);
        table.addEntry(1, &values[0]);
        fault.arm();
        bool const added = table.addEntry(5, &values[1]);
        INUInt32HashTable built(16, HASH_FUNCTION_DEFAULT);
        failed = fault.disarm();
        void* out[2] = {};
        EXPECT_EQ(table.getFirstNPointers(2, out), added ? 2u : 1u);
        EXPECT_EQ(out[0], &values[0]);
        // Without its bucket array a table is empty and refuses every addition.
        if (!built.addEntry(3, &values[2])) {
            EXPECT_FALSE(built.getValueFromKey(3, out));
            EXPECT_FALSE(built.removeEntry(3));
            EXPECT_EQ(built.getFirstNPointers(2, out) + built.getNumberOfKeys() +
                          built.getLongestChain(),
                      0u);
            EXPECT_EQ(built.calculateHash(21), 5u);
            built.passAllPointers(std::free);
        }
    });
    EXPECT_GE(injected, 2);
}

TEST(INUInt32HashTableTest, RandomOperationsAgreeWithTheModel) {
    EXPECT_EQ(runSeededScripts(runIntegerTableScript, 31, 150, 1500), "");
}

} // namespace
