// Allocators: where an object's memory comes from. An absent allocator means kZoAllocatorDefault, everywhere.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

typedef struct ZoAllocatorContext {
    ZoIndex version;  ///< 0
    void* info;
    const void* (*retain)(const void* info);
    void (*release)(const void* info);
    ZoStringRef (*copyDescription)(const void* info);
    void* (*allocate)(ZoIndex size, ZoOptionFlags hint, void* info);
    void* (*reallocate)(void* memory, ZoIndex newSize, ZoOptionFlags hint, void* info);
    void (*deallocate)(void* memory, void* info);
    ZoIndex (*preferredSize)(ZoIndex size, ZoOptionFlags hint, void* info);
} ZoAllocatorContext;

extern const ZoAllocatorRef kZoAllocatorDefault;  ///< malloc(3) and free(3); an object
extern const ZoAllocatorRef kZoAllocatorMalloc;   ///< the same memory, by name
extern const ZoAllocatorRef kZoAllocatorNull;     ///< allocates nothing, frees nothing: bytes that are not ours to free

ZoTypeID ZoAllocatorGetTypeID(void);
/// Copies `context`; retains its info if it has a retain callback. The allocator's own memory comes from `allocator`.
ZoAllocatorRef ZoAllocatorCreate(ZoAllocatorRef allocator, const ZoAllocatorContext* context);
/// Nothing for a size of 0 or below, or when the allocator gives nothing.
void* ZoAllocatorAllocate(ZoAllocatorRef allocator, ZoIndex size, ZoOptionFlags hint);
/// As realloc(3): absent memory allocates, size 0 deallocates and gives nothing.
void* ZoAllocatorReallocate(ZoAllocatorRef allocator, void* memory, ZoIndex newSize, ZoOptionFlags hint);
/// Absent memory is left alone.
void ZoAllocatorDeallocate(ZoAllocatorRef allocator, void* memory);
/// What the allocator would really take for `size`; `size` itself where it does not say.
ZoIndex ZoAllocatorGetPreferredSizeForSize(ZoAllocatorRef allocator, ZoIndex size, ZoOptionFlags hint);
/// Borrowed.
ZoAllocatorRef ZoAllocatorGetDefault(void);

ZO_EXTERN_C_END
