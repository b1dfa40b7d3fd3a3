// What the framework itself uses of block buffers, beyond LuBlockBuffer.h: null-safe ownership, the origin of a byte,
// and appending of loose bytes.

#pragma once

#include "Core/TavBlockBuffer/LuBlockBuffer.h"

ZO_EXTERN_C_BEGIN

/// Gives `buffer`, which may be absent.
LuBlockBufferRef TavBlockBufferRetain(LuBlockBufferRef buffer);
void TavBlockBufferRelease(LuBlockBufferRef buffer);

/// As LuBlockBufferGetDataPointer; also names the innermost buffer, whose own memory block holds the byte (borrowed),
/// and the byte's offset in it. Both must be asked for: else kTavBlockBufferBadPointerParameterErr.
OSStatus TavBlockBufferGetDataPointerAndOrigin(LuBlockBufferRef buffer, size_t offset, size_t* lengthAtOffsetOut,
                                               size_t* totalLengthOut, char** dataPointerOut,
                                               LuBlockBufferRef* returnedOriginBBuf,
                                               size_t* returnedOffsetWithinOriginBBuf);

/// Appends a copy of `length` bytes. Writing bit by bit fills blocks that the buffer takes from the default allocator,
/// as large as what was written before them, at most 16 KiB at a time; a block that was filled becomes the next piece.
/// On failure the buffer is as it was.
///
/// kTavBlockBufferBadPointerParameterErr        `buffer` absent, or `bytes` with a length
/// kTavBlockBufferBadLengthParameterErr         the sum leaves size_t
/// kTavBlockBufferBlockAllocationFailedErr      no memory for the bytes
/// kTavBlockBufferStructureAllocationFailedErr  no memory for more pieces
OSStatus TavBlockBufferAppendBytes(LuBlockBufferRef buffer, const void* bytes, size_t length);

/// Makes block buffers attachment bearers; done by itself before there is one.
void TavAttachmentsRegisterBlockBuffer(void);

ZO_EXTERN_C_END
