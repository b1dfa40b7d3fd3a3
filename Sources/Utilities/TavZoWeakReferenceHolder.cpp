#define TAV_SUBSYSTEM "<<<< TavZoWeakReferenceHolder >>>>"

#include "Utilities/TavZoWeakReferenceHolder.h"

#include <dispatch/dispatch.h>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Ostra/OstraLockGuard.h"
#include "Platform/Ostra/OstraSynchronizationPrivate.h"
#include "Utilities/TavZoWeakReference.h"

struct TavZoWeakReferenceHolder {
    ZoRuntimeBase base;
    uintptr_t cacheKey;  ///< the disguised address of the object while the holder stands in the cache, else 0
    TavZoWeakReference referent;
};

static TavTraceNote sTrace;

// One holder for each object that lives: disguised addresses to holders, neither retained.
static ZoMutableDictionaryRef sTavZoWeakReferenceHolderDictionary;
static TavMutex_ sMutex = {PTHREAD_MUTEX_INITIALIZER, nullptr};
static const TavSimpleMutexRef sTavZoWeakReferenceHolderDictionaryMutex = &sMutex;  // guards it
static bool sTavZoWeakReferenceHolderUseCache;

static TavZoWeakReferenceHolderRef weakHolder(ZoTypeRef object)
{
    return static_cast<TavZoWeakReferenceHolderRef>(const_cast<void*>(object));
}

static uintptr_t weakHolderDisguise(ZoTypeRef object) { return -reinterpret_cast<uintptr_t>(object); }
static const void* weakHolderCacheKey(uintptr_t disguised) { return reinterpret_cast<const void*>(disguised); }

static void weakHolderTrace(int32_t level, const char* function, const char* what, TavZoWeakReferenceHolderRef holder,
                            ZoTypeRef object)
{
    if (__atomic_load_n(&sTrace.level, __ATOMIC_RELAXED) >= level)
        tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, TAV_SUBSYSTEM " %s: %s %p -> %p", function, what,
                static_cast<void*>(holder), object);
}

// MARK: the class

static void WeakReferenceHolder_Finalize(ZoTypeRef object)
{
    TavZoWeakReferenceHolderRef const holder = weakHolder(object);
    if (tavTraceIsOn(&sTrace))
        tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, TAV_SUBSYSTEM " %s: [%p]", __func__, object);
    if (sTavZoWeakReferenceHolderUseCache && holder->cacheKey) {
        const TavSimpleMutexGuard guard(sTavZoWeakReferenceHolderDictionaryMutex);
        const void* const key = weakHolderCacheKey(holder->cacheKey);
        if (ZoDictionaryGetValue(sTavZoWeakReferenceHolderDictionary, key) == holder)
            ZoDictionaryRemoveValue(sTavZoWeakReferenceHolderDictionary, key);
    }
    TavZoWeakReferenceDestroy(&holder->referent);
}

static const ZoRuntimeClass sHolderClass = {
    .version = 0,
    .className = "TavZoWeakReferenceHolder",
    .init = nullptr,
    .copy = nullptr,
    .finalize = WeakReferenceHolder_Finalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc =
        [](ZoTypeRef object) {
            return ZoStringCreateWithFormat(kZoAllocatorDefault, nullptr,
                                            ZOSTR("TavZoWeakReferenceHolder <%p> -> <%p>"), object,
                                            __atomic_load_n(&weakHolder(object)->referent, __ATOMIC_RELAXED));
        },
    .unused = {},
};

ZoTypeID TavZoWeakReferenceHolderGetTypeID(void)
{
    static ZoTypeID sTypeID;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, &sTypeID, [](void* typeID) {
        tavTraceNoteRegister(&sTrace, "weakholder_trace", 0);
        sTavZoWeakReferenceHolderDictionary = ZoDictionaryCreateMutable(kZoAllocatorDefault, 0, nullptr, nullptr);
        sTavZoWeakReferenceHolderUseCache = sTavZoWeakReferenceHolderDictionary;
        *static_cast<ZoTypeID*>(typeID) = _ZoRuntimeRegisterClass(&sHolderClass);
    });
    return sTypeID;
}

// MARK: the cache

// What a look at the cache gave. It goes behind the mutex: each of these may be a last reference.
struct WeakHolderCacheAnswer {
    ZoRef<ZoTypeRef> objectHeld;
    ZoRef<ZoTypeRef> otherReferent;
    ZoRef<TavZoWeakReferenceHolderRef> stale;
    ZoRef<TavZoWeakReferenceHolderRef> holder;
};

// Under the mutex. The dictionary holds no reference: what is found may be dying on another thread, and cannot be
// retained then; its finalizer waits for the mutex, so that it is still there.
static void TavZoWeakReferenceHolderCopyCachedInstance(ZoTypeRef object, WeakHolderCacheAnswer* answer)
{
    const void* const key = weakHolderCacheKey(weakHolderDisguise(object));
    answer->objectHeld = ZoRef<ZoTypeRef>::retain(object);
    const void* const found = ZoDictionaryGetValue(sTavZoWeakReferenceHolderDictionary, key);
    auto holder = zoAdopt(weakHolder(found ? _ZoTryRetain(found) : nullptr));
    if (!holder) return;
    answer->otherReferent = zoAdopt(TavZoWeakReferenceLoadAndRetain(&holder.get()->referent));
    if (answer->otherReferent.get() == object) {
        answer->holder = std::move(holder);
        return;
    }
    weakHolderTrace(2, __func__, "stale weak reference evicted (hit from cache)", holder.get(), object);
    ZoDictionaryRemoveValue(sTavZoWeakReferenceHolderDictionary, key);
    answer->stale = std::move(holder);
}

// The object's holder out of the cache. With `fresh`, which it becomes if there is none. Nothing where the mutex is
// busy.
static ZoRef<TavZoWeakReferenceHolderRef> weakHolderConsultCache(ZoTypeRef object, TavZoWeakReferenceHolderRef fresh)
{
    WeakHolderCacheAnswer answer;
    if (!sTavZoWeakReferenceHolderUseCache || !TavSimpleMutexTryLock(sTavZoWeakReferenceHolderDictionaryMutex))
        return nullptr;
    TavZoWeakReferenceHolderCopyCachedInstance(object, &answer);
    if (fresh && !answer.holder) {
        fresh->cacheKey = weakHolderDisguise(object);
        ZoDictionarySetValue(sTavZoWeakReferenceHolderDictionary, weakHolderCacheKey(fresh->cacheKey), fresh);
    }
    TavSimpleMutexUnlock(sTavZoWeakReferenceHolderDictionaryMutex);
    return std::move(answer.holder);
}

// MARK: operations

TavZoWeakReferenceHolderRef TavZoWeakReferenceHolderCreateWithReferencedObject(ZoTypeRef object)
{
    const ZoTypeID typeID = TavZoWeakReferenceHolderGetTypeID();
    if (!object) return nullptr;
    if (auto cached = weakHolderConsultCache(object, nullptr)) {
        weakHolderTrace(1, __func__, "existing weak reference retained (hit from cache)", cached.get(), object);
        return cached.release();
    }
    constexpr ZoIndex kExtraBytes = sizeof(TavZoWeakReferenceHolder) - sizeof(ZoRuntimeBase);
    auto fresh = zoAdopt(weakHolder(_ZoRuntimeCreateInstance(kZoAllocatorDefault, typeID, kExtraBytes, nullptr)));
    if (!fresh) return nullptr;
    TavZoWeakReferenceInit(&fresh.get()->referent, object);
    weakHolderTrace(1, __func__, "weak reference created", fresh.get(), object);
    if (auto winner = weakHolderConsultCache(object, fresh.get())) {
        weakHolderTrace(1, __func__, "weak reference created lost the race", winner.get(), object);
        return winner.release();
    }
    return fresh.release();
}

ZoTypeRef TavZoWeakReferenceHolderCopyReferencedObject(TavZoWeakReferenceHolderRef holder)
{
    return holder ? TavZoWeakReferenceLoadAndRetain(&holder->referent) : nullptr;
}
