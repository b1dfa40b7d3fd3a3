#include "Platform/Ostra/OstraSynchronization.h"

#include <errno.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Platform/Ostra/OstraClock.h"
#include "Tests/Platform/LockProbe.h"
#include "Tests/Support/HandOver.h"
#include "Tests/Support/SignalProbe.h"

using luvia_test::awaitUnder;
using luvia_test::HandOver;
using luvia_test::SignalProbe;

namespace {

constexpr int64_t kMillisecond = 1000000;

template <typename Waitable>
void awaitWaiters(Waitable waitable, uint64_t count)
{
    awaitUnder(waitable->mutex, [&] { return uint64_t(waitable->waiters) == count; });
}

// Every time-out that a waiter can be in: for ever, far off, and past the end of the clock's 64 bits.
const int64_t kLongTimeOuts[] = {kTavWaitForever, INT64_MIN, 3600 * 1000 * kMillisecond, INT64_MAX};

/// One thread for each of these, all inside their waits; join() gives what they got.
template <typename Ref>
class Waiters {
public:
    Waiters(Ref object, OSStatus (*wait)(Ref, int64_t))
    {
        for (size_t index = 0; index < std::size(kLongTimeOuts); ++index)
            threads_.emplace_back([=, this] { statuses_[index] = wait(object, kLongTimeOuts[index]); });
        awaitWaiters(object, threads_.size());
    }
    std::vector<OSStatus> join()
    {
        for (std::thread& thread : threads_) thread.join();
        return statuses_;
    }

private:
    std::vector<OSStatus> statuses_ = std::vector<OSStatus>(std::size(kLongTimeOuts), -1);
    std::vector<std::thread> threads_;
};

std::vector<OSStatus> allWith(OSStatus status) { return std::vector<OSStatus>(std::size(kLongTimeOuts), status); }

bool tryLockElsewhere(TavSimpleMutexRef mutex)
{
    bool locked = false;
    std::thread([&] {
        locked = TavSimpleMutexTryLock(mutex);
        if (locked) TavSimpleMutexUnlock(mutex);
    }).join();
    return locked;
}

TEST(OstraMutex, aReentrantOneIsFreeOnceUnlockedAsOftenAsLocked)
{
    const TavReentrantMutexRef mutex = TavReentrantMutexCreate();
    ASSERT_EQ(TavReentrantMutexLock(mutex), 0);
    EXPECT_TRUE(TavReentrantMutexTryLock(mutex));
    EXPECT_EQ(TavReentrantMutexUnlock(mutex), 0);
    EXPECT_FALSE(tryLockElsewhere(mutex));
    EXPECT_EQ(TavReentrantMutexUnlock(mutex), 0);
    EXPECT_TRUE(tryLockElsewhere(mutex));
    EXPECT_EQ(TavReentrantMutexDestroy(mutex), 0);
}

#ifndef __SANITIZE_THREAD__  // which reports what is done wrong here on purpose
TEST(OstraMutex, passesOnWhatTheSystemRefusesAndIsNotDestroyedWhileLocked)
{
    const TavReentrantMutexRef mutex = TavReentrantMutexCreate();
    EXPECT_EQ(TavReentrantMutexUnlock(mutex), EPERM);
    ASSERT_EQ(TavReentrantMutexLock(mutex), 0);
    const SignalProbe probe;
    EXPECT_EQ(TavReentrantMutexDestroy(mutex), EBUSY);
    EXPECT_EQ(probe.code(), EBUSY);
    EXPECT_EQ(probe.function(), "TavReentrantMutexDestroy");
    EXPECT_EQ(probe.message(), "pthread_mutex_destroy failed, just leaking it");
    EXPECT_FALSE(tryLockElsewhere(mutex)) << "the record must not be freed over a busy lock";
    EXPECT_EQ(TavReentrantMutexUnlock(mutex), 0);
    EXPECT_EQ(TavReentrantMutexDestroy(mutex), 0);
}
#endif

TEST(OstraSynchronization, anAbsentObjectIsDestroyed)
{
    EXPECT_EQ(TavSimpleMutexDestroy(nullptr), 0);
    EXPECT_EQ(TavSemaphoreDestroy(nullptr), 0);
    EXPECT_EQ(TavConditionVariableDestroy(nullptr), 0);
    EXPECT_EQ(TavEventDestroy(nullptr), 0);
}

TEST(OstraSemaphore, countsUpToItsMaximumAndDownToNothing)
{
    const TavSemaphoreRef semaphore = TavSemaphoreCreate(0, 2);
    const int64_t takesNow = 0;
    for (int turn = 0; turn < 3; ++turn) {
        EXPECT_EQ(TavSemaphoreWaitRelative(semaphore, takesNow), kTavWaitTimedOutErr);
        EXPECT_EQ(TavSemaphoreSignal(semaphore), 0);
        EXPECT_EQ(TavSemaphoreSignal(semaphore), 0);
        EXPECT_EQ(TavSemaphoreSignal(semaphore), kTavSemaphoreMaximumCountErr);
        EXPECT_EQ(TavSemaphoreWaitRelative(semaphore, kTavWaitForever), 0);
        EXPECT_EQ(TavSemaphoreWaitRelative(semaphore, takesNow), 0);
    }
    EXPECT_EQ(TavSemaphoreDestroy(semaphore), 0);
}

TEST(OstraSemaphore, timeOutsAreRelativeNanoseconds)
{
    const TavSemaphoreRef semaphore = TavSemaphoreCreate(0, 1);
    const uint64_t start = TavGetUpTimeNanoseconds();
    EXPECT_EQ(TavSemaphoreWaitRelative(semaphore, 3 * kMillisecond), kTavWaitTimedOutErr);
    const uint64_t waited = TavGetUpTimeNanoseconds() - start;
    EXPECT_GE(waited, uint64_t(2 * kMillisecond));  // the deadline is the wall clock's, this measure is not
    EXPECT_LT(waited, uint64_t(20000 * kMillisecond));
    EXPECT_EQ(TavSemaphoreDestroy(semaphore), 0);
}

TEST(OstraSemaphore, signalsEndWaitsWithAnyTimeOutAndItsEndSendsWaitersAway)
{
    const TavSemaphoreRef semaphore = TavSemaphoreCreate(0, 9);
    Waiters signalled(semaphore, TavSemaphoreWaitRelative);
    for (size_t index = 0; index < std::size(kLongTimeOuts); ++index) EXPECT_EQ(TavSemaphoreSignal(semaphore), 0);
    EXPECT_EQ(signalled.join(), allWith(0));
    EXPECT_EQ(TavSemaphoreWaitRelative(semaphore, 0), kTavWaitTimedOutErr);
    Waiters sentAway(semaphore, TavSemaphoreWaitRelative);
    const SignalProbe probe;
    EXPECT_EQ(TavSemaphoreDestroy(semaphore), 0);
    EXPECT_EQ(sentAway.join(), allWith(kTavResourceDeletedErr));
    EXPECT_EQ(probe.count(), std::size(kLongTimeOuts));
    EXPECT_EQ(probe.message(), "semaphore was deleted before/during wait");
}

TEST(OstraConditionVariable, aBroadcastWakesAllWaitersUnderEitherMutex)
{
    for (const TavSimpleMutexRef mutex : {TavSimpleMutexCreate(), TavReentrantMutexCreate()}) {
        const TavConditionVariableRef condition = TavConditionVariableCreate();
        bool open = false;
        int inside = 0, passed = 0;
        std::vector<std::thread> waiters;
        for (int index = 0; index < 3; ++index)
            waiters.emplace_back([&] {
                TavSimpleMutexLock(mutex);
                ++inside;
                while (!open && TavConditionVariableWaitRelative(condition, mutex, kTavWaitForever) == 0) {
                }
                ++passed;
                TavSimpleMutexUnlock(mutex);
            });
        awaitUnder(mutex, [&] { return inside == 3; });
        TavSimpleMutexLock(mutex);
        EXPECT_EQ(TavConditionVariableWaitRelative(condition, mutex, 0), kTavWaitTimedOutErr);
        open = true;
        EXPECT_EQ(TavConditionVariableBroadcast(condition), 0);
        TavSimpleMutexUnlock(mutex);
        for (std::thread& waiter : waiters) waiter.join();
        EXPECT_EQ(passed, 3);
        EXPECT_EQ(TavConditionVariableDestroy(condition), 0);
        EXPECT_EQ(TavSimpleMutexDestroy(mutex), 0);
    }
}

TEST(OstraEvent, aManualOneLetsEveryWaiterThroughUntilReset)
{
    const TavEventRef event = TavEventCreate(true, false);
    Waiters waiters(event, TavEventWaitRelative);
    EXPECT_EQ(TavEventSet(event), 0);
    TavReentrantMutexLock(event->mutex);
    EXPECT_EQ(event->waiters, 0u) << "set returned before the waiters that it found were let through";
    TavReentrantMutexUnlock(event->mutex);
    EXPECT_EQ(waiters.join(), allWith(0));

    EXPECT_EQ(TavEventSet(event), 0);
    EXPECT_EQ(TavEventWaitRelative(event, 0), 0);
    EXPECT_EQ(TavEventWaitRelative(event, kTavWaitForever), 0);
    EXPECT_EQ(TavEventReset(event), 0);
    EXPECT_EQ(TavEventWaitRelative(event, 0), kTavWaitTimedOutErr);
    EXPECT_EQ(TavEventDestroy(event), 0);
}

TEST(OstraEvent, anAutomaticOneLetsOneWaiterThroughASet)
{
    const TavEventRef event = TavEventCreate(false, false);
    HandOver passed;
    std::vector<std::thread> waiters;
    for (int index = 0; index < 2; ++index)
        waiters.emplace_back([&] {
            EXPECT_EQ(TavEventWaitRelative(event, kTavWaitForever), 0);
            passed.advance();
        });
    awaitWaiters(event, 2);
    EXPECT_EQ(TavEventSet(event), 0);
    awaitWaiters(event, 1);
    EXPECT_TRUE(passed.await(1));
    EXPECT_EQ(TavEventSet(event), 0);
    for (std::thread& waiter : waiters) waiter.join();

    EXPECT_EQ(TavEventWaitRelative(event, 0), kTavWaitTimedOutErr) << "both sets were taken";
    EXPECT_EQ(TavEventSet(event), 0);
    EXPECT_EQ(TavEventSet(event), 0) << "set already: does nothing";
    EXPECT_EQ(TavEventWaitRelative(event, kTavWaitForever), 0);
    EXPECT_EQ(TavEventWaitRelative(event, 0), kTavWaitTimedOutErr);
    EXPECT_EQ(TavEventDestroy(event), 0);
}

TEST(OstraEvent, itsEndSendsWaitersAway)
{
    for (const bool manual : {false, true}) {
        const TavEventRef event = TavEventCreate(manual, false);
        Waiters waiters(event, TavEventWaitRelative);
        const SignalProbe probe;
        EXPECT_EQ(TavEventDestroy(event), 0);
        EXPECT_EQ(waiters.join(), allWith(kTavResourceDeletedErr));
        EXPECT_EQ(probe.function(), "TavEventWaitRelative");
    }
}

// The waiter that a set found may run out of time and take nothing. Then nobody is left to clear the event, and a set
// that insisted would wait for ever.
TEST(OstraEvent, aSetIsNotHeldByWaitersThatRunOutOfTime)
{
    const TavEventRef event = TavEventCreate(false, false);
    HandOver done;
    int taken = 0, sets = 0;
    std::thread waiter([&] {
        for (int turn = 0; turn < 3000; ++turn) {
            const OSStatus status = TavEventWaitRelative(event, turn % 60 * 1000);
            EXPECT_TRUE(status == 0 || status == kTavWaitTimedOutErr) << status;
            taken += status == 0;
        }
        done.reach(1);
    });
    std::thread setter([&] {
        while (done.step() == 0) {
            EXPECT_EQ(TavEventSet(event), 0);
            ++sets;
        }
        done.reach(2);
    });
    EXPECT_TRUE(done.await(2));
    waiter.join();
    setter.join();
    EXPECT_LE(taken, sets);
    EXPECT_EQ(TavEventDestroy(event), 0);
}

}  // namespace
