#include "id3tag/LargeBlocks.h"

#include <malloc.h>
#include <stdint.h>
#include <sys/mman.h>
#include <unistd.h>

static constexpr size_t kHugePage = size_t{2} << 20;

void prepareLargeBlocks() { mallopt(M_MMAP_MAX, 0); }

void* mallocLarge(size_t size)
{
    if (size < 2 * kHugePage) return malloc(size ? size : 1);
    const void* const endOfHeap = sbrk(0);
    void* const memory = malloc(size);
    if (!memory) return nullptr;
    if (sbrk(0) != endOfHeap) malloc_trim(0);
    const uintptr_t first = (reinterpret_cast<uintptr_t>(memory) + kHugePage - 1) & ~(kHugePage - 1);
    madvise(reinterpret_cast<void*>(first), reinterpret_cast<uintptr_t>(memory) + size - first, MADV_HUGEPAGE);
    return memory;
}
