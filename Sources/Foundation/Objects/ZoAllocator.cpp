#include "Foundation/Objects/ZoAllocator.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"

struct ZoAllocator_ {
    union {
        ZoConstantHeader constant;
        ZoRuntimeBase base;
    };
    ZoAllocatorContext context;
};

namespace {

// The system's two are told by identity before their contexts are looked at; the null allocator's has no callbacks.
constinit const ZoAllocator_ kDefaultAllocator{{.constant = ZoConstantHeader(kZoTypeIDAllocator)}, {}};
constinit const ZoAllocator_ kMallocAllocator{{.constant = ZoConstantHeader(kZoTypeIDAllocator)}, {}};
constinit const ZoAllocator_ kNullAllocator{{.constant = ZoConstantHeader(kZoTypeIDAllocator)}, {}};

const ZoAllocatorContext* contextOf(ZoAllocatorRef allocator)
{
    return ZO_EXPECT(zoIsOfType(allocator, kZoTypeIDAllocator), "not an allocator") ? &allocator->context : nullptr;
}

void allocatorFinalize(ZoTypeRef object)
{
    const ZoAllocatorContext& context = static_cast<ZoAllocatorRef>(object)->context;
    if (context.release) context.release(context.info);
}

ZoStringRef allocatorCopyDescription(ZoTypeRef object)
{
    const ZoAllocatorContext& context = static_cast<ZoAllocatorRef>(object)->context;
    return context.copyDescription ? context.copyDescription(context.info) : nullptr;
}

}  // namespace

constinit const ZoAllocatorRef kZoAllocatorDefault = &kDefaultAllocator;
constinit const ZoAllocatorRef kZoAllocatorMalloc = &kMallocAllocator;
constinit const ZoAllocatorRef kZoAllocatorNull = &kNullAllocator;

const ZoRuntimeClass __ZoAllocatorClass = {
    .className = "ZoAllocator", .finalize = allocatorFinalize, .copyDebugDesc = allocatorCopyDescription};

ZoTypeID ZoAllocatorGetTypeID() { return kZoTypeIDAllocator; }

ZoAllocatorRef ZoAllocatorCreate(ZoAllocatorRef allocator, const ZoAllocatorContext* context)
{
    if (!ZO_EXPECT(context, "absent context")) return nullptr;
    constexpr ZoIndex kExtra = sizeof(ZoAllocator_) - sizeof(ZoRuntimeBase);
    ZoTypeRef object = _ZoRuntimeCreateInstance(allocator, kZoTypeIDAllocator, kExtra, nullptr);
    if (!object) return nullptr;
    auto* created = static_cast<ZoAllocator_*>(const_cast<void*>(object));
    created->context = *context;
    if (context->retain) created->context.info = const_cast<void*>(context->retain(context->info));
    return created;
}

void* ZoAllocatorAllocate(ZoAllocatorRef allocator, ZoIndex size, ZoOptionFlags hint)
{
    if (size <= 0) return nullptr;
    if (zoIsSystemAllocator(allocator)) return std::malloc(static_cast<size_t>(size));
    const ZoAllocatorContext* context = contextOf(allocator);
    return context && context->allocate ? context->allocate(size, hint, context->info) : nullptr;
}

void* ZoAllocatorReallocate(ZoAllocatorRef allocator, void* memory, ZoIndex newSize, ZoOptionFlags hint)
{
    if (!memory) return ZoAllocatorAllocate(allocator, newSize, hint);
    if (newSize <= 0) {
        ZoAllocatorDeallocate(allocator, memory);
        return nullptr;
    }
    if (zoIsSystemAllocator(allocator)) return std::realloc(memory, static_cast<size_t>(newSize));
    const ZoAllocatorContext* context = contextOf(allocator);
    return context && context->reallocate ? context->reallocate(memory, newSize, hint, context->info) : nullptr;
}

void ZoAllocatorDeallocate(ZoAllocatorRef allocator, void* memory)
{
    if (!memory) return;
    if (zoIsSystemAllocator(allocator)) {
        std::free(memory);
        return;
    }
    const ZoAllocatorContext* context = contextOf(allocator);
    if (context && context->deallocate) context->deallocate(memory, context->info);
}

ZoIndex ZoAllocatorGetPreferredSizeForSize(ZoAllocatorRef allocator, ZoIndex size, ZoOptionFlags hint)
{
    if (size <= 0 || zoIsSystemAllocator(allocator)) return size;
    const ZoAllocatorContext* context = contextOf(allocator);
    if (!context || !context->preferredSize) return size;
    const ZoIndex preferred = context->preferredSize(size, hint, context->info);
    return preferred > size ? preferred : size;
}

ZoAllocatorRef ZoAllocatorGetDefault() { return kZoAllocatorDefault; }

void* _ZoGrowBlock(ZoAllocatorRef allocator, void* memory, ZoIndex usedBytes, ZoIndex newSize)
{
    if (zoIsSystemAllocator(allocator)) {
        void* grown = newSize > 0 ? std::realloc(memory, static_cast<size_t>(newSize)) : nullptr;
        if (!grown) {
            std::fprintf(stderr, "out of memory: %zd bytes\n", static_cast<ssize_t>(newSize));
            std::abort();
        }
        return grown;
    }
    void* grown = ZoAllocatorAllocate(allocator, newSize, 0);
    if (!grown) return nullptr;
    if (memory) {
        std::memcpy(grown, memory, static_cast<size_t>(usedBytes));
        ZoAllocatorDeallocate(allocator, memory);
    }
    return grown;
}
