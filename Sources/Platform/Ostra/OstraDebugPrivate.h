// What signalling needs of the log, and calls through a weak reference: a program that leaves the log out (see
// Sources/CMakeLists.txt) carries neither it nor what stands under it, and its failures go to standard error.

#pragma once

#include <cstdarg>

#include "Platform/Ostra/OstraDebug.h"

struct TavDiagnosticServices {
    /// Logs as an error with the local time.
    void (*log)(uintptr_t emitter, const void* returnAddress, const char* format, va_list arguments);
    void (*logBacktrace)(const char* message);
    /// Whether every failure is to print a backtrace; decided once, by the note "bt_signal_error".
    bool (*wantsBacktraces)();
};

extern "C" const TavDiagnosticServices __TavDiagnosticServices __attribute__((weak));

constexpr char kTavDefaultSubsystem[] = "(Tav)";

/// vsnprintf that tells what is really there, so that pieces can be put one behind the other.
int safe_snprintf(char* buffer, size_t size, const char* format, ...) ZO_PRINTF(3, 4);
/// A log line, or without a log one on standard error.
void ostraDebugLog(uintptr_t emitter, const void* returnAddress, const char* format, ...) ZO_PRINTF(3, 4);

/// The last failure, as it is recorded.
struct OstraLastError {
    OSStatus code;
    char errorName[32];
    char message[128];
    char subsystem[32];
    char function[64];  ///< the end of what is longer
    char file[64];      ///< the end of what is longer
    int64_t line;
    struct timeval time;
};
/// Copies the record; gives the status of the unlock.
int ostraDebugGetLastError(OstraLastError* lastErrorOut);
