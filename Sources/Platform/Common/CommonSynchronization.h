// A read-write lock over the primitives of the platform, and a read-write queue over a dispatch queue.
// All operations may be called from any thread, but nobody may start to use what another thread is destroying.

#pragma once

#include <dispatch/dispatch.h>

#include "Platform/Ostra/OstraSynchronization.h"

ZO_EXTERN_C_BEGIN

typedef struct TavReadWriteLock_* TavReadWriteLockRef;

enum {
    /// New readers stand back for a writer that waits. Without it a reader goes in whenever no writer is active.
    kTavReadWriteLockFlag_WritersTakePrecedence = 1 << 0,
};

/// Nothing when memory runs out.
TavReadWriteLockRef TavReadWriteLockCreate(uint32_t flags);
TavReadWriteLockRef TavReadWriteLockCreateWithFlags(ZoAllocatorRef allocator, uint32_t flags);
/// Not reentrant: a thread that waits for what it holds itself waits for ever. Where nobody stands in the way it is one
/// step on one word; else the thread sleeps. 0, or the status of the wait: the lock is being destroyed. A lock serves
/// some 16 million readers at once and half a million threads that wait.
OSStatus TavReadWriteLockLockForRead(TavReadWriteLockRef lock);
/// Does nothing, with status 0, where no reader is active.
OSStatus TavReadWriteLockUnlockForRead(TavReadWriteLockRef lock);
OSStatus TavReadWriteLockLockForWrite(TavReadWriteLockRef lock);
/// Does nothing, with status 0, where no writer is active.
OSStatus TavReadWriteLockUnlockForWrite(TavReadWriteLockRef lock);
/// 0 for an absent lock. A lock whose semaphore cannot be destroyed leaks: its status, signalled.
OSStatus TavReadWriteLockDestroy(TavReadWriteLockRef lock);

/// A dispatch queue, which the caller releases with dispatch_release.
typedef dispatch_queue_t TavReadWriteQueueRef;

TavReadWriteQueueRef TavReadWriteQueue_Create(const char* label);
/// Both return after `work` has run.
void TavReadWriteQueue_Read(TavReadWriteQueueRef queue, void* context, dispatch_function_t work);
void TavReadWriteQueue_Write(TavReadWriteQueueRef queue, void* context, dispatch_function_t work);
void TavReadWriteQueue_Write_Async(TavReadWriteQueueRef queue, void* context, dispatch_function_t work);

bool _TavIsCurrentDispatchQueue(dispatch_queue_t queue);
bool _TavIsNotCurrentDispatchQueue(dispatch_queue_t queue);

ZO_EXTERN_C_END
