// Looks into the platform's lock objects, so that a test knows that a thread is inside a wait instead of guessing.

#pragma once

#include <gtest/gtest.h>
#include <sched.h>

#include <chrono>

#include "Platform/Ostra/OstraSynchronizationPrivate.h"
#include "Tests/Support/HandOver.h"

namespace luvia_test {

/// Gives up the processor until `condition`, looked at under `mutex`, holds. A thread counts itself before it gives up
/// the mutex in its wait: who is counted is inside.
template <typename Condition>
void awaitUnder(TavSimpleMutexRef mutex, Condition condition)
{
    const auto deadline = std::chrono::steady_clock::now() + HandOver::kLimit;
    for (bool holds = false; !holds;) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "the state was not reached";
        TavSimpleMutexLock(mutex);
        holds = condition();
        TavSimpleMutexUnlock(mutex);
        if (!holds) sched_yield();
    }
}

}  // namespace luvia_test
