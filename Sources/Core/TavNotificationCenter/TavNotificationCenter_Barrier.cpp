#include "Core/TavBaseObject/TavBaseObject.h"
#include "Core/TavNotificationCenter/LuNotificationCenter.h"
#include "Core/TavNotificationCenter/TavNotificationCenterPrivate.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Memory/Containers.h"
#include "Platform/Common/CommonSynchronization.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraLockGuard.h"

/// The lock of one object, alive as long as the object is registered or a post or barrier holds it.
struct NotificationBarrierLock {
    TavReadWriteLockRef lock;
    int64_t holders;  ///< atomic
};

// Negated addresses to locks, so that no table holds what looks like a pointer to an object.
static ZoMutableDictionaryRef sBarrierLocks;
static TavSimpleMutexRef sBarrierMutex;  // guards it
static ZoIndex sBarrierCount;            // atomic; a process without barriers posts without the mutex

static const void* barrierKey(const void* object)
{
    return reinterpret_cast<const void*>(-reinterpret_cast<uintptr_t>(object));
}

static void TavNotificationCenterSupportInitOnce()
{
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) {
        sBarrierLocks = ZoDictionaryCreateMutable(kZoAllocatorDefault, 0, nullptr, nullptr);
        sBarrierMutex = TavSimpleMutexCreate();
        if (!sBarrierLocks || !sBarrierMutex) memory::stop();
    });
}

static NotificationBarrierLock* barrierCreateLock()
{
    auto* const barrier = new (std::nothrow) NotificationBarrierLock{TavReadWriteLockCreate(0), 1};
    if (barrier && barrier->lock) return barrier;
    delete barrier;
    return nullptr;
}

static void barrierLetGo(NotificationBarrierLock* barrier)
{
    if (!barrier || __atomic_sub_fetch(&barrier->holders, 1, __ATOMIC_ACQ_REL) != 0) return;
    TavReadWriteLockDestroy(barrier->lock);
    delete barrier;
}

// The object's lock, held; nothing if it has none.
static NotificationBarrierLock* barrierHold(const void* object)
{
    if (__atomic_load_n(&sBarrierCount, __ATOMIC_ACQUIRE) == 0) return nullptr;
    const TavSimpleMutexGuard guard(sBarrierMutex);
    auto* const barrier = static_cast<NotificationBarrierLock*>(
        const_cast<void*>(ZoDictionaryGetValue(sBarrierLocks, barrierKey(object))));
    if (barrier) __atomic_add_fetch(&barrier->holders, 1, __ATOMIC_RELAXED);
    return barrier;
}

NotificationPost::NotificationPost(const void* object) : lock_(barrierHold(object))
{
    if (lock_) TavReadWriteLockLockForRead(lock_->lock);
}

// Gives back the lock that it took: the object may be registered anew, or no more.
NotificationPost::~NotificationPost()
{
    if (lock_) TavReadWriteLockUnlockForRead(lock_->lock);
    barrierLetGo(lock_);
}

static OSStatus barrierCheck(LuNotificationCenterRef center, const void* object)
{
    if (!center) return kLuNotificationInvalidCenterError;
    return object ? 0 : kLuNotificationInvalidObjectError;
}

// Whether the lock went in; one that the object has stays.
static bool barrierStore(const void* object, NotificationBarrierLock* barrier)
{
    const TavSimpleMutexGuard guard(sBarrierMutex);
    if (ZoDictionaryContainsKey(sBarrierLocks, barrierKey(object))) return false;
    ZoDictionaryAddValue(sBarrierLocks, barrierKey(object), barrier);
    __atomic_add_fetch(&sBarrierCount, 1, __ATOMIC_RELEASE);
    return true;
}

OSStatus LuNotificationCenterRegisterForBarrierSupport(LuNotificationCenterRef center, const void* object)
{
    TAV_TRY(barrierCheck(center, object));
    TavNotificationCenterSupportInitOnce();
    NotificationBarrierLock* const barrier = barrierCreateLock();
    if (!barrier) return TAV_SIGNAL(kLuNotificationAllocationFailedError, "cannot create rwlock");
    if (barrierStore(object, barrier)) return 0;
    barrierLetGo(barrier);
    return TAV_SIGNAL(kLuNotificationInvalidObjectError, "object already registered");
}

// Takes the object's lock out of the dictionary, with the reference that the dictionary had. The first error counts,
// but what can be done is done.
static OSStatus barrierTakeOut(const void* object, NotificationBarrierLock** barrierOut)
{
    TAV_TRY(TavSimpleMutexLock(sBarrierMutex));
    *barrierOut = static_cast<NotificationBarrierLock*>(
        const_cast<void*>(ZoDictionaryGetValue(sBarrierLocks, barrierKey(object))));
    if (*barrierOut) {
        ZoDictionaryRemoveValue(sBarrierLocks, barrierKey(object));
        __atomic_sub_fetch(&sBarrierCount, 1, __ATOMIC_RELEASE);
    }
    return TavSimpleMutexUnlock(sBarrierMutex);
}

OSStatus LuNotificationCenterUnregisterForBarrierSupport(LuNotificationCenterRef center, const void* object)
{
    TAV_TRY(barrierCheck(center, object));
    TavNotificationCenterSupportInitOnce();
    NotificationBarrierLock* barrier = nullptr;
    const OSStatus status = barrierTakeOut(object, &barrier);
    barrierLetGo(barrier);
    TAV_TRY(status);
    return barrier ? 0 : TAV_SIGNAL(kLuNotificationInvalidObjectError, "object not registered");
}

OSStatus LuNotificationCenterBarrier(LuNotificationCenterRef center, const void* object)
{
    TAV_TRY(barrierCheck(center, object));
    TavNotificationCenterSupportInitOnce();
    NotificationBarrierLock* const barrier = barrierHold(object);
    if (!barrier) return TAV_SIGNAL(kLuNotificationInvalidObjectError, "object not registered");
    OSStatus status = TavReadWriteLockLockForWrite(barrier->lock);
    if (status == 0) status = TavReadWriteLockUnlockForWrite(barrier->lock);
    barrierLetGo(barrier);
    return status;
}

// MARK: the standard barrier of base objects

static const TavBaseObjectBarrierSupport kBaseObjectSupport = {
    .registerObject =
        [](LuBaseObjectRef object) {
            return LuNotificationCenterRegisterForBarrierSupport(LuNotificationCenterGetDefaultLocalCenter(), object);
        },
    .unregisterObject =
        [](LuBaseObjectRef object) {
            LuNotificationCenterUnregisterForBarrierSupport(LuNotificationCenterGetDefaultLocalCenter(), object);
        },
    .barrier =
        [](LuBaseObjectRef object) {
            return LuNotificationCenterBarrier(LuNotificationCenterGetDefaultLocalCenter(), object);
        },
};

// Before main, and before other initialisers that may make base objects. What names this symbol gets the support.
extern "C" __attribute__((constructor(101))) void __TavNotificationServices()
{
    TavBaseObjectSetBarrierSupport(&kBaseObjectSupport);
}
