// Delivers a finished tag: to a file, or over a short TCP connection to the stream segmenter.
// Failures are reported through the console log and end the attempt; nothing is tried again.

#pragma once

#include <stdint.h>

#include "Foundation/Objects/ZoBase.h"

ZO_EXTERN_C_BEGIN

/// Creates or truncates the file and writes the tag. 0, or -1 if it cannot be opened or takes less than the whole.
int32_t ID3OutputWriteFile(const uint8_t* bytes, uint64_t length, const char* path);

/// Connects to the first IPv4 address of `host` and sends one tag: its length (32 bits, big-endian), the low 8 bits of
/// `repeat`, then the bytes in pieces of at most 1400. `service` is a number or a name. Blocks for as long as the
/// segmenter takes; reads nothing. 0, or -1 if the host is not found, refuses, or closes before the end.
int32_t ID3OutputSendTag(const uint8_t* bytes, uint64_t length, const char* host, const char* service, int repeat);

ZO_EXTERN_C_END
