// An allocator's memory as a custom block source.

#pragma once

#include "Core/TavBlockBuffer/LuBlockBuffer.h"

namespace luvia_test {

/// `allocator` must outlive the buffers that use it.
inline LuBlockBufferCustomBlockSource sourceFrom(ZoAllocatorRef allocator)
{
    const auto allocate = [](void* refCon, size_t size) {
        return ZoAllocatorAllocate(static_cast<ZoAllocatorRef>(refCon), static_cast<ZoIndex>(size), 0);
    };
    const auto free = [](void* refCon, void* block, size_t) {
        ZoAllocatorDeallocate(static_cast<ZoAllocatorRef>(refCon), block);
    };
    return {0, allocate, free, const_cast<void*>(static_cast<const void*>(allocator))};
}

}  // namespace luvia_test
