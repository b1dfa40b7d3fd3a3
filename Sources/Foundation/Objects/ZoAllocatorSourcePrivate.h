// Lets a reporting array (Memory/Containers.h) take its memory from a foundation allocator:
//
//     memory::ReportingArray<Row, ZoAllocatorSource> rows{ZoAllocatorSource{allocator}};
//     if (!rows.append(row)) return TAV_SIGNAL(k...AllocationFailed, "...");

#pragma once

#include "Foundation/Objects/ZoAllocator.h"
#include "Memory/Containers.h"

/// Borrows the allocator; null is the default one.
struct ZoAllocatorSource {
    ZoAllocatorRef allocator = nullptr;
    void* allocate(size_t bytes) const noexcept
    {
        return ZoAllocatorAllocate(allocator, static_cast<ZoIndex>(bytes), 0);
    }
    void deallocate(void* block) const noexcept
    {
        if (block) ZoAllocatorDeallocate(allocator, block);
    }
};
