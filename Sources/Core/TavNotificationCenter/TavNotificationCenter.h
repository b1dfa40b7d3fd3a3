// What the framework adds to the center of LuNotificationCenter.h: listeners that are held weakly and need not
// unregister, lists of listeners, and notifications that are delivered or posted later, on a dispatch queue or a run
// loop.
//
// Every operation may be called from any thread. Status values marked * are returned without being signalled.

#pragma once

#include <dispatch/dispatch.h>

#include "Core/TavNotificationCenter/LuNotificationCenter.h"
#include "Foundation/Services/ZoRunLoop.h"

ZO_EXTERN_C_BEGIN

enum {
    kTavNotificationInvalidCenterError = kLuNotificationInvalidCenterError,
    kTavNotificationInvalidObjectError = kLuNotificationInvalidObjectError,
    kTavNotificationNULLObjectAndNameError = kLuNotificationNULLObjectAndNameError,
    kTavNotificationAllocationFailedError = kLuNotificationAllocationFailedError,
};

enum {
    /// Keeps the posting object alive until a deferred delivery has run. Only with a queue.
    kTavNotificationWeakListenerFlag_RetainPostingObjectWhenDeferring = 1 << 0,
    /// The last release of the listener after a delivery happens on a serial queue of its own.
    kTavNotificationWeakListenerFlag_DeferListenerRelease = 1 << 1,
};

/// Calls `callback(center, listener, name, object, payload)` for posts of `name` by `object` while `listener`, an
/// object, lives; an absent name or object stands for all. With a queue, which is retained, the call is made there,
/// later; the listener is kept for that time.
///
/// kLuNotificationInvalidParameterError     RetainPostingObjectWhenDeferring without a queue
/// kTavNotificationAllocationFailedError    no memory, or no listener
/// kTavNotificationInvalidObjectError       registered already: same listener, callback, name and object
/// kTavNotificationInvalidCenterError*, kLuNotificationInvalidCallbackError*, kTavNotificationNULLObjectAndNameError*
OSStatus TavNotificationCenterAddWeakListener(LuNotificationCenterRef center, ZoTypeRef listener,
                                              LuNotificationCallback callback, ZoStringRef name, const void* object,
                                              uint32_t flags, dispatch_queue_t queue);
/// 0 also for what was not registered. A delivery under way on another thread may still come.
///
/// kTavNotificationInvalidCenterError*
OSStatus TavNotificationCenterRemoveWeakListener(LuNotificationCenterRef center, ZoTypeRef listener,
                                                 LuNotificationCallback callback, ZoStringRef name, const void* object);

/// A row of a list of listeners; names are variables, since constants of other modules are not known to the compiler.
typedef struct TavNotificationListenerListEntry {
    LuNotificationCallback callback;
    const ZoStringRef* name;
} TavNotificationListenerListEntry;

/// Adds all, or none: the first failure is returned and what this call had added is removed. A count of 0 gives 0.
///
/// As the operations for one listener; kLuNotificationInvalidParameterError if there is no list.
OSStatus TavNotificationCenterAddListeners(LuNotificationCenterRef center, const void* listener,
                                           const TavNotificationListenerListEntry* list, ZoIndex count,
                                           const void* object, uint32_t flags);
OSStatus TavNotificationCenterAddWeakListeners(LuNotificationCenterRef center, ZoTypeRef listener,
                                               const TavNotificationListenerListEntry* list, ZoIndex count,
                                               const void* object, uint32_t flags, dispatch_queue_t queue);
/// Removes all that can be removed; the first failure is returned.
OSStatus TavNotificationCenterRemoveListeners(LuNotificationCenterRef center, const void* listener,
                                              const TavNotificationListenerListEntry* list, ZoIndex count,
                                              const void* object);
OSStatus TavNotificationCenterRemoveWeakListeners(LuNotificationCenterRef center, ZoTypeRef listener,
                                                  const TavNotificationListenerListEntry* list, ZoIndex count,
                                                  const void* object);

/// Has `callback` called on the queue, or once the run loop runs in its default, its common or the deferral's own mode.
/// Center, name and payload are retained until then; listener and object must live that long.
///
/// kTavNotificationAllocationFailedError   no memory
/// kLuNotificationInvalidParameterError    no queue, or no run loop
OSStatus TavDeferNotificationToDispatchQueue(LuNotificationCallback callback, LuNotificationCenterRef center,
                                             const void* listener, ZoStringRef name, const void* object,
                                             ZoDictionaryRef payload, dispatch_queue_t queue, ZoAllocatorRef allocator);
OSStatus TavDeferNotificationToRunLoop(LuNotificationCallback callback, LuNotificationCenterRef center,
                                       const void* listener, ZoStringRef name, const void* object,
                                       ZoDictionaryRef payload, ZoRunLoopRef runLoop, ZoAllocatorRef allocator);
/// Delivers what was deferred to the calling thread's run loop, and what these deliveries defer. 0.
OSStatus TavRunDeferredNotificationsOnCurrentRunLoop(void);

enum {
    /// The object's last release happens on a serial queue of its own.
    kTavDispatchAsyncPostFlag_DeferObjectRelease = 1 << 0,
};
/// Posts later, on the queue. Everything is retained until then, so that `object` must be an object.
///
/// kTavNotificationInvalidCenterError        no queue or no center
/// kTavNotificationNULLObjectAndNameError    no name or no object
/// kTavNotificationAllocationFailedError     no memory
OSStatus TavDispatchAsyncPostNotification(dispatch_queue_t queue, LuNotificationCenterRef center, ZoStringRef name,
                                          ZoTypeRef object, ZoDictionaryRef payload, uint32_t flags);

ZO_EXTERN_C_END
