#include "Dispatch/Time.h"

#include <algorithm>

using std::chrono::duration_cast;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;
using std::chrono::system_clock;

static int64_t monotonicNow() { return duration_cast<nanoseconds>(steady_clock::now().time_since_epoch()).count(); }
static int64_t wallNow() { return duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count(); }

dispatch::Moment dispatch::momentOf(dispatch_time_t time)
{
    const int64_t signedTime = static_cast<int64_t>(time);
    if (signedTime == 0) return steady_clock::now();
    if (signedTime > 0) return Moment(nanoseconds(signedTime));
    const int64_t ahead = -signedTime - wallNow();
    int64_t moment;
    if (__builtin_add_overflow(monotonicNow(), ahead, &moment)) moment = INT64_MAX;
    return Moment(nanoseconds(moment));
}

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta)
{
    if (when == DISPATCH_TIME_FOREVER) return when;
    const int64_t base = when == DISPATCH_TIME_NOW ? monotonicNow() : static_cast<int64_t>(when);
    const bool wall = base < 0;
    int64_t sum;
    // The smallest word has no magnitude; no clock reaches it.
    if (base == INT64_MIN || __builtin_add_overflow(wall ? -base : base, delta, &sum))
        return delta > 0 ? DISPATCH_TIME_FOREVER : 1;
    // A wall time of 1 would read as "forever".
    return static_cast<dispatch_time_t>(wall ? -std::max<int64_t>(sum, 2) : std::max<int64_t>(sum, 1));
}

dispatch_time_t dispatch_walltime(const struct timespec* when, int64_t delta)
{
    int64_t base = wallNow();
    if (when && (__builtin_mul_overflow(when->tv_sec, static_cast<int64_t>(NSEC_PER_SEC), &base) ||
                 __builtin_add_overflow(base, when->tv_nsec, &base)))
        base = when->tv_sec > 0 ? INT64_MAX : 2;
    return dispatch_time(static_cast<dispatch_time_t>(-std::max<int64_t>(base, 2)), delta);
}
