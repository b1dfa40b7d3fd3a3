#include <sys/time.h>

#include <cstdio>

#include "Platform/Common/TavLogPrivate.h"
#include "Utilities/TavZoUtilities_Text.h"

static struct timeval sStart;

void tav_note_initialize_timestamps()
{
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) { gettimeofday(&sStart, nullptr); });
}

char* tav_get_epochTimeStamp(char* buffer, size_t size) { return TavZoGetLocalTimeString(buffer, size); }

char* tav_get_offsetTimeStamp(char* buffer, size_t size)
{
    struct timeval now;
    tav_note_initialize_timestamps();
    gettimeofday(&now, nullptr);
    long seconds = now.tv_sec - sStart.tv_sec;
    long microseconds = now.tv_usec - sStart.tv_usec;
    if (microseconds < 0) {
        microseconds += 1000000;
        seconds -= 1;
    }
    snprintf(buffer, size, "%02d:%02d.%06d", static_cast<int>(seconds / 60), static_cast<int>(seconds % 60),
             static_cast<int>(microseconds));
    return buffer;
}

char* tav_get_timestamp(uint32_t kind, char* buffer, size_t size)
{
    if (kind == kTavLogFlag_LocalTime) return tav_get_epochTimeStamp(buffer, size);
    if (kind == kTavLogFlag_TimeSinceStart) return tav_get_offsetTimeStamp(buffer, size);
    snprintf(buffer, size, " ");
    return buffer;
}
