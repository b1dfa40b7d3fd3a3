// Atomic operations on words that several threads share, each a full barrier: sequentially consistent, nothing weaker.
// The pointer to the word stands last. Words are naturally aligned and read elsewhere through these operations only.

#pragma once

#include "Foundation/Objects/ZoBase.h"

ZO_EXTERN_C_BEGIN

/// Orders all memory accesses before it against all after it.
static inline void TavMemoryBarrier(void)
{
#if defined(__SANITIZE_THREAD__)
    // The checker knows no fences; a read-modify-write of one shared word gives it the same order.
    static char sBarrier;
    __atomic_exchange_n(&sBarrier, 0, __ATOMIC_SEQ_CST);
#else
    __atomic_thread_fence(__ATOMIC_SEQ_CST);
#endif
}

/// Increment, decrement and add give the new value; they wrap.
static inline int32_t TavAtomicAdd32(int32_t amount, volatile int32_t* word)
{
    return __atomic_add_fetch(word, amount, __ATOMIC_SEQ_CST);
}

static inline int32_t TavAtomicIncrement32(volatile int32_t* word) { return TavAtomicAdd32(1, word); }
static inline int32_t TavAtomicDecrement32(volatile int32_t* word) { return TavAtomicAdd32(-1, word); }

static inline int64_t TavAtomicIncrement64(volatile int64_t* word)
{
    return __atomic_add_fetch(word, 1, __ATOMIC_SEQ_CST);
}

static inline int64_t TavAtomicDecrement64(volatile int64_t* word)
{
    return __atomic_sub_fetch(word, 1, __ATOMIC_SEQ_CST);
}

/// The bit operations give the new value, and those named Orig the value before.
static inline uint32_t TavAtomicBitAnd32(uint32_t mask, volatile uint32_t* word)
{
    return __atomic_and_fetch(word, mask, __ATOMIC_SEQ_CST);
}

static inline uint32_t TavAtomicBitOr32(uint32_t mask, volatile uint32_t* word)
{
    return __atomic_or_fetch(word, mask, __ATOMIC_SEQ_CST);
}

static inline uint32_t TavAtomicBitXor32(uint32_t mask, volatile uint32_t* word)
{
    return __atomic_xor_fetch(word, mask, __ATOMIC_SEQ_CST);
}

static inline uint32_t TavAtomicBitAnd32Orig(uint32_t mask, volatile uint32_t* word)
{
    return __atomic_fetch_and(word, mask, __ATOMIC_SEQ_CST);
}

static inline uint32_t TavAtomicBitOr32Orig(uint32_t mask, volatile uint32_t* word)
{
    return __atomic_fetch_or(word, mask, __ATOMIC_SEQ_CST);
}

static inline uint32_t TavAtomicBitXor32Orig(uint32_t mask, volatile uint32_t* word)
{
    return __atomic_fetch_xor(word, mask, __ATOMIC_SEQ_CST);
}

/// Stores `desired` if the word equals `expected`, and tells whether it did. Never fails spuriously.
static inline bool TavAtomicCompareAndSwap32(int32_t expected, int32_t desired, volatile int32_t* word)
{
    return __atomic_compare_exchange_n(word, &expected, desired, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
}

static inline bool TavAtomicCompareAndSwapPtr(void* expected, void* desired, void* volatile* word)
{
    return __atomic_compare_exchange_n(word, &expected, desired, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
}

ZO_EXTERN_C_END
