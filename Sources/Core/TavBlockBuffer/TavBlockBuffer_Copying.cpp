// Copying out, in, and into one piece.

#include <algorithm>
#include <cstring>

#include "Core/TavBlockBuffer/TavBlockBufferCursorPrivate.h"
#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"
#include "Foundation/Objects/ZoRef.h"

namespace {
struct RangeMessages {
    const char* empty;
    const char* offset;
    const char* length;
    const char* wrapped;
};
}  // namespace

static constexpr RangeMessages kSourceMessages = {
    "source buffer is empty",
    "offsetIntoSource exceeds source buffer length",
    "(offsetIntoSource + dataLength) exceeds source buffer length",
    "(offsetIntoSource + dataLength) wrapped",
};
static constexpr RangeMessages kDestinationMessages = {
    "destination buffer is empty",
    "offset exceeds destination buffer length",
    "(offset + dataLength) exceeds destination buffer length",
    "(offset + dataLength) exceeds destination buffer length",
};
static constexpr RangeMessages kContiguousMessages = {
    "source buffer is empty",
    "offset exceeds source buffer length",
    "(offset + dataLength) exceeds source buffer length",
    "(offset + dataLength) exceeds source buffer length",
};

static OSStatus checkRange(LuBlockBufferRef buffer, size_t offset, size_t length, const RangeMessages& messages,
                           const char* operation)
{
    if (LuBlockBufferIsEmpty(buffer)) return TAV_SIGNAL_FROM(operation, kTavBlockBufferEmptyBBufErr, messages.empty);
    const size_t total = LuBlockBufferGetDataLength(buffer);
    if (offset >= total) return TAV_SIGNAL_FROM(operation, kTavBlockBufferBadOffsetParameterErr, messages.offset);
    size_t end = 0;
    if (__builtin_add_overflow(offset, length, &end)) {
        return TAV_SIGNAL_FROM(operation, kTavBlockBufferBadLengthParameterErr, messages.wrapped);
    }
    if (end > total) return TAV_SIGNAL_FROM(operation, kTavBlockBufferBadLengthParameterErr, messages.length);
    return 0;
}

OSStatus LuBlockBufferCopyDataBytes(LuBlockBufferRef theSourceBuffer, size_t offsetToData, size_t dataLength,
                                    void* destination)
{
    if (!theSourceBuffer || !destination) {
        return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL source or destination");
    }
    if (dataLength == 0) return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "dataLength must be > 0");
    TAV_TRY(checkRange(theSourceBuffer, offsetToData, dataLength, kSourceMessages, __func__));
    return TavBlockBufferCursor(theSourceBuffer, offsetToData).read(destination, dataLength);
}

// Hands each run of the range to `write`, which is told where in the range it lies. Allocates what has no memory yet.
template <typename Write>
static OSStatus writeRuns(LuBlockBufferRef buffer, size_t offset, size_t length, Write write)
{
    TavBlockBufferCursor cursor(buffer, offset);
    for (size_t done = 0; done < length;) {
        char* run = nullptr;
        size_t runLength = 0;
        OSStatus status = cursor.getRun(&run, &runLength);
        if (status == kTavBlockBufferUnallocatedBlockErr) {
            TAV_TRY(LuBlockBufferAssureBlockMemory(buffer));
            status = cursor.getRun(&run, &runLength);
        }
        TAV_TRY(status);
        runLength = std::min(runLength, length - done);
        write(run, done, runLength);
        cursor.advance(runLength);
        done += runLength;
    }
    return 0;
}

OSStatus LuBlockBufferReplaceDataBytes(const void* sourceBytes, LuBlockBufferRef destinationBuffer,
                                       size_t offsetIntoDestination, size_t dataLength)
{
    if (!sourceBytes || !destinationBuffer) {
        return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL source or destination");
    }
    if (dataLength == 0) return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "dataLength must be > 0");
    TAV_TRY(checkRange(destinationBuffer, offsetIntoDestination, dataLength, kDestinationMessages, __func__));
    const char* from = static_cast<const char*>(sourceBytes);
    // The source may be bytes of this very buffer.
    return writeRuns(destinationBuffer, offsetIntoDestination, dataLength,
                     [from](char* run, size_t at, size_t length) { std::memmove(run, from + at, length); });
}

OSStatus LuBlockBufferFillDataBytes(char fillByte, LuBlockBufferRef destinationBuffer, size_t offsetIntoDestination,
                                    size_t dataLength)
{
    if (!destinationBuffer) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL destinationBuffer");
    if (dataLength > static_cast<size_t>(INTPTR_MAX)) {
        return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "dataLength must be >= 0");
    }
    TAV_TRY(checkRange(destinationBuffer, offsetIntoDestination, dataLength, kDestinationMessages, __func__));
    if (dataLength == 0) dataLength = LuBlockBufferGetDataLength(destinationBuffer) - offsetIntoDestination;
    return writeRuns(destinationBuffer, offsetIntoDestination, dataLength,
                     [fillByte](char* run, size_t, size_t length) { std::memset(run, fillByte, length); });
}

OSStatus LuBlockBufferCreateContiguous(ZoAllocatorRef structureAllocator, LuBlockBufferRef sourceBuffer,
                                       ZoAllocatorRef blockAllocator,
                                       const LuBlockBufferCustomBlockSource* customBlockSource, size_t offsetToData,
                                       size_t dataLength, LuBlockBufferFlags flags, LuBlockBufferRef* newBBufOut)
{
    if (newBBufOut) *newBBufOut = nullptr;
    if (!sourceBuffer || !newBBufOut) {
        return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL source or newBBufOut");
    }
    TAV_TRY(checkRange(sourceBuffer, offsetToData, dataLength, kContiguousMessages, __func__));
    if (dataLength == 0) dataLength = LuBlockBufferGetDataLength(sourceBuffer) - offsetToData;

    if (!(flags & kLuBlockBufferAlwaysCopyDataFlag) &&
        LuBlockBufferIsRangeContiguous(sourceBuffer, offsetToData, dataLength)) {
        return LuBlockBufferCreateWithBufferReference(structureAllocator, sourceBuffer, offsetToData, dataLength, flags,
                                                      newBBufOut);
    }
    ZoRef<LuBlockBufferRef> copy;
    TAV_TRY(LuBlockBufferCreateWithMemoryBlock(structureAllocator, nullptr, dataLength, blockAllocator,
                                               customBlockSource, 0, dataLength,
                                               flags | kLuBlockBufferAssureMemoryNowFlag, copy.outParam()));
    char* block = nullptr;
    TAV_TRY(LuBlockBufferGetDataPointer(copy.get(), 0, nullptr, nullptr, &block));
    TAV_TRY(LuBlockBufferCopyDataBytes(sourceBuffer, offsetToData, dataLength, block));
    *newBBufOut = copy.release();
    return 0;
}
