// Mutexes, semaphores, condition variables and events over POSIX threads. What sets them apart is how they end:
// a semaphore or event that is destroyed wakes its waiters, which report kTavResourceDeletedErr, and its memory goes
// only after the last of them has left.
//
// Time-outs are relative, in nanoseconds: negative waits for ever, 0 tries once. All operations may be called from any
// thread, but nobody may start to use an object that another thread is destroying. Where a status is a positive number
// it is the errno value of a POSIX call. Creation gives nothing when memory or the system's resources run out.
// An allocator that is given is retained for the object's life, and gives and takes its memory.

#pragma once

#include "Foundation/Objects/ZoAllocator.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

enum {
    kTavResourceDeletedErr = -12790,        ///< the object is being destroyed
    kTavSemaphoreMaximumCountErr = -12791,  ///< signalled at its maximum; the count is unchanged, a waiter wakes
    kTavWaitTimedOutErr = -12792,
};

#define kTavWaitForever ((int64_t)-1)

/// Both kinds of mutex are one record, and a condition variable takes either.
typedef struct TavMutex_* TavSimpleMutexRef;
typedef struct TavMutex_* TavReentrantMutexRef;
typedef struct TavSemaphore_* TavSemaphoreRef;
typedef struct TavConditionVariable_* TavConditionVariableRef;
typedef struct TavEvent_* TavEventRef;
typedef struct TavConcurrentAccessDetector_* TavConcurrentAccessDetectorRef;

// Mutexes ------------------------------------------------------------------------------------------------------------

TavSimpleMutexRef TavSimpleMutexCreate(void);
TavSimpleMutexRef TavSimpleMutexCreateWithFlags(ZoAllocatorRef allocator);
/// 0 for an absent mutex. A mutex that the system refuses to destroy, such as a locked one, is left alone and leaks:
/// the errno value, signalled.
OSStatus TavSimpleMutexDestroy(TavSimpleMutexRef mutex);
/// 0, or the errno value.
OSStatus TavSimpleMutexLock(TavSimpleMutexRef mutex);
/// True if it got the lock.
bool TavSimpleMutexTryLock(TavSimpleMutexRef mutex);
OSStatus TavSimpleMutexUnlock(TavSimpleMutexRef mutex);

/// The thread that holds a reentrant mutex may lock it again, and unlocks it as often. Otherwise as a simple one.
TavReentrantMutexRef TavReentrantMutexCreate(void);
TavReentrantMutexRef TavReentrantMutexCreateWithFlags(ZoAllocatorRef allocator);
OSStatus TavReentrantMutexDestroy(TavReentrantMutexRef mutex);
OSStatus TavReentrantMutexLock(TavReentrantMutexRef mutex);
bool TavReentrantMutexTryLock(TavReentrantMutexRef mutex);
OSStatus TavReentrantMutexUnlock(TavReentrantMutexRef mutex);

/// The checks are marks for a reader; this system does nothing for them.
static inline void TavSimpleMutexCheckIsLockedOnThisThread(TavSimpleMutexRef mutex) { (void)mutex; }
static inline void TavSimpleMutexCheckIsNotLockedOnThisThread(TavSimpleMutexRef mutex) { (void)mutex; }
static inline void TavReentrantMutexCheckIsLockedOnThisThread(TavReentrantMutexRef mutex) { (void)mutex; }
static inline void TavReentrantMutexCheckIsNotLockedOnThisThread(TavReentrantMutexRef mutex) { (void)mutex; }

// Semaphores ---------------------------------------------------------------------------------------------------------

/// A count that starts at `count` and that signals raise up to `maximum`.
TavSemaphoreRef TavSemaphoreCreate(int64_t count, int64_t maximum);
/// `flags` is not used.
TavSemaphoreRef TavSemaphoreCreateWithFlags(ZoAllocatorRef allocator, int64_t count, int64_t maximum, uint32_t flags);
/// Raises the count and wakes one waiter.
///
/// kTavSemaphoreMaximumCountErr   the count was at its maximum, and stays there
/// kTavResourceDeletedErr         the semaphore is being destroyed; signalled
OSStatus TavSemaphoreSignal(TavSemaphoreRef semaphore);
/// Takes one from the count, waiting until it is positive.
///
/// kTavWaitTimedOutErr      the time-out ran out
/// kTavResourceDeletedErr   destroyed before or during the wait; signalled
OSStatus TavSemaphoreWaitRelative(TavSemaphoreRef semaphore, int64_t timeout);
/// Returns after the last waiter has left, so it must not be called from one. 0 for an absent semaphore.
OSStatus TavSemaphoreDestroy(TavSemaphoreRef semaphore);

// Condition variables ------------------------------------------------------------------------------------------------

TavConditionVariableRef TavConditionVariableCreate(void);
TavConditionVariableRef TavConditionVariableCreateWithFlags(ZoAllocatorRef allocator);
/// Wakes all waiters.
OSStatus TavConditionVariableBroadcast(TavConditionVariableRef condition);
/// `mutex`, of either kind, is held by the caller (once), and again when this returns. May return 0 without a
/// broadcast.
///
/// kTavWaitTimedOutErr   the time-out ran out
OSStatus TavConditionVariableWaitRelative(TavConditionVariableRef condition, TavSimpleMutexRef mutex, int64_t timeout);
/// As a mutex: 0 for an absent one, and one that cannot be destroyed leaks.
OSStatus TavConditionVariableDestroy(TavConditionVariableRef condition);

// Events -------------------------------------------------------------------------------------------------------------

/// A manual event, once set, lets every waiter through until it is reset. An automatic one lets one through and is
/// then clear again.
TavEventRef TavEventCreate(bool manualReset, bool initiallySet);
/// Sets the event, and returns after the waiters that it found have been let through: all of a manual event's, one of
/// an automatic one's. 0 at once for an event that is set already.
///
/// kTavResourceDeletedErr   the event is being destroyed; signalled
OSStatus TavEventSet(TavEventRef event);
/// kTavResourceDeletedErr   the event is being destroyed; signalled
OSStatus TavEventReset(TavEventRef event);
/// Waits until the event is set. A set that is in progress is let finish first, whatever the time-out.
///
/// kTavWaitTimedOutErr      the time-out ran out
/// kTavResourceDeletedErr   destroyed before or during the wait; signalled
OSStatus TavEventWaitRelative(TavEventRef event, int64_t timeout);
/// Returns after all callers have left the event, so it must not be called from one. 0 for an absent event.
OSStatus TavEventDestroy(TavEventRef event);

// Others -------------------------------------------------------------------------------------------------------------

/// Marks where an object is read and written. This system detects nothing: the detector is 0, and its operations do
/// nothing.
static inline TavConcurrentAccessDetectorRef TavConcurrentAccessDetectorCreate(void) { return 0; }
static inline void TavConcurrentAccessDetectorDestroy(TavConcurrentAccessDetectorRef detector) { (void)detector; }
static inline void TavConcurrentAccessDetectorBeginReading(TavConcurrentAccessDetectorRef detector) { (void)detector; }
static inline void TavConcurrentAccessDetectorEndReading(TavConcurrentAccessDetectorRef detector) { (void)detector; }
static inline void TavConcurrentAccessDetectorBeginWriting(TavConcurrentAccessDetectorRef detector) { (void)detector; }
static inline void TavConcurrentAccessDetectorEndWriting(TavConcurrentAccessDetectorRef detector) { (void)detector; }

/// As usleep(3).
int TavUSleep(uint32_t microseconds);

ZO_EXTERN_C_END
