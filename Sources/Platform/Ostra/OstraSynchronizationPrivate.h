// What the sources of the primitives share: the records, their life, and waits on a condition.

#pragma once

#include <pthread.h>

#include <cstring>

#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraSynchronization.h"

struct TavMutex_ {
    pthread_mutex_t posix;
    ZoAllocatorRef allocator;
};

struct TavSemaphore_ {
    TavReentrantMutexRef mutex;
    pthread_cond_t condition;
    int64_t count;
    int64_t maximum;
    int64_t waiters;
    bool deleted;
    int32_t wakers;  ///< signalling threads that have given up the mutex and are not gone
    ZoAllocatorRef allocator;
};

struct TavConditionVariable_ {
    pthread_cond_t posix;
    ZoAllocatorRef allocator;
};

struct TavEvent_ {
    TavReentrantMutexRef mutex;
    pthread_cond_t condition;
    uint64_t waiters;
    bool set;
    bool settingInProgress;
    bool manualReset;
    bool deleted;
    /// Callers that stand back for a set in progress: not waiters, which a set lets through, but the memory is
    /// theirs too.
    uint64_t standingBack;
};

/// A zeroed record that retains its allocator, or nothing.
template <typename Record>
Record* tavRecordCreate(ZoAllocatorRef allocator)
{
    auto* record = static_cast<Record*>(ZoAllocatorAllocate(allocator, sizeof(Record), 0));
    if (!record) return nullptr;
    std::memset(static_cast<void*>(record), 0, sizeof(Record));
    record->allocator = allocator ? static_cast<ZoAllocatorRef>(ZoRetain(allocator)) : nullptr;
    return record;
}

template <typename Record>
void tavRecordFree(Record* record)
{
    const ZoAllocatorRef allocator = record->allocator;
    std::memset(static_cast<void*>(record), 0, sizeof(Record));
    ZoAllocatorDeallocate(allocator, record);
    if (allocator) ZoRelease(allocator);
}

/// When a wait ends. A deadline that leaves 64 bits of nanoseconds is given up for the time-out itself, which then
/// starts anew with each turn of the waiter's loop: an end that nobody lives to see is never missed.
struct TavDeadline {
    int64_t timeout;
    bool isAbsolute;
    struct timespec when;
};

TavDeadline tavDeadlineAfter(int64_t timeout);
/// Both give 0, ETIMEDOUT, or another errno value, which they have signalled in the name of `operation`.
int tavWaitOnCondition(pthread_cond_t* condition, TavSimpleMutexRef mutex, const TavDeadline& deadline,
                       const char* operation);
int tavWaitOnConditionTimedRelative(pthread_cond_t* condition, TavSimpleMutexRef mutex, int64_t timeout,
                                    const char* operation);
