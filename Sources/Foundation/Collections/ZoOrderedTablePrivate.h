// The table under dictionaries and sets: entries stand densely in the order of insertion, and an index of open
// addressing, made when there are more than a few, finds them by hash. A removed entry leaves a gap until enough of
// them are worth closing. The table knows nothing of ownership: retaining and releasing is its user's.

#pragma once

#include "Foundation/Collections/ZoCollectionCallbacks.h"

struct ZoTableEntry {
    const void* key;
    const void* value;
    uint32_t hash;
    uint32_t state;  // 0: a gap; 1: a key; else a key that is a constant string, of a length of `state` less 2

    bool isLive() const { return state != 0; }
};

/// All zeros is an empty table. No lock; `allocator` is the same at every call.
struct ZoOrderedTable {
    static constexpr uint32_t kNone = UINT32_MAX;

    struct Slot {
        uint32_t hash;
        uint32_t entryPlusOne;  // 0: free
    };

    ZoTableEntry* entries;
    Slot* slots;  // behind the entries in one block; absent while a walk over the entries is as quick
    uint32_t slotMask;
    uint32_t capacity;
    uint32_t used;  // entries, gaps included
    uint32_t live;

    /// Where `key` stands, or kNone. `hashOut` is what insert() takes.
    uint32_t find(const ZoDictionaryKeyCallBacks& callBacks, const void* key, uint32_t* hashOut) const;
    /// Makes room for `count` entries altogether. False, and nothing changed, if there is no memory.
    bool reserve(ZoAllocatorRef allocator, ZoIndex count);
    /// The same for an empty table that will hold no more than these.
    bool reserveExactly(ZoAllocatorRef allocator, ZoIndex count);
    /// Makes room for one more. False only with an allocator that the caller brought; else the process stops.
    bool reserveOne(ZoAllocatorRef allocator);
    /// Adds a key that is not there, for which room is reserved.
    void insert(const ZoDictionaryKeyCallBacks& callBacks, const void* key, const void* value, uint32_t hash);
    /// Leaves a gap at `position`; closes gaps when they are most of the table.
    void remove(uint32_t position);
    void freeStorage(ZoAllocatorRef allocator);

private:
    static uint32_t slotCount(uint32_t capacity);
    static ZoIndex blockSize(uint32_t capacity);
    bool allocateBlock(ZoAllocatorRef allocator, uint32_t newCapacity);
    void adopt(void* block, uint32_t newCapacity);
    void closeGaps(ZoTableEntry* destination);
    void fillSlots();
    void fillSlot(uint32_t position);
    uint32_t slotOf(uint32_t position) const;
};

/// Calls `visit(entry)` for each entry in order. `visit` may change the table.
template <typename Visit>
void zoTableForEach(const ZoOrderedTable& table, Visit visit)
{
    for (uint32_t i = 0; i < table.used; ++i)
        if (table.entries[i].isLive()) visit(table.entries[i]);
}
