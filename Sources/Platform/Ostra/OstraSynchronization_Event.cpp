#include <errno.h>

#include <cstdlib>

#include "Platform/Ostra/OstraSynchronizationPrivate.h"

TavEventRef TavEventCreate(bool manualReset, bool initiallySet)
{
    auto* event = static_cast<TavEventRef>(std::calloc(1, sizeof(TavEvent_)));
    if (!event) return nullptr;
    event->mutex = TavReentrantMutexCreate();
    if (!event->mutex || pthread_cond_init(&event->condition, nullptr) != 0) {
        TavReentrantMutexDestroy(event->mutex);
        std::free(event);
        return nullptr;
    }
    event->manualReset = manualReset;
    event->set = initiallySet;
    return event;
}

static int eventWait(TavEventRef event, const char* operation)
{
    return tavWaitOnConditionTimedRelative(&event->condition, event->mutex, kTavWaitForever, operation);
}

/// Enters the event: locks it, and lets a set in progress finish first. Holds the mutex on success only.
static OSStatus eventEnter(TavEventRef event, const char* messageIfDeleted, const char* operation)
{
    TAV_TRY(TavReentrantMutexLock(event->mutex));
    OSStatus status = 0;
    event->standingBack += 1;
    while (event->settingInProgress && status == 0) status = eventWait(event, operation);
    event->standingBack -= 1;
    if (event->deleted) {
        status = TAV_SIGNAL_FROM(operation, kTavResourceDeletedErr, messageIfDeleted);
        pthread_cond_broadcast(&event->condition);
    }
    if (status) TavReentrantMutexUnlock(event->mutex);
    return status;
}

/// Waits until those that a set found have been let through. The waiter of an automatic event that ran out of time
/// clears nothing: without waiters the event stays set, and is there for the next one.
static int eventLetWaitersThrough(TavEventRef event, const char* operation)
{
    int err = 0;
    while (event->waiters != 0 && (event->manualReset || event->set) && err == 0) err = eventWait(event, operation);
    return err;
}

OSStatus TavEventSet(TavEventRef event)
{
    TAV_TRY(eventEnter(event, "Cannot signal deleted event", __func__));
    int err = 0;
    if (!event->set) {
        event->set = true;
        event->settingInProgress = true;
        pthread_cond_broadcast(&event->condition);
        err = eventLetWaitersThrough(event, __func__);
        event->settingInProgress = false;
        pthread_cond_broadcast(&event->condition);
    }
    TavReentrantMutexUnlock(event->mutex);
    return err;
}

OSStatus TavEventReset(TavEventRef event)
{
    TAV_TRY(eventEnter(event, "Cannot signal deleted event", __func__));
    event->set = false;
    TavReentrantMutexUnlock(event->mutex);
    return 0;
}

OSStatus TavEventWaitRelative(TavEventRef event, int64_t timeout)
{
    const TavDeadline deadline = tavDeadlineAfter(timeout);
    TAV_TRY(eventEnter(event, "Cannot wait on deleted event", __func__));
    event->waiters += 1;
    int err = 0;
    while (!event->set && !event->deleted && err == 0)
        err = tavWaitOnCondition(&event->condition, event->mutex, deadline, __func__);
    event->waiters -= 1;
    if (err == 0 && !event->manualReset) event->set = false;
    pthread_cond_broadcast(&event->condition);

    OSStatus status = err == ETIMEDOUT ? kTavWaitTimedOutErr : err;
    if (event->deleted) status = TAV_SIGNAL(kTavResourceDeletedErr, "event was deleted before/during wait");
    TavReentrantMutexUnlock(event->mutex);
    return status;
}

OSStatus TavEventDestroy(TavEventRef event)
{
    if (!event) return 0;
    TAV_TRY(TavReentrantMutexLock(event->mutex));
    event->deleted = true;
    pthread_cond_broadcast(&event->condition);
    int err = 0;
    while ((event->settingInProgress || event->waiters || event->standingBack) && err == 0)
        err = eventWait(event, __func__);
    TavReentrantMutexUnlock(event->mutex);
    if (err) return err;  // someone may still be inside: leaks

    TavReentrantMutexDestroy(event->mutex);
    err = pthread_cond_destroy(&event->condition);
    std::free(event);
    return err;
}
