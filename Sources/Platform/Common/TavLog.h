// One line to where the notes' preferences send it: the system log, standard error or output, a file, a block buffer.
//
// Formats are those of printf(3), with "%@" for an object's description, and with annotations in braces behind the
// percent sign, as in "%{public}s", which are removed. 511 characters of a format count, and of these what stands
// before a conversion that they cut. Logging never fails; what cannot be formatted or written is dropped. May be called
// from any thread; callers test a note first.
//
// A line goes to a file by one write(2), and to a FIFO by one that does not wait: a file that several processes append
// to has whole lines. A link is followed only if its owner is this user or root. At its limit a regular file is removed
// and begun anew; nothing else is ever removed.

#pragma once

#include <stdarg.h>

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// Callers test a note first: the way to a line is the unlikely one.
#if defined(__GNUC__)
#define TAV_LOG_COLD __attribute__((cold))
#else
#define TAV_LOG_COLD
#endif

/// Types 0 and 2 go to the system log as errors, all others as notices.
enum { kTavLogType_Notice = 1, kTavLogType_Error = 2 };

/// The low two bits of the flags: which time stamp stands in front.
enum {
    kTavLogFlag_NoTimeStamp = 0,
    kTavLogFlag_LocalTime = 1,
    kTavLogFlag_TimeSinceStart = 2,
    kTavLogFlag_Blank = 3,
};

/// Formats one line and sends it on its way. The reserved arguments are 0.
void tav_log(uint32_t type, uint32_t flags, uintptr_t reserved1, uintptr_t reserved2, const char* format,
             ...) TAV_LOG_COLD;
void tav_log_Zo1(uint32_t type, uint32_t flags, uintptr_t reserved1, uintptr_t reserved2, const char* format,
                 ...) TAV_LOG_COLD;
/// `emitter` and `returnAddress` are for structured logs, of which there are none here.
void tav_log_emit(uintptr_t emitter, uint32_t type, uint32_t flags, uintptr_t reserved1, uintptr_t reserved2,
                  const char* format, ...) TAV_LOG_COLD;
void tav_log_with_return_address(uintptr_t emitter, uint32_t type, uint32_t flags, uintptr_t reserved1,
                                 uintptr_t reserved2, const void* returnAddress, const char* format, ...) TAV_LOG_COLD;
void tav_log_with_return_address_v(uintptr_t emitter, uint32_t type, uint32_t flags, uintptr_t reserved1,
                                   uintptr_t reserved2, const void* returnAddress, const char* format,
                                   va_list arguments) TAV_LOG_COLD;

/// Log handles: 0, always.
uintptr_t tav_log_get_emitter(const char* subsystem, const char* category);
uintptr_t tav_log_get_excessive_emitter_for_subsystem(const char* subsystem);
uintptr_t tav_log_handle(void);
uintptr_t TavDebugGetDefaultLogEmitter(void);
/// Does nothing.
void tav_post_a_symptom_guts(const char* symptom, ...);

/// Writes a time stamp and gives `buffer`: kind 1 local, kind 2 since start, any other a single blank.
char* tav_get_timestamp(uint32_t kind, char* buffer, size_t size);
/// Local time, "hh:mm:ss.mmm".
char* tav_get_epochTimeStamp(char* buffer, size_t size);
/// Minutes, seconds and microseconds since logging began, "mm:ss.uuuuuu".
char* tav_get_offsetTimeStamp(char* buffer, size_t size);

ZO_EXTERN_C_END
