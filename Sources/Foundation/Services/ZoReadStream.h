// Streams of bytes to be read once, in order. A stream belongs to one thread at a time.

#pragma once

#include "Foundation/URLs/ZoURL.h"

ZO_EXTERN_C_BEGIN

ZoTypeID ZoReadStreamGetTypeID(void);
/// A stream of the file that `fileURL` names, not yet opened. Nothing for a URL that names no file.
ZoReadStreamRef ZoReadStreamCreateWithFile(ZoAllocatorRef allocator, ZoURLRef fileURL);
/// False if the file cannot be opened for reading (errno tells why), is a directory, or the stream was opened before.
Boolean ZoReadStreamOpen(ZoReadStreamRef stream);
/// The number of bytes read, at most `length`; 0 at the end, -1 on failure or if the stream is not open.
ZoIndex ZoReadStreamRead(ZoReadStreamRef stream, uint8_t* buffer, ZoIndex length);
/// May be left out: the last release closes as well.
void ZoReadStreamClose(ZoReadStreamRef stream);

ZO_EXTERN_C_END
