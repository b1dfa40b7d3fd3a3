#include "Core/TavTime/LuTime.h"
#include "Core/TavTime/TavTimeForms.h"

ZoStringRef LuTimeCopyDescription(ZoAllocatorRef allocator, LuTime time)
{
    if (!LuTimeIsValid(time)) return ZOSTR("{INVALID}");
    if (LuTimeIsIndefinite(time)) return ZOSTR("{INDEFINITE}");
    if (LuTimeIsPositiveInfinity(time)) return ZOSTR("{+INFINITY}");
    if (LuTimeIsNegativeInfinity(time)) return ZOSTR("{-INFINITY}");

    char epoch[32] = "", flags[32] = "";
    if (time.epoch != 0) snprintf(epoch, sizeof epoch, ", epoch=%lld", static_cast<long long>(time.epoch));
    const char* rounded = LuTimeHasBeenRounded(time) ? ", rounded" : "";
    if ((time.flags & ~(kLuTimeFlags_Valid | kLuTimeFlags_HasBeenRounded)) != 0)
        snprintf(flags, sizeof flags, ", flags=0x%08x", time.flags);
    return ZoStringCreateWithFormat(allocator, nullptr, ZOSTR("{%lld/%d = %1.3f%s%s%s}"),
                                    static_cast<long long>(time.value), time.timescale, LuTimeGetSeconds(time), epoch,
                                    rounded, flags);
}

void LuTimeShow(LuTime time) { tavtime::showDescription(zoAdopt(LuTimeCopyDescription(nullptr, time))); }
