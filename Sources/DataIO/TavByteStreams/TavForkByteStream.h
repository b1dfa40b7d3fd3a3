// The byte stream over a fork. Small reads come from a piece of the file that was read at once, of 1 KiB where reads
// jump and of up to 64 KiB where they follow one another; large ones go to the file. So what others write to the file
// may be seen late, a file that shrinks ends earlier, and memory does not grow with the file.
// As with every stream, reads and writes of one stream are serialised by the caller.

#pragma once

#include "DataIO/TavByteStreams/LuByteStream.h"
#include "Platform/Ostra/OstraFile.h"

ZO_EXTERN_C_BEGIN

/// The stream owns `fork` from then on, and closes it at its end; where this fails the fork stays the caller's. It
/// reads and writes as far as the fork was opened for that: else the operation's status is
/// kLuByteStreamError_ReadOnlyStream, or the errno of reading. Failures of the file are told as the fork tells them.
/// Properties: both lengths, what is supported, kTavByteStreamProperty_FileDescriptor (a 32-bit number), and
/// kLuByteStreamProperty_URL, which can be set.
///
/// kTavBaseObjectError_ParamErr          `flags` is not 0, or `fork` or `streamOut` is absent
/// kTavBaseObjectError_AllocationFailed  no memory
OSStatus TavByteStreamCreateForTavFileFork(TavFileForkRef fork, uint32_t flags, ZoAllocatorRef allocator,
                                           LuByteStreamRef* streamOut);

ZO_EXTERN_C_END
