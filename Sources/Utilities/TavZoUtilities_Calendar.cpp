#include "Utilities/TavZoUtilities_Calendar.h"

#include <cmath>
#include <cstdio>

#include "Foundation/Dates/ZoDate.h"
#include "Platform/Ostra/OstraLockGuard.h"
#include "Platform/Ostra/OstraSynchronizationPrivate.h"
#include "Utilities/TavZoUtilities_Text.h"

// The mutex is static, so that there is one whatever memory there is: lines of the log that tell of a shortage come
// here.
static TavMutex_ sCalendarMutex = {PTHREAD_MUTEX_INITIALIZER, nullptr};
static const TavSimpleMutexRef sZoCalendarMutex = &sCalendarMutex;
static ZoCalendarRef sZoGregorianCalendar;
static ZoTimeZoneRef sZoTimeZoneGMT;
static bool sIsComplete;  // atomic

// What could not be made is tried again the next time.
static void makeCalendarGroup()
{
    const TavSimpleMutexGuard guard(sZoCalendarMutex);
    if (!sZoGregorianCalendar) sZoGregorianCalendar = ZoCalendarCreateWithIdentifier(nullptr, kZoGregorianCalendar);
    if (!sZoTimeZoneGMT) sZoTimeZoneGMT = ZoTimeZoneCreateWithTimeIntervalFromGMT(nullptr, 0);
    if (sZoGregorianCalendar && sZoTimeZoneGMT) __atomic_store_n(&sIsComplete, true, __ATOMIC_RELEASE);
}

TavZoCalendarGroup TavZoGetCalendarGroup(void)
{
    if (__atomic_load_n(&sIsComplete, __ATOMIC_ACQUIRE))
        return {sZoGregorianCalendar, sZoCalendarMutex, sZoTimeZoneGMT};
    makeCalendarGroup();
    if (__atomic_load_n(&sIsComplete, __ATOMIC_ACQUIRE))
        return {sZoGregorianCalendar, sZoCalendarMutex, sZoTimeZoneGMT};
    return {nullptr, sZoCalendarMutex, nullptr};
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
    if (group.gregorianCalendar) {
        const TavSimpleMutexGuard guard(group.calendarMutex);
        ZoCalendarDecomposeAbsoluteTime(group.gregorianCalendar, second, "Hms", &hour, &minute, &secondOfMinute);
    }
    if (buffer) snprintf(buffer, bufferSize, "%02d:%02d:%02d.%03d", hour, minute, secondOfMinute, milliseconds);
    return buffer;
}

char* TavZoGetLocalTimeString(char* buffer, size_t bufferSize)
{
    return TavZoGetLocalTimeStringOfAbsoluteTime(ZoAbsoluteTimeGetCurrent(), buffer, bufferSize);
}
