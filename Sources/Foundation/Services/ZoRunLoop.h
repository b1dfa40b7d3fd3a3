// Run loops: each thread has one, made when it first asks, which fires timers while it runs in one of their modes.
// A loop may be woken and stopped, and timers added and invalidated, from any thread; callouts run on the loop's own.
// When its thread ends, a loop invalidates its timers.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

extern const ZoStringRef kZoRunLoopDefaultMode;
/// For adding: all modes that are common, which is the default mode. A loop cannot run in it.
extern const ZoStringRef kZoRunLoopCommonModes;

typedef int32_t ZoRunLoopRunResult;
enum {
    kZoRunLoopRunFinished = 1,       ///< the mode has no timer
    kZoRunLoopRunStopped = 2,        ///< by ZoRunLoopStop
    kZoRunLoopRunTimedOut = 3,       ///< the seconds are over
    kZoRunLoopRunHandledSource = 4,  ///< a timer fired, and the caller wanted to know
};

typedef struct ZoRunLoopTimerContext {
    ZoIndex version;  ///< 0
    void* info;
    const void* (*retain)(const void* info);
    void (*release)(const void* info);
    ZoStringRef (*copyDescription)(const void* info);
} ZoRunLoopTimerContext;
typedef void (*ZoRunLoopTimerCallBack)(ZoRunLoopTimerRef timer, void* info);

ZoTypeID ZoRunLoopGetTypeID(void);
ZoTypeID ZoRunLoopTimerGetTypeID(void);

/// The calling thread's loop. Borrowed.
ZoRunLoopRef ZoRunLoopGetCurrent(void);
/// Runs the calling thread's loop in the default mode until it is stopped or has no timer left.
void ZoRunLoopRun(void);
/// Runs it in `mode` for `seconds` at most; with 0 it fires what is due and returns. A callout may run it again.
ZoRunLoopRunResult ZoRunLoopRunInMode(ZoStringRef mode, ZoTimeInterval seconds, Boolean returnAfterSourceHandled);
/// A waiting loop looks at its timers again.
void ZoRunLoopWakeUp(ZoRunLoopRef loop);
/// Ends the innermost run, or the next one if the loop is not running.
void ZoRunLoopStop(ZoRunLoopRef loop);
/// Retains `timer` until it is invalidated. It may be added in several modes, but only to one loop; any other, and an
/// invalid timer, are left alone.
void ZoRunLoopAddTimer(ZoRunLoopRef loop, ZoRunLoopTimerRef timer, ZoStringRef mode);

/// A timer that fires at `fireDate`, and every `interval` seconds after that if it is above 0; firings that were missed
/// are left out. Of timers due together the one with the earlier date fires first, then the one with the lower `order`.
/// `flags` is 0. `context` may be absent; its info is retained here and released when the timer is invalidated, but
/// not before a callout under way has returned.
ZoRunLoopTimerRef ZoRunLoopTimerCreate(ZoAllocatorRef allocator, ZoAbsoluteTime fireDate, ZoTimeInterval interval,
                                       ZoOptionFlags flags, ZoIndex order, ZoRunLoopTimerCallBack callout,
                                       const ZoRunLoopTimerContext* context);
/// Never fires again, and leaves its loop. A timer that does not repeat invalidates itself once it has fired.
void ZoRunLoopTimerInvalidate(ZoRunLoopTimerRef timer);
Boolean ZoRunLoopTimerIsValid(ZoRunLoopTimerRef timer);

ZO_EXTERN_C_END
