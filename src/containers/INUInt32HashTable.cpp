// Integer-keyed chained hash table.
#include <orvik_utilities/containers/INUInt32HashTable.h>

#include "containers/HashChain.h"

using namespace orvik::detail;

struct INUInt32HashTable::Entry {
    uint32_t key;
    void* value;
    Entry* next;
};

namespace {

// The device's keys are 32 bits wide; a 64-bit host keeps only those bits.
struct SameKey {
    uint32_t key;
    template <typename Entry> bool operator()(Entry const& entry) const { return entry.key == key; }
};

SameKey sameKey(unsigned long key) { return SameKey{static_cast<uint32_t>(key)}; }

} // namespace

INUInt32HashTable::INUInt32HashTable(unsigned long size, HashFunctionType)
    : buckets(nullptr), bucketCount(0), hashMask(bucketMaskFor(size)) {
    bucketCount = hashMask + 1;
    buckets = allocateBuckets<Entry>(bucketCount);
}

INUInt32HashTable::~INUInt32HashTable() {
    removeAllEntries();
    delete[] buckets;
}

unsigned long INUInt32HashTable::calculateHash(unsigned long key) const {
    return static_cast<uint32_t>(key) & hashMask;
}

bool INUInt32HashTable::addEntry(unsigned long key, void* value) {
    if (buckets == nullptr)
        return false;
    Entry* entry = new (std::nothrow) Entry{static_cast<uint32_t>(key), value, nullptr};
    if (entry == nullptr)
        return false;
    appendEntry(&buckets[calculateHash(key)], entry);
    return true;
}

bool INUInt32HashTable::getValueFromKey(unsigned long key, void** value) const {
    if (buckets == nullptr)
        return false;
    Entry const* found = findEntry(buckets[calculateHash(key)], sameKey(key));
    if (found == nullptr)
        return false;
    if (value != nullptr)
        *value = found->value;
    return true;
}

bool INUInt32HashTable::removeEntry(unsigned long key) {
    if (buckets == nullptr)
        return false;
    Entry* removed = unlinkEntry(&buckets[calculateHash(key)], sameKey(key));
    delete removed;
    return removed != nullptr;
}

void INUInt32HashTable::removeAllEntries() {
    releaseAll(buckets, bucketCount, [](Entry& entry) { delete &entry; });
}

unsigned long INUInt32HashTable::getFirstNPointers(unsigned long n, void** out) const {
    return collectValues(buckets, bucketCount, n, out);
}

void INUInt32HashTable::passAllPointers(void (*function)(void*)) const {
    passValues(buckets, bucketCount, function);
}

unsigned long INUInt32HashTable::getNumberOfKeys() const {
    return countEntries(buckets, bucketCount);
}

unsigned long INUInt32HashTable::getLongestChain() const {
    return longestChain(buckets, bucketCount);
}
