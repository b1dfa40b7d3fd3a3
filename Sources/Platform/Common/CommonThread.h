// The abort list, and the shared threads and queues of network buffering.
//
// Code that is about to block on something slow registers an abort action for its thread, and for its dispatch queue if
// that was made abortable. Another thread can then abort that thread or queue, which runs the actions so that the wait
// ends. An abort for teardown leaves a marker besides: later registrations on that thread or queue run their action at
// once and fail, until the thread ends or the queue goes.
//
// One reentrant lock guards the list, and actions run under it, one abort at a time: an action must not block on a
// thread that wants the list. It may unregister any action; it cannot register one. A failure to take the lock is
// returned as it is, and nothing else happens. All operations may be called from any thread.

#pragma once

#include <dispatch/dispatch.h>

#include "Foundation/Objects/ZoBase.h"
#include "Platform/Ostra/OstraThread.h"

ZO_EXTERN_C_BEGIN

typedef void (*TavThreadAbortAction)(void* refcon);
/// Identifies one registration; nothing can be read through it.
typedef const struct TavThreadAbortEntry_* TavThreadAbortActionToken;

/// The list lock, for callers that make a registration atomic with their own state.
OSStatus TavThreadLockAbortList(void);
OSStatus TavThreadUnlockAbortList(void);

/// Registers for the calling thread, and the current queue if it is abortable. Actions run in order of registration,
/// and stay registered after an abort: whoever has the token unregisters it.
///
/// kTavThreadParamErr                          no `outToken`; signalled
/// kTavThreadNotReentrantErr                   called from an action; signalled
/// kTavThreadAbortActionAlreadyRegisteredErr   this action with this refcon is there already; the action did not run
/// kTavThreadAlreadyAborted                    aborted for teardown: the action has run, and the caller must not wait;
///                                             signalled
/// kTavThreadAllocationErr                     out of memory; signalled
OSStatus TavThreadRegisterAbortAction(TavThreadAbortAction action, void* refcon, TavThreadAbortActionToken* outToken);
/// Once this returns, the action is not running on another thread and will not run again. An absent or unknown token
/// is ignored.
OSStatus TavThreadUnregisterAbortAction(TavThreadAbortActionToken token);

/// Runs the actions of `thread`. During another abort, which can only be that of a calling action, it does nothing.
OSStatus TavThreadAbort(TavThreadID thread);
/// The same, and leaves the marker.
///
/// kTavThreadAllocationErr   out of memory: the actions have run, but there is no marker; signalled
OSStatus TavThreadAbortForTeardown(TavThreadID thread);

/// Gives the queue an identity in the abort list; an absent queue is ignored.
///
/// kTavThreadParamErr   the main queue or the global queue; signalled
OSStatus TavThreadMakeDispatchQueueAbortable(dispatch_queue_t queue);
/// As for a thread. An absent queue means the current one.
///
/// kTavThreadParamErr   the queue was not made abortable; signalled
OSStatus TavThreadAbortQueue(dispatch_queue_t queue);
OSStatus TavThreadAbortQueueForTeardown(dispatch_queue_t queue);

/// Removes the markers of `thread`, which has ended or is about to. The caller holds the list lock.
void TavThreadRemoveFromAbortListAndCleanup(TavThreadID thread);

/// Threads with a run loop, and serial queues, for network buffering: made on first use, never ended. Borrowed; absent
/// if the thread could not be made.
ZoRunLoopRef TavThreadGetGlobalNetworkBufferingRunloop(void);
ZoRunLoopRef TavThreadGetGlobalNetworkBufferingLowPriorityRunloop(void);
ZoRunLoopRef TavThreadGetGlobalNetworkBufferingBackgroundThrottledRunloop(void);
dispatch_queue_t TavThreadGetGlobalNetworkBufferingQueue(void);
dispatch_queue_t TavThreadGetGlobalNetworkBufferingLowPriorityQueue(void);

ZO_EXTERN_C_END
