// The insides of a block buffer, for the files of this module only.
//
// A buffer is one allocation: the fields, then a table of sub-blocks that never moves. The last slot of the table is
// kept for the overflow link, a reference to a further table with one slot more, made when the table is full. So the
// tables of N pieces make a chain of about sqrt(2 N).
//
// Where a piece ends in its table is kept in the piece, so that a table is searched by halving. A chain of more than a
// few tables has an index of them, which all of its tables share; shorter ones are walked. Both grow at their end only,
// and what stands in them does not change, so that they can be read while no one appends.

#pragma once

#include <algorithm>
#include <cstdint>

#include "Core/TavBlockBuffer/TavBlockBuffer.h"
#include "Platform/Common/TavSignal.h"

enum SubBlockType : uint32_t {
    kBBufSubBlock_Unused = 0,
    kBBufSubBlock_Reference = 1,  // to another block buffer, or the overflow link
    kBBufSubBlock_UnallocatedAllocator = 2,
    kBBufSubBlock_MemoryAllocator = 3,
    kBBufSubBlock_UnallocatedCustom = 4,
    kBBufSubBlock_MemoryCustom = 5,
};

struct SubBlock {
    SubBlockType type;
    bool isOpen;         // what is behind the data in the block is ours to append to
    size_t offset;       // of the data within the block or the referenced buffer
    size_t end;          // of the data within the table: its length is that less the end of the piece before
    void* block;         // memory, or null until it is allocated; for a reference the buffer, retained
    size_t blockLength;  // of the whole block
    const void* source;  // the allocator, retained and maybe absent; or our copy of the custom block source

    bool isReference() const noexcept { return type == kBBufSubBlock_Reference; }
    bool isUnallocated() const noexcept
    {
        return type == kBBufSubBlock_UnallocatedAllocator || type == kBBufSubBlock_UnallocatedCustom;
    }
    LuBlockBufferRef target() const noexcept { return static_cast<LuBlockBufferRef>(block); }
    ZoAllocatorRef allocator() const noexcept { return static_cast<ZoAllocatorRef>(source); }
    const LuBlockBufferCustomBlockSource& custom() const noexcept
    {
        return *static_cast<const LuBlockBufferCustomBlockSource*>(source);
    }
};

struct BBufChainIndex;

struct LuBlockBuffer_ {
    ZoRuntimeBase base;
    ZoMutableDictionaryRef attachments[2];  // by mode
    int32_t subBlockCount;                  // the overflow link included
    int32_t subBlockCapacity;               // at least 2
    size_t dataLength;                      // of the chain that starts here; unused in an overflow table
    BBufChainIndex* index;                  // shared by the tables of a long chain; null in a short one
    uint32_t indexPosition;                 // of this table in `index`
    int32_t memoryCount;                    // pieces that are memory, allocated or not
    int32_t assuredCount;                   // so many pieces from the first on are memory that is allocated
    bool isOverflow;

    SubBlock* subBlocks() noexcept { return reinterpret_cast<SubBlock*>(this + 1); }
    int32_t pieceCount() const noexcept
    {
        return subBlockCount < subBlockCapacity ? subBlockCount : subBlockCapacity - 1;
    }
    /// The next table of the chain, or null.
    LuBlockBufferRef overflow() noexcept
    {
        return subBlockCount == subBlockCapacity ? subBlocks()[subBlockCapacity - 1].target() : nullptr;
    }
    size_t startOf(int32_t piece) noexcept { return piece == 0 ? 0 : subBlocks()[piece - 1].end; }
    size_t lengthOf(int32_t piece) noexcept { return subBlocks()[piece].end - startOf(piece); }
    /// Of this table's own pieces.
    size_t tableLength() noexcept { return startOf(pieceCount()); }
    /// The piece that holds byte `offset` of the table, which must be there, among those from `first` on.
    int32_t pieceAt(size_t offset, int32_t first = 0) noexcept
    {
        const auto endsBefore = [](size_t at, const SubBlock& piece) { return at < piece.end; };
        SubBlock* pieces = subBlocks();
        // Walks ask for the next piece as a rule.
        for (const int32_t next = first + 1; first <= next; ++first) {
            if (offset < pieces[first].end) return first;
        }
        return static_cast<int32_t>(std::upper_bound(pieces + first, pieces + pieceCount(), offset, endsBefore) -
                                    pieces);
    }
};

static_assert(sizeof(LuBlockBuffer_) % alignof(SubBlock) == 0);
static_assert(sizeof(LuBlockBuffer_) + 2 * sizeof(SubBlock) <= 168, "a buffer of one piece is to stay small");

/// A walk that passes this many references without coming to a piece of memory goes in a circle, and finds nothing.
constexpr uint32_t kMaximumReferenceDepth = 1u << 22;

/// Goes forward from `table` to the table of its chain that holds byte `*offset`, counted from the start of `table`,
/// and makes the offset one of that table. The last table if the chain ends before.
LuBlockBufferRef bbufFindTable(LuBlockBufferRef table, size_t* offset);
LuBlockBufferRef bbufLastTable(LuBlockBufferRef table);
/// The first table from `table` on of which not all pieces are known to be memory that is allocated; null if all are.
LuBlockBufferRef bbufFirstUnassuredTable(LuBlockBufferRef table);
/// Enters the newest table of the chain that starts at `first`, once the chain is long enough. False without memory.
bool bbufIndexNewestTable(LuBlockBufferRef first);
/// Takes the tables behind `last` out of the index.
void bbufTruncateIndex(LuBlockBufferRef last);
void bbufReleaseIndex(LuBlockBufferRef table);

/// A table of `subBlockCapacity` slots, or null.
LuBlockBufferRef bbufCreateTable(ZoAllocatorRef allocator, int32_t subBlockCapacity);
/// LuBlockBufferCreateEmpty for one piece. Signals.
OSStatus bbufCreateForOnePiece(ZoAllocatorRef allocator, LuBlockBufferRef* newBBufOut);

/// Memory for a piece that has none, from its source; where there is none, `operation` signals that, with the words for
/// its kind of source.
struct BBufAllocationWords {
    const char* allocator;
    const char* customSource;
};
OSStatus bbufAllocatePiece(SubBlock* piece, const char* operation, const BBufAllocationWords& words);
void bbufDeallocateBlock(const SubBlock& piece);
/// What the piece holds beside its block: the allocator's reference, or the copy of the source.
void bbufReleaseSource(const SubBlock& piece, ZoAllocatorRef structureAllocator);

ZoStringRef BBufCopyDebugDesc(ZoTypeRef object);
