#include "Utilities/TavZoUtilities_Calendar.h"

#include <cmath>
#include <cstdio>

#include "Foundation/Dates/ZoDate.h"
#include "Platform/Ostra/OstraThread.h"
#include "Utilities/TavZoUtilities_Text.h"

static ZoCalendarRef sZoGregorianCalendar;
static TavSimpleMutexRef sZoCalendarMutex;
static ZoTimeZoneRef sZoTimeZoneGMT;
static TavThreadOnce sCalendarGroupOnce = PTHREAD_ONCE_INIT;

static void makeCalendarGroup()
{
    sZoGregorianCalendar = ZoCalendarCreateWithIdentifier(nullptr, kZoGregorianCalendar);
    sZoCalendarMutex = TavSimpleMutexCreate();
    sZoTimeZoneGMT = ZoTimeZoneCreateWithTimeIntervalFromGMT(nullptr, 0);
}

TavZoCalendarGroup TavZoGetCalendarGroup(void)
{
    (void)TavThreadRunOnce(&sCalendarGroupOnce, makeCalendarGroup);
    return {sZoGregorianCalendar, sZoCalendarMutex, sZoTimeZoneGMT};
}

char* TavZoGetLocalTimeStringOfAbsoluteTime(ZoAbsoluteTime at, char* buffer, size_t bufferSize)
{
    double second = std::floor(at);
    int milliseconds = static_cast<int>(std::lround((at - second) * 1000));
    if (milliseconds == 1000) {
        second += 1;
        milliseconds = 0;
    }
    int hour = 0, minute = 0, secondOfMinute = 0;
    const TavZoCalendarGroup group = TavZoGetCalendarGroup();
    TavSimpleMutexLock(group.calendarMutex);
    ZoCalendarDecomposeAbsoluteTime(group.gregorianCalendar, second, "Hms", &hour, &minute, &secondOfMinute);
    TavSimpleMutexUnlock(group.calendarMutex);
    if (buffer) snprintf(buffer, bufferSize, "%02d:%02d:%02d.%03d", hour, minute, secondOfMinute, milliseconds);
    return buffer;
}

char* TavZoGetLocalTimeString(char* buffer, size_t bufferSize)
{
    return TavZoGetLocalTimeStringOfAbsoluteTime(ZoAbsoluteTimeGetCurrent(), buffer, bufferSize);
}
