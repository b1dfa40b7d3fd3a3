#define TAV_SUBSYSTEM "<< TavCommonThread >>"

#include <cinttypes>
#include <cstdarg>

#include "Platform/Common/CommonThreadPrivate.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraAtomics.h"
#include "Platform/Ostra/OstraStrings.h"
#include "Platform/Ostra/OstraSynchronizationPrivate.h"

static TavTraceNote sTrace;

using AbortEntry = TavThreadAbortEntry_;
using AbortList = TavThreadAbortList;

namespace {

/// What an abort is aimed at: a thread, or a queue.
struct AbortTarget {
    TavThreadID thread;
    uint64_t queueID;
    const char* queueLabel;

    bool owns(const AbortEntry& entry) const { return queueID ? entry.queueID == queueID : entry.thread == thread; }
};

}  // namespace

AbortList gAbortActionList;
// Static, so that there is one whatever memory there is.
static TavMutex_ sAbortActionMutex = {PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP, nullptr};
static const TavReentrantMutexRef gAbortActionLock = &sAbortActionMutex;
static bool gAbortingNow;  ///< under the lock: entries stay linked while an abort walks the list
static volatile int64_t gNextAbortableQueueID;
/// Its address is the key under which an abortable queue has its ID.
static const char kTavThreadDispatchQueueAbortabilityKey = 0;

/// The action of a teardown marker; it is told by its address.
static void kSpecialAction_ThreadWasAbortedForTeardown(void*) {}

static void abortTrace(const char* format, ...) ZO_PRINTF(1, 2);
static void abortTrace(const char* format, ...)
{
    if (!tavTraceIsOn(&sTrace)) return;
    va_list arguments;
    va_start(arguments, format);
    tav_log_with_return_address_v(0, kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, __builtin_return_address(0),
                                  format, arguments);
    va_end(arguments);
}

static bool abortEntryIsMarker(const AbortEntry& entry)
{
    return entry.action == kSpecialAction_ThreadWasAbortedForTeardown && entry.refcon == nullptr;
}

static void abortListInitialize() { tavTraceNoteRegister(&sTrace, "tavcommonthread_trace", 0); }

OSStatus TavThreadLockAbortList(void)
{
    static TavThreadOnce sOnce = TAV_THREAD_ONCE_INIT;
    TavThreadRunOnce(&sOnce, abortListInitialize);
    return TavReentrantMutexLock(gAbortActionLock);
}

OSStatus TavThreadUnlockAbortList(void) { return TavReentrantMutexUnlock(gAbortActionLock); }

/// A new entry at the list's end, or nothing. `label` is there where `queueID` is.
static AbortEntry* abortListAppend(TavThreadID thread, uint64_t queueID, const char* label, TavThreadAbortAction action,
                                   void* refcon)
{
    auto* entry = static_cast<AbortEntry*>(std::calloc(1, sizeof(AbortEntry)));
    if (!entry) return nullptr;
    entry->thread = thread;
    entry->queueID = queueID;
    entry->action = action;
    entry->refcon = refcon;
    if (queueID) strlcpy(entry->queueLabel, label, sizeof entry->queueLabel);
    gAbortActionList.append(entry);
    return entry;
}

// Registration -------------------------------------------------------------------------------------------------------

static uint64_t abortQueueID(dispatch_queue_t queueOrCurrent)
{
    const void* key = &kTavThreadDispatchQueueAbortabilityKey;
    return reinterpret_cast<uintptr_t>(queueOrCurrent ? dispatch_queue_get_specific(queueOrCurrent, key)
                                                      : dispatch_get_specific(key));
}

/// What stands in the way of a registration: the first entry of the caller's own that is the same, or a marker.
static OSStatus abortListCheckRegistration(TavThreadID thread, uint64_t queueID, TavThreadAbortAction action,
                                           const void* refcon, const char* operation)
{
    for (const AbortEntry* entry = gAbortActionList.head; entry; entry = entry->next) {
        if (entry->thread != thread && (queueID == 0 || entry->queueID != queueID)) continue;
        if (entry->action == action && entry->refcon == refcon) return kTavThreadAbortActionAlreadyRegisteredErr;
        if (!abortEntryIsMarker(*entry)) continue;
        if (entry->queueID)
            abortTrace("### Entry %p Queue %" PRId64 " (%s) already aborted for teardown",
                       static_cast<const void*>(entry), static_cast<int64_t>(entry->queueID), entry->queueLabel);
        else
            abortTrace("### Entry %p Thread %p already aborted for teardown", static_cast<const void*>(entry),
                       reinterpret_cast<void*>(thread));
        return TAV_SIGNAL_FROM(operation, kTavThreadAlreadyAborted, "Thread or queue already aborted for teardown");
    }
    return 0;
}

OSStatus TavThreadRegisterAbortAction(TavThreadAbortAction action, void* refcon, TavThreadAbortActionToken* outToken)
{
    const TavThreadID thread = TavThreadGetCurrent();
    const uint64_t queueID = abortQueueID(nullptr);
    const char* label = dispatch_queue_get_label(DISPATCH_CURRENT_QUEUE_LABEL);
    if (!outToken) return TAV_SIGNAL(kTavThreadParamErr, "tokenOut == NULL");
    *outToken = nullptr;

    TAV_TRY(TavThreadLockAbortList());
    OSStatus status = 0;
    if (gAbortingNow)
        status = TAV_SIGNAL(kTavThreadNotReentrantErr, "TavThreadRegisterAbortAction is not reentrant");
    else
        status = abortListCheckRegistration(thread, queueID, action, refcon, __func__);
    if (status == 0) {
        *outToken = abortListAppend(thread, queueID, label, action, refcon);
        if (!*outToken) status = TAV_SIGNAL(kTavThreadAllocationErr, "memErr");
    }
    if (status == 0)
        abortTrace("New Entry %p for thread %p queueID %" PRId64 " (%s) action %p refcon %p",
                   static_cast<const void*>(*outToken), reinterpret_cast<void*>(thread), static_cast<int64_t>(queueID),
                   (*outToken)->queueLabel, reinterpret_cast<void*>(action), refcon);
    TavThreadUnlockAbortList();
    if (status == kTavThreadAlreadyAborted && action) action(refcon);
    return status;
}

OSStatus TavThreadUnregisterAbortAction(TavThreadAbortActionToken token)
{
    if (!token) return 0;
    TAV_TRY(TavThreadLockAbortList());
    if (!gAbortingNow) {
        gAbortActionList.remove([token](const AbortEntry& entry) {
            if (&entry != token) return false;
            abortTrace("Unregistered entry %p removed and freed", static_cast<const void*>(token));
            return true;
        });
    } else {
        AbortEntry* entry = gAbortActionList.head;
        while (entry && entry != token) entry = entry->next;
        if (entry) {
            entry->action = nullptr;
            entry->refcon = nullptr;
            abortTrace("Unregistered entry %p NULLified", static_cast<const void*>(token));
        }
    }
    return TavThreadUnlockAbortList();
}

// Aborts -------------------------------------------------------------------------------------------------------------

/// Runs the target's actions; tells whether a marker of its was among them.
static bool abortRunActions(const AbortTarget& target)
{
    bool metMarker = false;
    for (AbortEntry* entry = gAbortActionList.head; entry; entry = entry->next) {
        if (!target.owns(*entry) || !entry->action) continue;
        metMarker |= abortEntryIsMarker(*entry);
        entry->action(entry->refcon);
    }
    return metMarker;
}

static OSStatus abortAppendMarker(const AbortTarget& target, const char* operation)
{
    const AbortEntry* marker = abortListAppend(target.thread, target.queueID, target.queueLabel,
                                               kSpecialAction_ThreadWasAbortedForTeardown, nullptr);
    if (!marker) return TAV_SIGNAL_FROM(operation, kTavThreadAllocationErr, "memErr");
    if (target.queueID)
        abortTrace("Registered tearDown abort action entry %p for queueID %" PRId64 " (%s)",
                   static_cast<const void*>(marker), static_cast<int64_t>(target.queueID), marker->queueLabel);
    else
        abortTrace("Registered tearDown abort action entry %p for thread %p", static_cast<const void*>(marker),
                   reinterpret_cast<void*>(target.thread));
    return 0;
}

static void abortSweep(bool withStrayMarkers)
{
    gAbortActionList.remove([withStrayMarkers](const AbortEntry& entry) {
        const bool stray = abortEntryIsMarker(entry) && entry.queueID == 0 && !TavThreadIsValid(entry.thread);
        if (entry.action && !(withStrayMarkers && stray)) return false;
        abortTrace("Removed entry %p", static_cast<const void*>(&entry));
        return true;
    });
}

static OSStatus abortTarget(const AbortTarget& target, bool forTeardown, const char* operation)
{
    TAV_TRY(TavThreadLockAbortList());
    OSStatus status = 0;
    if (!gAbortingNow) {
        gAbortingNow = true;
        const bool metMarker = abortRunActions(target);
        if (forTeardown && !metMarker) status = abortAppendMarker(target, operation);
        abortSweep(forTeardown && target.queueID == 0);
        gAbortingNow = false;
    }
    TavThreadUnlockAbortList();
    return status;
}

static OSStatus abortQueue(dispatch_queue_t queue, bool forTeardown, const char* operation)
{
    const uint64_t queueID = abortQueueID(queue);
    if (queueID == 0)
        return TAV_SIGNAL_FROM(operation, kTavThreadParamErr,
                               "TavThreadMakeDispatchQueueAbortable was not called for this queue");
    const char* label = dispatch_queue_get_label(queue ? queue : DISPATCH_CURRENT_QUEUE_LABEL);
    return abortTarget({kTavThreadInvalidID, queueID, label}, forTeardown, operation);
}

OSStatus TavThreadAbort(TavThreadID thread) { return abortTarget({thread, 0, nullptr}, false, __func__); }

OSStatus TavThreadAbortForTeardown(TavThreadID thread) { return abortTarget({thread, 0, nullptr}, true, __func__); }

OSStatus TavThreadAbortQueue(dispatch_queue_t queue) { return abortQueue(queue, false, __func__); }

OSStatus TavThreadAbortQueueForTeardown(dispatch_queue_t queue) { return abortQueue(queue, true, __func__); }

// The end of markers -------------------------------------------------------------------------------------------------

void TavThreadRemoveFromAbortListAndCleanup(TavThreadID thread)
{
    gAbortActionList.remove([thread](const AbortEntry& entry) {
        const bool stray = entry.queueID == 0 && !TavThreadIsValid(entry.thread);
        if (!abortEntryIsMarker(entry) || (entry.thread != thread && !stray)) return false;
        abortTrace("Removed entry %p associated with thread %p", static_cast<const void*>(&entry),
                   reinterpret_cast<void*>(thread));
        return true;
    });
}

/// Gets the ID of an abortable queue that is gone.
static void abortForgetQueue(void* value)
{
    const uint64_t queueID = reinterpret_cast<uintptr_t>(value);
    if (queueID == 0 || TavThreadLockAbortList() != 0) return;
    gAbortActionList.remove([queueID](const AbortEntry& entry) {
        if (!abortEntryIsMarker(entry) || entry.queueID != queueID) return false;
        abortTrace("Removed entry %p associated with queueID %" PRId64 " (%s)", static_cast<const void*>(&entry),
                   static_cast<int64_t>(queueID), entry.queueLabel);
        return true;
    });
    TavThreadUnlockAbortList();
}

OSStatus TavThreadMakeDispatchQueueAbortable(dispatch_queue_t queue)
{
    if (!queue) return 0;
    if (queue == dispatch_get_main_queue())
        return TAV_SIGNAL(kTavThreadParamErr, "cannot make main dispatch queue abortable");
    if (queue == dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0))
        return TAV_SIGNAL(kTavThreadParamErr, "cannot make global concurrent dispatch queue abortable");
    const int64_t queueID = TavAtomicIncrement64(&gNextAbortableQueueID);
    dispatch_queue_set_specific(queue, &kTavThreadDispatchQueueAbortabilityKey, reinterpret_cast<void*>(queueID),
                                abortForgetQueue);
    abortTrace("Queue %p (%s) -> queueID %" PRId64, static_cast<void*>(queue), dispatch_queue_get_label(queue),
               queueID);
    return 0;
}
