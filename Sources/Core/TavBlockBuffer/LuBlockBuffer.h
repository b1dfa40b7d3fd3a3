// Block buffers: a logical run of bytes, gathered from ranges of memory blocks and of other block buffers.
// Appending never moves a byte; memory may be named now and allocated when it is first written.
// No lock: once built, a buffer may be read by any number of threads. Whatever allocates on demand (assuring, replacing
// and filling while blocks are unallocated) and whatever appends needs the buffer, and all it refers to, for itself.
//
// A buffer only grows. It keeps alive what it refers to, and a memory block lives as long as the buffer that holds it.

#pragma once

#include "Foundation/Objects/ZoAllocator.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef struct LuBlockBuffer_* LuBlockBufferRef;

typedef uint32_t LuBlockBufferFlags;
enum {
    kLuBlockBufferAssureMemoryNowFlag = 1u << 0,       ///< allocate a missing block now, not when it is first needed
    kLuBlockBufferAlwaysCopyDataFlag = 1u << 1,        ///< LuBlockBufferCreateContiguous copies contiguous data too
    kLuBlockBufferDontOptimizeDepthFlag = 1u << 2,     ///< refer to the given buffer itself, without flattening
    kLuBlockBufferPermitEmptyReferenceFlag = 1u << 3,  ///< allow a reference to a buffer that is still empty
};

enum {
    kTavBlockBufferStructureAllocationFailedErr = -12700,
    kTavBlockBufferBlockAllocationFailedErr = -12701,
    kTavBlockBufferBadCustomBlockSourceErr = -12702,
    kTavBlockBufferBadOffsetParameterErr = -12703,
    kTavBlockBufferBadLengthParameterErr = -12704,
    kTavBlockBufferBadPointerParameterErr = -12705,
    kTavBlockBufferEmptyBBufErr = -12706,
    kTavBlockBufferUnallocatedBlockErr = -12707,
};

/// Where a memory block comes from and goes to, in place of an allocator. Copied by the buffer that takes it.
/// AllocateBlock is needed where no memory block is given, FreeBlock where one is.
#pragma pack(push, 4)
typedef struct LuBlockBufferCustomBlockSource {
    uint32_t version;  ///< 0
    void* (*AllocateBlock)(void* refCon, size_t sizeInBytes);
    void (*FreeBlock)(void* refCon, void* doomedMemoryBlock, size_t sizeInBytes);
    void* refCon;
} LuBlockBufferCustomBlockSource;
#pragma pack(pop)

/// Names the image data buffer that is attached to a block buffer.
extern const ZoStringRef kLuBlockBufferAttachmentKey_YxDataBuffer;

ZoTypeID LuBlockBufferGetTypeID(void);

// Creation. Each gives one new reference in `newBBufOut`, or null there and a status:
//   kTavBlockBufferBadPointerParameterErr         `newBBufOut` absent
//   kTavBlockBufferStructureAllocationFailedErr   the structure allocator gave nothing
// and what the append of the same name can return.

/// An empty buffer with room for `subBlockCapacity` pieces (at least one) before it has to allocate again.
OSStatus LuBlockBufferCreateEmpty(ZoAllocatorRef structureAllocator, uint32_t subBlockCapacity,
                                  LuBlockBufferFlags flags, LuBlockBufferRef* newBBufOut);

/// A buffer of one memory block; see LuBlockBufferAppendMemoryBlock.
OSStatus LuBlockBufferCreateWithMemoryBlock(ZoAllocatorRef structureAllocator, void* memoryBlock, size_t blockLength,
                                            ZoAllocatorRef blockAllocator,
                                            const LuBlockBufferCustomBlockSource* customBlockSource,
                                            size_t offsetToData, size_t dataLength, LuBlockBufferFlags flags,
                                            LuBlockBufferRef* newBBufOut);

/// A buffer of one reference; see LuBlockBufferAppendBufferReference.
OSStatus LuBlockBufferCreateWithBufferReference(ZoAllocatorRef structureAllocator, LuBlockBufferRef targetBuffer,
                                                size_t offsetToData, size_t dataLength, LuBlockBufferFlags flags,
                                                LuBlockBufferRef* newBBufOut);

/// A buffer whose bytes are in one piece: a reference to the range of `sourceBuffer` where that is in one piece
/// already (unless kLuBlockBufferAlwaysCopyDataFlag is set), else a copy in a new block from `customBlockSource` or
/// `blockAllocator`. `dataLength` 0 means to the end.
///
/// kTavBlockBufferBadPointerParameterErr   `sourceBuffer` or `newBBufOut` absent
/// kTavBlockBufferEmptyBBufErr             `sourceBuffer` is empty
/// kTavBlockBufferBadOffsetParameterErr    `offsetToData` at or past the end
/// kTavBlockBufferBadLengthParameterErr    the range leaves `sourceBuffer`
/// kTavBlockBufferUnallocatedBlockErr      the range has no memory yet (not signalled)
/// kTavBlockBufferBlockAllocationFailedErr no memory for the copy
OSStatus LuBlockBufferCreateContiguous(ZoAllocatorRef structureAllocator, LuBlockBufferRef sourceBuffer,
                                       ZoAllocatorRef blockAllocator,
                                       const LuBlockBufferCustomBlockSource* customBlockSource, size_t offsetToData,
                                       size_t dataLength, LuBlockBufferFlags flags, LuBlockBufferRef* newBBufOut);

// Appending. On failure the buffer is as it was, except that it may already have room for more pieces.

/// Appends `dataLength` bytes from `offsetToData` on of a memory block of `blockLength` bytes. An absent `memoryBlock`
/// is allocated when it is first written, or now with kLuBlockBufferAssureMemoryNowFlag.
/// The buffer takes the block over and gives it back to `customBlockSource`, if there is one, else to `blockAllocator`
/// (kZoAllocatorNull: to nobody, the caller keeps the block alive).
///
/// kTavBlockBufferBadPointerParameterErr        `theBuffer` absent
/// kTavBlockBufferBadLengthParameterErr         a length is 0, the range leaves the block, or the sum leaves size_t
/// kTavBlockBufferBadOffsetParameterErr         `offsetToData` at or past the end of the block
/// kTavBlockBufferBadCustomBlockSourceErr       unknown version, or the callback that is needed is missing
/// kTavBlockBufferStructureAllocationFailedErr  no memory for the copy of the source, or for more pieces
/// kTavBlockBufferBlockAllocationFailedErr      no block, and kZoAllocatorNull to take it from; or allocation failed
OSStatus LuBlockBufferAppendMemoryBlock(LuBlockBufferRef theBuffer, void* memoryBlock, size_t blockLength,
                                        ZoAllocatorRef blockAllocator,
                                        const LuBlockBufferCustomBlockSource* customBlockSource, size_t offsetToData,
                                        size_t dataLength, LuBlockBufferFlags flags);

/// Appends `dataLength` bytes of `targetBuffer`, from `offsetToData` on, by reference; 0 means to the end of the
/// target. Adjacent ranges of one target become one piece. A target that consists of references only is passed over in
/// favour of what it refers to, so that depth does not grow; parts of it that refer to a buffer that is still empty are
/// left out then. kLuBlockBufferDontOptimizeDepthFlag refers to the target itself. With
/// kLuBlockBufferPermitEmptyReferenceFlag an empty target may be named with a length of the caller's choice; its bytes
/// can be read once they are there.
///
/// kTavBlockBufferBadPointerParameterErr        `theBuffer` or `targetBuffer` absent
/// kTavBlockBufferBadOffsetParameterErr         `offsetToData` at or past the end of the target
/// kTavBlockBufferBadLengthParameterErr         the range leaves the target, or the sum leaves size_t; or the length
///                                              is 0 where the target is empty
/// kTavBlockBufferEmptyBBufErr                  the target is empty and the flags do not permit it
/// kTavBlockBufferStructureAllocationFailedErr  no memory for more pieces
OSStatus LuBlockBufferAppendBufferReference(LuBlockBufferRef theBuffer, LuBlockBufferRef targetBuffer,
                                            size_t offsetToData, size_t dataLength, LuBlockBufferFlags flags);

// Reading and writing. A range is refused with
//   kTavBlockBufferBadPointerParameterErr   a pointer is absent
//   kTavBlockBufferBadLengthParameterErr    the length is 0 where it must not be, or the range leaves the buffer
//   kTavBlockBufferEmptyBBufErr             the buffer has no pieces
//   kTavBlockBufferBadOffsetParameterErr    the offset is at or past the end

/// 0 for an absent buffer.
size_t LuBlockBufferGetDataLength(LuBlockBufferRef theBuffer);

/// True for an absent buffer and one without pieces. A reference to an empty buffer is a piece.
Boolean LuBlockBufferIsEmpty(LuBlockBufferRef theBuffer);

/// Whether the range is there and in one piece of memory. A `length` of 0 means to the end.
/// An absent buffer signals kTavBlockBufferBadPointerParameterErr.
Boolean LuBlockBufferIsRangeContiguous(LuBlockBufferRef theBuffer, size_t offset, size_t length);

/// The byte at `offset`, how many follow it in the same piece (itself included), and the length of the whole buffer.
/// Each out-parameter may be absent. The pointer is valid while the buffer lives.
/// Each call looks the offset up, in time logarithmic in the number of pieces at each level of references.
///
/// kTavBlockBufferBadPointerParameterErr   `theBuffer` absent
/// kTavBlockBufferBadOffsetParameterErr    nothing there (not signalled)
/// kTavBlockBufferUnallocatedBlockErr      no memory yet (not signalled)
OSStatus LuBlockBufferGetDataPointer(LuBlockBufferRef theBuffer, size_t offset, size_t* lengthAtOffsetOut,
                                     size_t* totalLengthOut, char** dataPointerOut);

/// Copies out. Does not allocate: kTavBlockBufferUnallocatedBlockErr (not signalled) where there is no memory yet.
OSStatus LuBlockBufferCopyDataBytes(LuBlockBufferRef theSourceBuffer, size_t offsetToData, size_t dataLength,
                                    void* destination);

/// Copies in. Where there is no memory yet, all of the buffer's is allocated first.
OSStatus LuBlockBufferReplaceDataBytes(const void* sourceBytes, LuBlockBufferRef destinationBuffer,
                                       size_t offsetIntoDestination, size_t dataLength);

/// Fills the range with `fillByte`, allocating as above. A `dataLength` of 0 means to the end.
OSStatus LuBlockBufferFillDataBytes(char fillByte, LuBlockBufferRef destinationBuffer, size_t offsetIntoDestination,
                                    size_t dataLength);

/// Points at the range itself where it is in one piece, else at a copy in `temporaryBlock`, which has room for `length`
/// bytes. The pointer is valid while both live.
///
/// kTavBlockBufferBadPointerParameterErr   an argument absent
/// kTavBlockBufferBadLengthParameterErr    `length` is 0, or not all of the range can be read
/// and for the first byte what LuBlockBufferGetDataPointer returns
OSStatus LuBlockBufferAccessDataBytes(LuBlockBufferRef theBuffer, size_t offset, size_t length, void* temporaryBlock,
                                      char** returnedPointerOut);

/// Allocates every block that has no memory yet, here and in what is referred to. Stops at the first failure; what was
/// allocated until then stays. Tables of the buffer's own memory that have it all are not gone over again.
///
/// kTavBlockBufferBadPointerParameterErr        `theBuffer` absent
/// kTavBlockBufferEmptyBBufErr                  `theBuffer`, or a buffer that it refers to, is empty
/// kTavBlockBufferBlockAllocationFailedErr      an allocator or a custom block source gave nothing
/// kTavBlockBufferStructureAllocationFailedErr  no memory for the walk through tables and references
OSStatus LuBlockBufferAssureBlockMemory(LuBlockBufferRef theBuffer);

ZO_EXTERN_C_END
