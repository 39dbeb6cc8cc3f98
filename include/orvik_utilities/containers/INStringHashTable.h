// Chained hash table from text keys, kept as the table's own copies, to caller-owned pointers.
#ifndef ORVIK_UTILITIES_CONTAINERS_INSTRINGHASHTABLE_H
#define ORVIK_UTILITIES_CONTAINERS_INSTRINGHASHTABLE_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

/// A fixed array of chains; nodes are appended at the tail of their chain and duplicate keys
/// are kept (the older one is found first). Keys match by exact bytes (strcmp). The table
/// owns its key copies; values are never dereferenced or freed. A null key is never stored
/// and never found. No process-wide state; one thread at a time per table.
class ORVIK_API INStringHashTable {
public:
    /// Buckets as for INUInt32HashTable: the smallest power of two >= size, 2 to 2^31; a
    /// table whose bucket array cannot be allocated stays empty and addEntry fails.
    explicit INStringHashTable(unsigned long size);
    /// Frees every node and key copy, and the bucket array; the values are untouched.
    ~INStringHashTable();
    INStringHashTable(INStringHashTable const&) = delete;
    INStringHashTable& operator=(INStringHashTable const&) = delete;

    /// The bucket of key: h := h ^ (h << 5) ^ byte over its bytes (32 bits, bytes taken as
    /// unsigned), AND (bucket count - 1). A null key hashes like "".
    unsigned long calculateHash(char const* key) const;
    /// Copies the key and appends (copy, value) at the tail of its chain. False, table
    /// unchanged, for a null key or when the copy or the node cannot be allocated.
    bool addEntry(char const* key, void* value);
    /// The value of the oldest node with the key; false with *value untouched when none.
    /// A null value pointer only asks whether the key is present.
    bool getValueFromKey(char const* key, void** value) const;
    /// Unlinks the first node with the key and frees it with its key copy; false when none.
    bool removeEntry(char const* key);
    /// Frees every node and key copy; the bucket array stays and the table remains usable.
    void removeAllEntries();
    /// The walks and counts of INUInt32HashTable: values bucket by bucket, each chain head
    /// to tail; passAllPointers' function may free the values but not change the table.
    unsigned long getFirstNPointers(unsigned long n, void** out) const;
    /// Calls function once per value, in getFirstNPointers order; null is not called.
    void passAllPointers(void (*function)(void*)) const;
    /// Number of nodes, duplicates included (walks the whole table).
    unsigned long getNumberOfKeys() const;
    /// Length of the longest chain; 0 for an empty table.
    unsigned long getLongestChain() const;

private:
    struct Entry;

    Entry** buckets;
    uint32_t bucketCount;
    uint32_t hashMask;
};

#endif
