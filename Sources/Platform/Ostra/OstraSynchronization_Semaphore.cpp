#include <errno.h>
#include <sched.h>

#include "Platform/Ostra/OstraAtomics.h"
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
    // The wake-up comes after the mutex is free, lest the waiter run into it. By then another waiter may be destroying
    // the semaphore: it waits for the count of those who are still here.
    TavAtomicIncrement32(&semaphore->wakers);
    TavReentrantMutexUnlock(semaphore->mutex);
    const int err = pthread_cond_signal(&semaphore->condition);
    TavAtomicDecrement32(&semaphore->wakers);
    return err == 0 && atMaximum ? kTavSemaphoreMaximumCountErr : err;
}

OSStatus TavSemaphoreWaitRelative(TavSemaphoreRef semaphore, int64_t timeout)
{
    const TavDeadline deadline = tavDeadlineAfter(timeout);
    TAV_TRY(TavReentrantMutexLock(semaphore->mutex));
    semaphore->waiters += 1;
    int err = 0;
    while (!semaphore->deleted && err == 0 && semaphore->count == 0)
        err = tavWaitOnCondition(&semaphore->condition, semaphore->mutex, deadline, __func__);
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
    while (semaphoreHasWaiters(semaphore) || TavAtomicAdd32(0, &semaphore->wakers) != 0) sched_yield();

    TavReentrantMutexDestroy(semaphore->mutex);
    const int err = pthread_cond_destroy(&semaphore->condition);
    tavRecordFree(semaphore);
    return err;
}
