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
#if defined(__x86_64__)
// On the host the C library measures the key faster than a byte loop, and the hash is taken
// eight bytes at a time. Over GF(2), h ^ (h << 5) ^ b is h (1 + x^5) + b, so the hash is the
// sum of every byte times (1 + x^5)^k, k its distance from the key's end. Eight steps give
// (1 + x^5)^8 = 1 + x^40, which is 1 modulo x^32: only k mod 8 counts, and the key can be cut
// into blocks of eight, counted from its end, whose terms are simply XORed.
// This costs the device more instructions than it saves, so it stays a host path.

// The term of one block: the sum of c_k (1 + x^5)^k, c_k the byte k places from the block's
// end, folded in three levels as (1 + x^5)^k = (1 + x^5)^k0 (1 + x^10)^k1 (1 + x^20)^k2.
uint32_t blockTerm(uint64_t littleEndian) {
    uint64_t const c = __builtin_bswap64(littleEndian); // byte k: c_k
    uint64_t const bytes = 0x00FF00FF00FF00FF, halves = 0x0000FFFF0000FFFF;
    uint64_t const odd1 = (c >> 8) & bytes;
    uint64_t const pairs = (c & bytes) ^ odd1 ^ (odd1 << 5);
    uint64_t const odd2 = (pairs >> 16) & halves;
    uint64_t const quads = (pairs & halves) ^ odd2 ^ (odd2 << 10);
    uint64_t const high = quads >> 32;
    return static_cast<uint32_t>(quads ^ high ^ (high << 20));
}

uint64_t load64(unsigned char const* p) {
    uint64_t v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

uint32_t fullHash(char const* key, std::size_t& length) {
    auto const* const p = reinterpret_cast<unsigned char const*>(key);
    std::size_t const n = std::strlen(key);
    length = n;
    uint32_t h = 0;
    if (n < 4) {
        for (std::size_t i = 0; i < n; ++i)
            h = h ^ (h << 5) ^ p[i];
        return h;
    }
    if (n < 8) {
        // The short key as the last n bytes of a block: two overlapping 4-byte loads.
        uint32_t head, tail;
        std::memcpy(&head, p, 4);
        std::memcpy(&tail, p + n - 4, 4);
        return blockTerm(uint64_t{tail} << 32 |
                         static_cast<uint32_t>(uint64_t{head} << 8 * (8 - n)));
    }
    // The first n mod 8 bytes end a block of their own whose other bytes are zero.
    std::size_t const lead = n % 8;
    if (lead != 0)
        h = blockTerm(load64(p) << 8 * (8 - lead));
    for (std::size_t i = lead; i < n; i += 8)
        h ^= blockTerm(load64(p + i));
    return h;
}

// Keys are mostly 8 to 16 bytes: two overlapping 8-byte words compare them without a call.
bool sameBytes(char const* a, char const* b, std::size_t length) {
    if (length < 8 || length > 16)
        return std::memcmp(a, b, length) == 0;
    uint64_t a0, b0, a1, b1;
    std::memcpy(&a0, a, 8);
    std::memcpy(&b0, b, 8);
    std::memcpy(&a1, a + length - 8, 8);
    std::memcpy(&b1, b + length - 8, 8);
    return ((a0 ^ b0) | (a1 ^ b1)) == 0;
}
#else
// The key's length comes out of the same pass.
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
