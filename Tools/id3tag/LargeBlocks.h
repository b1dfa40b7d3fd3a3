// How the tool has blocks of hundreds of megabytes without losing time to page faults, which would be most of the time
// that such a tag takes. It changes the allocator of the whole process: for the tool's main alone, not for the builder.

#pragma once

#include <stddef.h>

/// Lets a large block take over the memory of one that was freed, instead of pages that the system has to clear first.
/// To be called before the first thread.
void prepareLargeBlocks();

/// malloc, never of size 0; for free(). A large block asks the system for huge pages. Freed memory that it could not
/// take over goes back to the system, so that the process never holds more than it uses.
void* mallocLarge(size_t size);
