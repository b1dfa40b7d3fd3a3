// The one calendar of the process, and the mutex that guards all use of it: a calendar is no shared object.

#pragma once

#include "Foundation/Dates/ZoCalendar.h"
#include "Foundation/Dates/ZoTimeZone.h"
#include "Platform/Ostra/OstraSynchronization.h"

ZO_EXTERN_C_BEGIN

/// Made on first use, lives as long as the process. Calendar and time zone are absent as long as there is no memory for
/// both; the mutex is always there.
typedef struct TavZoCalendarGroup {
    ZoCalendarRef gregorianCalendar;
    TavSimpleMutexRef calendarMutex;  ///< held across calls of the calendar, and no longer
    ZoTimeZoneRef timeZoneGMT;
} TavZoCalendarGroup;

TavZoCalendarGroup TavZoGetCalendarGroup(void);
/// TavZoGetLocalTimeString for another moment than now.
char* TavZoGetLocalTimeStringOfAbsoluteTime(ZoAbsoluteTime at, char* buffer, size_t bufferSize);

ZO_EXTERN_C_END
