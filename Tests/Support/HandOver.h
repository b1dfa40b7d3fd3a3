// Orders threads in a test by steps instead of by sleeping: one thread reaches a step, others wait for it.

#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace luvia_test {

/// Steps only grow. A wait that takes longer than any healthy run fails the test and gives false, so that a lost
/// wake-up ends as a failure with a place and not as a hang.
class HandOver {
public:
    static constexpr std::chrono::seconds kLimit{30};

    void reach(int step)
    {
        std::lock_guard guard(lock_);
        if (step > step_) step_ = step;
        changed_.notify_all();
    }
    /// One step on; for counting arrivals whose order does not matter.
    void advance()
    {
        std::lock_guard guard(lock_);
        ++step_;
        changed_.notify_all();
    }
    bool await(int step, std::chrono::milliseconds limit = kLimit)
    {
        std::unique_lock guard(lock_);
        if (changed_.wait_for(guard, limit, [&] { return step_ >= step; })) return true;
        ADD_FAILURE() << "step " << step << " was not reached; the last one was " << step_;
        return false;
    }
    int step() const
    {
        std::lock_guard guard(lock_);
        return step_;
    }

private:
    mutable std::mutex lock_;
    std::condition_variable changed_;
    int step_ = 0;
};

}  // namespace luvia_test
