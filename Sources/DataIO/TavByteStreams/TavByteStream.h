// What the framework itself uses of byte streams: calls through the operation table, the digest, further properties,
// and statistics that implementations of streams can keep.

#pragma once

#include "Core/TavBaseObject/TavBaseObject.h"
#include "DataIO/TavByteStreams/LuByteStream.h"
#include "Platform/Ostra/OstraSynchronization.h"

ZO_EXTERN_C_BEGIN

extern const ZoStringRef kTavByteStreamProperty_UTI;
extern const ZoStringRef kTavByteStreamProperty_MIMEType;
extern const ZoStringRef kTavByteStreamProperty_FileType;
extern const ZoStringRef kTavByteStreamProperty_SuggestedFileName;
extern const ZoStringRef kTavByteStreamProperty_ResponseTimeout;
extern const ZoStringRef kTavByteStreamProperty_ReadBandwidth;
extern const ZoStringRef kTavByteStreamProperty_ReadBandwidthStandardDeviation;
extern const ZoStringRef kTavByteStreamProperty_BandwidthSampleCount;
extern const ZoStringRef kTavByteStreamProperty_DoesReadAhead;
extern const ZoStringRef kTavByteStreamProperty_RemoteIPAddress;
extern const ZoStringRef kTavByteStreamProperty_AccessLog;
extern const ZoStringRef kTavByteStreamProperty_LastZoError;
extern const ZoStringRef kTavByteStreamProperty_FileDescriptor;
extern const ZoStringRef kTavByteStreamProperty_ByteDeviceInfo;
extern const ZoStringRef kTavByteStreamProperty_ScheduledIO;
extern const ZoStringRef kTavByteStreamProperty_FinishDownload;
extern const ZoStringRef kTavByteStreamProperty_ReadStatistics;
extern const ZoStringRef kTavByteStreamProperty_NetworkInterfaceStatistics;
extern const ZoStringRef kTavByteStreamProperty_StoreBagSessionConfiguration;

// The operations of a stream's class. What the class leaves out is kTavBaseObjectError_NoSuchOperation, not signalled.

OSStatus TavByteStreamRead(LuByteStreamRef stream, size_t size, int64_t offset, void* destination,
                           size_t* bytesReadOut);
OSStatus TavByteStreamWrite(LuByteStreamRef stream, size_t size, int64_t offset, const void* source,
                            size_t* bytesWrittenOut);
OSStatus TavByteStreamGetAvailableLengthAtOffset(LuByteStreamRef stream, int64_t offset, int64_t* availableLengthOut);
OSStatus TavByteStreamReadAndCreateBlockBuffer(LuByteStreamRef stream, size_t size, int64_t offset,
                                               LuBlockBufferRef* blockBufferOut, size_t* bytesReadOut);
OSStatus TavByteStreamCopyProperty(LuByteStreamRef stream, ZoStringRef key, ZoAllocatorRef allocator, void* valueOut);
/// The property of that name as a number. kTavByteStreamError_InvalidParameter if it is none.
OSStatus TavByteStreamGetEntireLength(LuByteStreamRef stream, int64_t* lengthOut);

OSStatus TavByteStreamCreateForBlockBuffer(LuBlockBufferRef blockBuffer, uint32_t flags, ZoAllocatorRef allocator,
                                           LuByteStreamRef* streamOut);

/// The 20 bytes of the SHA-1 digest of the whole stream, which the caller releases. A thread abort ends it.
///
/// kTavBaseObjectError_ParamErr            `sha1DigestOut` absent
/// kTavBaseObjectError_AllocationFailed    no memory
/// kTavByteStreamError_DigestAborted       the thread was asked to abort
/// and whatever reading returns
OSStatus TavByteStreamCopySHA1Digest(LuByteStreamRef stream, ZoDataRef* sha1DigestOut);

/// Statistics of reads; times in microseconds. Guarded by its own mutex.
typedef struct TavByteStreamStats {
    TavSimpleMutexRef mutex;
    int64_t numberOfReads;
    int64_t totalBytesRead;
    uint32_t smallestReadSize;
    uint32_t largestReadSize;
    uint64_t totalReadTime;
    uint64_t shortestReadTime;
    uint64_t longestReadTime;
    uint32_t numberOfReadsTakingOneSecondOrLonger;
    uint32_t numberOfReadsTakingHalfASecondOrLonger;  ///< and less than a second
} TavByteStreamStats;

void TavByteStreamStatsSetupWorker(TavByteStreamStats* stats);
void TavByteStreamStatsTeardownWorker(TavByteStreamStats* stats);
/// Times are host times. Reads that failed or gave nothing are not counted.
void TavByteStreamStatsLogOneRead(TavByteStreamStats* stats, uint64_t startTime, uint64_t endTime, OSStatus status,
                                  int64_t offset, size_t bytesRead);
/// Times in seconds, averages as whole quotients. The caller releases it. Nothing without statistics, or
/// without memory.
ZoDictionaryRef TavByteStreamStatsCreateStatsDictionary(ZoAllocatorRef allocator, ZoStringRef streamType, ZoURLRef url,
                                                        TavByteStreamStats* stats);

ZO_EXTERN_C_END
