// Chaining shared by the two hash tables: the bucket rule and walks over an array of chains
// whose nodes hold at least a value and a next pointer.
#ifndef ORVIK_UTILITIES_CONTAINERS_HASH_CHAIN_H
#define ORVIK_UTILITIES_CONTAINERS_HASH_CHAIN_H

#include <cstddef>
#include <cstdint>
#include <new>

namespace orvik {
namespace detail {

constexpr uint32_t kLargestHashMask = 0x7FFFFFFF;

// The smallest power of two >= size, at least 2, less one. The mask stops at 2^31 - 1: on
// the device a larger size would otherwise run the 32-bit mask round to zero and never end.
// The comparison is made wide so that a 64-bit size above 2^32 is not truncated to a small one.
inline uint32_t bucketMaskFor(unsigned long size) {
    uint64_t const wanted = size;
    uint32_t mask = 1;
    while (mask < kLargestHashMask && uint64_t{mask} + 1 < wanted)
        mask = 2 * mask + 1;
    return mask;
}

// All chains empty; null when the array cannot be allocated or its byte size does not fit
// the address space (2^31 pointers on the device).
template <typename Entry> Entry** allocateBuckets(uint32_t count) {
    std::size_t bytes;
    if (__builtin_mul_overflow(static_cast<std::size_t>(count), sizeof(Entry*), &bytes))
        return nullptr;
    return new (std::nothrow) Entry*[count]();
}

// The tables are usable without a bucket array (it failed to allocate): they are then empty.
template <typename Entry> uint32_t chainCount(Entry* const* buckets, uint32_t bucketCount) {
    return buckets == nullptr ? 0 : bucketCount;
}

template <typename Entry> void appendEntry(Entry** head, Entry* entry) {
    while (*head != nullptr)
        head = &(*head)->next;
    entry->next = nullptr;
    *head = entry;
}

template <typename Entry, typename Match> Entry* findEntry(Entry* head, Match const& match) {
    while (head != nullptr && !match(*head))
        head = head->next;
    return head;
}

// Unlinks the first node that matches and returns it, or null.
template <typename Entry, typename Match> Entry* unlinkEntry(Entry** head, Match const& match) {
    while (*head != nullptr) {
        Entry* entry = *head;
        if (match(*entry)) {
            *head = entry->next;
            entry->next = nullptr;
            return entry;
        }
        head = &entry->next;
    }
    return nullptr;
}

// Visits every node, bucket 0 first and each chain head to tail. The successor is read
// before the visit, so the visit may free the node or the value it holds.
template <typename Entry, typename Visit>
void forEachEntry(Entry* const* buckets, uint32_t bucketCount, Visit const& visit) {
    uint32_t const count = chainCount(buckets, bucketCount);
    for (uint32_t b = 0; b < count; ++b) {
        for (Entry* entry = buckets[b]; entry != nullptr;) {
            Entry* const next = entry->next;
            visit(*entry);
            entry = next;
        }
    }
}

// Frees every node through release and leaves every chain empty.
template <typename Entry, typename Release>
void releaseAll(Entry** buckets, uint32_t bucketCount, Release const& release) {
    forEachEntry(buckets, bucketCount, release);
    uint32_t const count = chainCount(buckets, bucketCount);
    for (uint32_t b = 0; b < count; ++b)
        buckets[b] = nullptr;
}

template <typename Entry>
uint32_t collectValues(Entry* const* buckets, uint32_t bucketCount, unsigned long n, void** out) {
    uint32_t written = 0;
    if (out == nullptr)
        return 0;
    uint32_t const count = chainCount(buckets, bucketCount);
    for (uint32_t b = 0; b < count; ++b) {
        for (Entry const* entry = buckets[b]; entry != nullptr; entry = entry->next) {
            if (written >= n)
                return written;
            out[written++] = entry->value;
        }
    }
    return written;
}

template <typename Entry>
void passValues(Entry* const* buckets, uint32_t bucketCount, void (*function)(void*)) {
    if (function != nullptr)
        forEachEntry(buckets, bucketCount, [function](Entry& entry) { function(entry.value); });
}

template <typename Entry> uint32_t countEntries(Entry* const* buckets, uint32_t bucketCount) {
    uint32_t total = 0;
    forEachEntry(buckets, bucketCount, [&total](Entry&) { ++total; });
    return total;
}

template <typename Entry> uint32_t longestChain(Entry* const* buckets, uint32_t bucketCount) {
    uint32_t longest = 0;
    uint32_t const count = chainCount(buckets, bucketCount);
    for (uint32_t b = 0; b < count; ++b) {
        uint32_t length = 0;
        for (Entry const* entry = buckets[b]; entry != nullptr; entry = entry->next)
            ++length;
        if (length > longest)
            longest = length;
    }
    return longest;
}

} // namespace detail
} // namespace orvik

#endif
