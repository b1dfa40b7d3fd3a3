// The one way in which failures are signalled, from the point of discovery:
//
//     if (!newBBufOut) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL newBBufOut");
//     TAV_TRY(LuBlockBufferAssureBlockMemory(buffer));
//
// TAV_SIGNAL logs, counts and remembers the failure and is its code; callers pass a status up unchanged with TAV_TRY.
// A source of a module with a subsystem tag of its own defines TAV_SUBSYSTEM before it includes this header.
// This header includes nothing of the log or of the block buffers, which both signal and carry signalled lines.

#pragma once

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// Fields: subsystem, separator, function, code, error name, message, source file, line.
#define kTavSignalFormat "%s%s%s signalled err=%d (%s) (%s) at %s:%d"

/// Logs, counts and records a failure; gives `code`. Texts may be absent. May be called from any thread; never fails.
/// Status 0 makes the same line as a warning. `emitter` is 0, and `returnAddress` only tells who called.
OSStatus TavSignalErrorAt3(const char* format, uintptr_t emitter, OSStatus code, const char* errorName,
                           const char* message, const char* subsystem, const char* function, const char* file,
                           int64_t line, const void* returnAddress, int32_t forceBacktrace)
#if defined(__GNUC__)
    __attribute__((cold, noinline))
#endif
    ;

ZO_EXTERN_C_END

#ifndef TAV_SUBSYSTEM
#define TAV_SUBSYSTEM "(Tav)"
#endif

/// Signals `code` under the name that stands at the call. `message` names the condition that failed.
#define TAV_SIGNAL(code, message) TAV_SIGNAL_NAMED(code, #code, message)

/// The same with the error's name given, where the code is not one constant.
#define TAV_SIGNAL_NAMED(code, errorName, message) TAV_SIGNAL_AS(__func__, code, errorName, message)

/// For a helper of several public operations: the line names `operation`, the one that its caller was asked for.
#define TAV_SIGNAL_FROM(operation, code, message) TAV_SIGNAL_AS(operation, code, #code, message)

/// What the others stand on: everything that differs from call to call is given.
#define TAV_SIGNAL_AS(operation, code, errorName, message)                                                       \
    TavSignalErrorAt3(kTavSignalFormat, 0, (code), (errorName), (message), TAV_SUBSYSTEM, (operation), __FILE__, \
                      __LINE__, __builtin_return_address(0), 0)

/// A line that only warns: the same call with status 0.
#define TAV_WARN(message) ((void)TAV_SIGNAL_NAMED(0, "0", message))

/// Returns the status of `expression` to the caller unless it is 0. Nothing is signalled again.
#define TAV_TRY(expression)                                      \
    do {                                                         \
        const OSStatus tavTryStatus = (expression);              \
        if (ZO_UNLIKELY(tavTryStatus != 0)) return tavTryStatus; \
    } while (0)
