// The two hash tables share one chain and one model (ContainerScripts.h): seeded scripts on
// both (string keys die after each step, so the table must copy them), then wide sizes, null
// keys and allocation failure.
#include "containers/ContainerScripts.h"
#include "containers/HashChain.h"
#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

using namespace orvik_test;

namespace {

int values[3];

TEST(HashTablesTest, SeededScriptsAgreeWithTheModel) {
    std::mt19937 random(17u);
    std::vector<uint8_t> bytes(1500);
    for (int i = 0; i < 250; ++i) {
        std::generate(bytes.begin(), bytes.end(), [&random] { return uint8_t(random()); });
        ASSERT_EQ(runIntegerTableScript(&bytes[0], 1500) + runStringTableScript(&bytes[0], 1500),
                  "")
            << "script " << i;
    }
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
            built.passAllPointers(std::free); // walks no chain: nothing to free
            EXPECT_FALSE(built.getValueFromKey(added, out) || built.removeEntry(added) ||
                         built.getFirstNPointers(2, out) + built.getLongestChain() != 0);
        }
    });
    // The node, then the bucket array; a string node holds its key copy in the same block.
    EXPECT_EQ(injected, 4);
}

// The bucket mask stops at 2^31 - 1; a null string key is refused.
TEST(HashTablesTest, WideMasksNullKeysAndAllocationFailure) {
    for (unsigned long size : {0x80000000ul, 0xFFFFFFFFul, static_cast<unsigned long>(-1)})
        EXPECT_EQ(orvik::detail::bucketMaskFor(size), 0x7FFFFFFFu) << size;
    INStringHashTable texts(2);
    EXPECT_FALSE(texts.addEntry(nullptr, &values[1]) || texts.getValueFromKey(nullptr, nullptr) ||
                 texts.removeEntry(nullptr) || texts.calculateHash(nullptr) != 0);
    sweepTable<INUInt32HashTable, unsigned long>(
        [](unsigned long size) { return INUInt32HashTable(size, HASH_FUNCTION_DEFAULT); }, 1, 5);
    sweepTable<INStringHashTable, char const*>(
        [](unsigned long size) { return INStringHashTable(size); }, "a", "c");
}

} // namespace
