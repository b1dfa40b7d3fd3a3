// What the framework wants of task queues beyond libdispatch: creation that names a priority, a release off the
// caller's thread, property calls on an object's queue, a wait with a limit, and an object that holds a queue.
//
// Everything here may be called from any thread.

#pragma once

#include <dispatch/dispatch.h>
#include <sys/types.h>

#include "Core/TavBaseObject/TavBaseObject.h"

ZO_EXTERN_C_BEGIN

/// dispatch_queue_create(). Queues know no priority on this platform; `priority` is an index of the threads'
/// priorities.
dispatch_queue_t TavDispatchQueueCreateWithPriority(const char* label, dispatch_queue_attr_t attributes,
                                                    uint32_t priority);
dispatch_queue_t TavDispatchQueueCreateTargetingPThreadRootQueueWithPriority(const char* label,
                                                                             dispatch_queue_attr_t attributes,
                                                                             uint32_t priority);
dispatch_queue_t TavDispatchQueueCreateWithPriorityAndClientPID(const char* label, dispatch_queue_attr_t attributes,
                                                                uint32_t priority, pid_t clientPID);
/// Changes nothing on this platform. kTavBaseObjectError_ParamErr: no queue
OSStatus TavDispatchQueueSetPriorityAndClientPID(dispatch_queue_t queue, uint32_t priority, pid_t clientPID);

/// Makes a once-guard inside a new object fresh, for all threads that get to see the object.
void TavDispatchOnceInitWithinObject(dispatch_once_t* once);

/// Releases `object` later, on a serial queue of its own, in order of calls. An absent object does nothing.
void TavDeferZoRelease(ZoTypeRef object);

typedef OSStatus (*TavDispatchCopyPropertyFunction)(ZoTypeRef object, ZoTypeRef key, ZoAllocatorRef allocator,
                                                    void* valueOut);
typedef OSStatus (*TavDispatchSetPropertyFunction)(ZoTypeRef object, ZoTypeRef key, ZoTypeRef value);

/// Calls `function(object, key, allocator, valueOut)` on `queue` and gives its status. Not to be called on `queue`.
///
/// kTavBaseObjectError_ParamErr  anything but the allocator is absent
OSStatus TavDispatchSyncCopyPropertyImplementation(dispatch_queue_t queue, TavDispatchCopyPropertyFunction function,
                                                   ZoTypeRef object, ZoTypeRef key, ZoAllocatorRef allocator,
                                                   void* valueOut);
/// Has `function(object, key, value)` called on `queue`, and returns at once; all three are kept until then. A status
/// that the function returns is logged, since there is no one left to take it.
///
/// kTavBaseObjectError_ParamErr          anything but the value is absent
/// kTavBaseObjectError_AllocationFailed  no memory
OSStatus TavDispatchAsyncSetPropertyImplementation(dispatch_queue_t queue, TavDispatchSetPropertyFunction function,
                                                   ZoTypeRef object, ZoTypeRef key, ZoTypeRef value);

/// Runs `function(context)` on `queue` and waits for its end: 0, or non-zero if `timeout` came first. The task still
/// runs then, and `context` must stay valid until it has.
intptr_t TavDispatchAsyncAndWaitWithTimeout_f(dispatch_queue_t queue, void* context, dispatch_function_t function,
                                              dispatch_time_t timeout);

/// An object that keeps a queue, for collections.
typedef const struct TavDispatchQueueHolder_* TavDispatchQueueHolderRef;

ZoTypeID TavDispatchQueueHolderGetTypeID(void);
/// kTavBaseObjectError_ParamErr, kTavBaseObjectError_AllocationFailed
OSStatus TavDispatchQueueHolderCreateWithDispatchQueue(ZoAllocatorRef allocator, dispatch_queue_t queue,
                                                       TavDispatchQueueHolderRef* holderOut);
/// Borrowed.
dispatch_queue_t TavDispatchQueueHolderGetDispatchQueue(TavDispatchQueueHolderRef holder);

ZO_EXTERN_C_END
