#include <algorithm>
#include <limits>

#include "Core/TavBlockBuffer/TavBlockBufferCursorPrivate.h"
#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Objects/ZoRef.h"
#include "Utilities/TavAtomStreamPrivate.h"
#include "Utilities/TavBlockBufferUtilities.h"

namespace {

// MARK: memory

OSStatus memoryReadBytes(const void* source, int64_t sourceLength, size_t count, int64_t offset, void* destination,
                         size_t* countRead)
{
    *countRead = 0;
    if (offset < 0 || offset >= sourceLength) return kTavAtomStream_UnexpectedEndOfStream;
    *countRead = std::min(count, static_cast<size_t>(sourceLength - offset));
    memcpy(destination, static_cast<const uint8_t*>(source) + offset, *countRead);
    return 0;
}

OSStatus memoryReadBlockBuffer(const void* source, int64_t sourceLength, size_t count, int64_t offset,
                               LuBlockBufferRef* blockBufferOut, size_t* countRead)
{
    *blockBufferOut = nullptr;
    *countRead = 0;
    if (offset < 0 || offset >= sourceLength) return kTavAtomStream_UnexpectedEndOfStream;
    const size_t available = std::min(count, static_cast<size_t>(sourceLength - offset));
    TAV_TRY(TavCreateBlockBufferCopyingMemoryBlock(nullptr, static_cast<const uint8_t*>(source) + offset, available,
                                                   blockBufferOut));
    *countRead = available;
    return 0;
}

// MARK: block buffers

LuBlockBufferRef asBlockBuffer(const void* source) { return static_cast<LuBlockBufferRef>(const_cast<void*>(source)); }

OSStatus bbufReadBytes(const void* source, int64_t, size_t count, int64_t offset, void* destination, size_t* countRead)
{
    *countRead = 0;
    TAV_TRY(LuBlockBufferCopyDataBytes(asBlockBuffer(source), static_cast<size_t>(offset), count, destination));
    *countRead = count;
    return 0;
}

OSStatus bbufReadBlockBuffer(const void* source, int64_t, size_t count, int64_t offset,
                             LuBlockBufferRef* blockBufferOut, size_t* countRead)
{
    *countRead = 0;
    TAV_TRY(LuBlockBufferCreateWithBufferReference(nullptr, asBlockBuffer(source), static_cast<size_t>(offset), count,
                                                   0, blockBufferOut));
    *countRead = count;
    return 0;
}

// MARK: byte streams

LuByteStreamRef asByteStream(const void* source) { return static_cast<LuByteStreamRef>(const_cast<void*>(source)); }

OSStatus byteStreamReadBytes(const void* source, int64_t, size_t count, int64_t offset, void* destination,
                             size_t* countRead)
{
    *countRead = 0;
    return TavByteStreamRead(asByteStream(source), count, offset, destination, countRead);
}

OSStatus byteStreamReadBlockBuffer(const void* source, int64_t, size_t count, int64_t offset,
                                   LuBlockBufferRef* blockBufferOut, size_t* countRead)
{
    *blockBufferOut = nullptr;
    *countRead = 0;
    return TavByteStreamReadAndCreateBlockBuffer(asByteStream(source), count, offset, blockBufferOut, countRead);
}

// The cursor over a whole source, before its container is known.
TavAtomStream streamOverMemory(const void* memory, size_t size)
{
    TavAtomStream stream = {};
    stream.source = memory;
    stream.sourceLength = static_cast<int64_t>(std::min<uint64_t>(size, INT64_MAX));
    stream.readBytes = memoryReadBytes;
    stream.readBlockBuffer = memoryReadBlockBuffer;
    stream.window = static_cast<const uint8_t*>(memory);
    stream.windowEnd = stream.sourceLength;
    return stream;
}

TavAtomStream streamOverBBuf(LuBlockBufferRef blockBuffer)
{
    TavAtomStream stream = {};
    stream.source = blockBuffer;
    stream.sourceLength = static_cast<int64_t>(LuBlockBufferGetDataLength(blockBuffer));
    stream.readBytes = bbufReadBytes;
    stream.readBlockBuffer = bbufReadBlockBuffer;
    return stream;
}

OSStatus streamOverByteStream(LuByteStreamRef byteStream, TavAtomStream& stream)
{
    int64_t length = 0;
    TAV_TRY(TavByteStreamGetEntireLength(byteStream, &length));
    stream = {};
    stream.source = byteStream;
    stream.sourceLength = length;
    stream.readBytes = byteStreamReadBytes;
    stream.readBlockBuffer = byteStreamReadBlockBuffer;
    return 0;
}

}  // namespace

void atomStreamFindWindow(TavAtomStream& stream, int64_t offset)
{
    if (stream.readBytes != bbufReadBytes) return;  // memory is one window, byte streams have none
    char* pointer = nullptr;
    size_t length = 0;
    if (LuBlockBufferGetDataPointer(asBlockBuffer(stream.source), static_cast<size_t>(offset), &length, nullptr,
                                    &pointer) != 0)
        return;
    stream.window = reinterpret_cast<const uint8_t*>(pointer);
    stream.windowStart = offset;
    stream.windowEnd = atomStreamSaturatingAdd(offset, length);
}

OSStatus atomStreamReadOutsideOfWindow(const TavAtomStream& stream, size_t count, int64_t offset, void* destination,
                                       size_t* countRead)
{
    if (stream.readBytes != bbufReadBytes)
        return stream.readBytes(stream.source, stream.sourceLength, count, offset, destination, countRead);
    // Gathered, and nothing is signalled: how the end of the data is told is for the caller.
    *countRead = 0;
    TAV_TRY(TavBlockBufferCursor(asBlockBuffer(stream.source), static_cast<size_t>(offset)).read(destination, count));
    *countRead = count;
    return 0;
}

OSStatus atomStreamReadContiguous(const TavAtomStream& stream, size_t count, int64_t offset,
                                  LuBlockBufferRef* blockBufferOut, size_t* countRead)
{
    ZoRef<LuBlockBufferRef> block;
    TAV_TRY(stream.readBlockBuffer(stream.source, stream.sourceLength, count, offset, block.outParam(), countRead));
    if (block && !LuBlockBufferIsRangeContiguous(block.get(), 0, 0)) {
        ZoRef<LuBlockBufferRef> contiguous;
        TAV_TRY(LuBlockBufferCreateContiguous(nullptr, block.get(), nullptr, nullptr, 0, 0, 0, contiguous.outParam()));
        block = std::move(contiguous);
    }
    *blockBufferOut = block.release();
    return 0;
}

void atomStreamReleaseBlockBuffer(LuBlockBufferRef* blockBuffer)
{
    if (*blockBuffer) ZoRelease(*blockBuffer);
    *blockBuffer = nullptr;
}

// MARK: opening

OSStatus TavAtomStreamInitWithByteStreamWithSizeAndReporter(LuByteStreamRef byteStream, int64_t offset, int64_t size,
                                                            uint8_t allowZeroSizeAtom,
                                                            TavAssetAnalysisReporterRef reporter,
                                                            TavAtomStream* streamOut)
{
    if (!byteStream || !streamOut) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL byteStream or streamOut");
    TavAtomStream stream;
    TAV_TRY(streamOverByteStream(byteStream, stream));
    if (offset < 0 || offset >= stream.sourceLength)
        return atomStreamRefuse(reporter,
                                {kTavAtomStream_OffsetOutsideOfParent, "Offset %lld exceeds stream length %lld", offset,
                                 stream.sourceLength},
                                0, __func__);
    stream.allowZeroSizeAtom = allowZeroSizeAtom;
    stream.reporter = reporter;
    stream.containerOffset = offset;
    stream.containerLength = std::min(stream.sourceLength - offset, std::max<int64_t>(size, 0));
    TAV_TRY(CommonAtomStreamInitialization(stream));
    *streamOut = stream;
    return 0;
}

OSStatus TavAtomStreamInitWithByteStreamAndReporter(LuByteStreamRef byteStream, int64_t offset,
                                                    uint8_t allowZeroSizeAtom, TavAssetAnalysisReporterRef reporter,
                                                    TavAtomStream* streamOut)
{
    return TavAtomStreamInitWithByteStreamWithSizeAndReporter(byteStream, offset, INT64_MAX, allowZeroSizeAtom,
                                                              reporter, streamOut);
}

OSStatus TavAtomStreamInitWithByteStreamWithSize(LuByteStreamRef byteStream, int64_t offset, int64_t size,
                                                 uint8_t allowZeroSizeAtom, TavAtomStream* streamOut)
{
    return TavAtomStreamInitWithByteStreamWithSizeAndReporter(byteStream, offset, size, allowZeroSizeAtom, nullptr,
                                                              streamOut);
}

OSStatus TavAtomStreamInitWithByteStream(LuByteStreamRef byteStream, int64_t offset, uint8_t allowZeroSizeAtom,
                                         TavAtomStream* streamOut)
{
    return TavAtomStreamInitWithByteStreamWithSizeAndReporter(byteStream, offset, INT64_MAX, allowZeroSizeAtom, nullptr,
                                                              streamOut);
}

OSStatus TavAtomStreamInitWithBBufAndReporter(LuBlockBufferRef blockBuffer, size_t offset, uint8_t allowZeroSizeAtom,
                                              TavAssetAnalysisReporterRef reporter, TavAtomStream* streamOut)
{
    if (!blockBuffer || !streamOut) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL blockBuffer or streamOut");
    TavAtomStream stream = streamOverBBuf(blockBuffer);
    if (offset >= static_cast<uint64_t>(stream.sourceLength))
        return atomStreamRefuse(reporter,
                                {kTavAtomStream_OffsetOutsideOfParent, "Offset %zd exceeds block buffer length %zd",
                                 offset, static_cast<size_t>(stream.sourceLength)},
                                0, __func__);
    stream.allowZeroSizeAtom = allowZeroSizeAtom;
    stream.reporter = reporter;
    stream.containerOffset = static_cast<int64_t>(offset);
    stream.containerLength = stream.sourceLength - stream.containerOffset;
    TAV_TRY(CommonAtomStreamInitialization(stream));
    *streamOut = stream;
    return 0;
}

OSStatus TavAtomStreamInitWithBBuf(LuBlockBufferRef blockBuffer, size_t offset, uint8_t allowZeroSizeAtom,
                                   TavAtomStream* streamOut)
{
    return TavAtomStreamInitWithBBufAndReporter(blockBuffer, offset, allowZeroSizeAtom, nullptr, streamOut);
}

OSStatus TavAtomStreamInitWithMemoryBlockAndReporter(const void* memoryBlock, size_t size, int64_t offset,
                                                     uint8_t allowZeroSizeAtom, TavAssetAnalysisReporterRef reporter,
                                                     TavAtomStream* streamOut)
{
    if (!memoryBlock || !streamOut || offset < 0)
        return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL memoryBlock or streamOut, or negative offset");
    if (size == 0) return TAV_SIGNAL(kTavAtomStream_ParameterError, "Bad memory block size");
    TavAtomStream stream = streamOverMemory(memoryBlock, size);
    stream.allowZeroSizeAtom = allowZeroSizeAtom;
    stream.reporter = reporter;
    stream.containerOffset = offset;
    // The run is as long as the whole block, wherever it starts; only the sum must stay a number.
    stream.containerLength = std::min(stream.sourceLength, INT64_MAX - offset);
    TAV_TRY(CommonAtomStreamInitialization(stream));
    *streamOut = stream;
    return 0;
}

OSStatus TavAtomStreamInitWithMemoryBlock(const void* memoryBlock, size_t size, int64_t offset,
                                          uint8_t allowZeroSizeAtom, TavAtomStream* streamOut)
{
    return TavAtomStreamInitWithMemoryBlockAndReporter(memoryBlock, size, offset, allowZeroSizeAtom, nullptr,
                                                       streamOut);
}

// MARK: single headers

OSStatus TavAtomUtilityGetAtomTypeAndLengthInByteStreamWithSize(LuByteStreamRef byteStream, int64_t offset,
                                                                int64_t limitSize, OSType* typeOut, int64_t* sizeOut,
                                                                size_t* headerSizeOut)
{
    if (typeOut) *typeOut = 0;
    if (sizeOut) *sizeOut = 0;
    if (headerSizeOut) *headerSizeOut = 0;
    if (!byteStream) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL byteStream");
    TavAtomStream stream;
    TAV_TRY(streamOverByteStream(byteStream, stream));
    if (offset < 0 || offset > stream.sourceLength)
        return atomStreamRefuse(nullptr,
                                {kTavAtomStream_OffsetOutsideOfParent, "Offset %lld exceeds stream length %lld.",
                                 offset, stream.sourceLength},
                                0, __func__);
    const int64_t limit = offset + std::min(stream.sourceLength - offset, std::max<int64_t>(limitSize, 0));
    return atomStreamReadSingleHeader(stream, offset, limit, nullptr, typeOut, sizeOut, headerSizeOut);
}

OSStatus TavAtomUtilityGetAtomTypeAndLengthInByteStream(LuByteStreamRef byteStream, int64_t offset, OSType* typeOut,
                                                        int64_t* sizeOut, size_t* headerSizeOut)
{
    return TavAtomUtilityGetAtomTypeAndLengthInByteStreamWithSize(byteStream, offset, INT64_MAX, typeOut, sizeOut,
                                                                  headerSizeOut);
}

OSStatus TavAtomUtilityGetAtomTypeAndLengthInBBuf(LuBlockBufferRef blockBuffer, size_t offset, OSType* typeOut,
                                                  int64_t* sizeOut, size_t* headerSizeOut)
{
    if (typeOut) *typeOut = 0;
    if (sizeOut) *sizeOut = 0;
    if (headerSizeOut) *headerSizeOut = 0;
    if (!blockBuffer) return TAV_SIGNAL(kTavAtomStream_ParameterError, "NULL blockBuffer");
    const TavAtomStream stream = streamOverBBuf(blockBuffer);
    if (offset > static_cast<uint64_t>(stream.sourceLength))
        return atomStreamRefuse(nullptr,
                                {kTavAtomStream_OffsetOutsideOfParent, "Offset %zd exceeds block buffer length %zd",
                                 offset, static_cast<size_t>(stream.sourceLength)},
                                0, __func__);
    return atomStreamReadSingleHeader(stream, static_cast<int64_t>(offset), stream.sourceLength, __func__, typeOut,
                                      sizeOut, headerSizeOut);
}
