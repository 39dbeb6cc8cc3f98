// The two hash tables share one chain and one model (ContainerScripts.h): seeded scripts on
// both, then what the scripts cannot reach: wide keys and sizes, key copies, null keys and
// allocation failure.
#include "containers/ContainerScripts.h"
#include "containers/HashChain.h"
#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>

using namespace orvik_test;

namespace {

int values[3];

TEST(HashTablesTest, SeededScriptsAgreeWithTheModel) {
    std::mt19937 random(17u);
    std::vector<uint8_t> bytes(1500);
    for (int i = 0; i < 250; ++i) {
        for (uint8_t& b : bytes)
            b = static_cast<uint8_t>(random());
        ASSERT_EQ(runIntegerTableScript(bytes.data(), bytes.size()) +
                      runStringTableScript(bytes.data(), bytes.size()),
                  "")
            << "script " << i;
    }
}

// The bucket mask stops at 2^31 - 1; string keys are copied, and a null one is refused.
TEST(HashTablesTest, MasksStopAt31BitsAndStringKeysAreCopies) {
    for (unsigned long size : {0x80000000ul, 0xFFFFFFFFul, static_cast<unsigned long>(-1)})
        EXPECT_EQ(orvik::detail::bucketMaskFor(size), 0x7FFFFFFFu) << size;
    INStringHashTable texts(2);
    char key[8] = "key";
    ASSERT_TRUE(texts.addEntry(key, &values[0]));
    std::strcpy(key, "other");
    void* found = nullptr;
    EXPECT_TRUE(texts.getValueFromKey("key", &found) && !texts.getValueFromKey(key, &found));
    EXPECT_EQ(found, &values[0]);
    EXPECT_FALSE(texts.addEntry(nullptr, &values[1]) || texts.getValueFromKey(nullptr, &found) ||
                 texts.removeEntry(nullptr) || texts.calculateHash(nullptr) != 0);
}

// A failed addition leaves the table as it was; a table without its bucket array is empty
// and refuses everything.
template <typename Table, typename Key>
void sweepTable(Table (*make)(unsigned long), Key kept, Key added) {
    int const injected = sweepAllocationFailures([&](AllocationFault& fault, bool& failed) {
        Table table = make(4);
        table.addEntry(kept, &values[0]);
        fault.arm();
        bool const ok = table.addEntry(added, &values[1]);
        Table built = make(16);
        failed = fault.disarm();
        void* out[3] = {};
        EXPECT_EQ(table.getFirstNPointers(3, out), ok ? 2u : 1u);
        EXPECT_TRUE(out[0] == &values[0] && out[1] == (ok ? &values[1] : nullptr));
        if (!built.addEntry(added, &values[2])) {
            EXPECT_FALSE(built.getValueFromKey(added, out) || built.removeEntry(added));
            EXPECT_EQ(built.getFirstNPointers(2, out) + built.getNumberOfKeys() +
                          built.getLongestChain(),
                      0u);
            built.passAllPointers(std::free); // walks no chain: nothing to free
        }
    });
    // The node, then the bucket array; a string node holds its key copy in the same block.
    EXPECT_EQ(injected, 4);
}

TEST(HashTablesTest, AllocationFailureChangesNoTable) {
    sweepTable<INUInt32HashTable, unsigned long>(
        [](unsigned long size) { return INUInt32HashTable(size, HASH_FUNCTION_DEFAULT); }, 1, 5);
    sweepTable<INStringHashTable, char const*>(
        [](unsigned long size) { return INStringHashTable(size); }, "a", "c");
}

} // namespace
