// Chained hash table from 32-bit unsigned integer keys to caller-owned pointers.
#ifndef ORVIK_UTILITIES_CONTAINERS_INUINT32HASHTABLE_H
#define ORVIK_UTILITIES_CONTAINERS_INUINT32HASHTABLE_H

/// @file

#include <orvik_utilities/export.h>

#include <cstdint>

/// Hash functions a caller may name when building an INUInt32HashTable. The table accepts
/// the value, any int, and ignores it: every table hashes by the low bits of the key.
enum HashFunctionType : int {
    HASH_FUNCTION_LOW_BITS = 0,
    HASH_FUNCTION_DEFAULT = HASH_FUNCTION_LOW_BITS
};

/// A fixed array of chains; nodes are appended at the tail of their chain and duplicate keys
/// are kept (the older one is found first). Values are never dereferenced or freed.
/// Keys are 32-bit: on 64-bit hosts only the low 32 bits of a key count. No process-wide
/// state; one thread at a time per table.
class ORVIK_API INUInt32HashTable {
public:
    /// The bucket count is the smallest power of two >= size, at least 2 and at most 2^31.
    /// If the bucket array cannot be allocated the table stays empty and addEntry fails.
    INUInt32HashTable(unsigned long size, HashFunctionType);
    /// Frees every node and the bucket array; the values are untouched.
    ~INUInt32HashTable();
    INUInt32HashTable(INUInt32HashTable const&) = delete;
    INUInt32HashTable& operator=(INUInt32HashTable const&) = delete;

    /// The bucket of key: key AND (bucket count - 1).
    unsigned long calculateHash(unsigned long key) const;
    /// Appends (key, value) at the tail of the key's chain. False, table unchanged, when
    /// the node (or the bucket array at construction) could not be allocated.
    bool addEntry(unsigned long key, void* value);
    /// The value of the first node with the key in chain order. False with *value untouched
    /// when there is none; a null value pointer only asks whether the key is present.
    bool getValueFromKey(unsigned long key, void** value) const;
    /// Unlinks and frees the first node with the key; false when there is none.
    bool removeEntry(unsigned long key);
    /// Frees every node; the bucket array stays and the table remains usable.
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
