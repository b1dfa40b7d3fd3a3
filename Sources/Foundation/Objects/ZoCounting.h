// The short way through ZoRetain and ZoRelease, which are calls otherwise: counting is so few instructions that the
// call would cost as much again. Included by ZoObject.h where C++ is compiled with optimisation.

#pragma once

#include <sys/single_threaded.h>

#include "Foundation/Objects/ZoObject.h"

/// Parts of ZoRuntimeBase.info. An object without kZoInfoCounted is constant: retain and release leave it alone.
enum : uint64_t {
    kZoInfoCounted = UINT64_C(1) << 24,
    kZoInfoCountShift = 32,
    kZoInfoOneReference = UINT64_C(1) << kZoInfoCountShift,
};

/// What is left of ZoRelease, where one thread is all, for an object whose header still reads `info` with a count of 1.
extern "C" void _ZoReleaseLast(ZoTypeRef object, uint64_t info);

#if defined(__OPTIMIZE__) && !defined(ZO_COUNTING_OUT_OF_LINE)

extern "C" {

// The functions in the library, by names that are not inlined.
ZoTypeRef _ZoRetain(ZoTypeRef object) __asm__("ZoRetain");
void _ZoRelease(ZoTypeRef object) __asm__("ZoRelease");

// gnu_inline: never emitted. Their addresses, and calls that are not inlined, mean the functions in the library.
__attribute__((gnu_inline)) extern inline ZoTypeRef ZoRetain(ZoTypeRef object)
{
    if (ZO_UNLIKELY(!object) || !__libc_single_threaded) return _ZoRetain(object);
    uint64_t* word = &static_cast<ZoRuntimeBase*>(const_cast<void*>(object))->info;
    const uint64_t info = __atomic_load_n(word, __ATOMIC_RELAXED);
    if (info & kZoInfoCounted) __atomic_store_n(word, info + kZoInfoOneReference, __ATOMIC_RELAXED);
    return object;
}

__attribute__((gnu_inline)) extern inline void ZoRelease(ZoTypeRef object)
{
    if (ZO_UNLIKELY(!object) || !__libc_single_threaded) return _ZoRelease(object);
    uint64_t* word = &static_cast<ZoRuntimeBase*>(const_cast<void*>(object))->info;
    const uint64_t info = __atomic_load_n(word, __ATOMIC_RELAXED);
    if (!(info & kZoInfoCounted)) return;
    if (info >> kZoInfoCountShift <= 1) return _ZoReleaseLast(object, info);
    __atomic_store_n(word, info - kZoInfoOneReference, __ATOMIC_RELAXED);
}
}

#endif
