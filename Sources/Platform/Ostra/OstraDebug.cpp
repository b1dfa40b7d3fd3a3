#include "Platform/Ostra/OstraDebug.h"

#include <bsd/stdio.h>
#include <pthread.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "Platform/Ostra/OstraDebugPrivate.h"

uint32_t gErrorCount;

static pthread_mutex_t sLastErrorMutex = PTHREAD_MUTEX_INITIALIZER;
static OstraLastError sLastError;

static constexpr size_t kTextSize = 1024;
static constexpr char kLineTemplate[] = "%s %s %s %d %s %s %s %d";
static constexpr char kBacktraceTemplate[] = "%s%s%s %d %s %s %s %d";

uint32_t TavGetErrorCount(void) { return __atomic_load_n(&gErrorCount, __ATOMIC_SEQ_CST); }

int safe_snprintf(char* buffer, size_t size, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    const int length = vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
    return std::min(length, static_cast<int>(size) - 1);
}

void ostraDebugLog(uintptr_t emitter, const void* returnAddress, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    if (&__TavDiagnosticServices) {
        __TavDiagnosticServices.log(emitter, returnAddress, format, arguments);
    } else {
        char line[kTextSize];
        vsnprintf(line, sizeof(line), format, arguments);
        fprintf(stderr, "%s\n", line);
    }
    va_end(arguments);
}

// MARK: the record

static const char* orEmpty(const char* text) { return text ? text : ""; }

template <size_t size>
static void keepBeginning(char (&field)[size], const char* text)
{
    snprintf(field, size, "%s", orEmpty(text));
}

template <size_t size>
static void keepEnd(char (&field)[size], const char* text)
{
    const size_t length = strlen(orEmpty(text));
    snprintf(field, size, "%s", orEmpty(text) + (length < size ? 0 : length - (size - 1)));
}

static void recordLastError(OSStatus code, const char* errorName, const char* message, const char* subsystem,
                            const char* function, const char* file, int64_t line)
{
    pthread_mutex_lock(&sLastErrorMutex);
    sLastError.code = code;
    keepBeginning(sLastError.errorName, errorName);
    keepBeginning(sLastError.message, message);
    keepBeginning(sLastError.subsystem, subsystem);
    keepEnd(sLastError.function, function);
    keepEnd(sLastError.file, file);
    sLastError.line = line;
    gettimeofday(&sLastError.time, nullptr);
    pthread_mutex_unlock(&sLastErrorMutex);
}

int ostraDebugGetLastError(OstraLastError* lastErrorOut)
{
    pthread_mutex_lock(&sLastErrorMutex);
    *lastErrorOut = sLastError;
    return pthread_mutex_unlock(&sLastErrorMutex);
}

static OSStatus countAndRecord(OSStatus code, const char* errorName, const char* message, const char* subsystem,
                               const char* function, const char* file, int64_t line)
{
    __atomic_add_fetch(&gErrorCount, 1, __ATOMIC_SEQ_CST);
    recordLastError(code, errorName, message, subsystem, function, file, line);
    return code;
}

// MARK: signalling

static bool wantsBacktrace(int32_t forceBacktrace)
{
    if (!&__TavDiagnosticServices) return false;
    return __TavDiagnosticServices.wantsBacktraces() || forceBacktrace != 0;
}

OSStatus TavSignalErrorAt3(const char* format, uintptr_t emitter, OSStatus code, const char* errorName,
                           const char* message, const char* subsystem, const char* function, const char* file,
                           int64_t line, const void* returnAddress, int32_t forceBacktrace)
{
    const char* const shownSubsystem = subsystem ? subsystem : kTavDefaultSubsystem;
    const char* const separator = function ? " " : "";
    const int shownLine = static_cast<int>(line);
    if (wantsBacktrace(forceBacktrace)) {
        char text[kTextSize];
        snprintf(text, sizeof(text), fmtcheck(format, kBacktraceTemplate), shownSubsystem, separator, orEmpty(function),
                 code, orEmpty(errorName), orEmpty(message), orEmpty(file), shownLine);
        __TavDiagnosticServices.logBacktrace(text);
    } else {
        ostraDebugLog(emitter, returnAddress, fmtcheck(format, kLineTemplate), shownSubsystem, separator,
                      orEmpty(function), code, orEmpty(errorName), orEmpty(message), orEmpty(file), shownLine);
    }
    return countAndRecord(code, errorName, message, subsystem, function, file, line);
}

static const char* subjectOf(const char* subsystem, const char* function)
{
    return function ? function : subsystem ? subsystem : kTavDefaultSubsystem;
}

OSStatus TavSignalErrorAt2(const char* format, OSStatus code, const char* errorName, const char* message,
                           const char* subsystem, const char* function, const char* file, int64_t line,
                           int32_t forceBacktrace)
{
    const char* const checked = fmtcheck(format, "%s %d %s %s %s %d");
    const char* const subject = subjectOf(subsystem, function);
    const int shownLine = static_cast<int>(line);
    if (wantsBacktrace(forceBacktrace)) {
        char text[kTextSize];
        snprintf(text, sizeof(text), checked, subject, code, orEmpty(errorName), orEmpty(message), orEmpty(file),
                 shownLine);
        __TavDiagnosticServices.logBacktrace(text);
    } else {
        ostraDebugLog(0, __builtin_return_address(0), checked, subject, code, orEmpty(errorName), orEmpty(message),
                      orEmpty(file), shownLine);
    }
    return countAndRecord(code, errorName, message, subsystem, function, file, line);
}

OSStatus TavSignalErrorAt(OSStatus code, const char* errorName, const char* message, const char* subsystem,
                          const char* function, const char* file, int64_t line, int32_t forceBacktrace)
{
    char text[kTextSize];
    int length = safe_snprintf(text, sizeof(text), "%s signalled err=%d", subjectOf(subsystem, function), code);
    if (errorName)
        length += safe_snprintf(text + length, sizeof(text) - static_cast<size_t>(length), " (%s)", errorName);
    if (message) length += safe_snprintf(text + length, sizeof(text) - static_cast<size_t>(length), " (%s)", message);
    if (file)
        safe_snprintf(text + length, sizeof(text) - static_cast<size_t>(length), " at %s line %d", file,
                      static_cast<int>(line));
    if (wantsBacktrace(forceBacktrace)) {
        __TavDiagnosticServices.logBacktrace(text);
    } else {
        ostraDebugLog(0, __builtin_return_address(0), "%s", text);
    }
    return countAndRecord(code, errorName, message, subsystem, function, file, line);
}
