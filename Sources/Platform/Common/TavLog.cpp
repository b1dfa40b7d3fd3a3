#include "Platform/Common/TavLog.h"

#include <syslog.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/TavLogPrivate.h"
#include "Utilities/TavZoUtilities_Text.h"

int32_t gTavLogControl = kTavLogControl_Syslog;

static constexpr size_t kLineSize = 1536, kTimeStampSize = 32;
static constexpr uint32_t kTimeStampFlags = 3;

static int32_t currentDestination() { return __atomic_load_n(&gTavLogControl, __ATOMIC_RELAXED); }

static void deliver(uint32_t type, const char* line, size_t length)
{
    switch (currentDestination()) {
        case kTavLogControl_Syslog: syslog(type == 0 || type == 2 ? LOG_ERR : LOG_NOTICE, "%s", line); break;
        case kTavLogControl_StandardError: fprintf(stderr, "%s\n", line); break;
        case kTavLogControl_StandardOutput: puts(line); break;
        case kTavLogControl_ExternalFile: tav_log_write_external(line, length); break;
        case kTavLogControl_BlockBuffer: tav_log_append_to_block_buffer(line, length); break;
        default: break;
    }
}

// A line that fits a buffer on the stack, with no allocation. Its length, or -1 where it needs more room.
static int formatInPlace(const char* timeStamp, const char* format, va_list arguments, char* line)
{
    const int prefix = timeStamp ? snprintf(line, kLineSize, "[%s] ", timeStamp) : 0;
    const size_t room = kLineSize - static_cast<size_t>(prefix);
    const int body = vsnprintf(line + prefix, room, format, arguments);
    return body < 0 || static_cast<size_t>(body) >= room ? -1 : prefix + body;
}

// A line with objects in it, or one that is long.
static void deliverThroughString(uint32_t type, const char* timeStamp, const char* format, va_list arguments)
{
    const auto line = zoAdopt(ZoStringCreateMutable(nullptr, 0));
    auto text = zoAdopt(ZoStringCreateWithCString(nullptr, format, kZoStringEncodingUTF8));
    if (!text) text = zoAdopt(ZoStringCreateWithCString(nullptr, format, kZoStringEncodingISOLatin1));
    if (!line || !text) return;
    if (timeStamp) {
        ZoStringAppend(line.get(), ZOSTR("["));
        ZoStringAppendCString(line.get(), timeStamp, kZoStringEncodingUTF8);
        ZoStringAppend(line.get(), ZOSTR("] "));
    }
    ZoStringAppendFormatAndArguments(line.get(), nullptr, text.get(), arguments);

    char buffer[kLineSize];
    char* toFree = nullptr;
    const char* bytes =
        TavZoStringGetCStringPtrMaybeUsingPreallocatedBuffer(line.get(), buffer, sizeof(buffer), kZoStringEncodingUTF8);
    if (!bytes) bytes = TavZoStringGetCStringPtrAndBufferToFree(line.get(), kZoStringEncodingUTF8, &toFree);
    if (bytes) deliver(type, bytes, strlen(bytes));
    free(toFree);
}

void tav_log_internal(uint32_t type, uint32_t flags, const char* format, va_list arguments)
{
    if (!format || currentDestination() == kTavLogControl_Off) return;
    char stampBuffer[kTimeStampSize];
    const uint32_t stampKind = flags & kTimeStampFlags;
    const char* timeStamp = stampKind ? tav_get_timestamp(stampKind, stampBuffer, sizeof(stampBuffer)) : nullptr;

    char filtered[kTavLogFilteredFormatSize];
    const bool hasObject = CopyFilteredFormatString(format, filtered);
    if (!hasObject) {
        char line[kLineSize];
        va_list copy;
        va_copy(copy, arguments);
        const int length = formatInPlace(timeStamp, filtered, copy, line);
        va_end(copy);
        if (length >= 0) {
            deliver(type, line, static_cast<size_t>(length));
            return;
        }
    }
    deliverThroughString(type, timeStamp, filtered, arguments);
}

// MARK: the ways in

void tav_log(uint32_t type, uint32_t flags, uintptr_t, uintptr_t, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    tav_log_internal(type, flags, format, arguments);
    va_end(arguments);
}

void tav_log_Zo1(uint32_t type, uint32_t flags, uintptr_t, uintptr_t, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    tav_log_internal(type, flags, format, arguments);
    va_end(arguments);
}

void tav_log_emit(uintptr_t, uint32_t type, uint32_t flags, uintptr_t, uintptr_t, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    tav_log_internal(type, flags, format, arguments);
    va_end(arguments);
}

void tav_log_with_return_address(uintptr_t, uint32_t type, uint32_t flags, uintptr_t, uintptr_t, const void*,
                                 const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    tav_log_internal(type, flags, format, arguments);
    va_end(arguments);
}

void tav_log_with_return_address_v(uintptr_t, uint32_t type, uint32_t flags, uintptr_t, uintptr_t, const void*,
                                   const char* format, va_list arguments)
{
    tav_log_internal(type, flags, format, arguments);
}

uintptr_t tav_log_get_emitter(const char*, const char*) { return 0; }
uintptr_t tav_log_get_excessive_emitter_for_subsystem(const char*) { return 0; }
uintptr_t tav_log_handle(void) { return 0; }
uintptr_t TavDebugGetDefaultLogEmitter(void) { return 0; }
void tav_post_a_symptom_guts(const char*, ...) {}
