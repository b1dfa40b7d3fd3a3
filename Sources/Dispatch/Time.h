// Dispatch times as moments of the monotonic clock, and waits that end at them.
//
// A time is 0 for now, all ones for never, a positive number of nanoseconds of the monotonic clock, or a negative
// number whose magnitude counts nanoseconds of the wall clock.

#pragma once

#include <dispatch/dispatch.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace dispatch {

using Moment = std::chrono::steady_clock::time_point;

/// For any time but DISPATCH_TIME_FOREVER.
Moment momentOf(dispatch_time_t time);

/// False when `timeout` came before `condition` held. DISPATCH_TIME_NOW only looks.
template <typename Condition>
bool waitUntil(std::condition_variable& changed, std::unique_lock<std::mutex>& guard, dispatch_time_t timeout,
               Condition condition)
{
    if (timeout == DISPATCH_TIME_NOW) return condition();
    if (timeout != DISPATCH_TIME_FOREVER) return changed.wait_until(guard, momentOf(timeout), condition);
    changed.wait(guard, condition);
    return true;
}

}  // namespace dispatch
