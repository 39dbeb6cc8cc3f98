// The id-to-entry index of an updating refresh: open addressing that grows by doubling.
#include "system/ProcessIndex.h"

#include <new>

namespace orvik {
namespace detail {

namespace {
constexpr uint32_t kFirstSlotCount = 256;
constexpr uint32_t kMostSlots = uint32_t(1) << 30;
} // namespace

ProcessIndex::~ProcessIndex() { delete[] slots; }

uint32_t ProcessIndex::home(int32_t pid) const {
    // Ids come in runs; multiplying spreads neighbours over the table.
    uint32_t const mixed = static_cast<uint32_t>(pid) * 0x9E3779B1u;
    return (mixed ^ (mixed >> 16)) & mask;
}

bool ProcessIndex::grow() {
    uint32_t const oldCount = slots == nullptr ? 0 : mask + 1;
    uint32_t const newCount = oldCount == 0 ? kFirstSlotCount : oldCount * 2;
    Slot* const newSlots = newCount > kMostSlots ? nullptr : new (std::nothrow) Slot[newCount];
    if (newSlots == nullptr) {
        failed = true;
        return false;
    }
    for (uint32_t i = 0; i < newCount; ++i)
        newSlots[i] = Slot{0, nullptr};
    Slot* const oldSlots = slots;
    slots = newSlots;
    mask = newCount - 1;
    for (uint32_t i = 0; i < oldCount; ++i) {
        if (oldSlots[i].entry == nullptr)
            continue;
        uint32_t at = home(oldSlots[i].pid);
        while (slots[at].entry != nullptr)
            at = (at + 1) & mask;
        slots[at] = oldSlots[i];
    }
    delete[] oldSlots;
    return true;
}

void ProcessIndex::add(int32_t pid, ProcessEntry* entry) {
    // At most half full, so that probes stay short and always end at a free slot.
    if (failed || ((used + 1) * 2 > (slots == nullptr ? 0 : mask + 1) && !grow()))
        return;
    uint32_t at = home(pid);
    while (slots[at].entry != nullptr) {
        if (slots[at].pid == pid)
            return;
        at = (at + 1) & mask;
    }
    slots[at] = Slot{pid, entry};
    ++used;
}

ProcessEntry* ProcessIndex::find(int32_t pid) const {
    if (slots == nullptr)
        return nullptr;
    for (uint32_t at = home(pid); slots[at].entry != nullptr; at = (at + 1) & mask)
        if (slots[at].pid == pid)
            return slots[at].entry;
    return nullptr;
}

} // namespace detail
} // namespace orvik
