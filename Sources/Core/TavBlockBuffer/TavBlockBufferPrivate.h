// The insides of a block buffer, for the files of this module only.
//
// A buffer is one allocation: the fields, then a table of sub-blocks that never moves. The last slot of the table is
// kept for the overflow link, a reference to a further table with one slot more, made when the table is full. So the
// tables of N pieces make a chain of about sqrt(2 N).
//
// The bytes of a chain are counted in two places only: each table counts its own pieces, and the head counts all. What
// lies in between follows from these, so that an append touches the head and the last table, and not the chain.

#pragma once

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
    size_t offset;       // of the data within the block or the referenced buffer
    size_t length;       // bytes of the logical run; kept 0 in the overflow link
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

struct LuBlockBuffer_ {
    ZoRuntimeBase base;
    ZoMutableDictionaryRef attachments[2];  // by mode
    int32_t subBlockCount;                  // the overflow link included
    int32_t subBlockCapacity;               // at least 2
    size_t dataLength;                      // of the chain that starts here; unused in an overflow table
    size_t tableLength;                     // of this table's own pieces
    LuBlockBufferRef lastTable;             // where the next piece goes, or a table before it; null: this one
    int32_t memoryCount;                    // pieces that are memory, allocated or not
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
};

static_assert(sizeof(LuBlockBuffer_) % alignof(SubBlock) == 0);

/// A walk that passes this many references without coming to a piece of memory goes in a circle, and finds nothing.
constexpr uint32_t kMaximumReferenceDepth = 1u << 22;

/// A table of `subBlockCapacity` slots, or null.
LuBlockBufferRef bbufCreateTable(ZoAllocatorRef allocator, int32_t subBlockCapacity);
/// LuBlockBufferCreateEmpty for one piece. Signals.
OSStatus bbufCreateForOnePiece(ZoAllocatorRef allocator, LuBlockBufferRef* newBBufOut);

/// Memory for `piece` from its source, or null.
void* bbufAllocateBlock(const SubBlock& piece);
void bbufDeallocateBlock(const SubBlock& piece);
/// What the piece holds beside its block: the allocator's reference, or the copy of the source.
void bbufReleaseSource(const SubBlock& piece, ZoAllocatorRef structureAllocator);

ZoStringRef BBufCopyDebugDesc(ZoTypeRef object);
