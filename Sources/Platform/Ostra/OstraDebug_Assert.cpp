#include <bsd/stdio.h>
#include <syslog.h>

#include <cstdio>

#include "Platform/Ostra/OstraDebugPrivate.h"

static constexpr size_t kTextSize = 1024;
static constexpr char kAssert2Template[] = "%s assert: \"%s\" at %s (%s:%d) - %s (err=%d)";
static constexpr char kAssert3Template[] = "%s assert: \"%s\" at %s (%s:%d) - %s%s(err=%d)";

static const char* orEmpty(const char* text) { return text ? text : ""; }
static const char* orDefault(const char* subsystem) { return subsystem ? subsystem : kTavDefaultSubsystem; }

static void buildText(char* text, const char* subsystem, const char* expression, const char* function,
                      const char* message, const char* file, int64_t line, OSStatus code)
{
    size_t length = 0;
    const auto add = [&](const char* format, auto... arguments) {
        length += static_cast<size_t>(safe_snprintf(text + length, kTextSize - length, format, arguments...));
    };
    add("%s ", orDefault(subsystem));
    if (expression) add("assert: \"%s\" ", expression);
    if (function || file) {
        add("%s", "at ");
        if (function) add("%s ", function);
        if (file) add("(%s line %d) ", file, static_cast<int>(line));
    }
    add("%s", "- ");
    if (message) add("%s ", message);
    add("(err=%d)", code);
}

void TavDebugAssert(const char* subsystem, const char* expression, const char* function, const char* message,
                    const char* file, int64_t line, OSStatus code)
{
    char text[kTextSize];
    buildText(text, subsystem, expression, function, message, file, line, code);
    ostraDebugLog(0, __builtin_return_address(0), "%s", text);
}

void TavDebugAssertSyslog(const char* subsystem, const char* expression, const char* function, const char* message,
                          const char* file, int64_t line, OSStatus code)
{
    char text[kTextSize];
    buildText(text, subsystem, expression, function, message, file, line, code);
    syslog(LOG_ERR, "%s", text);
}

void TavDebugAssert2(const char* format, const char* subsystem, const char* expression, const char* function,
                     const char* message, const char* file, int64_t line, OSStatus code)
{
    ostraDebugLog(0, __builtin_return_address(0), fmtcheck(format, kAssert2Template), orDefault(subsystem),
                  orEmpty(expression), orEmpty(function), orEmpty(file), static_cast<int>(line), orEmpty(message),
                  code);
}

void TavDebugAssert3(const char* format, uintptr_t emitter, const char* subsystem, const char* expression,
                     const char* function, const char* message, const char* file, int64_t line, OSStatus code,
                     const void* returnAddress)
{
    ostraDebugLog(emitter, returnAddress, fmtcheck(format, kAssert3Template), orDefault(subsystem), orEmpty(expression),
                  orEmpty(function), orEmpty(file), static_cast<int>(line), orEmpty(message), message ? " " : "", code);
}

void TavDebugAssertSyslog2(const char* format, const char* subsystem, const char* expression, const char* function,
                           const char* message, const char* file, int64_t line, OSStatus code)
{
    syslog(LOG_ERR, fmtcheck(format, kAssert3Template), orDefault(subsystem), orEmpty(expression), orEmpty(function),
           orEmpty(file), static_cast<int>(line), orEmpty(message), message ? " " : "", code);
}
