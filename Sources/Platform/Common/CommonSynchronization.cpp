#include <sched.h>

#include "Platform/Common/CommonSynchronizationPrivate.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraSynchronizationPrivate.h"

TavReadWriteLockRef TavReadWriteLockCreate(uint32_t flags) { return TavReadWriteLockCreateWithFlags(nullptr, flags); }

TavReadWriteLockRef TavReadWriteLockCreateWithFlags(ZoAllocatorRef allocator, uint32_t flags)
{
    TavReadWriteLockRef lock = tavRecordCreate<TavReadWriteLock_>(allocator);
    if (!lock) return nullptr;
    lock->mutex = TavSimpleMutexCreateWithFlags(allocator);
    lock->wakeUp = TavSemaphoreCreateWithFlags(allocator, 0, 1, 0);
    if (!lock->mutex || !lock->wakeUp) {
        TavSimpleMutexDestroy(lock->mutex);
        TavSemaphoreDestroy(lock->wakeUp);
        tavRecordFree(lock);
        return nullptr;
    }
    lock->flags = flags;
    return lock;
}

/// Leaves a token for a sleeper, if there is any. A token that is still pending does for both.
static void lockWakeSleeper(TavReadWriteLockRef lock)
{
    if (lock->sleepers) TavSemaphoreSignal(lock->wakeUp);
}

/// Gives up the mutex until there is a token. On failure the mutex is not held: the lock is being destroyed.
static OSStatus lockSleep(TavReadWriteLockRef lock, bool yieldsFirst)
{
    lock->sleepers += 1;
    TavSimpleMutexUnlock(lock->mutex);
    if (yieldsFirst) sched_yield();
    TAV_TRY(TavSemaphoreWaitRelative(lock->wakeUp, kTavWaitForever));
    TAV_TRY(TavSimpleMutexLock(lock->mutex));
    lock->sleepers -= 1;
    return 0;
}

OSStatus TavReadWriteLockLockForRead(TavReadWriteLockRef lock)
{
    TAV_TRY(TavSimpleMutexLock(lock->mutex));
    bool slept = false, passedOn = false;
    while (lock->writerActive || lock->waitingWriters) {
        TAV_TRY(lockSleep(lock, passedOn));
        slept = true;
        // Meant for a writer. Whoever passes a token on yields before it asks for one, lest it catch its own again.
        passedOn = lock->waitingWriters != 0;
        if (passedOn) lockWakeSleeper(lock);
    }
    lock->activeReaders += 1;
    if (slept) lockWakeSleeper(lock);  // other readers slept through the same writer
    TavSimpleMutexUnlock(lock->mutex);
    return 0;
}

OSStatus TavReadWriteLockUnlockForRead(TavReadWriteLockRef lock)
{
    TAV_TRY(TavSimpleMutexLock(lock->mutex));
    if (lock->activeReaders && --lock->activeReaders == 0) lockWakeSleeper(lock);
    TavSimpleMutexUnlock(lock->mutex);
    return 0;
}

OSStatus TavReadWriteLockLockForWrite(TavReadWriteLockRef lock)
{
    const bool takesPrecedence = lock->flags & kTavReadWriteLockFlag_WritersTakePrecedence;
    TAV_TRY(TavSimpleMutexLock(lock->mutex));
    if (takesPrecedence) lock->waitingWriters += 1;
    while (lock->writerActive || lock->activeReaders) TAV_TRY(lockSleep(lock, false));
    lock->writerActive = 1;
    if (takesPrecedence) lock->waitingWriters -= 1;
    TavSimpleMutexUnlock(lock->mutex);
    return 0;
}

OSStatus TavReadWriteLockUnlockForWrite(TavReadWriteLockRef lock)
{
    TAV_TRY(TavSimpleMutexLock(lock->mutex));
    if (lock->writerActive) {
        lock->writerActive = 0;
        lockWakeSleeper(lock);
    }
    TavSimpleMutexUnlock(lock->mutex);
    return 0;
}

OSStatus TavReadWriteLockDestroy(TavReadWriteLockRef lock)
{
    if (!lock) return 0;
    OSStatus err = TavSimpleMutexDestroy(lock->mutex);
    if (err) return TAV_SIGNAL(err, "TavSimpleMutexDestroy failed  - leaking TavReadWriteLockRef");
    err = TavSemaphoreDestroy(lock->wakeUp);
    if (err) return TAV_SIGNAL(err, "TavSemaphoreDestroy failed - leaking TavReadWriteLockRef");
    tavRecordFree(lock);
    return 0;
}
