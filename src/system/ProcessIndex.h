// Process id to table entry, so that an updating refresh matches each directory entry of
// /proc to the table without walking the table for each one.
#ifndef ORVIK_UTILITIES_SYSTEM_PROCESS_INDEX_H
#define ORVIK_UTILITIES_SYSTEM_PROCESS_INDEX_H

#include <cstdint>

class ProcessEntry;

namespace orvik {
namespace detail {

// Open addressing with linear probing; a slot without an entry is free. Keeps the first
// entry recorded under an id, as a walk from the start of the table would find it.
class ProcessIndex {
public:
    ProcessIndex() = default;
    ~ProcessIndex();
    ProcessIndex(ProcessIndex const&) = delete;
    ProcessIndex& operator=(ProcessIndex const&) = delete;

    // Records entry under pid unless pid has one already. When the index cannot grow it
    // becomes unusable (usable() false) and the caller must search otherwise.
    void add(int32_t pid, ProcessEntry* entry);
    // The first entry recorded under pid, or null.
    ProcessEntry* find(int32_t pid) const;
    bool usable() const { return !failed; }

private:
    struct Slot {
        int32_t pid;
        ProcessEntry* entry;
    };
    bool grow();
    uint32_t home(int32_t pid) const;

    Slot* slots = nullptr;
    uint32_t mask = 0; // slot count - 1; the slot count is a power of two
    uint32_t used = 0;
    bool failed = false;
};

} // namespace detail
} // namespace orvik

#endif
