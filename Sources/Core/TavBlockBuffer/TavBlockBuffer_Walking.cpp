// The one way through a buffer: from table to table of a chain, into references, and on where it left off.

#include <algorithm>
#include <cstring>

#include "Core/TavBlockBuffer/TavBlockBufferCursorPrivate.h"
#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"

struct TavBlockBufferWalk {
    using Place = TavBlockBufferCursor::Place;

    // Moves on over pieces and whole tables until `within` lies in piece `index`. False, and nothing moved, if the data
    // ends before.
    static bool settle(Place* place)
    {
        LuBlockBufferRef table = place->table;
        int32_t first = place->index;
        size_t offset = 0;
        if (__builtin_add_overflow(table->startOf(first), place->within, &offset)) return false;
        if (offset >= table->tableLength()) {
            table = bbufFindTable(table, &offset);
            if (offset >= table->tableLength()) return false;
            first = 0;
        }
        const int32_t index = table->pieceAt(offset, first);
        place->table = table;
        place->index = index;
        place->within = offset - table->startOf(index);
        return true;
    }

    // From a settled place in a reference to the place that it names; `rest` is where to go on behind the reference,
    // with nothing left if the reference covers all that is wanted. False where a reference leaves size_t.
    static bool enter(Place* place, Place* rest)
    {
        const SubBlock& piece = place->table->subBlocks()[place->index];
        const size_t supplied = std::min(place->table->lengthOf(place->index) - place->within, place->left);
        *rest = {place->table, place->index + 1, 0, place->left - supplied};
        size_t inner = 0;
        if (__builtin_add_overflow(piece.offset, place->within, &inner)) return false;
        *place = {piece.target(), 0, inner, supplied};
        return true;
    }

    static const SubBlock& piece(const Place& place) { return place.table->subBlocks()[place.index]; }

    static OSStatus run(const Place& place, char** pointerOut, size_t* lengthOut)
    {
        const SubBlock& memory = piece(place);
        if (memory.isUnallocated()) return kTavBlockBufferUnallocatedBlockErr;
        *pointerOut = static_cast<char*>(memory.block) + memory.offset + place.within;
        *lengthOut = std::min(place.table->lengthOf(place.index) - place.within, place.left);
        return 0;
    }

    // The place in memory of one offset, for a look-up that goes no further.
    static OSStatus find(LuBlockBufferRef buffer, size_t offset, Place* place)
    {
        const size_t total = LuBlockBufferGetDataLength(buffer);
        if (offset >= total) return kTavBlockBufferBadOffsetParameterErr;
        *place = {buffer, 0, offset, total - offset};
        for (uint32_t depth = 0; depth < kMaximumReferenceDepth; ++depth) {
            if (!settle(place)) break;
            if (!piece(*place).isReference()) return 0;
            Place rest;
            if (!enter(place, &rest)) break;
        }
        return kTavBlockBufferBadOffsetParameterErr;
    }
};

using Walk = TavBlockBufferWalk;

// MARK: cursor

TavBlockBufferCursor::TavBlockBufferCursor(LuBlockBufferRef buffer, size_t offset) noexcept : buffer_(buffer)
{
    restart(offset);
}

void TavBlockBufferCursor::restart(size_t offset) noexcept
{
    const size_t total = LuBlockBufferGetDataLength(buffer_);
    outer_.clear();
    offset_ = offset;
    here_ = {buffer_, 0, offset, offset < total ? total - offset : 0};
}

void TavBlockBufferCursor::moveTo(size_t offset) noexcept
{
    if (offset >= offset_)
        advance(offset - offset_);
    else
        restart(offset);
}

void TavBlockBufferCursor::advance(size_t length) noexcept
{
    offset_ += length;
    while (length >= here_.left && !outer_.empty()) {
        length -= here_.left;
        here_ = outer_.pop();
    }
    length = std::min(length, here_.left);
    here_.within += length;
    here_.left -= length;
}

OSStatus TavBlockBufferCursor::getRun(char** pointerOut, size_t* lengthOut) noexcept
{
    *pointerOut = nullptr;
    *lengthOut = 0;
    if (here_.left == 0) return kTavBlockBufferBadOffsetParameterErr;
    for (uint32_t depth = 0; depth < kMaximumReferenceDepth; ++depth) {
        if (!Walk::settle(&here_)) break;
        if (!Walk::piece(here_).isReference()) return Walk::run(here_, pointerOut, lengthOut);
        Place inner = here_;
        Place rest;
        if (!Walk::enter(&inner, &rest)) break;
        if (rest.left > 0 && !outer_.push(rest)) {
            return TAV_SIGNAL_FROM("TavBlockBufferCursor", kTavBlockBufferStructureAllocationFailedErr,
                                   "could not keep the place of a walk");
        }
        here_ = inner;
    }
    return kTavBlockBufferBadOffsetParameterErr;
}

OSStatus TavBlockBufferCursor::read(void* destination, size_t length) noexcept
{
    char* to = static_cast<char*>(destination);
    while (length > 0) {
        char* run = nullptr;
        size_t runLength = 0;
        TAV_TRY(getRun(&run, &runLength));
        runLength = std::min(runLength, length);
        std::memcpy(to, run, runLength);
        advance(runLength);
        to += runLength;
        length -= runLength;
    }
    return 0;
}

// MARK: look-up of one offset

static OSStatus lookUp(LuBlockBufferRef buffer, size_t offset, size_t* lengthAtOffsetOut, size_t* totalLengthOut,
                       char** dataPointerOut, Walk::Place* place)
{
    char* pointer = nullptr;
    size_t length = 0;
    OSStatus status = Walk::find(buffer, offset, place);
    if (status == 0) status = Walk::run(*place, &pointer, &length);
    if (lengthAtOffsetOut) *lengthAtOffsetOut = length;
    if (totalLengthOut) *totalLengthOut = LuBlockBufferGetDataLength(buffer);
    if (dataPointerOut) *dataPointerOut = pointer;
    return status;
}

OSStatus LuBlockBufferGetDataPointer(LuBlockBufferRef theBuffer, size_t offset, size_t* lengthAtOffsetOut,
                                     size_t* totalLengthOut, char** dataPointerOut)
{
    if (!theBuffer) {
        if (lengthAtOffsetOut) *lengthAtOffsetOut = 0;
        if (totalLengthOut) *totalLengthOut = 0;
        if (dataPointerOut) *dataPointerOut = nullptr;
        return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL bbuf");
    }
    Walk::Place place;
    return lookUp(theBuffer, offset, lengthAtOffsetOut, totalLengthOut, dataPointerOut, &place);
}

OSStatus TavBlockBufferGetDataPointerAndOrigin(LuBlockBufferRef buffer, size_t offset, size_t* lengthAtOffsetOut,
                                               size_t* totalLengthOut, char** dataPointerOut,
                                               LuBlockBufferRef* returnedOriginBBuf,
                                               size_t* returnedOffsetWithinOriginBBuf)
{
    if (lengthAtOffsetOut) *lengthAtOffsetOut = 0;
    if (totalLengthOut) *totalLengthOut = 0;
    if (dataPointerOut) *dataPointerOut = nullptr;
    if (returnedOriginBBuf) *returnedOriginBBuf = nullptr;
    if (returnedOffsetWithinOriginBBuf) *returnedOffsetWithinOriginBBuf = 0;
    if (!buffer) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL bbuf");
    if (!returnedOriginBBuf) {
        return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL returnedOriginBBuf");
    }
    if (!returnedOffsetWithinOriginBBuf) {
        return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL returnedOffsetWithinOriginBBuf");
    }
    Walk::Place place;
    TAV_TRY(lookUp(buffer, offset, lengthAtOffsetOut, totalLengthOut, dataPointerOut, &place));
    *returnedOriginBBuf = place.table;
    *returnedOffsetWithinOriginBBuf = place.table->startOf(place.index) + place.within;
    return 0;
}
