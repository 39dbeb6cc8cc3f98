// Integer-keyed hash table: bucket rule, chain order, duplicates, walks, allocation failure.
#include <orvik_utilities/containers/INUInt32HashTable.h>

#include "containers/HashChain.h"
#include "support/AllocationFailure.h"
#include "support/ContainerScripts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <type_traits>

using namespace orvik_test;

namespace {

int values[8];

TEST(INUInt32HashTableTest, LayoutIsThreeFieldsWithoutVirtualFunctions) {
    EXPECT_EQ(sizeof(INUInt32HashTable), sizeof(void*) + 8);
    EXPECT_FALSE(std::is_polymorphic<INUInt32HashTable>::value);
}

TEST(INUInt32HashTableTest, BucketCountIsTheSmallestPowerOfTwoAtLeastTheSize) {
    struct Row {
        unsigned long size;
        unsigned long buckets;
    } const rows[] = {{0, 2},  {1, 2},  {2, 2},   {3, 4},     {4, 4},    {5, 8},
                      {8, 8},  {9, 16}, {17, 32}, {100, 128}, {1000, 1024}};
    for (Row const& row : rows) {
        INUInt32HashTable table(row.size, HASH_FUNCTION_DEFAULT);
        EXPECT_EQ(table.calculateHash(0xFFFFFFFF), row.buckets - 1) << row.size;
        EXPECT_EQ(table.calculateHash(row.buckets + 1), 1u) << row.size;
    }
    // Sizes past 2^31 stop at 2^31 buckets instead of running the 32-bit mask round.
    using orvik::detail::bucketMaskFor;
    EXPECT_EQ(bucketMaskFor(0x40000001), 0x7FFFFFFFu);
    EXPECT_EQ(bucketMaskFor(0x80000000), 0x7FFFFFFFu);
    EXPECT_EQ(bucketMaskFor(0xFFFFFFFF), 0x7FFFFFFFu);
    if (sizeof(unsigned long) > 4) {
        EXPECT_EQ(bucketMaskFor(static_cast<unsigned long>(UINT64_C(0x100000003))), 0x7FFFFFFFu);
    }
}

TEST(INUInt32HashTableTest, KeysOfOneBucketChainInInsertionOrder) {
    INUInt32HashTable table(8, HASH_FUNCTION_LOW_BITS);
    ASSERT_TRUE(table.addEntry(5, &values[0]));
    ASSERT_TRUE(table.addEntry(13, &values[1]));
    EXPECT_EQ(table.calculateHash(13), 5u);
    EXPECT_EQ(table.getLongestChain(), 2u);
    void* found = nullptr;
    EXPECT_TRUE(table.getValueFromKey(13, &found));
    EXPECT_EQ(found, &values[1]);
    // Whatever hash function is named, the low bits decide.
    INUInt32HashTable other(8, static_cast<HashFunctionType>(7));
    EXPECT_EQ(other.calculateHash(13), 5u);
}

TEST(INUInt32HashTableTest, DuplicateKeysAreKeptAndFoundOldestFirst) {
    INUInt32HashTable table(4, HASH_FUNCTION_DEFAULT);
    table.addEntry(9, &values[0]);
    table.addEntry(9, &values[1]);
    EXPECT_EQ(table.getNumberOfKeys(), 2u);
    void* found = &values[7];
    EXPECT_TRUE(table.getValueFromKey(9, &found));
    EXPECT_EQ(found, &values[0]);
    EXPECT_TRUE(table.removeEntry(9));
    EXPECT_TRUE(table.getValueFromKey(9, &found));
    EXPECT_EQ(found, &values[1]);
    EXPECT_TRUE(table.getValueFromKey(9, nullptr));
    EXPECT_TRUE(table.removeEntry(9));
    EXPECT_FALSE(table.removeEntry(9));
    found = &values[7];
    EXPECT_FALSE(table.getValueFromKey(9, &found));
    EXPECT_EQ(found, &values[7]);
    EXPECT_EQ(table.getLongestChain(), 0u);
}

TEST(INUInt32HashTableTest, WalksGoBucketByBucketAndStopAtTheCount) {
    INUInt32HashTable table(4, HASH_FUNCTION_DEFAULT);
    unsigned long const keys[] = {3, 1, 7, 4, 0, 5};
    for (int i = 0; i < 6; ++i)
        table.addEntry(keys[i], &values[i]);
    // Buckets 0: 4, 0; 1: 1, 5; 3: 3, 7.
    void* const order[] = {&values[3], &values[4], &values[1], &values[5], &values[0], &values[2]};
    void* out[8];
    for (void*& slot : out)
        slot = &values[7];
    EXPECT_EQ(table.getFirstNPointers(3, out), 3u);
    EXPECT_EQ(out[2], order[2]);
    EXPECT_EQ(out[3], &values[7]);
    EXPECT_EQ(table.getFirstNPointers(8, out), 6u);
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(out[i], order[i]) << i;
    EXPECT_EQ(out[6], &values[7]);
    EXPECT_EQ(table.getFirstNPointers(8, nullptr), 0u);
    detail::passedValues().clear();
    table.passAllPointers(detail::gatherValue);
    EXPECT_EQ(detail::passedValues(), std::vector<void*>(order, order + 6));
    table.passAllPointers(nullptr);
}

TEST(INUInt32HashTableTest, PassAllPointersLetsTheCallerFreeTheValues) {
    INUInt32HashTable table(2, HASH_FUNCTION_DEFAULT);
    for (unsigned long key = 0; key < 10; ++key)
        table.addEntry(key % 3, std::malloc(16));
    table.passAllPointers(std::free);
    table.removeAllEntries();
    EXPECT_EQ(table.getNumberOfKeys(), 0u);
    EXPECT_EQ(table.getLongestChain(), 0u);
    EXPECT_TRUE(table.addEntry(1, &values[0]));
    EXPECT_EQ(table.getNumberOfKeys(), 1u);
}

TEST(INUInt32HashTableTest, KeysAre32BitsWideOnEveryHost) {
    if (sizeof(unsigned long) == 4)
        GTEST_SKIP() << "unsigned long holds exactly the key here";
    INUInt32HashTable table(16, HASH_FUNCTION_DEFAULT);
    auto const wide = static_cast<unsigned long>(UINT64_C(0x100000005));
    table.addEntry(wide, &values[0]);
    void* found = nullptr;
    EXPECT_TRUE(table.getValueFromKey(5, &found));
    EXPECT_EQ(table.calculateHash(wide), 5u);
    EXPECT_TRUE(table.removeEntry(wide));
}

TEST(INUInt32HashTableTest, AllocationFailureLeavesTheTableAsItWas) {
    int injected = sweepAllocationFailures([](AllocationFault& fault, bool& failed) {
        INUInt32HashTable table(4, HASH_FUNCTION_DEFAULT);
        table.addEntry(1, &values[0]);
        fault.arm();
        bool const added = table.addEntry(5, &values[1]);
        INUInt32HashTable built(16, HASH_FUNCTION_DEFAULT);
        failed = fault.disarm();
        void* found = nullptr;
        EXPECT_EQ(table.getNumberOfKeys(), added ? 2u : 1u);
        EXPECT_EQ(table.getValueFromKey(5, &found), added);
        EXPECT_TRUE(table.getValueFromKey(1, &found));
        // A table without its bucket array is empty and refuses every addition.
        if (!built.addEntry(3, &values[2])) {
            void* out[2] = {};
            EXPECT_FALSE(built.getValueFromKey(3, &found));
            EXPECT_FALSE(built.removeEntry(3));
            EXPECT_EQ(built.getFirstNPointers(2, out), 0u);
            EXPECT_EQ(built.getNumberOfKeys(), 0u);
            EXPECT_EQ(built.getLongestChain(), 0u);
            EXPECT_EQ(built.calculateHash(21), 5u);
            built.passAllPointers(std::free);
            built.removeAllEntries();
        }
    });
    EXPECT_GE(injected, 2);
}

TEST(INUInt32HashTableTest, RandomOperationsAgreeWithTheModel) {
    EXPECT_EQ(runSeededScripts(runIntegerTableScript, 31, 150, 1500), "");
}

} // namespace
