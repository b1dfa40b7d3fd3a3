// Calendars: absolute times to years, months, days and back. A calendar belongs to one thread at a time.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

extern const ZoStringRef kZoGregorianCalendar;

ZoTypeID ZoCalendarGetTypeID(void);
/// A calendar in the process's time zone. Nothing for an identifier other than kZoGregorianCalendar. Dates before
/// 15 October 1582 are Julian.
ZoCalendarRef ZoCalendarCreateWithIdentifier(ZoAllocatorRef allocator, ZoStringRef identifier);
ZoTimeZoneRef ZoCalendarCopyTimeZone(ZoCalendarRef calendar);
void ZoCalendarSetTimeZone(ZoCalendarRef calendar, ZoTimeZoneRef timeZone);
/// `components` names the ints that follow, one letter each: 'y' year (0 is the year before 1), 'M' month from 1,
/// 'd' day of the month, 'H' hour of 24, 'm' minute, 's' second. What is not named is that of the first moment of year
/// 1. Values past their ends carry over. A time that summer time leaves out is taken as if it had not begun; one that
/// it repeats is the later. False, and a time of 0, for an unknown letter or a time out of range.
Boolean ZoCalendarComposeAbsoluteTime(ZoCalendarRef calendar, ZoAbsoluteTime* at, const char* components, ...);
/// As above, with a pointer to an int for each letter. False, and zeros, for an unknown letter or a time out of range.
Boolean ZoCalendarDecomposeAbsoluteTime(ZoCalendarRef calendar, ZoAbsoluteTime at, const char* components, ...);

ZO_EXTERN_C_END
