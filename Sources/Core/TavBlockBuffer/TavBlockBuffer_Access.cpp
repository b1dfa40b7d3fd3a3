// Reaching the bytes: contiguity, direct access, and memory on demand.

#include "Core/TavBlockBuffer/TavBlockBufferCursorPrivate.h"
#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"
#include "Foundation/Objects/ZoAllocatorSourcePrivate.h"

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

namespace {
struct TablePlace {
    LuBlockBufferRef table;
    int32_t index;  // of the piece to go on with, or -1 before the table was looked at
};

// What was gone through already need not be again: buffers that are referred to many times would else make the walk
// quadratic, and circles endless. Open addressing in `slots_`, which is at most half full.
class VisitedTables {
public:
    explicit VisitedTables(ZoAllocatorRef allocator)
        : tables_(ZoAllocatorSource{allocator}), slots_(ZoAllocatorSource{allocator})
    {}

    /// Whether the table was not there before. `*noted` is false where there is no memory to note it down.
    bool isNew(LuBlockBufferRef table, bool* noted)
    {
        *noted = 2 * (tables_.size() + 1) <= slots_.size() || grow();
        if (!*noted || *slotFor(table) == table) return false;
        *noted = tables_.append(table);
        if (*noted) *slotFor(table) = table;
        return *noted;
    }

private:
    LuBlockBufferRef* slotFor(LuBlockBufferRef table)
    {
        const size_t mask = slots_.size() - 1;
        size_t at = ((reinterpret_cast<uintptr_t>(table) * 0x9E3779B97F4A7C15u) >> 32) & mask;
        while (slots_[at] && slots_[at] != table) at = (at + 1) & mask;
        return &slots_[at];
    }
    bool grow()
    {
        if (!slots_.resize(std::max<size_t>(64, 2 * slots_.size()))) return false;
        std::fill(slots_.begin(), slots_.end(), nullptr);
        for (LuBlockBufferRef table : tables_) *slotFor(table) = table;
        return true;
    }

    memory::ReportingArray<LuBlockBufferRef, ZoAllocatorSource> tables_, slots_;
};
}  // namespace

// Allocates from piece `here->index` of the table on, up to a reference or the overflow link, which `*into` then names.
static OSStatus assurePieces(TablePlace* here, LuBlockBufferRef* into, const char* operation)
{
    static constexpr BBufAllocationWords kWords = {"block allocation failed (ZoAllocator)",
                                                   "block allocation failed (custom block source)"};
    LuBlockBufferRef table = here->table;
    *into = nullptr;
    while (here->index < table->pieceCount()) {
        const int32_t index = here->index++;
        SubBlock* piece = &table->subBlocks()[index];
        if (piece->isReference()) {
            *into = piece->target();
            return 0;
        }
        if (piece->isUnallocated()) TAV_TRY(bbufAllocatePiece(piece, operation, kWords));
        if (table->assuredCount == index) ++table->assuredCount;
    }
    *into = table->overflow();
    here->index = table->subBlockCount;
    return 0;
}

OSStatus LuBlockBufferAssureBlockMemory(LuBlockBufferRef theBuffer)
{
    if (!theBuffer) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL bbuf");
    TavWalkStack<TablePlace, 8> outer;
    VisitedTables visited(ZoGetAllocator(theBuffer));
    bool kept = outer.push({theBuffer, -1});
    while (kept && !outer.empty()) {
        TablePlace here = outer.pop();
        if (here.index < 0) {
            if (here.table->subBlockCount == 0) return TAV_SIGNAL(kTavBlockBufferEmptyBBufErr, "bbuf is empty");
            here.table = bbufFirstUnassuredTable(here.table);
            if (!here.table || !visited.isNew(here.table, &kept)) continue;
            here.index = here.table->assuredCount;
        }
        LuBlockBufferRef into = nullptr;
        TAV_TRY(assurePieces(&here, &into, __func__));
        if (here.index < here.table->subBlockCount) kept = outer.push(here);
        if (into && kept) kept = outer.push({into, -1});
    }
    if (kept) return 0;
    return TAV_SIGNAL(kTavBlockBufferStructureAllocationFailedErr, "could not keep the place of a walk");
}
