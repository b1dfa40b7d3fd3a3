#include "Utilities/TavZoUtilities_Allocator.h"

#include <cstdlib>

#include "Platform/Ostra/OstraThread.h"

static const ZoAllocatorContext sTavZoAllocatorTavMallocContext = {
    .allocate = [](ZoIndex size, ZoOptionFlags, void*) { return std::malloc(static_cast<size_t>(size)); },
    .reallocate = [](void* memory, ZoIndex newSize, ZoOptionFlags,
                     void*) { return std::realloc(memory, static_cast<size_t>(newSize)); },
    .deallocate = [](void* memory, void*) { std::free(memory); },
};

static ZoAllocatorRef sTavMallocAllocator;
static TavThreadOnce sTavMallocAllocatorOnce = PTHREAD_ONCE_INIT;

ZoAllocatorRef TavGetGlobalZoAllocatorTavMalloc(void)
{
    (void)TavThreadRunOnce(&sTavMallocAllocatorOnce,
                           [] { sTavMallocAllocator = ZoAllocatorCreate(nullptr, &sTavZoAllocatorTavMallocContext); });
    return sTavMallocAllocator;
}
