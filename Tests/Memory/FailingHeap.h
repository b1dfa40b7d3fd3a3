// The heap of this process, which can be told to give nothing: malloc(3) and its kin are replaced by the program, and
// operator new goes through them, as do the C library and all other libraries.

#pragma once

#include <cstdint>

namespace failing_heap {

/// False in a build whose sanitizer has a heap of its own: nothing fails there.
bool isThere();
/// From now on the n-th allocation of any thread gives nothing, and with `andAfter` all that follow.
void failAt(int64_t n, bool andAfter);
/// Calls from libraries with `part` in their paths do not fail.
void spareCallsFrom(const char* part);
/// Allocations succeed again; whether one was refused.
bool stopFailing();
/// How many blocks are out.
int64_t liveBlocks();

}  // namespace failing_heap
