// malloc(3), realloc(3) and free(3) as an allocator object of this module's own.

#pragma once

#include "Foundation/Objects/ZoAllocator.h"

ZO_EXTERN_C_BEGIN

/// Borrowed; made on first use, lives as long as the process. May be called from any thread.
ZoAllocatorRef TavGetGlobalZoAllocatorTavMalloc(void);

ZO_EXTERN_C_END
