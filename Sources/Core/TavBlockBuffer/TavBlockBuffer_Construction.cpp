// Building: pieces of memory and references, and the flattening of references.

#include <algorithm>
#include <cstring>

#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"
#include "Core/TavBlockBuffer/TavWalkStack.h"
#include "Foundation/Objects/ZoRef.h"

// Gives the last table of the chain, which is full, an overflow table.
static OSStatus addTable(LuBlockBufferRef buffer, LuBlockBufferRef last, LuBlockBufferRef* added, const char* operation)
{
    LuBlockBufferRef next = last->subBlockCapacity < INT32_MAX
                                ? bbufCreateTable(ZoGetAllocator(buffer), last->subBlockCapacity + 1)
                                : nullptr;
    SubBlock& link = last->subBlocks()[last->subBlockCapacity - 1];
    if (next) {
        next->isOverflow = true;
        link.type = kBBufSubBlock_Reference;
        link.block = next;
        ++last->subBlockCount;
        *added = next;
        if (bbufIndexNewestTable(buffer)) return 0;
        --last->subBlockCount;
        link = {};
        ZoRelease(next);
    }
    return TAV_SIGNAL_FROM(operation, kTavBlockBufferStructureAllocationFailedErr,
                           "Could not allocate BlockBuffer structure");
}

// The newest piece of a table that has no overflow table yet, so that it may still be lengthened; null if there is
// none.
static SubBlock* newestPiece(LuBlockBufferRef lastTable)
{
    return lastTable->subBlockCount > 0 ? &lastTable->subBlocks()[lastTable->subBlockCount - 1] : nullptr;
}
static void lengthenNewest(LuBlockBufferRef buffer, SubBlock* newest, size_t length)
{
    newest->end += length;
    if (!buffer->isOverflow) buffer->dataLength += length;
}
static void shortenNewest(LuBlockBufferRef buffer, SubBlock* newest, size_t length)
{
    newest->end -= length;
    if (!buffer->isOverflow) buffer->dataLength -= length;
}

// Takes `piece`, of `length` bytes, over as the newest one, in a table of its own where the last one is full.
static OSStatus NewBufferSubBlock(LuBlockBufferRef buffer, SubBlock piece, size_t length, const char* operation)
{
    LuBlockBufferRef table = bbufLastTable(buffer);
    if (table->subBlockCount == table->subBlockCapacity - 1) TAV_TRY(addTable(buffer, table, &table, operation));
    piece.end = table->tableLength();
    SubBlock* newest = &table->subBlocks()[table->subBlockCount];
    *newest = piece;
    if (!piece.isReference()) ++table->memoryCount;
    if (table->assuredCount == table->subBlockCount && piece.block && !piece.isReference()) ++table->assuredCount;
    ++table->subBlockCount;
    lengthenNewest(buffer, newest, length);
    return 0;
}

// MARK: memory

// All of these are of one operation.
static constexpr const char* kAppendMemory = "LuBlockBufferAppendMemoryBlock";
static constexpr const char* kAppendReference = "LuBlockBufferAppendBufferReference";

static OSStatus checkCustomBlockSource(const LuBlockBufferCustomBlockSource& source, const void* memoryBlock)
{
    if (source.version != 0) {
        return TAV_SIGNAL_FROM(kAppendMemory, kTavBlockBufferBadCustomBlockSourceErr, "bad customBlockSource version");
    }
    if (!memoryBlock && !source.AllocateBlock) {
        return TAV_SIGNAL_FROM(kAppendMemory, kTavBlockBufferBadCustomBlockSourceErr,
                               "with no memory block, must have AllocateBlock callback");
    }
    if (memoryBlock && !source.FreeBlock) {
        return TAV_SIGNAL_FROM(kAppendMemory, kTavBlockBufferBadCustomBlockSourceErr,
                               "with a memory block, must have FreeBlock callback");
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
            return TAV_SIGNAL_FROM(kAppendMemory, kTavBlockBufferStructureAllocationFailedErr,
                                   "could not copy customBlockSource");
        }
        *static_cast<LuBlockBufferCustomBlockSource*>(copy) = *customBlockSource;
        piece->source = copy;
        piece->type = piece->block ? kBBufSubBlock_MemoryCustom : kBBufSubBlock_UnallocatedCustom;
        return 0;
    }
    if (!piece->block && blockAllocator == kZoAllocatorNull) {
        return TAV_SIGNAL_FROM(kAppendMemory, kTavBlockBufferBlockAllocationFailedErr,
                               "with no memory block, must supply an allocator");
    }
    piece->source = blockAllocator ? blockAllocator : ZoAllocatorGetDefault();
    if (piece->source) ZoRetain(piece->source);
    piece->type = piece->block ? kBBufSubBlock_MemoryAllocator : kBBufSubBlock_UnallocatedAllocator;
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

    SubBlock piece = {.offset = offsetToData, .block = memoryBlock, .blockLength = blockLength};
    TAV_TRY(takeSource(theBuffer, blockAllocator, customBlockSource, &piece));

    OSStatus status = 0;
    if (!memoryBlock && (flags & kLuBlockBufferAssureMemoryNowFlag)) {
        static constexpr BBufAllocationWords kWords = {"could not allocate memory block using blockAllocator",
                                                       "could not allocate memory block using customBlockSource"};
        status = bbufAllocatePiece(&piece, kAppendMemory, kWords);
    }
    if (status == 0) status = NewBufferSubBlock(theBuffer, piece, dataLength, kAppendMemory);
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

// MARK: bytes

// A piece of memory that starts with `bytes` and has room behind them: as much again as the one before it, so that what
// is written bit by bit takes few blocks, and a bit among other pieces takes little.
static OSStatus appendChunk(LuBlockBufferRef buffer, const SubBlock* before, const char* bytes, size_t length,
                            const char* operation)
{
    constexpr size_t kSmallest = 64, kLargest = 16384;
    static constexpr BBufAllocationWords kWords = {"could not allocate a chunk", nullptr};
    const size_t usual = before && before->isOpen ? std::min(2 * before->blockLength, kLargest) : kSmallest;
    SubBlock piece = {.isOpen = true, .blockLength = std::max(usual, length)};
    TAV_TRY(takeSource(buffer, nullptr, nullptr, &piece));
    OSStatus status = bbufAllocatePiece(&piece, operation, kWords);
    if (status == 0) {
        std::memcpy(piece.block, bytes, length);
        status = NewBufferSubBlock(buffer, piece, length, operation);
    }
    if (status != 0) {
        bbufDeallocateBlock(piece);
        bbufReleaseSource(piece, ZoGetAllocator(buffer));
    }
    return status;
}

OSStatus TavBlockBufferAppendBytes(LuBlockBufferRef buffer, const void* bytes, size_t length)
{
    if (!buffer || (!bytes && length > 0)) {
        return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL buffer or bytes");
    }
    if (length > ~LuBlockBufferGetDataLength(buffer)) {
        return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "Resulting size larger than size_t can hold");
    }
    if (length == 0) return 0;
    LuBlockBufferRef table = bbufLastTable(buffer);
    SubBlock* newest = newestPiece(table);
    size_t fitting = 0;
    if (newest && newest->isOpen) {
        const size_t used = table->lengthOf(table->subBlockCount - 1);
        fitting = std::min(newest->blockLength - used, length);
        std::memcpy(static_cast<char*>(newest->block) + used, bytes, fitting);
        lengthenNewest(buffer, newest, fitting);
    }
    if (fitting == length) return 0;
    const char* rest = static_cast<const char*>(bytes) + fitting;
    const OSStatus status = appendChunk(buffer, newest, rest, length - fitting, __func__);
    if (status != 0 && fitting > 0) shortenNewest(buffer, newest, fitting);
    return status;
}

// MARK: references

static OSStatus AppendBufferReferenceSubBlock(LuBlockBufferRef buffer, LuBlockBufferRef target, size_t offset,
                                              size_t length)
{
    LuBlockBufferRef table = bbufLastTable(buffer);
    if (SubBlock* newest = newestPiece(table); newest && newest->isReference() && newest->block == target) {
        const size_t newestLength = table->lengthOf(table->subBlockCount - 1);
        if (offset >= newestLength && offset - newestLength == newest->offset) {
            lengthenNewest(buffer, newest, length);
            return 0;
        }
    }
    const SubBlock piece = {.type = kBBufSubBlock_Reference, .offset = offset, .block = target};
    TAV_TRY(NewBufferSubBlock(buffer, piece, length, kAppendReference));
    TavBlockBufferRetain(target);
    return 0;
}

namespace {
// What is wanted of one table: its bytes from `offset` to `end`. `index` is the piece to go on with, or -1 before the
// table was looked at.
struct WantedRange {
    LuBlockBufferRef table;
    int32_t index;
    size_t offset;
    size_t end;
};
}  // namespace

// Whether the table holds memory of its own between `offset` and `limit`, the limit included.
static bool hasMemoryInRange(LuBlockBufferRef table, size_t offset, size_t limit)
{
    if (table->memoryCount == 0 || table->tableLength() <= offset) return false;
    if (table->memoryCount == table->pieceCount()) return true;
    const int32_t count = table->pieceCount();
    for (int32_t i = table->pieceAt(offset); i < count && table->startOf(i) <= limit; ++i) {
        if (!table->subBlocks()[i].isReference()) return true;
    }
    return false;
}

// The next reference of `range` to go into, or the part of it that lies in a later table; `range` goes on behind it.
static bool nextReference(WantedRange* range, WantedRange* inner)
{
    LuBlockBufferRef table = range->table;
    const int32_t count = table->pieceCount();
    if (range->index < 0) range->index = range->offset < table->tableLength() ? table->pieceAt(range->offset) : count;
    while (range->offset < range->end && range->index < count) {
        const int32_t index = range->index++;
        const SubBlock& piece = table->subBlocks()[index];
        // Memory is passed over: there is none in the range, or the table itself would have been referred to.
        const size_t start = table->startOf(index);
        const size_t from = range->offset - start;
        const size_t to = std::min(range->end, piece.end) - start;
        range->offset = start + to;
        size_t innerEnd = 0;
        if (!piece.isReference() || __builtin_add_overflow(piece.offset, to, &innerEnd)) continue;
        *inner = {piece.target(), -1, piece.offset + from, innerEnd};
        return true;
    }
    if (range->offset >= range->end || !table->overflow()) return false;
    size_t offset = range->offset;
    LuBlockBufferRef later = bbufFindTable(table, &offset);
    if (later == table) return false;
    *inner = {later, -1, offset, offset + (range->end - range->offset)};
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
          table_(bbufLastTable(buffer)),
          subBlockCount_(table_->subBlockCount),
          dataLength_(buffer->dataLength),
          newestEnd_(table_->tableLength())
    {}
    AppendedReferences(const AppendedReferences&) = delete;
    AppendedReferences& operator=(const AppendedReferences&) = delete;
    void keep() { buffer_ = nullptr; }
    ~AppendedReferences()
    {
        if (!buffer_) return;
        buffer_->dataLength = dataLength_;
        bbufTruncateIndex(table_);
        while (table_->subBlockCount > subBlockCount_) {
            SubBlock& piece = table_->subBlocks()[--table_->subBlockCount];
            TavBlockBufferRelease(piece.target());
            piece = {};
        }
        if (SubBlock* newest = newestPiece(table_)) newest->end = newestEnd_;
    }

private:
    LuBlockBufferRef buffer_;
    LuBlockBufferRef table_;
    int32_t subBlockCount_;
    size_t dataLength_;
    size_t newestEnd_;
};
}  // namespace

// Refers to the nearest buffers below `target` that hold memory of the range, in order. Nested as deep as it may be,
// the walk keeps only the tables that have more to give, and on the heap.
static OSStatus FindDataReference(LuBlockBufferRef buffer, LuBlockBufferRef target, size_t offset, size_t dataLength)
{
    TavWalkStack<WantedRange, 4> outer;
    WantedRange range = {target, -1, offset, offset + dataLength};
    size_t bytesToPlace = dataLength;
    uint32_t depth = 0;
    for (;;) {
        size_t limit = 0;
        if (__builtin_add_overflow(range.offset, bytesToPlace, &limit)) limit = SIZE_MAX;
        if (range.index < 0 && hasMemoryInRange(range.table, range.offset, limit)) {
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
            return TAV_SIGNAL_FROM(kAppendReference, kTavBlockBufferStructureAllocationFailedErr,
                                   "could not keep the place of a walk");
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
