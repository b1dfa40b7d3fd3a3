// Building: pieces of memory and references, and the flattening of references.

#include <algorithm>

#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"
#include "Foundation/Objects/ZoRef.h"

// The table that takes the next piece, which has no overflow table yet.
static LuBlockBufferRef findLastTable(LuBlockBufferRef buffer)
{
    LuBlockBufferRef table = buffer->lastTable ? buffer->lastTable : buffer;
    while (LuBlockBufferRef next = table->overflow()) table = next;
    buffer->lastTable = table == buffer ? nullptr : table;
    return table;
}

// Counts `length` bytes more in the last table of the chain and in its head.
static void growLengths(LuBlockBufferRef buffer, LuBlockBufferRef lastTable, size_t length)
{
    lastTable->tableLength += length;
    if (!buffer->isOverflow) buffer->dataLength += length;
}

// Takes `piece` over as the newest one, in a table of its own where the last one is full.
static OSStatus NewBufferSubBlock(LuBlockBufferRef buffer, const SubBlock& piece)
{
    LuBlockBufferRef table = findLastTable(buffer);
    if (table->subBlockCount == table->subBlockCapacity - 1) {
        LuBlockBufferRef next = nullptr;
        TAV_TRY(
            LuBlockBufferCreateEmpty(ZoGetAllocator(buffer), static_cast<uint32_t>(table->subBlockCapacity), 0, &next));
        next->isOverflow = true;
        SubBlock& link = table->subBlocks()[table->subBlockCount++];
        link.type = kBBufSubBlock_Reference;
        link.block = next;
        table = buffer->lastTable = next;
    }
    table->subBlocks()[table->subBlockCount++] = piece;
    if (!piece.isReference()) ++table->memoryCount;
    growLengths(buffer, table, piece.length);
    return 0;
}

// MARK: memory

static OSStatus checkCustomBlockSource(const LuBlockBufferCustomBlockSource& source, const void* memoryBlock)
{
    if (source.version != 0) {
        return TAV_SIGNAL(kTavBlockBufferBadCustomBlockSourceErr, "bad customBlockSource version");
    }
    if (!memoryBlock && !source.AllocateBlock) {
        return TAV_SIGNAL(kTavBlockBufferBadCustomBlockSourceErr,
                          "with no memory block, must have AllocateBlock callback");
    }
    if (memoryBlock && !source.FreeBlock) {
        return TAV_SIGNAL(kTavBlockBufferBadCustomBlockSourceErr, "with a memory block, must have FreeBlock callback");
    }
    return 0;
}

// Fills in the type and the source of `piece`, whose block is set if there is one.
static OSStatus takeSource(LuBlockBufferRef buffer, ZoAllocatorRef blockAllocator,
                           const LuBlockBufferCustomBlockSource* customBlockSource, SubBlock* piece)
{
    if (customBlockSource) {
        TAV_TRY(checkCustomBlockSource(*customBlockSource, piece->block));
        void* copy = ZoAllocatorAllocate(ZoGetAllocator(buffer), sizeof *customBlockSource, 0);
        if (!copy) {
            return TAV_SIGNAL(kTavBlockBufferStructureAllocationFailedErr, "could not copy customBlockSource");
        }
        *static_cast<LuBlockBufferCustomBlockSource*>(copy) = *customBlockSource;
        piece->source = copy;
        piece->type = piece->block ? kBBufSubBlock_MemoryCustom : kBBufSubBlock_UnallocatedCustom;
        return 0;
    }
    if (!piece->block && blockAllocator == kZoAllocatorNull) {
        return TAV_SIGNAL(kTavBlockBufferBlockAllocationFailedErr, "with no memory block, must supply an allocator");
    }
    piece->source = blockAllocator ? blockAllocator : ZoAllocatorGetDefault();
    if (piece->source) ZoRetain(piece->source);
    piece->type = piece->block ? kBBufSubBlock_MemoryAllocator : kBBufSubBlock_UnallocatedAllocator;
    return 0;
}

static OSStatus allocateNow(SubBlock* piece)
{
    void* block = bbufAllocateBlock(*piece);
    if (piece->type == kBBufSubBlock_UnallocatedCustom) {
        if (!block) {
            return TAV_SIGNAL(kTavBlockBufferBlockAllocationFailedErr,
                              "could not allocate memory block using customBlockSource");
        }
        piece->type = kBBufSubBlock_MemoryCustom;
    } else {
        if (!block) {
            return TAV_SIGNAL(kTavBlockBufferBlockAllocationFailedErr,
                              "could not allocate memory block using blockAllocator");
        }
        piece->type = kBBufSubBlock_MemoryAllocator;
    }
    piece->block = block;
    return 0;
}

OSStatus LuBlockBufferAppendMemoryBlock(LuBlockBufferRef theBuffer, void* memoryBlock, size_t blockLength,
                                        ZoAllocatorRef blockAllocator,
                                        const LuBlockBufferCustomBlockSource* customBlockSource, size_t offsetToData,
                                        size_t dataLength, LuBlockBufferFlags flags)
{
    if (!theBuffer) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL BlockBuffer");
    if (blockLength == 0 || dataLength == 0) {
        return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "blockLength and dataLength must not be zero");
    }
    if (offsetToData >= blockLength) {
        return TAV_SIGNAL(kTavBlockBufferBadOffsetParameterErr, "offset exceeds blockLength");
    }
    if (dataLength > blockLength - offsetToData) {
        return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "(offset + dataLength) exceeds blockLength");
    }
    if (blockLength > ~LuBlockBufferGetDataLength(theBuffer)) {
        return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "Resulting size larger than size_t can hold");
    }

    SubBlock piece = {kBBufSubBlock_Unused, offsetToData, dataLength, memoryBlock, blockLength, nullptr};
    TAV_TRY(takeSource(theBuffer, blockAllocator, customBlockSource, &piece));

    OSStatus status = 0;
    if (!memoryBlock && (flags & kLuBlockBufferAssureMemoryNowFlag)) status = allocateNow(&piece);
    if (status == 0) status = NewBufferSubBlock(theBuffer, piece);
    if (status != 0) {
        if (!memoryBlock) bbufDeallocateBlock(piece);
        bbufReleaseSource(piece, ZoGetAllocator(theBuffer));
    }
    return status;
}

OSStatus LuBlockBufferCreateWithMemoryBlock(ZoAllocatorRef structureAllocator, void* memoryBlock, size_t blockLength,
                                            ZoAllocatorRef blockAllocator,
                                            const LuBlockBufferCustomBlockSource* customBlockSource,
                                            size_t offsetToData, size_t dataLength, LuBlockBufferFlags flags,
                                            LuBlockBufferRef* newBBufOut)
{
    if (!newBBufOut) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL newBBufOut");
    *newBBufOut = nullptr;
    ZoRef<LuBlockBufferRef> buffer;
    TAV_TRY(bbufCreateForOnePiece(structureAllocator, buffer.outParam()));
    TAV_TRY(LuBlockBufferAppendMemoryBlock(buffer.get(), memoryBlock, blockLength, blockAllocator, customBlockSource,
                                           offsetToData, dataLength, flags));
    *newBBufOut = buffer.release();
    return 0;
}

// MARK: references

static OSStatus AppendBufferReferenceSubBlock(LuBlockBufferRef buffer, LuBlockBufferRef target, size_t offset,
                                              size_t length)
{
    LuBlockBufferRef table = findLastTable(buffer);
    if (table->subBlockCount > 0) {
        SubBlock& newest = table->subBlocks()[table->subBlockCount - 1];
        if (newest.isReference() && newest.block == target && offset >= newest.length &&
            offset - newest.length == newest.offset) {
            newest.length += length;
            growLengths(buffer, table, length);
            return 0;
        }
    }
    TAV_TRY(NewBufferSubBlock(buffer, {kBBufSubBlock_Reference, offset, length, target, 0, nullptr}));
    TavBlockBufferRetain(target);
    return 0;
}

namespace {
// What is wanted of one table: its bytes from `offset` to `end`. `start` is where piece `index` begins.
struct WantedRange {
    LuBlockBufferRef table;
    int32_t index;
    size_t start;
    size_t offset;
    size_t end;
};
}  // namespace

// Whether the table holds memory of its own between `offset` and `limit`, the limit included.
static bool hasMemoryInRange(LuBlockBufferRef table, size_t offset, size_t limit)
{
    if (table->memoryCount == 0 || table->tableLength <= offset) return false;
    if (table->memoryCount == table->pieceCount()) return true;
    size_t start = 0;
    for (int32_t i = 0; i < table->pieceCount() && start <= limit; ++i) {
        const SubBlock& piece = table->subBlocks()[i];
        if (!piece.isReference() && start + piece.length > offset) return true;
        start += piece.length;
    }
    return false;
}

// The next reference of `range` to go into, the overflow link included; `range` goes on behind it.
static bool nextReference(WantedRange* range, WantedRange* inner)
{
    LuBlockBufferRef table = range->table;
    for (; range->offset < range->end && range->index < table->pieceCount(); ++range->index) {
        const SubBlock& piece = table->subBlocks()[range->index];
        const size_t pieceStart = range->start;
        range->start += piece.length;
        if (range->start <= range->offset) continue;
        // Memory is passed over: there is none in the range, or the table itself would have been referred to.
        const size_t from = std::max(range->offset, pieceStart) - pieceStart;
        const size_t to = std::min(range->end, range->start) - pieceStart;
        range->offset = pieceStart + to;
        size_t innerEnd = 0;
        if (!piece.isReference() || __builtin_add_overflow(piece.offset, to, &innerEnd)) continue;
        *inner = {piece.target(), 0, 0, piece.offset + from, innerEnd};
        ++range->index;
        return true;
    }
    LuBlockBufferRef next = table->overflow();
    if (range->offset >= range->end || !next) return false;
    *inner = {next, 0, 0, range->offset - table->tableLength, range->end - table->tableLength};
    range->offset = range->end;
    return true;
}

namespace {
// Takes back the references that were appended since, unless they are to be kept: a flattening that fails half-way
// leaves the buffer as it was.
class AppendedReferences {
public:
    explicit AppendedReferences(LuBlockBufferRef buffer)
        : buffer_(buffer),
          table_(findLastTable(buffer)),
          subBlockCount_(table_->subBlockCount),
          tableLength_(table_->tableLength),
          dataLength_(buffer->dataLength),
          newestLength_(subBlockCount_ > 0 ? table_->subBlocks()[subBlockCount_ - 1].length : 0)
    {}
    AppendedReferences(const AppendedReferences&) = delete;
    AppendedReferences& operator=(const AppendedReferences&) = delete;
    void keep() { buffer_ = nullptr; }
    ~AppendedReferences()
    {
        if (!buffer_) return;
        buffer_->dataLength = dataLength_;
        buffer_->lastTable = table_ == buffer_ ? nullptr : table_;
        table_->tableLength = tableLength_;
        if (subBlockCount_ > 0) table_->subBlocks()[subBlockCount_ - 1].length = newestLength_;
        while (table_->subBlockCount > subBlockCount_) {
            SubBlock& piece = table_->subBlocks()[--table_->subBlockCount];
            TavBlockBufferRelease(piece.target());
            piece = {};
        }
    }

private:
    LuBlockBufferRef buffer_;
    LuBlockBufferRef table_;
    int32_t subBlockCount_;
    size_t tableLength_;
    size_t dataLength_;
    size_t newestLength_;
};
}  // namespace

// Refers to the nearest buffers below `target` that hold memory of the range, in order. Nested as deep as it may be,
// the walk keeps only the tables that have more to give, and on the heap.
static OSStatus FindDataReference(LuBlockBufferRef buffer, LuBlockBufferRef target, size_t offset, size_t dataLength)
{
    TavWalkStack<WantedRange, 4> outer;
    WantedRange range = {target, 0, 0, offset, offset + dataLength};
    size_t bytesToPlace = dataLength;
    uint32_t depth = 0;
    for (;;) {
        size_t limit = 0;
        if (__builtin_add_overflow(range.offset, bytesToPlace, &limit)) limit = SIZE_MAX;
        if (range.index == 0 && hasMemoryInRange(range.table, range.offset, limit)) {
            const size_t end = std::min(range.end, LuBlockBufferGetDataLength(range.table));
            const size_t length = std::min(end - range.offset, bytesToPlace);
            TAV_TRY(AppendBufferReferenceSubBlock(buffer, range.table, range.offset, length));
            bytesToPlace -= length;
            depth = 0;
            range.offset = range.end;
        }
        WantedRange inner;
        while (bytesToPlace == 0 || !nextReference(&range, &inner)) {
            if (bytesToPlace == 0 || outer.empty()) return 0;
            range = outer.pop();
        }
        if (++depth > kMaximumReferenceDepth) return 0;
        if (range.offset < range.end && !outer.push(range)) {
            return TAV_SIGNAL(kTavBlockBufferStructureAllocationFailedErr, "could not keep the place of a walk");
        }
        range = inner;
    }
}

OSStatus LuBlockBufferAppendBufferReference(LuBlockBufferRef theBuffer, LuBlockBufferRef targetBuffer,
                                            size_t offsetToData, size_t dataLength, LuBlockBufferFlags flags)
{
    if (!theBuffer || !targetBuffer) {
        return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "theBuffer or targetBuffer is NULL");
    }
    const bool targetIsEmpty = LuBlockBufferIsEmpty(targetBuffer);
    const size_t targetLength = LuBlockBufferGetDataLength(targetBuffer);
    if (!targetIsEmpty) {
        if (offsetToData >= targetLength) {
            return TAV_SIGNAL(kTavBlockBufferBadOffsetParameterErr, "offset exceeds length of target buffer");
        }
        if (dataLength > targetLength - offsetToData) {
            return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr,
                              "(offset + dataLength) exceeds length of target buffer");
        }
        if (dataLength == 0) dataLength = targetLength - offsetToData;
    } else if (!(flags & kLuBlockBufferPermitEmptyReferenceFlag)) {
        return TAV_SIGNAL(kTavBlockBufferEmptyBBufErr, "reference to empty BlockBuffer not permitted");
    }
    if (dataLength == 0) return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "dataLength must be > 0");
    if (dataLength > ~LuBlockBufferGetDataLength(theBuffer)) {
        return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "Resulting size larger than size_t can hold");
    }
    if (targetIsEmpty || (flags & kLuBlockBufferDontOptimizeDepthFlag)) {
        return AppendBufferReferenceSubBlock(theBuffer, targetBuffer, offsetToData, dataLength);
    }
    AppendedReferences appended(theBuffer);
    TAV_TRY(FindDataReference(theBuffer, targetBuffer, offsetToData, dataLength));
    appended.keep();
    return 0;
}

OSStatus LuBlockBufferCreateWithBufferReference(ZoAllocatorRef structureAllocator, LuBlockBufferRef targetBuffer,
                                                size_t offsetToData, size_t dataLength, LuBlockBufferFlags flags,
                                                LuBlockBufferRef* newBBufOut)
{
    if (!newBBufOut) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL newBBufOut");
    *newBBufOut = nullptr;
    ZoRef<LuBlockBufferRef> buffer;
    TAV_TRY(bbufCreateForOnePiece(structureAllocator, buffer.outParam()));
    TAV_TRY(LuBlockBufferAppendBufferReference(buffer.get(), targetBuffer, offsetToData, dataLength, flags));
    *newBBufOut = buffer.release();
    return 0;
}
