// Task queues under libdispatch's header and names, for systems that do not package it: function forms only.
// Everything here may be called from any thread. A task may block: while work waits, workers that block are joined by
// others, up to 512 in all. Once 512 tasks block, nothing else starts on a global queue or on a queue that targets one
// until one of them ends; standard error is told once, when the limit is reached. Where memory ends, or the system
// gives not one thread, the process stops with a line on standard error.
// A child of fork(2) has no workers: it may only exec.

#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <time.h>

/// What all objects share; every dispatch type may be given where a dispatch_object_t is asked for.
typedef struct dispatch_object_s* dispatch_object_t;
#ifdef __cplusplus
struct dispatch_object_s {};
struct dispatch_queue_s : dispatch_object_s {};
struct dispatch_group_s : dispatch_object_s {};
struct dispatch_source_s : dispatch_object_s {};
struct dispatch_semaphore_s : dispatch_object_s {};
typedef struct dispatch_queue_s* dispatch_queue_t;
typedef struct dispatch_group_s* dispatch_group_t;
typedef struct dispatch_source_s* dispatch_source_t;
typedef struct dispatch_semaphore_s* dispatch_semaphore_t;
#else
typedef struct dispatch_object_s* dispatch_queue_t;
typedef struct dispatch_object_s* dispatch_group_t;
typedef struct dispatch_object_s* dispatch_source_t;
typedef struct dispatch_object_s* dispatch_semaphore_t;
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef struct dispatch_queue_attr_s* dispatch_queue_attr_t;
typedef void (*dispatch_function_t)(void* context);
typedef uint64_t dispatch_time_t;
typedef intptr_t dispatch_once_t;

#define DISPATCH_TIME_NOW     ((dispatch_time_t)0)
#define DISPATCH_TIME_FOREVER (~(dispatch_time_t)0)
#define NSEC_PER_SEC          1000000000ull
#define NSEC_PER_MSEC         1000000ull
#define NSEC_PER_USEC         1000ull
#define USEC_PER_SEC          1000000ull

/// `when` (DISPATCH_TIME_NOW or another dispatch time) plus `delta` nanoseconds; saturates. A sum before the clock's
/// beginning is a time that has passed.
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
/// A wall clock time; an absent `when` is now. It becomes a moment of the monotonic clock when it is waited for.
dispatch_time_t dispatch_walltime(const struct timespec* when, int64_t delta);

void dispatch_retain(dispatch_object_t object);
void dispatch_release(dispatch_object_t object);
void* dispatch_get_context(dispatch_object_t object);
void dispatch_set_context(dispatch_object_t object, void* context);
/// `finalizer` gets the context, unless that is absent, on the object's target queue once the last reference is gone.
void dispatch_set_finalizer_f(dispatch_object_t object, dispatch_function_t finalizer);
/// A suspended queue or source starts no further task until it is resumed as often; the task that runs goes on.
void dispatch_suspend(dispatch_object_t object);
void dispatch_resume(dispatch_object_t object);

#define DISPATCH_QUEUE_SERIAL ((dispatch_queue_attr_t)0)
extern struct dispatch_queue_attr_s _dispatch_queue_attr_concurrent;
#define DISPATCH_QUEUE_CONCURRENT (&_dispatch_queue_attr_concurrent)

#define DISPATCH_QUEUE_PRIORITY_HIGH       2
#define DISPATCH_QUEUE_PRIORITY_DEFAULT    0
#define DISPATCH_QUEUE_PRIORITY_LOW        (-2)
#define DISPATCH_QUEUE_PRIORITY_BACKGROUND INT16_MIN

/// `label` is copied and may be absent. A queue with tasks stays alive without a reference until they have run.
dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attributes);
/// `identifier` is one of the priorities above, `flags` 0; nothing for any other identifier.
dispatch_queue_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags);
/// Runs its tasks in dispatch_main(), which does not return: also those of dispatch_sync_f.
dispatch_queue_t dispatch_get_main_queue(void);
void dispatch_main(void) __attribute__((noreturn));
/// The queue whose task the caller is in, else a global queue.
dispatch_queue_t dispatch_get_current_queue(void);
/// Never absent; the empty text for a queue without a label. DISPATCH_CURRENT_QUEUE_LABEL names the current queue.
const char* dispatch_queue_get_label(dispatch_queue_t queue);
#define DISPATCH_CURRENT_QUEUE_LABEL ((dispatch_queue_t)0)
/// Tasks of a queue run as tasks of its target: two queues with one serial target never run at the same time. An
/// absent `queue` is the default global queue. Takes effect behind the tasks that are already on a queue.
void dispatch_set_target_queue(dispatch_object_t object, dispatch_queue_t queue);

void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work);
/// Runs `work` on the caller's thread, after what was on `queue` before. The program stops with a message that names
/// the queue when the caller is in a task of `queue`, or of a queue that targets it, and would wait for itself: in any
/// task of a serial queue, in a barrier of a concurrent one, and where a barrier, `work` or one before it, would wait
/// for the task that the caller is in.
void dispatch_sync_f(dispatch_queue_t queue, void* context, dispatch_function_t work);
/// On a queue that dispatch_queue_create made concurrent, a barrier runs alone; elsewhere as the form without
/// "barrier".
void dispatch_barrier_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work);
void dispatch_barrier_sync_f(dispatch_queue_t queue, void* context, dispatch_function_t work);
void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context, dispatch_function_t work);
/// Returns when `work` has run for every index below `iterations`; the caller works along.
void dispatch_apply_f(size_t iterations, dispatch_queue_t queue, void* context, void (*work)(void* context, size_t i));

/// Runs `function` once for `predicate`, a zero-initialised static or shared word; later and racing callers wait for
/// it.
void dispatch_once_f(dispatch_once_t* predicate, void* context, dispatch_function_t function);
#if defined(__GNUC__)
/// One load when all is done.
static inline void _dispatch_once_f(dispatch_once_t* predicate, void* context, dispatch_function_t function)
{
    if (__builtin_expect(__atomic_load_n(predicate, __ATOMIC_ACQUIRE) != ~(dispatch_once_t)0, 0))
        dispatch_once_f(predicate, context, function);
}
#define dispatch_once_f _dispatch_once_f
#endif

dispatch_group_t dispatch_group_create(void);
void dispatch_group_async_f(dispatch_group_t group, dispatch_queue_t queue, void* context, dispatch_function_t work);
void dispatch_group_enter(dispatch_group_t group);
void dispatch_group_leave(dispatch_group_t group);
/// 0 once the group is empty, non-zero when `timeout` came first.
intptr_t dispatch_group_wait(dispatch_group_t group, dispatch_time_t timeout);
void dispatch_group_notify_f(dispatch_group_t group, dispatch_queue_t queue, void* context, dispatch_function_t work);

/// Nothing for a value below 0.
dispatch_semaphore_t dispatch_semaphore_create(intptr_t value);
/// 0, or non-zero when `timeout` came first.
intptr_t dispatch_semaphore_wait(dispatch_semaphore_t semaphore, dispatch_time_t timeout);
/// Non-zero if a waiting thread was woken.
intptr_t dispatch_semaphore_signal(dispatch_semaphore_t semaphore);

/// `key` is compared as a pointer; an absent value removes it. `destructor` gets a replaced or left value on the
/// default global queue. Values are inherited from target queues by dispatch_get_specific, not by
/// dispatch_queue_get_specific.
void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key, void* value, dispatch_function_t destructor);
void* dispatch_queue_get_specific(dispatch_queue_t queue, const void* key);
/// The value of the current queue or of what it targets.
void* dispatch_get_specific(const void* key);

typedef const struct dispatch_source_type_s* dispatch_source_type_t;
extern const struct dispatch_source_type_s _dispatch_source_type_signal;
/// `handle` is a signal number, `mask` 0. The source sees the signal whatever disposition stood when it was first
/// resumed, SIG_IGN included: from then until it is cancelled or released a handler of ours is installed. A handler
/// that stood before is called as well; the default action does not happen. Dispositions set later hide the signal from
/// the source.
#define DISPATCH_SOURCE_TYPE_SIGNAL (&_dispatch_source_type_signal)
/// The source is made suspended. Nothing for a signal that cannot be watched. An absent `queue` is the default global
/// queue; handlers run there one at a time, with the source's context.
dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, uintptr_t mask,
                                         dispatch_queue_t queue);
void dispatch_source_set_event_handler_f(dispatch_source_t source, dispatch_function_t handler);
void dispatch_source_set_cancel_handler_f(dispatch_source_t source, dispatch_function_t handler);
/// No event handler starts after this; the cancel handler runs once, behind one that is running.
void dispatch_source_cancel(dispatch_source_t source);
intptr_t dispatch_source_testcancel(dispatch_source_t source);
/// How often the signal came since the handler ran last; for the handler. The kernel merges signals that are pending.
uintptr_t dispatch_source_get_data(dispatch_source_t source);
uintptr_t dispatch_source_get_handle(dispatch_source_t source);

#ifdef __cplusplus
}
#endif
