// Containers: seeded operation scripts against the models, then what the scripts cannot
// reach: allocation failure, numbers wider than 32 bits, key copies, and the list templates.
#include "containers/ContainerScripts.h"
#include "containers/HashChain.h"
#include "support/AllocationFailure.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <random>

using namespace orvik_test;

namespace {

int values[4];

TEST(ContainersTest, SeededScriptsAgreeWithTheModels) {
    std::mt19937 random(17u);
    std::vector<uint8_t> bytes(1500);
    for (int i = 0; i < 250; ++i) {
        for (uint8_t& b : bytes)
            b = static_cast<uint8_t>(random());
        ASSERT_EQ(runNumberBagScript(bytes.data(), 1200), "") << "script " << i;
        ASSERT_EQ(runIntegerTableScript(bytes.data(), bytes.size()), "") << "script " << i;
        ASSERT_EQ(runStringTableScript(bytes.data(), bytes.size()), "") << "script " << i;
    }
}

// The bucket mask stops at 2^31 - 1; keys are 32 bits wide and string keys are copied.
TEST(ContainersTest, TablesKeepTheirOwnKeysOf32Bits) {
    for (unsigned long size : {0x80000000ul, 0xFFFFFFFFul, static_cast<unsigned long>(-1)})
        EXPECT_EQ(orvik::detail::bucketMaskFor(size), 0x7FFFFFFFu) << size;
    INUInt32HashTable numbers(8, HASH_FUNCTION_DEFAULT);
    numbers.addEntry(13, std::malloc(16));
    numbers.addEntry(5, std::malloc(16));
    EXPECT_TRUE(
        numbers.getValueFromKey(static_cast<unsigned long>(UINT64_C(0x10000000D)), nullptr));
    numbers.passAllPointers(nullptr);
    numbers.passAllPointers(std::free);
    EXPECT_EQ(numbers.getFirstNPointers(4, nullptr), 0u);
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
void sweepTable(Table (*make)(unsigned long), Key kept, Key added, int allocations) {
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
            built.passAllPointers(std::free);
        }
    });
    EXPECT_EQ(injected, allocations);
}

TEST(ContainersTest, AllocationFailureChangesNoTable) {
    // The node, then the bucket array; a string node holds its key copy in the same block.
    sweepTable<INUInt32HashTable, unsigned long>(
        [](unsigned long size) { return INUInt32HashTable(size, HASH_FUNCTION_DEFAULT); }, 1, 5, 4);
    sweepTable<INStringHashTable, char const*>(
        [](unsigned long size) { return INStringHashTable(size); }, "a", "c", 4);
}

bool isEmpty(NumberBag& bag) {
    unsigned long n = 3;
    return !bag.getNumber(&n) && !bag.getNumber(9ul) && !bag.getNumberRoundRobin(&n) &&
           !bag.getNumberInRange(0, 0xFFFFFFFF, &n) &&
           !bag.getNumberInRangeRoundRobin(0, 0xFFFFFFFF, &n) &&
           !bag.getNumberPairInRangeRoundRobin(0, 0xFFFFFFFF, &n) && !bag.returnNumber(9) &&
           !bag.isInBag(10) && n == 3;
}

// A bag whose bitmap could not be allocated is empty; numbers and lower bounds wider than
// 32 bits lie beyond every range.
TEST(ContainersTest, NumberBagsWithoutBitmapAndBeyond32Bits) {
    int injected = sweepAllocationFailures([&](AllocationFault& fault, bool& failed) {
        fault.arm();
        NumberBag bag(100, 163);
        failed = fault.disarm();
        EXPECT_EQ(isEmpty(bag), failed);
        // 64 numbers fill two words exactly; the third stays empty. One more word summarises them.
        EXPECT_TRUE(failed || lastAllocationSize() == (3 + 1) * sizeof(uint32_t));
    });
    EXPECT_EQ(injected, 2);
    unsigned long n = 5;
    EXPECT_FALSE(NumberBag(0, 0).getNumberPairInRangeRoundRobin(0, 0, &n) || n != 5);
    if (sizeof(unsigned long) > 4) {
        auto const beyond = static_cast<unsigned long>(UINT64_C(0x100000005));
        NumberBag top(0xFFFFFFF0, beyond), far(beyond, beyond);
        EXPECT_FALSE(top.isInBag(beyond) || top.getNumber(beyond) || top.returnNumber(beyond) ||
                     top.getNumberInRange(beyond, beyond, &n));
        EXPECT_TRUE(top.getNumberInRange(0xFFFFFFFF, beyond, &n) && n == 0xFFFFFFFF);
        EXPECT_TRUE(isEmpty(far));
    }
}

int destroyed = 0;

struct Item : LinkedListElement<Item> {
    explicit Item(char itemName) : name(itemName) {}
    ~Item() override { ++destroyed; }
    char name;
};

// Reads the last element and the count, which have no accessors: the names front to back,
// or "broken" when the two directions or the count disagree.
struct List : LinkedListManager<Item> {
    std::string names() const {
        std::string forwards, backwards;
        LinkedListIterator<Item> ahead(firstElmt()), behind(last);
        while (Item* item = ahead.next())
            forwards += item->name;
        while (Item* item = behind.prev())
            backwards.insert(0, 1, item->name);
        return forwards == backwards && forwards.size() == count ? forwards : "broken";
    }
};

// Lowest-first searches skip runs of taken words several at a time: one free number placed
// at every word position of a full bag, around each group of words and in the words left
// over after the last whole group, must be the one found, and never one past the bound.
TEST(ContainersTest, NumberBagSkipsLongTakenRunsToTheFirstFreeNumber) {
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
}

// Elements go at the end or in front of a member; linked elements, strangers and null are
// refused without change; clearing and destruction delete every element.
TEST(LinkedListTest, AddsInsertsRefusesAndDeletes) {
    destroyed = 0;
    {
        List list, other;
        Item *a = new Item('a'), *b = new Item('b'), *x = new Item('x'), stranger('s');
        EXPECT_TRUE(list.add(a) && list.add(b) && list.add(new Item('c'), a) &&
                    list.add(new Item('d'), b) && list.add(new Item('e'), nullptr));
        EXPECT_EQ(list.names(), "cadbe");
        other.add(new Item('k'));
        other.add(new Item('l'));
        EXPECT_FALSE(list.add(nullptr) || list.add(nullptr, a) || list.add(b, a) ||
                     list.add(list.firstElmt(), nullptr) || list.add(x, &stranger) ||
                     list.add(other.firstElmt(), nullptr));
        EXPECT_EQ(list.names() + other.names(), "cadbekl");
        EXPECT_TRUE(x->getNext() == nullptr && stranger.getPrev() == nullptr);
        delete x;
        list.clear();
        EXPECT_EQ(destroyed, 6);
        EXPECT_EQ(list.names(), "");
        list.add(new Item('f'));
        list.add(new Item('g'), list.firstElmt());
        EXPECT_EQ(list.names(), "gf");
    }
    EXPECT_EQ(destroyed, 11);
}

// hasNext looks one element ahead, so on the last element it is false yet next() still
// gives it; copies of elements start unlinked and assignment keeps each element's place.
TEST(LinkedListTest, IteratorsLookAheadAndCopiesStartUnlinked) {
    List list;
    list.add(new Item('o'));
    list.add(new Item('p'));
    LinkedListIterator<Item> it(list.firstElmt());
    AbstractIterator<Item>& abstract = it;
    EXPECT_TRUE(abstract.hasNext() && !it.hasPrev());
    EXPECT_EQ(abstract.next()->name, 'o');
    EXPECT_TRUE(!it.hasNext() && it.hasPrev());
    EXPECT_EQ(static_cast<Item const*>(it.prev())->getNext(), nullptr);
    EXPECT_EQ(it.next(), list.firstElmt());
    EXPECT_EQ(it.next()->name, 'p');
    EXPECT_TRUE(it.next() == nullptr && it.prev() == nullptr && !it.hasNext() && !it.hasPrev());
    Item copy(*list.firstElmt());
    EXPECT_EQ(copy.getPrev(), nullptr);
    *list.firstElmt() = Item('z');
    EXPECT_EQ(list.names(), "zp");
}

} // namespace
