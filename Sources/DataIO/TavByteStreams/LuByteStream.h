// A random-access stream of bytes: an abstract class of the base object system, with a table of four operations.
// The stream over a block buffer is the one concrete stream here; it may be writable, and then grows by chunks that it
// refers to, so that appending never moves what is there.
// Streams take no lock: reads and writes of one stream are serialised by the caller.

#pragma once

#include "Core/TavBaseObject/LuBaseObject.h"
#include "Core/TavBlockBuffer/LuBlockBuffer.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef struct LuByteStream_* LuByteStreamRef;

enum {
    kTavByteStreamError_DigestAborted = -12871,
    kTavByteStreamError_InvalidParameter = -12872,
    kTavByteStreamError_EndOfStream = -12873,
    kLuByteStreamError_ReadOnlyStream = -12877,
};

/// The derived class table of a byte stream's virtual table. Offsets are in bytes from the stream's start. Each slot
/// may be empty: the generic operations then give kTavBaseObjectError_NoSuchOperation.
typedef struct LuByteStreamClass {
    ZoIndex version;  ///< 1
    /// `bytesReadOut` may be absent. Nothing left to read is kTavByteStreamError_EndOfStream.
    OSStatus (*read)(LuByteStreamRef stream, size_t size, int64_t offset, void* destination, size_t* bytesReadOut);
    OSStatus (*write)(LuByteStreamRef stream, size_t size, int64_t offset, const void* source, size_t* bytesWrittenOut);
    OSStatus (*getAvailableLengthAtOffset)(LuByteStreamRef stream, int64_t offset, int64_t* availableLengthOut);
    OSStatus (*readAndCreateBlockBuffer)(LuByteStreamRef stream, size_t size, int64_t offset,
                                         LuBlockBufferRef* blockBufferOut, size_t* bytesReadOut);
    const void* unused;
} LuByteStreamClass;

/// The class that implementations of streams are made below.
LuClassID LuByteStreamGetClassID(void);
/// The type ID that all byte streams share.
ZoTypeID LuByteStreamBaseGetTypeID(void);
LuBaseObjectRef LuByteStreamGetLuBaseObject(LuByteStreamRef stream);

extern const ZoStringRef kLuByteStreamProperty_EntireLength;     ///< 64-bit number
extern const ZoStringRef kLuByteStreamProperty_AvailableLength;  ///< 64-bit number
extern const ZoStringRef kLuByteStreamProperty_EntireLengthAvailableOnDemand;
extern const ZoStringRef kLuByteStreamProperty_URL;
extern const ZoStringRef kLuByteStreamProperty_ReadSupported;
extern const ZoStringRef kLuByteStreamProperty_WriteSupported;
extern const ZoStringRef kLuByteStreamProperty_ThroughputStatistics;
extern const ZoStringRef kLuByteStreamProperty_IOPolicy;
extern const ZoStringRef kLuByteStreamThroughputStatisticsKey_AverageReadBytesPerSecond;
extern const ZoStringRef kLuByteStreamNotification_AvailableLengthChanged;

/// A read-only stream over `blockBuffer`, which it retains and which may be absent.
///
/// kTavBaseObjectError_ParamErr          `flags` is not 0, or `streamOut` is absent
/// kTavBaseObjectError_AllocationFailed  no memory
OSStatus LuByteStreamCreateForBlockBuffer(ZoAllocatorRef allocator, LuBlockBufferRef blockBuffer, uint32_t flags,
                                          LuByteStreamRef* streamOut);

/// A stream that reads `initialBlockBuffer` and writes into it: in place where it has bytes, and behind them by
/// references to chunks of 16 KiB multiples that come from `customBlockSource`, if given, else from `blockAllocator`.
///
/// kTavBaseObjectError_ParamErr          `flags` is not 0, `initialBlockBuffer` or `streamOut` is absent
/// kTavBaseObjectError_AllocationFailed  no memory
OSStatus LuByteStreamCreateWritableForBlockBuffer(ZoAllocatorRef allocator, LuBlockBufferRef initialBlockBuffer,
                                                  uint32_t flags, ZoAllocatorRef blockAllocator,
                                                  const LuBlockBufferCustomBlockSource* customBlockSource,
                                                  LuByteStreamRef* streamOut);

/// Reads into one new memory block. `blockBufferOut` is absent, with status 0, where there was nothing to read.
OSStatus LuCreateContiguousBlockBufferFromStream(LuByteStreamRef stream, ZoAllocatorRef allocator, size_t size,
                                                 int64_t offset, LuBlockBufferRef* blockBufferOut,
                                                 size_t* bytesReadOut);
/// Writes a range of a block buffer at `streamOffset`, small pieces gathered. What was written is told on every exit.
OSStatus LuByteStreamWriteBlockBuffer(LuByteStreamRef stream, LuBlockBufferRef blockBuffer, size_t bufferOffset,
                                      size_t size, int64_t streamOffset, size_t* bytesWrittenOut);
/// The two below write at the stream's end.
OSStatus LuByteStreamAppend(LuByteStreamRef stream, size_t size, const void* source, size_t* bytesWrittenOut);
OSStatus LuByteStreamAppendBlockBuffer(LuByteStreamRef stream, LuBlockBufferRef blockBuffer, size_t bufferOffset,
                                       size_t size, size_t* bytesWrittenOut);

ZO_EXTERN_C_END
