// The byte stream over a block buffer. Writes behind the end go to chunks of a private backing buffer, of which the
// content refers to the parts that are in use: what is there never moves.

#include <algorithm>
#include <cstring>
#include <new>

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/URLs/ZoURL.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavSignal.h"

namespace {

constexpr size_t kChunkMultiple = 16384;
constexpr uint32_t kBackingPieces = 83;

// Derived storage: zeroed when the object is made, and everything in it that is a reference is owned.
struct BBufStream {
    LuBlockBufferRef blockBuffer;  // may be absent in a read-only stream
    ZoURLRef url;
    ZoStringRef mimeType;
    ZoStringRef uti;
    ZoNumberRef fileType;
    LuBlockBufferRef backingBuffer;  // absent: read-only
    size_t backingOffset;            // of the first byte there that nothing refers to
    ZoAllocatorRef blockAllocator;
    LuBlockBufferCustomBlockSource customBlockSource;
    bool hasCustomBlockSource;
    uint8_t* tailPointer;  // free bytes at the end of the last chunk; absent when it is full
    size_t tailLength;
};

BBufStream* storageOf(LuByteStreamRef stream)
{
    return static_cast<BBufStream*>(LuBaseObjectGetDerivedStorage(LuByteStreamGetLuBaseObject(stream)));
}
BBufStream* storageOf(LuBaseObjectRef object)
{
    return static_cast<BBufStream*>(LuBaseObjectGetDerivedStorage(object));
}

size_t lengthOf(const BBufStream& storage) { return LuBlockBufferGetDataLength(storage.blockBuffer); }

// MARK: reading

// How much of a read there is to give; what ends a read early is its status.
OSStatus bbufStreamRange(const BBufStream& storage, size_t size, int64_t offset, size_t* countOut,
                         const char* operation)
{
    *countOut = 0;
    if (offset < 0) return TAV_SIGNAL_FROM(operation, kTavByteStreamError_InvalidParameter, "negative offset");
    const size_t length = lengthOf(storage);
    if (size == 0 || static_cast<uint64_t>(offset) >= length) return size == 0 ? 0 : kTavByteStreamError_EndOfStream;
    *countOut = std::min(length - static_cast<size_t>(offset), size);
    return 0;
}

OSStatus bbufStreamRead(LuByteStreamRef stream, size_t size, int64_t offset, void* destination, size_t* bytesReadOut)
{
    const BBufStream& storage = *storageOf(stream);
    size_t count = 0;
    const OSStatus status = bbufStreamRange(storage, size, offset, &count, "TavByteStreamRead");
    if (bytesReadOut) *bytesReadOut = count;
    if (count == 0) return status;
    return LuBlockBufferCopyDataBytes(storage.blockBuffer, static_cast<size_t>(offset), count, destination);
}

OSStatus bbufStreamReadAndCreateBlockBuffer(LuByteStreamRef stream, size_t size, int64_t offset,
                                            LuBlockBufferRef* blockBufferOut, size_t* bytesReadOut)
{
    const BBufStream& storage = *storageOf(stream);
    size_t count = 0;
    const OSStatus status = bbufStreamRange(storage, size, offset, &count, "TavByteStreamReadAndCreateBlockBuffer");
    if (bytesReadOut) *bytesReadOut = count;
    *blockBufferOut = nullptr;
    if (count == 0) return status;
    return LuBlockBufferCreateWithBufferReference(ZoGetAllocator(stream), storage.blockBuffer,
                                                  static_cast<size_t>(offset), count, 0, blockBufferOut);
}

OSStatus bbufStreamGetAvailableLengthAtOffset(LuByteStreamRef stream, int64_t offset, int64_t* availableLengthOut)
{
    if (!availableLengthOut)
        return TAV_SIGNAL_FROM("TavByteStreamGetAvailableLengthAtOffset", kTavByteStreamError_InvalidParameter,
                               "availableLengthOut is required");
    const auto length = static_cast<int64_t>(lengthOf(*storageOf(stream)));
    *availableLengthOut = offset < 0 || offset >= length ? 0 : length - offset;
    return 0;
}

// MARK: writing

// Makes the next `length` bytes of the tail a part of the content.
OSStatus bbufStreamTakeTail(BBufStream& storage, size_t length)
{
    TAV_TRY(LuBlockBufferAppendBufferReference(storage.blockBuffer, storage.backingBuffer, storage.backingOffset,
                                               length, kLuBlockBufferDontOptimizeDepthFlag));
    storage.backingOffset += length;
    storage.tailLength -= length;
    storage.tailPointer = storage.tailLength == 0 ? nullptr : storage.tailPointer + length;
    return 0;
}

// `gap` zeros and what fits of `source` into the tail.
OSStatus bbufStreamFillTail(BBufStream& storage, size_t& gap, const uint8_t*& source, size_t& rest)
{
    if (const size_t zeros = std::min(gap, storage.tailLength); zeros > 0) {
        std::memset(storage.tailPointer, 0, zeros);
        TAV_TRY(bbufStreamTakeTail(storage, zeros));
        gap -= zeros;
    }
    if (const size_t count = std::min(rest, storage.tailLength); gap == 0 && count > 0) {
        std::memcpy(storage.tailPointer, source, count);
        TAV_TRY(bbufStreamTakeTail(storage, count));
        source += count;
        rest -= count;
    }
    return 0;
}

OSStatus bbufStreamAppendChunk(BBufStream& storage, size_t gap, const uint8_t* source, size_t rest)
{
    size_t needed, rounded;
    if (__builtin_add_overflow(gap, rest, &needed) || __builtin_add_overflow(needed, kChunkMultiple - 1, &rounded))
        return TAV_SIGNAL_FROM("TavByteStreamWrite", kTavBlockBufferBadLengthParameterErr, "chunk leaves size_t");
    const size_t chunkLength = rounded / kChunkMultiple * kChunkMultiple;
    const size_t chunkOffset = LuBlockBufferGetDataLength(storage.backingBuffer);
    TAV_TRY(LuBlockBufferAppendMemoryBlock(storage.backingBuffer, nullptr, chunkLength, storage.blockAllocator,
                                           storage.hasCustomBlockSource ? &storage.customBlockSource : nullptr, 0,
                                           chunkLength, kLuBlockBufferAssureMemoryNowFlag));
    char* pointer = nullptr;
    TAV_TRY(LuBlockBufferGetDataPointer(storage.backingBuffer, chunkOffset, nullptr, nullptr, &pointer));
    storage.backingOffset = chunkOffset;
    storage.tailPointer = reinterpret_cast<uint8_t*>(pointer);
    storage.tailLength = chunkLength;
    std::memset(storage.tailPointer, 0, gap);
    std::memcpy(storage.tailPointer + gap, source, rest);
    return bbufStreamTakeTail(storage, needed);
}

OSStatus bbufStreamWrite(LuByteStreamRef stream, size_t size, int64_t offset, const void* source,
                         size_t* bytesWrittenOut)
{
    BBufStream& storage = *storageOf(stream);
    if (bytesWrittenOut) *bytesWrittenOut = 0;
    if (!storage.backingBuffer)
        return TAV_SIGNAL_FROM("TavByteStreamWrite", kLuByteStreamError_ReadOnlyStream,
                               "Cannot write to a read-only stream");
    if (!source) return TAV_SIGNAL_FROM("TavByteStreamWrite", kTavByteStreamError_InvalidParameter, "NULL src pointer");
    if (offset < 0)
        return TAV_SIGNAL_FROM("TavByteStreamWrite", kTavByteStreamError_InvalidParameter, "Negative offset");
    if (size == 0) return 0;

    const auto* next = static_cast<const uint8_t*>(source);
    const size_t length = lengthOf(storage);
    auto at = static_cast<size_t>(offset);
    size_t rest = size;
    if (at < length) {
        const size_t inside = std::min(rest, length - at);
        TAV_TRY(LuBlockBufferReplaceDataBytes(next, storage.blockBuffer, at, inside));
        next += inside;
        at += inside;
        rest -= inside;
    }
    size_t gap = at - std::min(at, length);
    if (rest > 0 && storage.tailLength > 0) TAV_TRY(bbufStreamFillTail(storage, gap, next, rest));
    if (rest > 0) TAV_TRY(bbufStreamAppendChunk(storage, gap, next, rest));
    if (bytesWrittenOut) *bytesWrittenOut = size;
    return 0;
}

// MARK: properties

OSStatus bbufStreamCopyStored(ZoTypeRef value, ZoTypeRef* valueOut)
{
    if (!value) return kTavBaseObjectError_PropertyNotFound;
    *valueOut = ZoRetain(value);
    return 0;
}

OSStatus bbufStreamCopyProperty(LuBaseObjectRef object, ZoStringRef key, ZoAllocatorRef allocator, void* valueOut)
{
    const BBufStream& storage = *storageOf(object);
    auto* out = static_cast<ZoTypeRef*>(valueOut);
    *out = nullptr;
    const auto is = [key](ZoStringRef name) { return ZoEqual(key, name); };
    if (is(kLuByteStreamProperty_EntireLength) || is(kLuByteStreamProperty_AvailableLength)) {
        const auto length = static_cast<int64_t>(lengthOf(storage));
        *out = ZoNumberCreate(allocator, kZoNumberSInt64Type, &length);
        return *out ? 0
                    : TAV_SIGNAL_FROM("TavByteStreamCopyProperty", kTavBaseObjectError_AllocationFailed, "no number");
    }
    if (is(kLuByteStreamProperty_EntireLengthAvailableOnDemand) || is(kTavByteStreamProperty_DoesReadAhead) ||
        is(kLuByteStreamProperty_ReadSupported))
        return bbufStreamCopyStored(kZoBooleanTrue, out);
    if (is(kLuByteStreamProperty_WriteSupported))
        return bbufStreamCopyStored(storage.backingBuffer ? kZoBooleanTrue : kZoBooleanFalse, out);
    if (is(kLuByteStreamProperty_URL)) return bbufStreamCopyStored(storage.url, out);
    if (is(kTavByteStreamProperty_FileType)) return bbufStreamCopyStored(storage.fileType, out);
    if (is(kTavByteStreamProperty_MIMEType)) return bbufStreamCopyStored(storage.mimeType, out);
    if (is(kTavByteStreamProperty_UTI)) return bbufStreamCopyStored(storage.uti, out);
    return TAV_SIGNAL_FROM("TavByteStreamCopyProperty", kTavBaseObjectError_PropertyNotFound, "no such property");
}

// There is no operation around the slot.
constexpr const char* kSetProperty = "setProperty";

// Takes the place of `field`, which is left alone where the value is of another type.
template <typename T>
OSStatus bbufStreamStore(T& field, ZoTypeRef value, ZoTypeID typeID, const char* complaint, bool copyString = false)
{
    if (value && ZoGetTypeID(value) != typeID)
        return TAV_SIGNAL_FROM(kSetProperty, kTavByteStreamError_InvalidParameter, complaint);
    T stored = nullptr;
    if (value && copyString) {
        stored = static_cast<T>(static_cast<ZoTypeRef>(ZoStringCreateCopy(nullptr, static_cast<ZoStringRef>(value))));
        if (!stored) return TAV_SIGNAL_FROM(kSetProperty, kTavBaseObjectError_AllocationFailed, "no copy");
    } else if (value) {
        stored = static_cast<T>(ZoRetain(value));
    }
    const auto old = ZoRef<T>::adopt(field);
    field = stored;
    return 0;
}

OSStatus bbufStreamSetProperty(LuBaseObjectRef object, ZoStringRef key, ZoTypeRef value)
{
    BBufStream& storage = *storageOf(object);
    if (ZoEqual(key, kLuByteStreamProperty_URL))
        return bbufStreamStore(storage.url, value, ZoURLGetTypeID(), "not a url");
    if (ZoEqual(key, kTavByteStreamProperty_FileType))
        return bbufStreamStore(storage.fileType, value, ZoNumberGetTypeID(), "not a number");
    if (ZoEqual(key, kTavByteStreamProperty_MIMEType))
        return bbufStreamStore(storage.mimeType, value, ZoStringGetTypeID(), "not a string", true);
    if (ZoEqual(key, kTavByteStreamProperty_UTI))
        return bbufStreamStore(storage.uti, value, ZoStringGetTypeID(), "not a string", true);
    return TAV_SIGNAL_FROM(kSetProperty, kTavBaseObjectError_PropertyNotFound, "no such property");
}

// MARK: life

Boolean bbufStreamEqual(LuBaseObjectRef object1, LuBaseObjectRef object2)
{
    LuBlockBufferRef buffer1 = storageOf(object1)->blockBuffer, buffer2 = storageOf(object2)->blockBuffer;
    return buffer1 == buffer2 || (buffer1 && buffer2 && ZoEqual(buffer1, buffer2));
}

void bbufStreamFinalize(LuBaseObjectRef object)
{
    BBufStream& storage = *storageOf(object);
    const ZoTypeRef owned[] = {storage.blockBuffer, storage.url,           storage.mimeType,      storage.uti,
                               storage.fileType,    storage.backingBuffer, storage.blockAllocator};
    for (ZoTypeRef field : owned)
        if (field) ZoRelease(field);
}

constexpr LuByteStreamClass kByteStreamClass = {.version = 1,
                                                .read = bbufStreamRead,
                                                .write = bbufStreamWrite,
                                                .getAvailableLengthAtOffset = bbufStreamGetAvailableLengthAtOffset,
                                                .readAndCreateBlockBuffer = bbufStreamReadAndCreateBlockBuffer,
                                                .unused = nullptr};
constexpr LuBaseClass kBaseClass = {.version = 1,
                                    .derivedStorageSize = sizeof(BBufStream),
                                    .equal = bbufStreamEqual,
                                    .unused = nullptr,
                                    .finalize = bbufStreamFinalize,
                                    .copyDebugDescription = nullptr,
                                    .copyProperty = bbufStreamCopyProperty,
                                    .setProperty = bbufStreamSetProperty,
                                    .notificationBarrier = nullptr,
                                    .protocolTable = nullptr};
constexpr LuVTable kVTable = {.reserved = nullptr, .base = &kBaseClass, .derived = &kByteStreamClass};

OSStatus bbufStreamCreate(ZoAllocatorRef allocator, LuBlockBufferRef blockBuffer, uint32_t flags,
                          ZoRef<LuByteStreamRef>& stream, const char* operation)
{
    if (flags != 0) return TAV_SIGNAL_FROM(operation, kTavBaseObjectError_ParamErr, "Options reserved for future use");
    LuBaseObjectRef object = nullptr;
    TAV_TRY(LuDerivedObjectCreate(allocator, &kVTable, LuByteStreamGetClassID(), &object));
    stream = zoAdopt(reinterpret_cast<LuByteStreamRef>(object));
    if (blockBuffer) ZoRetain(blockBuffer);
    storageOf(stream.get())->blockBuffer = blockBuffer;
    return 0;
}

}  // namespace

OSStatus LuByteStreamCreateForBlockBuffer(ZoAllocatorRef allocator, LuBlockBufferRef blockBuffer, uint32_t flags,
                                          LuByteStreamRef* streamOut)
{
    if (!streamOut) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "NULL streamOut");
    *streamOut = nullptr;
    ZoRef<LuByteStreamRef> stream;
    TAV_TRY(bbufStreamCreate(allocator, blockBuffer, flags, stream, __func__));
    *streamOut = stream.release();
    return 0;
}

OSStatus TavByteStreamCreateForBlockBuffer(LuBlockBufferRef blockBuffer, uint32_t flags, ZoAllocatorRef allocator,
                                           LuByteStreamRef* streamOut)
{
    return LuByteStreamCreateForBlockBuffer(allocator, blockBuffer, flags, streamOut);
}

OSStatus LuByteStreamCreateWritableForBlockBuffer(ZoAllocatorRef allocator, LuBlockBufferRef initialBlockBuffer,
                                                  uint32_t flags, ZoAllocatorRef blockAllocator,
                                                  const LuBlockBufferCustomBlockSource* customBlockSource,
                                                  LuByteStreamRef* streamOut)
{
    if (!streamOut) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "NULL streamOut");
    *streamOut = nullptr;
    if (!initialBlockBuffer) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "InitialBBuf is required");
    ZoRef<LuByteStreamRef> stream;
    TAV_TRY(bbufStreamCreate(allocator, initialBlockBuffer, flags, stream, __func__));
    BBufStream& storage = *storageOf(stream.get());
    if (customBlockSource) {
        storage.customBlockSource = *customBlockSource;
        storage.hasCustomBlockSource = true;
    } else {
        storage.blockAllocator =
            static_cast<ZoAllocatorRef>(ZoRetain(blockAllocator ? blockAllocator : ZoAllocatorGetDefault()));
    }
    TAV_TRY(LuBlockBufferCreateEmpty(allocator, kBackingPieces, 0, &storage.backingBuffer));
    if (!LuBlockBufferIsEmpty(initialBlockBuffer)) TAV_TRY(LuBlockBufferAssureBlockMemory(initialBlockBuffer));
    *streamOut = stream.release();
    return 0;
}
