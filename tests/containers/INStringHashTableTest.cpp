// Text-keyed hash table: hash values, key copies, exact matching, allocation failure.
#include <orvik_utilities/containers/INStringHashTable.h>

#include "support/AllocationFailure.h"
#include "support/ContainerScripts.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace orvik_test;

namespace {

int values[4];

TEST(INStringHashTableTest, HashShiftsAndXorsEveryByteAsUnsigned) {
    EXPECT_EQ(sizeof(INStringHashTable), sizeof(void*) + 8);
    INStringHashTable wide(1 << 20);
    struct Row {
        char const* key;
        unsigned long hash;
    } const rows[] = {
        {"", 0},      {"a", 0x61},    {"ab", 0xC23},          {"abc", 0x18820}, {"key", 0x1A0D7},
        {nullptr, 0}, {"\xE9", 0xE9}, {"\xFF\xFF", 0x1FE0}, {"abcdefgh", 0xC4420008 & 0xFFFFF},
    };
    for (Row const& row : rows)
        EXPECT_EQ(wide.calculateHash(row.key), row.hash) << (row.key ? row.key : "(null)");
    INStringHashTable two(0);
    EXPECT_EQ(two.calculateHash("ab"), 1u);
    EXPECT_EQ(two.calculateHash("abc"), 0u);
}

TEST(INStringHashTableTest, KeepsItsOwnCopiesAndMatchesExactBytes) {
    INStringHashTable table(2);
    char* key = new char[8];
    std::strcpy(key, "key");
    ASSERT_TRUE(table.addEntry(key, &values[0]));
    std::strcpy(key, "other");
    delete[] key;
    table.addEntry("", &values[1]);
    void* found = nullptr;
    for (char const* miss : {"Key", "ke", "key ", "other", static_cast<char const*>(nullptr)})
        EXPECT_FALSE(table.getValueFromKey(miss, &found)) << (miss ? miss : "(null)");
    EXPECT_EQ(found, nullptr);
    EXPECT_TRUE(table.getValueFromKey("key", &found));
    EXPECT_EQ(found, &values[0]);
    EXPECT_FALSE(table.addEntry(nullptr, &values[2]));
    EXPECT_FALSE(table.removeEntry(nullptr));
    EXPECT_TRUE(table.removeEntry("key"));
    EXPECT_EQ(table.getNumberOfKeys(), 1u);
}

TEST(INStringHashTableTest, AllocationFailureAddsNothingAndLeaksNothing) {
    int injected = sweepAllocationFailures([](AllocationFault& fault, bool& failed) {
        INStringHashTable table(4);
        table.addEntry("kept", &values[0]);
        fault.arm();
        bool const added = table.addEntry("added", &values[1]);
        INStringHashTable built(4);
        failed = fault.disarm();
        void* found = nullptr;
        EXPECT_EQ(table.getNumberOfKeys(), added ? 2u : 1u);
        EXPECT_EQ(table.getValueFromKey("added", &found), added);
        if (!built.addEntry("x", &values[2])) {
            EXPECT_FALSE(built.getValueFromKey("x", &found));
            EXPECT_FALSE(built.removeEntry("x"));
        }
    });
    // The key copy, then the node, then the bucket array.
    EXPECT_GE(injected, 4);
}

TEST(INStringHashTableTest, RandomOperationsAgreeWithTheModel) {
    EXPECT_EQ(runSeededScripts(runStringTableScript, 47, 150, 1500), "");
}

} // namespace
