// Threads over POSIX threads: creation with a priority table and a name, joining, keys, once-guards, properties.
// All operations may be called from any thread. Where a status is a positive number it is the errno value of a POSIX
// call.

#pragma once

#include <pthread.h>

#include "Foundation/Collections/ZoDictionary.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

enum {
    kTavThreadParamErr = -12793,
    kTavThreadNotFoundErr = -12794,
    kTavUnsupportedPropertyErr = -12795,
    kTavThreadNotJoinableErr = -12796,
    kTavThreadNotReentrantErr = -12798,  ///< an abort action was registered during an abort
    kTavThreadAllocationErr = -12799,
    kTavThreadAbortActionAlreadyRegisteredErr = -17560,
    kTavThreadAlreadyAborted = -17561,  ///< the thread or queue has been aborted for teardown
};

/// The platform's handle of a thread. It may be used again for another thread once its own has ended.
typedef pthread_t TavThreadID;
#define kTavThreadInvalidID ((TavThreadID)0)
static inline bool TavThreadIsValid(TavThreadID thread) { return thread != kTavThreadInvalidID; }
static inline pthread_t TavThreadGetPlatformID(TavThreadID thread) { return thread; }

/// An index into a table of native values. The framework itself uses these; any index up to the highest may be given
/// but 5, which stands for a native value that the table does not have.
typedef uint32_t TavThreadPriority;
enum {
    kTavThreadPriorityDefault = 0,
    kTavThreadPriorityUnknown = 5,
    kTavThreadPriorityNetworkBuffering = 7,
    kTavThreadPriorityNetworkBufferingBackgroundThrottled = 16,
    kTavThreadPriorityNetworkBufferingLowPriority = 25,
    kTavThreadPriorityHighest = 46,
};

/// Options of creation, all optional. The native ones are ignored on this platform.
extern const ZoStringRef kTavThreadCreateKey_StackSize;   ///< number; above 16,384 bytes it is set
extern const ZoStringRef kTavThreadCreateKey_Identifier;  ///< string; the thread's name
extern const ZoStringRef kTavThreadCreateKey_NativeTimeSharePolicy;
extern const ZoStringRef kTavThreadCreateKey_NativeThreadPriority;

/// Properties. All but the priority are unsupported on this platform.
extern const ZoStringRef kTavThreadPropertyKey_Priority;  ///< number; a TavThreadPriority
extern const ZoStringRef kTavThreadPropertyKey_ClientPID;
extern const ZoStringRef kTavThreadPropertyKey_NativeTimeSharePolicy;
extern const ZoStringRef kTavThreadPropertyKey_NativeThreadPriority;

typedef void* (*TavThreadProc)(void* refcon);

/// Starts a thread that runs `proc(refcon)`; what that gives is the thread's result. A thread that is not joinable
/// takes care of itself. The new thread starts without the abort markers of a dead one with the same handle.
/// `options` and, unless `joinable`, `outThread` may be absent. On failure there is no thread.
///
/// kTavThreadParamErr        `priority` above the highest, a joinable thread without `outThread`, no `proc`
/// kTavThreadAllocationErr   out of memory
OSStatus TavThreadCreate(TavThreadProc proc, void* refcon, TavThreadPriority priority, bool joinable,
                         ZoDictionaryRef options, TavThreadID* outThread);
/// Ends the calling thread, which TavThreadCreate made.
void TavThreadExit(void* result) __attribute__((noreturn));
TavThreadID TavThreadGetCurrent(void);
/// Waits until `thread` ends. `outResult` may be absent.
///
/// kTavThreadNotFoundErr      no such thread
/// kTavThreadNotJoinableErr   the calling thread itself, or one that was not made joinable
OSStatus TavThreadJoin(TavThreadID thread, void** outResult);

typedef pthread_once_t TavThreadOnce;
#define TAV_THREAD_ONCE_INIT PTHREAD_ONCE_INIT
/// Runs `function` once for `once`; later and racing callers wait for it.
OSStatus TavThreadRunOnce(TavThreadOnce* once, void (*function)(void));

/// A new key, under which each thread has a value of its own, at first 0. `unused` is not used.
OSStatus TavThreadAllocKey(void* unused, uint64_t* outKey);
void* TavThreadGetValue(uint64_t key);
OSStatus TavThreadSetValue(uint64_t key, const void* value);

/// kTavUnsupportedPropertyErr   another key than the priority's, or a value that is not a number
/// kTavThreadParamErr           a priority that is not in the table, or has no native value
/// kTavThreadNotFoundErr        an invalid thread
OSStatus TavThreadSetProperty(TavThreadID thread, ZoStringRef key, ZoTypeRef value);
/// The caller owns `*outValue`. Among priorities with one native value it gives the lowest above 0.
///
/// kTavThreadParamErr           no `outValue`
/// kTavUnsupportedPropertyErr   another key than the priority's
/// kTavThreadNotFoundErr        an invalid thread
/// kTavThreadAllocationErr      out of memory
OSStatus TavThreadCopyProperty(TavThreadID thread, ZoStringRef key, ZoAllocatorRef allocator, ZoTypeRef* outValue);
/// The native value, or the default priority's, with a signal, for one above the highest.
int32_t TavThreadGetPosixThreadPriorityValue(TavThreadPriority priority);

/// Processors that were online at the first call.
int32_t TavThreadGetMaxLogicalCoreCount(void);

ZO_EXTERN_C_END
