#include "DataIO/TavByteStreams/TavByteStream.h"

#include <dispatch/dispatch.h>

#include <algorithm>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavSignal.h"

// MARK: vocabulary

ZO_DEFINE_STRING(kLuByteStreamProperty_EntireLength, "FBS_EntireLength");
ZO_DEFINE_STRING(kLuByteStreamProperty_AvailableLength, "FBS_AvailableLength");
ZO_DEFINE_STRING(kLuByteStreamProperty_EntireLengthAvailableOnDemand, "FBS_EntireLengthAvailableOnDemand");
ZO_DEFINE_STRING(kLuByteStreamProperty_URL, "FBS_URL");
ZO_DEFINE_STRING(kLuByteStreamProperty_ReadSupported, "FBS_ReadSupported");
ZO_DEFINE_STRING(kLuByteStreamProperty_WriteSupported, "FBS_WriteSupported");
ZO_DEFINE_STRING(kTavByteStreamProperty_UTI, "FBS_UTI");
ZO_DEFINE_STRING(kTavByteStreamProperty_MIMEType, "FBS_MIMEType");
ZO_DEFINE_STRING(kTavByteStreamProperty_FileType, "FBS_FileType");
ZO_DEFINE_STRING(kTavByteStreamProperty_SuggestedFileName, "FBS_SuggestedFileName");
ZO_DEFINE_STRING(kTavByteStreamProperty_ResponseTimeout, "FBS_ResponseTimeout");
ZO_DEFINE_STRING(kTavByteStreamProperty_ReadBandwidth, "FBS_ReadBandwidth");
ZO_DEFINE_STRING(kLuByteStreamThroughputStatisticsKey_AverageReadBytesPerSecond, "FBS_ReadBandwidthMovingAverage");
ZO_DEFINE_STRING(kTavByteStreamProperty_ReadBandwidthStandardDeviation, "FBS_ReadBandwidthStandardDeviation");
ZO_DEFINE_STRING(kTavByteStreamProperty_BandwidthSampleCount, "FBS_BandwidthSampleCount");
ZO_DEFINE_STRING(kTavByteStreamProperty_DoesReadAhead, "DoesReadAhead");
ZO_DEFINE_STRING(kTavByteStreamProperty_RemoteIPAddress, "FBS_RemoteIPAddress");
ZO_DEFINE_STRING(kLuByteStreamProperty_ThroughputStatistics, "FBS_NetworkStats");
ZO_DEFINE_STRING(kTavByteStreamProperty_AccessLog, "FBS_AccessLog");
ZO_DEFINE_STRING(kTavByteStreamProperty_LastZoError, "FBS_LastZoError");
ZO_DEFINE_STRING(kTavByteStreamProperty_FileDescriptor, "FBS_FileDescriptor");
ZO_DEFINE_STRING(kTavByteStreamProperty_ByteDeviceInfo, "FBS_ByteDeviceInfo");
ZO_DEFINE_STRING(kTavByteStreamProperty_ScheduledIO, "FBS_ScheduledIO");
ZO_DEFINE_STRING(kTavByteStreamProperty_FinishDownload, "FBS_FinishDownload");
ZO_DEFINE_STRING(kTavByteStreamProperty_ReadStatistics, "FBS_ReadStats");
ZO_DEFINE_STRING(kTavByteStreamProperty_NetworkInterfaceStatistics, "FBS_NetworkInterfaceStatistics");
ZO_DEFINE_STRING(kTavByteStreamProperty_StoreBagSessionConfiguration, "FBS_StoreBagSessionConfiguration");
ZO_DEFINE_STRING(kLuByteStreamProperty_IOPolicy, "FBS_IOPolicy");
ZO_DEFINE_STRING(kLuByteStreamNotification_AvailableLengthChanged, "AvailableLengthChanged");

// MARK: the class

static ZoStringRef byteStreamCopyFormattingDescription(ZoTypeRef object, ZoDictionaryRef)
{
    return ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("[TavByteStream %p]"), object);
}

LuClassID LuByteStreamGetClassID(void)
{
    static const TavClassDescription kDescription = {.version = 1,
                                                     .className = "TavByteStream",
                                                     .reserved = nullptr,
                                                     .copyFormattingDescription = byteStreamCopyFormattingDescription};
    static LuClassID sClassID;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, &sClassID, [](void* classID) {
        TavBaseClassRegisterClass(&kDescription, LuBaseGetClassID(), kTavBaseClassRegister_OwnType,
                                  static_cast<LuClassID*>(classID));
    });
    return sClassID;
}

ZoTypeID LuByteStreamBaseGetTypeID(void) { return LuBaseClassGetZoTypeID(LuByteStreamGetClassID()); }

LuBaseObjectRef LuByteStreamGetLuBaseObject(LuByteStreamRef stream)
{
    return reinterpret_cast<LuBaseObjectRef>(stream);
}

static const LuByteStreamClass* byteStreamClass(LuByteStreamRef stream)
{
    const LuVTable* table = LuBaseObjectGetVTable(LuByteStreamGetLuBaseObject(stream));
    return table ? static_cast<const LuByteStreamClass*>(table->derived) : nullptr;
}

OSStatus TavByteStreamRead(LuByteStreamRef stream, size_t size, int64_t offset, void* destination, size_t* bytesReadOut)
{
    const LuByteStreamClass* cls = byteStreamClass(stream);
    if (!cls || !cls->read) return kTavBaseObjectError_NoSuchOperation;
    return cls->read(stream, size, offset, destination, bytesReadOut);
}

OSStatus TavByteStreamWrite(LuByteStreamRef stream, size_t size, int64_t offset, const void* source,
                            size_t* bytesWrittenOut)
{
    const LuByteStreamClass* cls = byteStreamClass(stream);
    if (!cls || !cls->write) return kTavBaseObjectError_NoSuchOperation;
    return cls->write(stream, size, offset, source, bytesWrittenOut);
}

OSStatus TavByteStreamGetAvailableLengthAtOffset(LuByteStreamRef stream, int64_t offset, int64_t* availableLengthOut)
{
    const LuByteStreamClass* cls = byteStreamClass(stream);
    if (!cls || !cls->getAvailableLengthAtOffset) return kTavBaseObjectError_NoSuchOperation;
    return cls->getAvailableLengthAtOffset(stream, offset, availableLengthOut);
}

OSStatus TavByteStreamReadAndCreateBlockBuffer(LuByteStreamRef stream, size_t size, int64_t offset,
                                               LuBlockBufferRef* blockBufferOut, size_t* bytesReadOut)
{
    const LuByteStreamClass* cls = byteStreamClass(stream);
    if (!cls || !cls->readAndCreateBlockBuffer) return kTavBaseObjectError_NoSuchOperation;
    return cls->readAndCreateBlockBuffer(stream, size, offset, blockBufferOut, bytesReadOut);
}

OSStatus TavByteStreamCopyProperty(LuByteStreamRef stream, ZoStringRef key, ZoAllocatorRef allocator, void* valueOut)
{
    const LuVTable* table = LuBaseObjectGetVTable(LuByteStreamGetLuBaseObject(stream));
    if (!table || !table->base->copyProperty) return kTavBaseObjectError_NoSuchOperation;
    return table->base->copyProperty(LuByteStreamGetLuBaseObject(stream), key, allocator, valueOut);
}

OSStatus TavByteStreamGetEntireLength(LuByteStreamRef stream, int64_t* lengthOut)
{
    *lengthOut = 0;
    ZoRef<ZoTypeRef> value;
    TAV_TRY(TavByteStreamCopyProperty(stream, kLuByteStreamProperty_EntireLength, nullptr, value.outParam()));
    if (!value || ZoGetTypeID(value.get()) != ZoNumberGetTypeID() ||
        !ZoNumberGetValue(static_cast<ZoNumberRef>(value.get()), kZoNumberSInt64Type, lengthOut))
        return TAV_SIGNAL(kTavByteStreamError_InvalidParameter, "the stream's length is not a number");
    return 0;
}

// MARK: generic operations

static constexpr size_t kGatheredLength = 16384;

OSStatus LuCreateContiguousBlockBufferFromStream(LuByteStreamRef stream, ZoAllocatorRef allocator, size_t size,
                                                 int64_t offset, LuBlockBufferRef* blockBufferOut, size_t* bytesReadOut)
{
    constexpr OSStatus kMemFullErr = -108;
    size_t bytesRead = 0;
    if (bytesReadOut) *bytesReadOut = 0;
    *blockBufferOut = nullptr;
    if (size == 0) return 0;
    void* memory = size <= PTRDIFF_MAX ? ZoAllocatorAllocate(allocator, static_cast<ZoIndex>(size), 0) : nullptr;
    if (!memory)
        return TavSignalErrorAt3(kTavSignalFormat, 0, kMemFullErr, "memFullErr",
                                 "Couldn't allocate block for bbuf read", "<<<< TavByteStream >>>>", __func__, __FILE__,
                                 __LINE__, __builtin_return_address(0), 0);
    OSStatus status = TavByteStreamRead(stream, size, offset, memory, &bytesRead);
    if (status == 0 && bytesRead > 0)
        status = LuBlockBufferCreateWithMemoryBlock(allocator, memory, size, allocator, nullptr, 0,
                                                    std::min(bytesRead, size), 0, blockBufferOut);
    if (!*blockBufferOut) ZoAllocatorDeallocate(allocator, memory);
    if (status == 0 && bytesReadOut) *bytesReadOut = bytesRead;
    return status;
}

OSStatus LuByteStreamWriteBlockBuffer(LuByteStreamRef stream, LuBlockBufferRef blockBuffer, size_t bufferOffset,
                                      size_t size, int64_t streamOffset, size_t* bytesWrittenOut)
{
    char gathered[kGatheredLength];
    size_t done = 0;
    OSStatus status = 0;
    while (status == 0 && done < size) {
        const size_t left = size - done;
        size_t runLength = 0;
        char* run = nullptr;
        status = LuBlockBufferGetDataPointer(blockBuffer, bufferOffset + done, &runLength, nullptr, &run);
        if (status != 0) break;
        runLength = std::min(runLength, left);
        if (runLength < left && runLength < kGatheredLength) {
            runLength = std::min(left, kGatheredLength);
            status = LuBlockBufferCopyDataBytes(blockBuffer, bufferOffset + done, runLength, gathered);
            if (status != 0) break;
            run = gathered;
        }
        size_t written = 0;
        status = TavByteStreamWrite(stream, runLength, streamOffset + static_cast<int64_t>(done), run, &written);
        if (status == 0 && written == 0) status = TAV_SIGNAL(kTavByteStreamError_EndOfStream, "stream could not write");
        done += written;
    }
    if (bytesWrittenOut) *bytesWrittenOut = done;
    return status;
}

OSStatus LuByteStreamAppend(LuByteStreamRef stream, size_t size, const void* source, size_t* bytesWrittenOut)
{
    if (bytesWrittenOut) *bytesWrittenOut = 0;
    int64_t end = 0;
    TAV_TRY(TavByteStreamGetAvailableLengthAtOffset(stream, 0, &end));
    return TavByteStreamWrite(stream, size, end, source, bytesWrittenOut);
}

OSStatus LuByteStreamAppendBlockBuffer(LuByteStreamRef stream, LuBlockBufferRef blockBuffer, size_t bufferOffset,
                                       size_t size, size_t* bytesWrittenOut)
{
    if (bytesWrittenOut) *bytesWrittenOut = 0;
    int64_t end = 0;
    TAV_TRY(TavByteStreamGetAvailableLengthAtOffset(stream, 0, &end));
    return LuByteStreamWriteBlockBuffer(stream, blockBuffer, bufferOffset, size, end, bytesWrittenOut);
}
