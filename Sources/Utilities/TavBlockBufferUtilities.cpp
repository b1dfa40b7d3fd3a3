// Comparison, storage shared with data and strings, and I/O vectors.

#include "Utilities/TavBlockBufferUtilities.h"

#include <algorithm>
#include <cstring>

#include "Core/TavBlockBuffer/TavBlockBufferCursorPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Platform/Common/TavSignal.h"

enum {
    kStringCannotBeConvertedErr = -12786,
    kTooFewIOVecsErr = -12708,
};

int TavBlockBufferCompare(LuBlockBufferRef buffer1, LuBlockBufferRef buffer2)
{
    const size_t length = LuBlockBufferGetDataLength(buffer1);
    const size_t length2 = LuBlockBufferGetDataLength(buffer2);
    if (length != length2) return length > length2 ? 1 : -1;

    TavBlockBufferCursor cursor1(buffer1);
    TavBlockBufferCursor cursor2(buffer2);
    while (cursor1.offset() < length) {
        char *run1 = nullptr, *run2 = nullptr;
        size_t runLength1 = 0, runLength2 = 0;
        const bool unreadable1 = cursor1.getRun(&run1, &runLength1) != 0;
        const bool unreadable2 = cursor2.getRun(&run2, &runLength2) != 0;
        if (unreadable1 || unreadable2) return static_cast<int>(unreadable2) - static_cast<int>(unreadable1);
        const size_t compared = std::min(runLength1, runLength2);
        if (const int order = std::memcmp(run1, run2, compared)) return order;
        cursor1.advance(compared);
        cursor2.advance(compared);
    }
    return 0;
}

// MARK: data

static void* bbufDataDeallocatorAllocate(ZoIndex, ZoOptionFlags, void*)
{
    ZoLog(3, ZOSTR("TavBlockBufferUtilities %s: I don't expect to be called"), __func__);
    return nullptr;
}

static void bbufDataDeallocatorDeallocate(void*, void*) {}

// An allocator that frees nothing, but keeps `bbuf` as long as it lives itself.
static ZoAllocatorRef createDeallocatorThatKeeps(ZoAllocatorRef allocator, LuBlockBufferRef bbuf)
{
    const ZoAllocatorContext context = {
        .version = 0,
        .info = bbuf,
        .retain = ZoRetain,
        .release = ZoRelease,
        .copyDescription = nullptr,
        .allocate = bbufDataDeallocatorAllocate,
        .reallocate = nullptr,
        .deallocate = bbufDataDeallocatorDeallocate,
        .preferredSize = nullptr,
    };
    return ZoAllocatorCreate(allocator, &context);
}

OSStatus TavCreateZoDataWithBlockBufferNoCopy(ZoAllocatorRef allocator, LuBlockBufferRef bbuf, size_t offset,
                                              size_t dataLength, ZoDataRef* outZoData)
{
    if (!outZoData) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL outZoData");
    *outZoData = nullptr;
    char* bytes = nullptr;
    size_t lengthAtOffset = 0;
    TAV_TRY(LuBlockBufferGetDataPointer(bbuf, offset, &lengthAtOffset, nullptr, &bytes));
    if (dataLength == 0) dataLength = lengthAtOffset;
    if (dataLength > lengthAtOffset) {
        return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr,
                          "Requested dataLength not contiguous or unavailable at offset");
    }
    const ZoRef<ZoAllocatorRef> deallocator = zoAdopt(createDeallocatorThatKeeps(allocator, bbuf));
    if (!deallocator) {
        return TAV_SIGNAL(kTavBlockBufferStructureAllocationFailedErr, "Could not create deallocator");
    }
    *outZoData = ZoDataCreateWithBytesNoCopy(allocator, reinterpret_cast<const uint8_t*>(bytes),
                                             static_cast<ZoIndex>(dataLength), deallocator.get());
    if (!*outZoData) return TAV_SIGNAL(kTavBlockBufferStructureAllocationFailedErr, "Could not create ZoData");
    return 0;
}

static void releaseOwner(void* owner, void*, size_t) { ZoRelease(owner); }

// A buffer on bytes that live as long as `owner`, which it retains.
static OSStatus createOnBytesOf(ZoTypeRef owner, const void* bytes, size_t length, ZoAllocatorRef allocator,
                                LuBlockBufferRef* outBBuf)
{
    const LuBlockBufferCustomBlockSource source = {
        .version = 0,
        .AllocateBlock = nullptr,
        .FreeBlock = releaseOwner,
        .refCon = const_cast<void*>(owner),
    };
    ZoRef<ZoTypeRef> keptByBuffer = ZoRef<ZoTypeRef>::retain(owner);
    TAV_TRY(LuBlockBufferCreateWithMemoryBlock(allocator, const_cast<void*>(bytes), length, kZoAllocatorNull, &source,
                                               0, length, 0, outBBuf));
    (void)keptByBuffer.release();
    return 0;
}

OSStatus TavCreateBlockBufferWithZoDataNoCopy(ZoAllocatorRef allocator, ZoDataRef zoData, size_t offset,
                                              size_t dataLength, LuBlockBufferRef* outBBuf)
{
    if (outBBuf) *outBBuf = nullptr;
    if (!zoData) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL zoData");
    if (!outBBuf) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL outBBuf");
    const uint8_t* bytes = ZoDataGetBytePtr(zoData);
    const size_t total = static_cast<size_t>(ZoDataGetLength(zoData));
    if (!bytes || total == 0) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "zoData contains no data");
    if (offset >= total) return TAV_SIGNAL(kTavBlockBufferBadOffsetParameterErr, "offset exceeds ZoData's length");
    if (dataLength > total) {
        return TAV_SIGNAL(kTavBlockBufferBadLengthParameterErr, "dataLength exceeds ZoData's length");
    }
    if (dataLength > total - offset) {
        return TAV_SIGNAL(kTavBlockBufferBadOffsetParameterErr, "offset+dataLength exceeds ZoData's length");
    }
    if (dataLength == 0) dataLength = total - offset;
    return createOnBytesOf(zoData, bytes + offset, dataLength, allocator, outBBuf);
}

OSStatus TavCreateBlockBufferWithZoString(ZoAllocatorRef allocator, ZoStringRef string, LuBlockBufferRef* outBBuf)
{
    if (outBBuf) *outBBuf = nullptr;
    if (!string) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL string");
    if (!outBBuf) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL outBBuf");
    // The same object for a string that cannot change; one that can must not change our bytes.
    const ZoRef<ZoStringRef> unchanging = zoAdopt(ZoStringCreateCopy(allocator, string));
    if (!unchanging) return kStringCannotBeConvertedErr;
    if (const char* text = ZoStringGetCStringPtr(unchanging.get(), kZoStringEncodingUTF8)) {
        return createOnBytesOf(unchanging.get(), text, std::strlen(text), allocator, outBBuf);
    }
    const ZoRef<ZoDataRef> data = zoAdopt(ZoStringCreateExternalRepresentation(
        allocator, unchanging.get(), kZoStringEncodingUTF8, static_cast<uint8_t>('?')));
    if (!data) return kStringCannotBeConvertedErr;
    return TavCreateBlockBufferWithZoDataNoCopy(allocator, data.get(), 0, 0, outBBuf);
}

OSStatus TavCreateBlockBufferCopyingMemoryBlock(ZoAllocatorRef allocator, const void* bytes, size_t size,
                                                LuBlockBufferRef* outBBuf)
{
    if (!outBBuf) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL outBBuf");
    ZoRef<LuBlockBufferRef> copy;
    TAV_TRY(LuBlockBufferCreateWithMemoryBlock(allocator, nullptr, size, allocator, nullptr, 0, size,
                                               kLuBlockBufferAssureMemoryNowFlag, copy.outParam()));
    TAV_TRY(LuBlockBufferReplaceDataBytes(bytes, copy.get(), 0, size));
    *outBBuf = copy.release();
    return 0;
}

OSStatus TavMakeIOVecArrayWithBlockBuffer(LuBlockBufferRef buffer, struct iovec* vectors, size_t capacity,
                                          size_t* countOut)
{
    if (countOut) *countOut = 0;
    if (!buffer || !vectors || !countOut) {
        return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL bbuf, vectors, or countOut");
    }
    const size_t total = LuBlockBufferGetDataLength(buffer);
    TavBlockBufferCursor cursor(buffer);
    size_t count = 0;
    do {
        char* run = nullptr;
        size_t runLength = 0;
        TAV_TRY(cursor.getRun(&run, &runLength));
        if (count == capacity) return kTooFewIOVecsErr;
        vectors[count++] = {run, runLength};
        cursor.advance(runLength);
    } while (cursor.offset() < total);
    *countOut = count;
    return 0;
}
