// The vocabulary of the object library: opaque references, words, ranges. Everything here is plain C.

#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

// What stands between the two is C, and can be seen outside of the library, where everything else is hidden.
#ifdef __cplusplus
#define ZO_EXTERN_C_BEGIN \
    extern "C" {          \
    ZO_VISIBILITY_BEGIN
#define ZO_EXTERN_C_END \
    ZO_VISIBILITY_END   \
    }
#else
#define ZO_EXTERN_C_BEGIN ZO_VISIBILITY_BEGIN
#define ZO_EXTERN_C_END   ZO_VISIBILITY_END
#endif
#if defined(__GNUC__)
#define ZO_VISIBILITY_BEGIN                   _Pragma("GCC visibility push(default)")
#define ZO_VISIBILITY_END                     _Pragma("GCC visibility pop")
#define ZO_PRINTF(formatIndex, firstArgument) __attribute__((format(printf, formatIndex, firstArgument)))
#define ZO_LIKELY(condition)                  __builtin_expect(!!(condition), 1)
#define ZO_UNLIKELY(condition)                __builtin_expect(!!(condition), 0)
#else
#define ZO_VISIBILITY_BEGIN
#define ZO_VISIBILITY_END
#define ZO_PRINTF(formatIndex, firstArgument)
#define ZO_LIKELY(condition)   (condition)
#define ZO_UNLIKELY(condition) (condition)
#endif

ZO_EXTERN_C_BEGIN

/// Any object of the library. An absent object is a null pointer.
typedef const void* ZoTypeRef;
/// Identifies a type at run time; 0 is no type.
typedef uintptr_t ZoTypeID;
typedef uintptr_t ZoHashCode;
typedef uintptr_t ZoOptionFlags;
/// Indices and counts are signed words; a count is never negative.
typedef intptr_t ZoIndex;
typedef unsigned char Boolean;
typedef uint16_t UniChar;

typedef struct ZoRange {
    ZoIndex location;
    ZoIndex length;
} ZoRange;

static inline ZoRange ZoRangeMake(ZoIndex location, ZoIndex length)
{
    ZoRange range;
    range.location = location;
    range.length = length;
    return range;
}

#define kZoNotFound ((ZoIndex)-1)

typedef ZoIndex ZoComparisonResult;
enum { kZoCompareLessThan = -1, kZoCompareEqualTo = 0, kZoCompareGreaterThan = 1 };
/// Orders two values for a sort: below, at or above 0.
typedef ZoComparisonResult (*ZoComparatorFunction)(const void* value1, const void* value2, void* context);

/// Seconds since the reference date, 1 January 2001 00:00:00 GMT.
typedef double ZoAbsoluteTime;
typedef double ZoTimeInterval;

typedef const struct ZoAllocator_* ZoAllocatorRef;
typedef const struct ZoString_* ZoStringRef;
typedef struct ZoString_* ZoMutableStringRef;
typedef const struct ZoAttributedString_* ZoAttributedStringRef;
typedef struct ZoAttributedString_* ZoMutableAttributedStringRef;
typedef const struct ZoCharacterSet_* ZoCharacterSetRef;
typedef const struct ZoData_* ZoDataRef;
typedef struct ZoData_* ZoMutableDataRef;
typedef const struct ZoNumber_* ZoNumberRef;
typedef const struct ZoBoolean_* ZoBooleanRef;
typedef const struct ZoNull_* ZoNullRef;
typedef const struct ZoArray_* ZoArrayRef;
typedef struct ZoArray_* ZoMutableArrayRef;
typedef const struct ZoDictionary_* ZoDictionaryRef;
typedef struct ZoDictionary_* ZoMutableDictionaryRef;
typedef const struct ZoSet_* ZoSetRef;
typedef struct ZoSet_* ZoMutableSetRef;
typedef const struct ZoDate_* ZoDateRef;
typedef struct ZoDateFormatter_* ZoDateFormatterRef;
typedef struct ZoCalendar_* ZoCalendarRef;
typedef const struct ZoTimeZone_* ZoTimeZoneRef;
typedef const struct ZoLocale_* ZoLocaleRef;
typedef const struct ZoURL_* ZoURLRef;
typedef const struct ZoUUID_* ZoUUIDRef;
typedef struct ZoError_* ZoErrorRef;
typedef struct ZoNotificationCenter_* ZoNotificationCenterRef;
typedef struct ZoRunLoop_* ZoRunLoopRef;
typedef struct ZoRunLoopTimer_* ZoRunLoopTimerRef;
typedef struct ZoReadStream_* ZoReadStreamRef;
typedef struct ZoBundle_* ZoBundleRef;
typedef ZoTypeRef ZoPropertyListRef;

ZO_EXTERN_C_END
