// Text-keyed chained hash table; the table keeps its own copy of every key.
#include <orvik_utilities/containers/INStringHashTable.h>

#include "containers/HashChain.h"

#include <cstdlib>
#include <cstring>
#include <new>

using namespace orvik::detail;

// One allocation per entry: the node, then its key text. The full hash is kept beside the
// key, so a walk compares keys only where the whole 32-bit hash already matches; with the
// low bits alone choosing the bucket, most nodes on a chain differ in their upper bits.
struct INStringHashTable::Entry {
    void* value;
    Entry* next;
    uint32_t hash;
    std::size_t length;

    char* key() { return reinterpret_cast<char*>(this + 1); }
    char const* key() const { return reinterpret_cast<char const*>(this + 1); }
};

namespace {

// Bytes are read as unsigned so that the device (unsigned char) and hosts with a signed
// char agree; the shift runs in 32 bits so that 64-bit hosts drop the same high bits.
// The key's length comes out of the same pass.
#if defined(__x86_64__)
// On the host the C library measures the key faster than a byte loop, and four steps of
// the hash are taken at once: h ^ (h << 5) applied four times is h ^ (h << 20), so only
// that term waits on the previous step and the bytes' own terms are worked out beside it.
// This costs the device more instructions than it saves, so it stays a host path.
uint32_t fullHash(char const* key, std::size_t& length) {
    auto const* const first = reinterpret_cast<unsigned char const*>(key);
    auto const* p = first;
    uint32_t h = 0;
    for (;; p += 4) {
        // In order, so that no byte past the terminator is read.
        if (p[0] == 0 || p[1] == 0 || p[2] == 0 || p[3] == 0)
            break;
        uint32_t const c0 = p[0], c1 = p[1], c2 = p[2], c3 = p[3];
        uint32_t const bytes =
            (c0 ^ c0 << 5 ^ c0 << 10 ^ c0 << 15) ^ (c1 ^ c1 << 10) ^ (c2 ^ c2 << 5) ^ c3;
        h = h ^ (h << 20) ^ bytes;
    }
    for (; *p != 0; ++p)
        h = h ^ (h << 5) ^ *p;
    length = static_cast<std::size_t>(p - first);
    return h;
}

bool sameBytes(char const* a, char const* b, std::size_t length) {
    return std::memcmp(a, b, length) == 0;
}
#else
uint32_t fullHash(char const* key, std::size_t& length) {
    auto const* const first = reinterpret_cast<unsigned char const*>(key);
    auto const* p = first;
    uint32_t h = 0;
    for (; *p != 0; ++p)
        h = h ^ (h << 5) ^ *p;
    length = static_cast<std::size_t>(p - first);
    return h;
}

// Equal hashes and lengths make a match all but certain, so the bytes are compared in line:
// the device's C library compares short texts slower than this loop.
bool sameBytes(char const* a, char const* b, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        if (a[i] != b[i])
            return false;
    }
    return true;
}
#endif

struct SameKey {
    char const* key;
    uint32_t hash;
    std::size_t length;
    template <typename Entry> bool operator()(Entry const& entry) const {
        return entry.hash == hash && entry.length == length && sameBytes(entry.key(), key, length);
    }
};

SameKey keyOf(char const* key) {
    SameKey same{key, 0, 0};
    same.hash = fullHash(key, same.length);
    return same;
}

template <typename Entry> void releaseEntry(Entry& entry) {
    entry.~Entry();
    std::free(&entry);
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

unsigned long INStringHashTable::calculateHash(char const* key) const {
    std::size_t length = 0;
    return key == nullptr ? 0 : fullHash(key, length) & hashMask;
}

bool INStringHashTable::addEntry(char const* key, void* value) {
    if (buckets == nullptr || key == nullptr)
        return false;
    SameKey const same = keyOf(key);
    void* const raw = std::malloc(sizeof(Entry) + same.length + 1);
    if (raw == nullptr)
        return false;
    Entry* const entry = new (raw) Entry{value, nullptr, same.hash, same.length};
    std::memcpy(entry->key(), key, same.length + 1);
    appendEntry(&buckets[same.hash & hashMask], entry);
    return true;
}

bool INStringHashTable::getValueFromKey(char const* key, void** value) const {
    if (buckets == nullptr || key == nullptr)
        return false;
    SameKey const same = keyOf(key);
    Entry const* found = findEntry(buckets[same.hash & hashMask], same);
    if (found == nullptr)
        return false;
    if (value != nullptr)
        *value = found->value;
    return true;
}

bool INStringHashTable::removeEntry(char const* key) {
    if (buckets == nullptr || key == nullptr)
        return false;
    SameKey const same = keyOf(key);
    Entry* removed = unlinkEntry(&buckets[same.hash & hashMask], same);
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
