#include "DataIO/TavByteStreams/TavForkByteStream.h"

#include <fcntl.h>

#include <algorithm>
#include <cstring>

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/URLs/ZoURL.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavSignal.h"

namespace {

constexpr size_t kLeastPiece = 1024;
constexpr size_t kMostPiece = 65536;

// Derived storage: zeroed when the object is made; the stream owns what it refers to.
struct ForkStream {
    TavFileForkRef fork;
    ZoURLRef url;
    uint8_t* piece;  // of kMostPiece bytes; made by the first small read
    int64_t pieceStart;
    size_t pieceLength;
    size_t pieceAsked;  // more than the length where the file ended
};

ForkStream* storageOf(const void* stream)
{
    return static_cast<ForkStream*>(
        LuBaseObjectGetDerivedStorage(static_cast<LuBaseObjectRef>(const_cast<void*>(stream))));
}

int accessModeOf(const ForkStream& storage)
{
    const int flags = fcntl(TavFileGetOstraFileDesc(storage.fork), F_GETFL);
    return flags == -1 ? -1 : flags & O_ACCMODE;
}

// MARK: reading

// Until `count` bytes are there or the file ends; what was read is told also where reading fails.
OSStatus forkStreamReadFully(const ForkStream& storage, size_t count, int64_t offset, uint8_t* to, size_t* doneOut)
{
    for (*doneOut = 0; *doneOut < count;) {
        size_t got = 0;
        TAV_TRY(TavFileForkRead(storage.fork, to + *doneOut, count - *doneOut, offset + static_cast<int64_t>(*doneOut),
                                &got));
        if (got == 0) break;
        *doneOut += got;
    }
    return 0;
}

// What of a read stands in the piece.
size_t forkStreamTakeFromPiece(const ForkStream& storage, size_t count, int64_t offset, uint8_t* to)
{
    if (offset < storage.pieceStart) return 0;
    const auto at = static_cast<uint64_t>(offset - storage.pieceStart);
    if (at >= storage.pieceLength) return 0;
    count = std::min(count, storage.pieceLength - static_cast<size_t>(at));
    memcpy(to, storage.piece + at, count);
    return count;
}

// Reads a piece that has the byte at `offset`: twice as long as the last one where the reads run on from it, else the
// least, from a multiple of its length on, or two where little would be left.
OSStatus forkStreamReadPiece(ForkStream& storage, int64_t offset)
{
    constexpr int64_t kLeast = kLeastPiece, kLittle = 64;
    int64_t start = offset / kLeast * kLeast;
    size_t length = start + kLeast - offset < kLittle ? 2 * kLeastPiece : kLeastPiece;
    if (storage.pieceLength > 0 && offset == storage.pieceStart + static_cast<int64_t>(storage.pieceLength)) {
        start = offset;
        length = std::min(2 * storage.pieceAsked, kMostPiece);
    }
    length = std::min(length, static_cast<size_t>(INT64_MAX - start));
    storage.pieceStart = start;
    storage.pieceAsked = length;
    storage.pieceLength = 0;
    return forkStreamReadFully(storage, length, start, storage.piece, &storage.pieceLength);
}

// A read that the piece does not answer in full.
OSStatus forkStreamReadOn(ForkStream& storage, size_t size, int64_t offset, uint8_t* to, size_t* doneOut)
{
    while (*doneOut < size) {
        const size_t rest = size - *doneOut;
        const int64_t at = offset + static_cast<int64_t>(*doneOut);
        if (rest < kMostPiece && !storage.piece)
            storage.piece = static_cast<uint8_t*>(ZoAllocatorAllocate(nullptr, kMostPiece, 0));
        if (rest >= kMostPiece || !storage.piece) {
            size_t got = 0;
            const OSStatus status = forkStreamReadFully(storage, rest, at, to + *doneOut, &got);
            *doneOut += got;
            return status;
        }
        TAV_TRY(forkStreamReadPiece(storage, at));
        const size_t got = forkStreamTakeFromPiece(storage, rest, at, to + *doneOut);
        if (got == 0) return 0;
        *doneOut += got;
    }
    return 0;
}

OSStatus forkStreamRead(LuByteStreamRef stream, size_t size, int64_t offset, void* destination, size_t* bytesReadOut)
{
    if (bytesReadOut) *bytesReadOut = 0;
    if (offset < 0)
        return TAV_SIGNAL_FROM("TavByteStreamRead", kTavByteStreamError_InvalidParameter, "negative offset");
    if (size == 0) return 0;
    ForkStream& storage = *storageOf(stream);
    auto* const to = static_cast<uint8_t*>(destination);
    size = std::min(size, static_cast<size_t>(INT64_MAX - offset));
    size_t done = forkStreamTakeFromPiece(storage, size, offset, to);
    const OSStatus status = done == size && size > 0 ? 0 : forkStreamReadOn(storage, size, offset, to, &done);
    if (bytesReadOut) *bytesReadOut = done;
    return status == 0 && done == 0 ? kTavByteStreamError_EndOfStream : status;
}

OSStatus forkStreamGetAvailableLengthAtOffset(LuByteStreamRef stream, int64_t offset, int64_t* availableLengthOut)
{
    if (!availableLengthOut)
        return TAV_SIGNAL_FROM("TavByteStreamGetAvailableLengthAtOffset", kTavByteStreamError_InvalidParameter,
                               "availableLengthOut is required");
    return TavFileForkGetLengthAtOffset(storageOf(stream)->fork, offset, availableLengthOut);
}

// No more is allocated than the file has, whatever was asked for.
OSStatus forkStreamReadAndCreateBlockBuffer(LuByteStreamRef stream, size_t size, int64_t offset,
                                            LuBlockBufferRef* blockBufferOut, size_t* bytesReadOut)
{
    if (bytesReadOut) *bytesReadOut = 0;
    *blockBufferOut = nullptr;
    if (offset < 0)
        return TAV_SIGNAL_FROM("TavByteStreamReadAndCreateBlockBuffer", kTavByteStreamError_InvalidParameter,
                               "negative offset");
    if (size == 0) return 0;
    int64_t available = 0;
    TAV_TRY(TavFileForkGetLengthAtOffset(storageOf(stream)->fork, offset, &available));
    if (available == 0) return kTavByteStreamError_EndOfStream;
    return LuCreateContiguousBlockBufferFromStream(stream, ZoGetAllocator(stream),
                                                   std::min(size, static_cast<size_t>(available)), offset,
                                                   blockBufferOut, bytesReadOut);
}

// MARK: writing

OSStatus forkStreamWrite(LuByteStreamRef stream, size_t size, int64_t offset, const void* source,
                         size_t* bytesWrittenOut)
{
    ForkStream& storage = *storageOf(stream);
    if (bytesWrittenOut) *bytesWrittenOut = 0;
    if (accessModeOf(storage) == O_RDONLY)
        return TAV_SIGNAL_FROM("TavByteStreamWrite", kLuByteStreamError_ReadOnlyStream,
                               "Cannot write to a read-only stream");
    if (!source) return TAV_SIGNAL_FROM("TavByteStreamWrite", kTavByteStreamError_InvalidParameter, "NULL src pointer");
    if (offset < 0)
        return TAV_SIGNAL_FROM("TavByteStreamWrite", kTavByteStreamError_InvalidParameter, "Negative offset");
    storage.pieceLength = 0;
    OSStatus status = 0;
    size_t done = 0;
    for (size_t count = 1; status == 0 && done < size && count > 0; done += count)
        status = TavFileForkWrite(storage.fork, static_cast<const uint8_t*>(source) + done, size - done,
                                  offset + static_cast<int64_t>(done), &count);
    if (bytesWrittenOut) *bytesWrittenOut = done;
    return status;
}

// MARK: properties

OSStatus forkStreamCopyNumber(ZoAllocatorRef allocator, ZoNumberType type, const void* value, ZoTypeRef* valueOut)
{
    *valueOut = ZoNumberCreate(allocator, type, value);
    return *valueOut ? 0
                     : TAV_SIGNAL_FROM("TavByteStreamCopyProperty", kTavBaseObjectError_AllocationFailed, "no number");
}

OSStatus forkStreamCopyProperty(LuBaseObjectRef object, ZoStringRef key, ZoAllocatorRef allocator, void* valueOut)
{
    const ForkStream& storage = *storageOf(object);
    auto* out = static_cast<ZoTypeRef*>(valueOut);
    *out = nullptr;
    const auto is = [key](ZoStringRef name) { return ZoEqual(key, name); };
    const auto say = [out](bool value) {
        *out = ZoRetain(value ? kZoBooleanTrue : kZoBooleanFalse);
        return 0;
    };
    if (is(kLuByteStreamProperty_EntireLength) || is(kLuByteStreamProperty_AvailableLength)) {
        int64_t length = 0;
        TAV_TRY(TavFileForkGetLengthAtOffset(storage.fork, 0, &length));
        return forkStreamCopyNumber(allocator, kZoNumberSInt64Type, &length, out);
    }
    if (is(kTavByteStreamProperty_FileDescriptor)) {
        const int32_t descriptor = TavFileGetOstraFileDesc(storage.fork);
        return forkStreamCopyNumber(allocator, kZoNumberSInt32Type, &descriptor, out);
    }
    if (is(kLuByteStreamProperty_EntireLengthAvailableOnDemand) || is(kTavByteStreamProperty_DoesReadAhead))
        return say(true);
    if (is(kLuByteStreamProperty_ReadSupported)) return say(accessModeOf(storage) != O_WRONLY);
    if (is(kLuByteStreamProperty_WriteSupported)) return say(accessModeOf(storage) != O_RDONLY);
    if (!is(kLuByteStreamProperty_URL))
        return TAV_SIGNAL_FROM("TavByteStreamCopyProperty", kTavBaseObjectError_PropertyNotFound, "no such property");
    if (!storage.url) return kTavBaseObjectError_PropertyNotFound;
    *out = ZoRetain(storage.url);
    return 0;
}

OSStatus forkStreamSetProperty(LuBaseObjectRef object, ZoStringRef key, ZoTypeRef value)
{
    if (!ZoEqual(key, kLuByteStreamProperty_URL))
        return TAV_SIGNAL_FROM("setProperty", kTavBaseObjectError_PropertyNotFound, "no such property");
    if (value && ZoGetTypeID(value) != ZoURLGetTypeID())
        return TAV_SIGNAL_FROM("setProperty", kTavByteStreamError_InvalidParameter, "not a url");
    ForkStream& storage = *storageOf(object);
    const auto old = zoAdopt(storage.url);
    storage.url = value ? static_cast<ZoURLRef>(ZoRetain(value)) : nullptr;
    return 0;
}

// MARK: life

void forkStreamFinalize(LuBaseObjectRef object)
{
    ForkStream& storage = *storageOf(object);
    TavFileForkClose(storage.fork);
    ZoAllocatorDeallocate(nullptr, storage.piece);
    if (storage.url) ZoRelease(storage.url);
}

constexpr LuByteStreamClass kByteStreamClass = {.version = 1,
                                                .read = forkStreamRead,
                                                .write = forkStreamWrite,
                                                .getAvailableLengthAtOffset = forkStreamGetAvailableLengthAtOffset,
                                                .readAndCreateBlockBuffer = forkStreamReadAndCreateBlockBuffer,
                                                .unused = nullptr};
constexpr LuBaseClass kBaseClass = {.version = 1,
                                    .derivedStorageSize = sizeof(ForkStream),
                                    .equal = nullptr,
                                    .unused = nullptr,
                                    .finalize = forkStreamFinalize,
                                    .copyDebugDescription = nullptr,
                                    .copyProperty = forkStreamCopyProperty,
                                    .setProperty = forkStreamSetProperty,
                                    .notificationBarrier = nullptr,
                                    .protocolTable = nullptr};
constexpr LuVTable kVTable = {.reserved = nullptr, .base = &kBaseClass, .derived = &kByteStreamClass};

}  // namespace

OSStatus TavByteStreamCreateForTavFileFork(TavFileForkRef fork, uint32_t flags, ZoAllocatorRef allocator,
                                           LuByteStreamRef* streamOut)
{
    if (!streamOut) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "NULL streamOut");
    *streamOut = nullptr;
    if (!fork) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "NULL fork");
    if (flags != 0) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "Options reserved for future use");
    LuBaseObjectRef object = nullptr;
    TAV_TRY(LuDerivedObjectCreate(allocator, &kVTable, LuByteStreamGetClassID(), &object));
    storageOf(object)->fork = fork;
    *streamOut = reinterpret_cast<LuByteStreamRef>(object);
    return 0;
}
