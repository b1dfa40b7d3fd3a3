// Reaching the bytes: contiguity, direct access, and memory on demand.

#include <unordered_set>

#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"

Boolean LuBlockBufferIsRangeContiguous(LuBlockBufferRef theBuffer, size_t offset, size_t length)
{
    if (!theBuffer) {
        (void)TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL buffer");
        return false;
    }
    const size_t total = LuBlockBufferGetDataLength(theBuffer);
    if (offset >= total || length > total - offset) return false;
    if (length == 0) length = total - offset;
    size_t lengthAtOffset = 0;
    return LuBlockBufferGetDataPointer(theBuffer, offset, &lengthAtOffset, nullptr, nullptr) == 0 &&
           lengthAtOffset >= length;
}

OSStatus LuBlockBufferAccessDataBytes(LuBlockBufferRef theBuffer, size_t offset, size_t length, void* temporaryBlock,
                                      char** returnedPointerOut)
{
    if (returnedPointerOut) *returnedPointerOut = nullptr;
    if (!theBuffer || !temporaryBlock || !returnedPointerOut) {
        return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL bbuf, temporaryBlock, or returnedPointer");
    }
    if (length == 0) return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "length must be > 0");

    TavBlockBufferCursor cursor(theBuffer, offset);
    char* run = nullptr;
    size_t runLength = 0;
    TAV_TRY(cursor.getRun(&run, &runLength));
    if (runLength >= length) {
        *returnedPointerOut = run;
        return 0;
    }
    if (cursor.read(temporaryBlock, length) != 0) {
        return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "not all of the range can be read");
    }
    *returnedPointerOut = static_cast<char*>(temporaryBlock);
    return 0;
}

static OSStatus assurePiece(SubBlock* piece)
{
    void* block = bbufAllocateBlock(*piece);
    if (piece->type == kBBufSubBlock_UnallocatedAllocator) {
        if (!block) {
            return TAV_SIGNAL(kTavBlockBufferBlockAllocationFailedErr, "block allocation failed (ZoAllocator)");
        }
        piece->type = kBBufSubBlock_MemoryAllocator;
    } else {
        if (!block) {
            return TAV_SIGNAL(kTavBlockBufferBlockAllocationFailedErr, "block allocation failed (custom block source)");
        }
        piece->type = kBBufSubBlock_MemoryCustom;
    }
    piece->block = block;
    return 0;
}

namespace {
struct TablePlace {
    LuBlockBufferRef table;
    int32_t index;
};

// What was gone through already need not be again: buffers that are referred to many times would else make the walk
// quadratic, and circles endless. Small tables without references are not worth noting down.
class VisitedTables {
public:
    bool isNew(LuBlockBufferRef table)
    {
        if (table->subBlockCount <= 4 && table->memoryCount == table->subBlockCount) return true;
        return visited_.insert(table).second;
    }

private:
    std::unordered_set<LuBlockBufferRef> visited_;
};
}  // namespace

OSStatus LuBlockBufferAssureBlockMemory(LuBlockBufferRef theBuffer)
{
    if (!theBuffer) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL bbuf");
    TavWalkStack<TablePlace, 8> outer;
    VisitedTables visited;
    if (!outer.push({theBuffer, 0})) return kTavBlockBufferStructureAllocationFailedErr;
    while (!outer.empty()) {
        TablePlace here = outer.pop();
        if (here.table->subBlockCount == 0) return TAV_SIGNAL(kTavBlockBufferEmptyBBufErr, "bbuf is empty");
        if (here.index == 0 && !visited.isNew(here.table)) continue;
        while (here.index < here.table->subBlockCount) {
            SubBlock* piece = &here.table->subBlocks()[here.index++];
            if (piece->isUnallocated()) TAV_TRY(assurePiece(piece));
            if (!piece->isReference()) continue;
            const bool more = here.index < here.table->subBlockCount;
            if ((more && !outer.push(here)) || !outer.push({piece->target(), 0})) {
                return TAV_SIGNAL(kTavBlockBufferStructureAllocationFailedErr, "could not keep the place of a walk");
            }
            break;
        }
    }
    return 0;
}
