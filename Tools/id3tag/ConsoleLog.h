// The tool's own log: one line a message, to standard output or to a file, with a local time stamp if wanted.
// It is silent until one of OutputInit, OutputAllowDebug and OutputBeQuiet has been called.
// No lock: for a single-threaded tool.

#pragma once

#include <stdint.h>

#include "Foundation/Objects/ZoBase.h"

ZO_EXTERN_C_BEGIN

/// Lets levels 0 and 1 pass. `timestamps` 0 leaves the time stamps out.
void OutputInit(uint8_t timestamps);
/// Appends to the file from now on; a file that cannot be opened is reported and standard output takes its place.
void OutputSetFile(const char* path);
/// Lets levels 0, 1 and 2 pass.
void OutputAllowDebug(void);
bool OutputIsDebug(void);
/// Lets level 0 pass alone.
void OutputBeQuiet(void);
/// Writes one line, flushed before the call returns. The format carries no newline of its own.
void OutputMessage(int32_t level, const char* format, ...) ZO_PRINTF(2, 3);
/// Closes the file, if there is one. The next message goes to standard output.
void OutputClose(void);
/// Milliseconds since boot.
uint64_t GetCurrentTime(void);

ZO_EXTERN_C_END
