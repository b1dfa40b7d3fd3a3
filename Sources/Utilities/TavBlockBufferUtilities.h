// Small operations on block buffers: hex dump, comparison, sharing of storage with ZoData and strings in both
// directions without a copy, and I/O vectors.

#pragma once

#include <sys/uio.h>

#include "Core/TavBlockBuffer/TavBlockBuffer.h"

ZO_EXTERN_C_BEGIN

/// Takes one line of a dump, without its line end; an absent line says that the dump is over. Non-zero stops the dump.
typedef int (*TavBlockBufferHexDumpEmitter)(void* context, const char* line);

typedef uint32_t TavBlockBufferHexDumpFlags;
enum {
    kTavBlockBufferHexDump_CollapseZeroLines = 1u
                                               << 0,  ///< one "* 48 zeroes" for lines of zeros, but for the last line
    kTavBlockBufferHexDump_HexOffsets = 1u << 1,
    kTavBlockBufferHexDump_MarkSubBlocks = 1u << 2,  ///< "|" behind the last byte of a piece
    kTavBlockBufferHexDump_GroupByFour = 1u << 3,    ///< not together with the marks
    kTavBlockBufferHexDump_CArray = 1u << 4,
};

/// Dumps `length` bytes from `offset` on (0, or too much: to the end), at most `maxLines` lines (0: all) of
/// `bytesPerLine` bytes (0: 16; at most 128). Offsets count from where the dump starts. Ends with "  ..." where bytes
/// of the buffer are left over, also because they cannot be read. Nothing at all if `offset` is at or past the end.
void TavBlockBufferHexDumpWithEmitter(LuBlockBufferRef buffer, size_t offset, size_t length, size_t maxLines,
                                      size_t bytesPerLine, TavBlockBufferHexDumpFlags flags,
                                      TavBlockBufferHexDumpEmitter emitter, void* emitterContext);
/// To standard error.
void TavBlockBufferHexDump(LuBlockBufferRef buffer, size_t offset, size_t length, size_t maxLines, size_t bytesPerLine,
                           TavBlockBufferHexDumpFlags flags);
/// Appends all lines; as with any text that is appended, the process stops with one line where there is no memory.
void TavBlockBufferAppendHexDumpToZoString(LuBlockBufferRef buffer, size_t offset, size_t length, size_t maxLines,
                                           size_t bytesPerLine, TavBlockBufferHexDumpFlags flags,
                                           ZoMutableStringRef string);

/// Negative, 0 or positive: by length first, then by bytes, as memcmp(3). A buffer whose bytes cannot be read, as they
/// have no memory yet, comes before one whose can.
int TavBlockBufferCompare(LuBlockBufferRef buffer1, LuBlockBufferRef buffer2);

/// Data on the buffer's own bytes, which must be in one piece; `dataLength` 0 means to the end of the piece at
/// `offset`. The data keeps the buffer alive.
///
/// kTavBlockBufferBadPointerParameterErr        `bbuf` or `outZoData` absent
/// kTavBlockBufferBadLengthParameterErr         the range is not in one piece
/// kTavBlockBufferStructureAllocationFailedErr  no memory
/// and what LuBlockBufferGetDataPointer returns
OSStatus TavCreateZoDataWithBlockBufferNoCopy(ZoAllocatorRef allocator, LuBlockBufferRef bbuf, size_t offset,
                                              size_t dataLength, ZoDataRef* outZoData);

/// A buffer on the data's own bytes; `dataLength` 0 means to the end. The buffer keeps the data alive, and the data
/// must not be changed meanwhile.
///
/// kTavBlockBufferBadPointerParameterErr  `zoData` or `outBBuf` absent, or no bytes
/// kTavBlockBufferBadOffsetParameterErr   `offset` at or past the end, or the range leaves the data
/// kTavBlockBufferBadLengthParameterErr   `dataLength` above the data's length
OSStatus TavCreateBlockBufferWithZoDataNoCopy(ZoAllocatorRef allocator, ZoDataRef zoData, size_t offset,
                                              size_t dataLength, LuBlockBufferRef* outBBuf);

/// A buffer of the string's text in UTF-8, without a terminating NUL; on the string's own storage where that is UTF-8.
/// -12786 if the text cannot be converted.
OSStatus TavCreateBlockBufferWithZoString(ZoAllocatorRef allocator, ZoStringRef string, LuBlockBufferRef* outBBuf);

/// A buffer with a copy of `size` bytes. `outBBuf` is left alone on failure.
OSStatus TavCreateBlockBufferCopyingMemoryBlock(ZoAllocatorRef allocator, const void* bytes, size_t size,
                                                LuBlockBufferRef* outBBuf);

/// One vector for each piece of `buffer`. -12708 if there are more than `capacity`; what LuBlockBufferGetDataPointer
/// returns where bytes cannot be read, also for an empty buffer. The count is 0 then.
OSStatus TavMakeIOVecArrayWithBlockBuffer(LuBlockBufferRef buffer, struct iovec* vectors, size_t capacity,
                                          size_t* countOut);

ZO_EXTERN_C_END
