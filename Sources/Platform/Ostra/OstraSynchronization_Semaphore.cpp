#include <errno.h>
#include <sched.h>

#include "Platform/Ostra/OstraSynchronizationPrivate.h"

TavSemaphoreRef TavSemaphoreCreate(int64_t count, int64_t maximum)
{
    return TavSemaphoreCreateWithFlags(nullptr, count, maximum, 0);
}

TavSemaphoreRef TavSemaphoreCreateWithFlags(ZoAllocatorRef allocator, int64_t count, int64_t maximum, uint32_t)
{
    TavSemaphoreRef semaphore = tavRecordCreate<TavSemaphore_>(allocator);
    if (!semaphore) return nullptr;
    semaphore->mutex = TavReentrantMutexCreateWithFlags(allocator);
    if (!semaphore->mutex || pthread_cond_init(&semaphore->condition, nullptr) != 0) {
        TavReentrantMutexDestroy(semaphore->mutex);
        tavRecordFree(semaphore);
        return nullptr;
    }
    semaphore->count = count;
    semaphore->maximum = maximum;
    return semaphore;
}

OSStatus TavSemaphoreSignal(TavSemaphoreRef semaphore)
{
    TAV_TRY(TavReentrantMutexLock(semaphore->mutex));
    if (semaphore->deleted) {
        TAV_SIGNAL(kTavResourceDeletedErr, "Cannot signal deleted semaphore");
        TavReentrantMutexUnlock(semaphore->mutex);
        return kTavResourceDeletedErr;
    }
    const bool atMaximum = semaphore->count >= semaphore->maximum;
    if (!atMaximum) semaphore->count += 1;
    // Under the mutex: once it is free, a waiter may go on and destroy the semaphore.
    const int err = pthread_cond_signal(&semaphore->condition);
    TavReentrantMutexUnlock(semaphore->mutex);
    return err == 0 && atMaximum ? kTavSemaphoreMaximumCountErr : err;
}

OSStatus TavSemaphoreWaitRelative(TavSemaphoreRef semaphore, int64_t timeout)
{
    const TavDeadline deadline = tavDeadlineAfter(timeout);
    TAV_TRY(TavReentrantMutexLock(semaphore->mutex));
    semaphore->waiters += 1;
    int err = 0;
    while (!semaphore->deleted && err == 0 && semaphore->count == 0)
        err = tavWaitOnCondition(&semaphore->condition, semaphore->mutex, deadline);
    semaphore->waiters -= 1;

    OSStatus status = err == ETIMEDOUT ? kTavWaitTimedOutErr : err;
    if (semaphore->deleted)
        status = TAV_SIGNAL(kTavResourceDeletedErr, "semaphore was deleted before/during wait");
    else if (status == 0 && semaphore->count > 0)
        semaphore->count -= 1;
    TavReentrantMutexUnlock(semaphore->mutex);
    return status;
}

static bool semaphoreHasWaiters(TavSemaphoreRef semaphore)
{
    TavReentrantMutexLock(semaphore->mutex);
    const bool hasWaiters = semaphore->waiters != 0;
    TavReentrantMutexUnlock(semaphore->mutex);
    return hasWaiters;
}

OSStatus TavSemaphoreDestroy(TavSemaphoreRef semaphore)
{
    if (!semaphore) return 0;
    TAV_TRY(TavReentrantMutexLock(semaphore->mutex));
    semaphore->deleted = true;
    if (semaphore->waiters) pthread_cond_broadcast(&semaphore->condition);
    TavReentrantMutexUnlock(semaphore->mutex);
    while (semaphoreHasWaiters(semaphore)) sched_yield();

    TavReentrantMutexDestroy(semaphore->mutex);
    const int err = pthread_cond_destroy(&semaphore->condition);
    tavRecordFree(semaphore);
    return err;
}
