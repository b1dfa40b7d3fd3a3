// The index of a long chain of tables: where each starts. It belongs to all tables of the chain together, as the first
// of them may end while a reference keeps those behind it.

#include <atomic>
#include <new>

#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"

namespace {

constexpr uint32_t kShortChain = 4;  // tables that are walked one after the other
constexpr uint32_t kFirstSegment = 8;
constexpr uint32_t kSegments = 20;

struct Entry {
    LuBlockBufferRef table;  // not retained
    size_t start;            // in the chain as the index knows it
};

}  // namespace

// Entries stay where they are: each segment is twice as long as the one before.
struct BBufChainIndex {
    std::atomic<int32_t> users;
    ZoAllocatorRef allocator;             // retained
    std::atomic<LuBlockBufferRef> last;   // the newest table, not retained; null before there is one
    std::atomic<uint32_t> assuredTables;  // so many from the first on have all their memory, and are full
    Entry* segments[kSegments];

    static uint32_t segmentOf(uint32_t position)
    {
        return 28 - static_cast<uint32_t>(__builtin_clz(position + kFirstSegment));
    }
    Entry& at(uint32_t position) const
    {
        const uint32_t segment = segmentOf(position);
        return segments[segment][position + kFirstSegment - (kFirstSegment << segment)];
    }

    bool append(LuBlockBufferRef table)
    {
        LuBlockBufferRef before = last.load(std::memory_order_relaxed);
        const uint32_t position = before ? before->indexPosition + 1 : 0;
        const uint32_t segment = segmentOf(position);
        if (segment >= kSegments) return false;
        if (!segments[segment]) {
            const size_t bytes = sizeof(Entry) * (size_t{kFirstSegment} << segment);
            segments[segment] = static_cast<Entry*>(ZoAllocatorAllocate(allocator, static_cast<ZoIndex>(bytes), 0));
            if (!segments[segment]) return false;
        }
        at(position) = {table, before ? at(position - 1).start + before->tableLength() : 0};
        table->index = this;
        table->indexPosition = position;
        users.fetch_add(1, std::memory_order_relaxed);
        last.store(table, std::memory_order_release);
        return true;
    }

    // The last of the tables that start at or before the offset, which is counted from `table` and behind it.
    LuBlockBufferRef find(LuBlockBufferRef table, size_t* offset) const
    {
        LuBlockBufferRef newest = last.load(std::memory_order_acquire);
        uint32_t low = table->indexPosition, high = newest->indexPosition;
        size_t wanted = 0;
        if (__builtin_add_overflow(at(low).start, *offset, &wanted)) wanted = SIZE_MAX;
        if (wanted >= at(high).start) low = high;  // where one reads and patches who writes
        while (high - low > 1) {
            const uint32_t middle = low + (high - low) / 2;
            (at(middle).start <= wanted ? low : high) = middle;
        }
        *offset = wanted - at(low).start;
        return at(low).table;
    }

    void release()
    {
        if (users.fetch_sub(1, std::memory_order_acq_rel) > 1) return;
        ZoAllocatorRef from = allocator;
        for (Entry* segment : segments) {
            if (segment) ZoAllocatorDeallocate(from, segment);
        }
        ZoAllocatorDeallocate(from, this);
        if (from) ZoRelease(from);
    }
};

static BBufChainIndex* createIndex(ZoAllocatorRef allocator)
{
    void* memory = ZoAllocatorAllocate(allocator, sizeof(BBufChainIndex), 0);
    if (!memory) return nullptr;
    auto* index = new (memory) BBufChainIndex{};
    index->users = 1;  // whoever made it
    index->allocator = allocator;
    if (allocator) ZoRetain(allocator);
    return index;
}

bool bbufIndexNewestTable(LuBlockBufferRef first)
{
    LuBlockBufferRef newest = bbufLastTable(first);
    uint32_t tables = 1;
    for (LuBlockBufferRef table = first; table != newest; table = table->overflow(), ++tables) {
        if (table->index) return table->index->append(newest);
        if (tables > kShortChain) break;
    }
    if (tables <= kShortChain) return true;
    BBufChainIndex* index = createIndex(ZoGetAllocator(first));
    if (!index) return false;
    bool entered = true;
    for (LuBlockBufferRef table = first; table && entered; table = table->overflow()) entered = index->append(table);
    if (!entered) {
        for (LuBlockBufferRef table = first; table; table = table->overflow()) bbufReleaseIndex(table);
    }
    index->release();
    return entered;
}

void bbufTruncateIndex(LuBlockBufferRef last)
{
    BBufChainIndex* index = last->index;
    if (!index) return;
    index->assuredTables = std::min<uint32_t>(index->assuredTables, last->indexPosition);
    index->last.store(last, std::memory_order_release);
}

void bbufReleaseIndex(LuBlockBufferRef table)
{
    if (table->index) table->index->release();
    table->index = nullptr;
}

LuBlockBufferRef bbufLastTable(LuBlockBufferRef table)
{
    if (table->index) table = table->index->last.load(std::memory_order_acquire);
    while (LuBlockBufferRef next = table->overflow()) table = next;
    return table;
}

LuBlockBufferRef bbufFirstUnassuredTable(LuBlockBufferRef table)
{
    BBufChainIndex* index = table->index;
    // Any thread that goes over a buffer with all its memory may note that; what it notes is so in any case.
    if (index && table->indexPosition < index->assuredTables.load(std::memory_order_relaxed)) {
        table = index->at(index->assuredTables.load(std::memory_order_relaxed)).table;
    }
    while (table->assuredCount == table->pieceCount()) {
        LuBlockBufferRef next = table->overflow();
        if (!next) return nullptr;
        if (index && index->assuredTables.load(std::memory_order_relaxed) == table->indexPosition) {
            index->assuredTables.store(table->indexPosition + 1, std::memory_order_relaxed);
        }
        table = next;
    }
    return table;
}

LuBlockBufferRef bbufFindTable(LuBlockBufferRef table, size_t* offset)
{
    for (;;) {
        const size_t length = table->tableLength();
        LuBlockBufferRef next = table->overflow();
        if (*offset < length || !next) return table;
        const BBufChainIndex* index = table->index;
        // Walks go to the next table as a rule.
        if (index && *offset - length >= next->tableLength()) return index->find(table, offset);
        *offset -= length;
        table = next;
    }
}

size_t LuBlockBufferGetDataLength(LuBlockBufferRef theBuffer)
{
    if (!theBuffer) return 0;
    if (!theBuffer->isOverflow) return theBuffer->dataLength;
    size_t length = 0;
    if (const BBufChainIndex* index = theBuffer->index) {
        LuBlockBufferRef last = index->last.load(std::memory_order_acquire);
        length = index->at(last->indexPosition).start - index->at(theBuffer->indexPosition).start;
        theBuffer = last;
    }
    for (LuBlockBufferRef table = theBuffer; table; table = table->overflow()) length += table->tableLength();
    return length;
}
