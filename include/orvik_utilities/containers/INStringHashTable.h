// Chained hash table from text keys, kept as the table's own copies, to caller-owned pointers.
#ifndef ORVIK_UTILITIES_CONTAINERS_INSTRINGHASHTABLE_H
#define ORVIK_UTILITIES_CONTAINERS_INSTRINGHASHTABLE_H

#include <orvik_utilities/export.h>

#include <cstdint>

/// A fixed array of chains; nodes are appended at the tail of their chain and duplicate keys
/// are kept (the older one is found first). Keys match by exact bytes (strcmp). The table
/// owns its key copies; values are never dereferenced or freed. A null key is never stored
/// and never found.
class ORVIK_API INStringHashTable {
public:
    /// The bucket count is the smallest power of two >= size, at least 2 and at most 2^31.
    /// If the bucket array cannot be allocated the table stays empty and addEntry fails.
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
    /// The value of the first node with the key in chain order. False with *value untouched
    /// when there is none; a null value pointer only asks whether the key is present.
    bool getValueFromKey(char const* key, void** value) const;
    /// Unlinks the first node with the key and frees it with its key copy; false when none.
    bool removeEntry(char const* key);
    /// Frees every node and key copy; the bucket array stays and the table remains usable.
    void removeAllEntries();
    /// Writes the values of up to n nodes, bucket 0 first and each chain head to tail, and
    /// returns how many it wrote (0 when out is null).
    unsigned long getFirstNPointers(unsigned long n, void** out) const;
    /// Calls function once per node's value, in getFirstNPointers order. The function may
    /// free the value but must not change the table. A null function is not called.
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
