// Failures as they are signalled (see Common/TavSignal.h), assertions that only report, backtraces, debug settings.
// May be called from any thread. The signalling path never fails: its buffers are fixed and cut what does not fit.

#pragma once

#include <sys/time.h>

#include "Platform/Common/TavSignal.h"

ZO_EXTERN_C_BEGIN

/// All failures signalled since the process began.
extern uint32_t gErrorCount;
uint32_t TavGetErrorCount(void);

// The older forms of TavSignalErrorAt3; both give `code`.

/// `format` takes the subject (function, else subsystem, else "(Tav)"), code, error name, message, file and line.
OSStatus TavSignalErrorAt2(const char* format, OSStatus code, const char* errorName, const char* message,
                           const char* subsystem, const char* function, const char* file, int64_t line,
                           int32_t forceBacktrace);
OSStatus TavSignalErrorAt(OSStatus code, const char* errorName, const char* message, const char* subsystem,
                          const char* function, const char* file, int64_t line, int32_t forceBacktrace);

/// The failure that was signalled last. Every argument may be absent; the caller releases the texts. Gives the status
/// of the record's lock.
OSStatus TavCopyLastSignaledErrorInfo(OSStatus* codeOut, ZoStringRef* errorNameOut, ZoStringRef* messageOut,
                                      ZoStringRef* subsystemOut, ZoStringRef* functionOut, ZoStringRef* fileOut,
                                      int64_t* lineOut, struct timeval* timeOut);

// Assertions: they report and go on. Texts may be absent. Those with a format check it against its template first.

void TavDebugAssert(const char* subsystem, const char* expression, const char* function, const char* message,
                    const char* file, int64_t line, OSStatus code);
/// To the system log, whatever the notes' preferences say; so does TavDebugAssertSyslog2.
void TavDebugAssertSyslog(const char* subsystem, const char* expression, const char* function, const char* message,
                          const char* file, int64_t line, OSStatus code);
void TavDebugAssert2(const char* format, const char* subsystem, const char* expression, const char* function,
                     const char* message, const char* file, int64_t line, OSStatus code);
void TavDebugAssert3(const char* format, uintptr_t emitter, const char* subsystem, const char* expression,
                     const char* function, const char* message, const char* file, int64_t line, OSStatus code,
                     const void* returnAddress);
void TavDebugAssertSyslog2(const char* format, const char* subsystem, const char* expression, const char* function,
                           const char* message, const char* file, int64_t line, OSStatus code);

// Backtraces.

/// The number of frames, the caller's innermost. `addressesOut` gets an array of plain addresses, `symbolsOut` one of
/// strings; each may be absent, and the caller releases them.
ZoIndex TavCopyBacktrace(ZoAllocatorRef allocator, ZoArrayRef* addressesOut, ZoArrayRef* symbolsOut);
void TavLogBacktrace(void);
/// `message` stands in front, and may be absent.
void TavLogBacktraceWithMsg(const char* message);
/// Logs addresses that TavCopyBacktrace gave.
void TavLogBacktraceFrames(ZoArrayRef addresses, const char* message);

// Stops on purpose, and their switches.

void TavUserCrash(void) __attribute__((noreturn));
/// Traps if the environment variable USERBREAK is exactly "1" when it is first called; else gives 0.
int32_t TavUserBreak(void);
/// These do nothing here and give 0.
int32_t TavUserFaultWithMessage(const char* message);
int32_t TavUserStackshotWithMessage(const char* message);
int32_t TavUserTailspinWithMessage(const char* message);

/// Whether the preference is there; `valueOut` gets it, or 0.
Boolean TavDebugSettingGetKeyAsInteger(ZoStringRef key, ZoIndex* valueOut);
/// Whether the preference is there; `valueOut` gets it, or `defaultValue`.
Boolean TavDebugSettingGetKeyAsBoolean(ZoStringRef key, Boolean* valueOut, Boolean defaultValue);
/// URLs are printed only where the preference "logurls" allows it; decided once.
Boolean TavIsItOKToLogURLs(void);
/// 0.
int32_t TavDebugIsInternalBuild(void);

ZO_EXTERN_C_END
