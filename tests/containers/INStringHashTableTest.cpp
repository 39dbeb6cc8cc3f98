// Text-keyed hash table: the hash values, key copies, exact matching, allocation failure.
#include <orvik_utilities/containers/INStringHashTable.h>

#include "support/AllocationFailure.h"
#include "support/ContainerScripts.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

using namespace orvik_test;

namespace {

int values[4];

TEST(INStringHashTableTest, LayoutIsThreeFieldsWithoutVirtualFunctions) {
    EXPECT_EQ(sizeof(INStringHashTable), sizeof(void*) + 8);
    EXPECT_FALSE(std::is_polymorphic<INStringHashTable>::value);
}

TEST(INStringHashTableTest, HashShiftsAndXorsEveryByteAsUnsigned) {
    INStringHashTable wide(1 << 20);
    struct Row {
        char const* key;
        unsigned long hash;
    } const rows[] = {
        {"", 0},          {"a", 0x61},      {"ab", 0xC23},          {"abc", 0x18820},
        {"key", 0x1A0D7}, {nullptr, 0},     {"\xE9", 0xE9},         {"\xFF\xFF", 0x1FE0},
        // Bits shifted past the mask never come back down: only the low bits count.
        {"abcdefgh", 0xC4420008 & 0xFFFFF},
    };
    for (Row const& row : rows)
        EXPECT_EQ(wide.calculateHash(row.key), row.hash) << (row.key ? row.key : "(null)");
    INStringHashTable two(0);
    EXPECT_EQ(two.calculateHash("ab"), 1u);
    EXPECT_EQ(two.calculateHash("abc"), 0u);
    EXPECT_EQ(two.calculateHash("key"), 1u);
}

TEST(INStringHashTableTest, KeepsItsOwnCopyOfEveryKey) {
    INStringHashTable table(8);
    char* key = new char[8];
    std::strcpy(key, "route3");
    ASSERT_TRUE(table.addEntry(key, &values[0]));
    std::strcpy(key, "other");
    delete[] key;
    void* found = nullptr;
    EXPECT_TRUE(table.getValueFromKey("route3", &found));
    EXPECT_EQ(found, &values[0]);
    EXPECT_FALSE(table.getValueFromKey("other", &found));
    EXPECT_TRUE(table.removeEntry("route3"));
    EXPECT_EQ(table.getNumberOfKeys(), 0u);
}

TEST(INStringHashTableTest, KeysMatchByExactBytes) {
    INStringHashTable table(2);
    table.addEntry("key", &values[0]);
    table.addEntry("", &values[1]);
    table.addEntry("key", &values[2]);
    void* found = nullptr;
    for (char const* miss : {"Key", "KEY", "ke", "key ", "k"})
        EXPECT_FALSE(table.getValueFromKey(miss, &found)) << miss;
    EXPECT_TRUE(table.getValueFromKey("", &found));
    EXPECT_EQ(found, &values[1]);
    EXPECT_TRUE(table.getValueFromKey("key", &found));
    EXPECT_EQ(found, &values[0]);
    EXPECT_EQ(table.getLongestChain(), 2u); // both "key" nodes; "" is alone in bucket 0
    EXPECT_TRUE(table.removeEntry("key"));
    EXPECT_TRUE(table.getValueFromKey("key", &found));
    EXPECT_EQ(found, &values[2]);
}

TEST(INStringHashTableTest, NullKeyIsNeverStoredNorFound) {
    INStringHashTable table(4);
    void* found = &values[3];
    EXPECT_FALSE(table.addEntry(nullptr, &values[0]));
    EXPECT_FALSE(table.getValueFromKey(nullptr, &found));
    EXPECT_FALSE(table.removeEntry(nullptr));
    EXPECT_EQ(found, &values[3]);
    EXPECT_EQ(table.getNumberOfKeys(), 0u);
}

TEST(INStringHashTableTest, AllocationFailureAddsNothingAndLeaksNothing) {
    int injected = sweepAllocationFailures([](AllocationFault& fault, bool& failed) {
        INStringHashTable table(4);
        table.addEntry("kept", &values[0]);
        char key[] = "added";
        fault.arm();
        bool const added = table.addEntry(key, &values[1]);
        INStringHashTable built(4);
        failed = fault.disarm();
        std::memset(key, 0, sizeof key);
        void* found = nullptr;
        EXPECT_EQ(table.getNumberOfKeys(), added ? 2u : 1u);
        EXPECT_EQ(table.getValueFromKey("added", &found), added);
        EXPECT_TRUE(table.getValueFromKey("kept", &found));
        if (!built.addEntry("x", &values[2])) {
            EXPECT_FALSE(built.getValueFromKey("x", &found));
            EXPECT_FALSE(built.removeEntry("x"));
            EXPECT_EQ(built.getNumberOfKeys(), 0u);
            built.removeAllEntries();
        }
    });
    // The key copy, then the node, then the bucket array.
    EXPECT_GE(injected, 4);
}

TEST(INStringHashTableTest, RandomOperationsAgreeWithTheModel) {
    EXPECT_EQ(runSeededScripts(runStringTableScript, 47, 150, 1500), "");
}

} // namespace
