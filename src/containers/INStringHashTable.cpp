// Text-keyed chained hash table; the table keeps its own copy of every key.
#include <orvik_utilities/containers/INStringHashTable.h>

#include "containers/HashChain.h"

#include <cstring>

using namespace orvik::detail;

struct INStringHashTable::Entry {
    char* key;
    void* value;
    Entry* next;
};

namespace {

struct SameKey {
    char const* key;
    template <typename Entry> bool operator()(Entry const& entry) const {
        return std::strcmp(entry.key, key) == 0;
    }
};

template <typename Entry> void releaseEntry(Entry& entry) {
    delete[] entry.key;
    delete &entry;
}

} // namespace

INStringHashTable::INStringHashTable(unsigned long size)
    : buckets(nullptr), bucketCount(0), hashMask(bucketMaskFor(size)) {
    bucketCount = hashMask + 1;
    buckets = allocateBuckets<Entry>(bucketCount);
}

INStringHashTable::~INStringHashTable() {
    removeAllEntries();
    delete[] buckets;
}

// Bytes are read as unsigned so that the device (unsigned char) and hosts with a signed
// char agree; the shift runs in 32 bits so that 64-bit hosts drop the same high bits.
unsigned long INStringHashTable::calculateHash(char const* key) const {
    uint32_t h = 0;
    if (key != nullptr) {
        for (unsigned char const* p = reinterpret_cast<unsigned char const*>(key); *p != 0; ++p)
            h = h ^ (h << 5) ^ *p;
    }
    return h & hashMask;
}

bool INStringHashTable::addEntry(char const* key, void* value) {
    if (buckets == nullptr || key == nullptr)
        return false;
    std::size_t const length = std::strlen(key);
    char* copy = new (std::nothrow) char[length + 1];
    if (copy == nullptr)
        return false;
    std::memcpy(copy, key, length + 1);
    Entry* entry = new (std::nothrow) Entry{copy, value, nullptr};
    if (entry == nullptr) {
        delete[] copy;
        return false;
    }
    appendEntry(&buckets[calculateHash(copy)], entry);
    return true;
}

bool INStringHashTable::getValueFromKey(char const* key, void** value) const {
    if (buckets == nullptr || key == nullptr)
        return false;
    Entry const* found = findEntry(buckets[calculateHash(key)], SameKey{key});
    if (found == nullptr)
        return false;
    if (value != nullptr)
        *value = found->value;
    return true;
}

bool INStringHashTable::removeEntry(char const* key) {
    if (buckets == nullptr || key == nullptr)
        return false;
    Entry* removed = unlinkEntry(&buckets[calculateHash(key)], SameKey{key});
    if (removed == nullptr)
        return false;
    releaseEntry(*removed);
    return true;
}

void INStringHashTable::removeAllEntries() {
    releaseAll(buckets, bucketCount, releaseEntry<Entry>);
}

unsigned long INStringHashTable::getFirstNPointers(unsigned long n, void** out) const {
    return collectValues(buckets, bucketCount, n, out);
}

void INStringHashTable::passAllPointers(void (*function)(void*)) const {
    passValues(buckets, bucketCount, function);
}

unsigned long INStringHashTable::getNumberOfKeys() const {
    return countEntries(buckets, bucketCount);
}

unsigned long INStringHashTable::getLongestChain() const {
    return longestChain(buckets, bucketCount);
}
