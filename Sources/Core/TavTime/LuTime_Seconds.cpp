#include <atomic>
#include <cmath>
#include <limits>

#include "Core/TavTime/TavTimeInternal.h"
#include "Foundation/Objects/ZoObject.h"

using namespace tavtime;

// How many warnings are left; a race costs or saves one, no more.
static std::atomic<int32_t> onlyThisManyTimes{10};

static void warnOfLowTimescale(double seconds, int32_t timescale, double error)
{
    if (onlyThisManyTimes.load(std::memory_order_relaxed) <= 0) return;
    onlyThisManyTimes.fetch_sub(1, std::memory_order_relaxed);
    ZoLog(3,
          ZOSTR("LuTimeMakeWithSeconds(%.3f seconds, timescale %d): warning: error of %.3f introduced due to very low "
                "timescale"),
          seconds, timescale, error);
}

LuTime LuTimeMakeWithSeconds(double seconds, int32_t preferredTimescale)
{
    constexpr double kTwoTo63 = 0x1p63;
    if (preferredTimescale < 1 || std::isnan(seconds)) return kLuTimeInvalid;
    if (seconds == 0.0) return {0, preferredTimescale, kLuTimeFlags_Valid, 0};

    int32_t timescale = preferredTimescale;
    double ticks = std::fabs(timescale * seconds);
    while (ticks > kTwoTo63) {
        timescale >>= 1;
        if (timescale == 0) return infinity(seconds < 0);
        ticks = std::fabs(timescale * seconds);
    }
    int64_t value = ticks == kTwoTo63 ? std::numeric_limits<int64_t>::max() : static_cast<int64_t>(ticks);
    if (seconds < 0) value = -value;

    const double error = static_cast<double>(value) / timescale - seconds;
    if (error == 0.0) return {value, timescale, kLuTimeFlags_Valid, 0};
    if (preferredTimescale <= 100 && (error > 0.01 || error < -0.01) && std::fabs(error) < 1.0)
        warnOfLowTimescale(seconds, preferredTimescale, error);
    return {value, timescale, kLuTimeFlags_Valid | kRounded, 0};
}

double LuTimeGetSeconds(LuTime time)
{
    if (LuTimeIsNumeric(time)) return static_cast<double>(time.value) / time.timescale;
    if (LuTimeIsPositiveInfinity(time)) return std::numeric_limits<double>::infinity();
    if (LuTimeIsNegativeInfinity(time)) return -std::numeric_limits<double>::infinity();
    return std::numeric_limits<double>::quiet_NaN();
}
