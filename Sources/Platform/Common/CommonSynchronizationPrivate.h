// The record of the read-write lock.

#pragma once

#include "Platform/Common/CommonSynchronization.h"

struct TavReadWriteLock_ {
    TavSimpleMutexRef mutex;
    TavSemaphoreRef wakeUp;  ///< at most one token: what changed is found out under the mutex
    uint32_t flags;
    uint32_t activeReaders;
    uint32_t writerActive;
    uint32_t waitingWriters;  ///< counted only where writers take precedence
    uint32_t sleepers;        ///< threads between giving up the mutex for the token and having it again
    ZoAllocatorRef allocator;
};
