#include "Platform/Common/CommonThread.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Platform/Common/CommonThreadPrivate.h"
#include "Tests/Support/HandOver.h"
#include "Tests/Support/SignalProbe.h"

using luvia_test::HandOver;
using luvia_test::SignalProbe;

namespace {

/// A call with its refcon; as an action it does what its function says.
using Call = std::function<void()>;
void runCall(void* refcon) { (*static_cast<Call*>(refcon))(); }

template <typename Condition>
int countEntries(Condition condition)
{
    int count = 0;
    TavThreadLockAbortList();
    for (const TavThreadAbortEntry_* entry = gAbortActionList.head; entry; entry = entry->next)
        count += condition(*entry);
    TavThreadUnlockAbortList();
    return count;
}

int entriesOf(TavThreadID thread)
{
    return countEntries([&](const TavThreadAbortEntry_& entry) { return entry.thread == thread; });
}

OSStatus registerCall(Call& call, TavThreadAbortActionToken* token)
{
    return TavThreadRegisterAbortAction(runCall, &call, token);
}

/// Runs `work` on a thread of the framework, to its end.
void onThread(Call work, TavThreadID* handle = nullptr)
{
    TavThreadID thread = kTavThreadInvalidID;
    const TavThreadProc proc = [](void* refcon) -> void* {
        runCall(refcon);
        return nullptr;
    };
    ASSERT_EQ(TavThreadCreate(proc, &work, kTavThreadPriorityDefault, true, nullptr, &thread), 0);
    ASSERT_EQ(TavThreadJoin(thread, nullptr), 0);
    if (handle) *handle = thread;
}

// The thread waits as clients do: its action ends the wait.
TEST(AbortList, anAbortRunsTheThreadsActionsInOrderAndEndsItsWait)
{
    HandOver steps;
    std::string ran;  // written under the list lock
    TavThreadID target = kTavThreadInvalidID;
    std::thread waiter([&] {
        onThread([&] {
            target = TavThreadGetCurrent();
            Call calls[3] = {[&] { ran += '0'; }, [&] { ran += '1'; },
                             [&] {
                                 ran += '2';
                                 steps.reach(2);
                             }};
            TavThreadAbortActionToken tokens[3] = {};
            for (int index = 0; index < 3; ++index) EXPECT_EQ(registerCall(calls[index], &tokens[index]), 0);
            steps.reach(1);
            EXPECT_TRUE(steps.await(2));
            EXPECT_TRUE(steps.await(3));
            EXPECT_EQ(entriesOf(target), 4) << "three actions, and one marker of two teardowns";
            for (const TavThreadAbortActionToken token : tokens) EXPECT_EQ(TavThreadUnregisterAbortAction(token), 0);
        });
    });
    EXPECT_TRUE(steps.await(1));
    Call bystander = [] { ADD_FAILURE() << "another thread's action"; };
    TavThreadAbortActionToken token = nullptr;
    EXPECT_EQ(registerCall(bystander, &token), 0);
    EXPECT_EQ(TavThreadAbort(target), 0);
    EXPECT_TRUE(steps.await(2));
    for (int turn = 0; turn < 2; ++turn) EXPECT_EQ(TavThreadAbortForTeardown(target), 0) << "actions stay registered";
    EXPECT_EQ(TavThreadUnregisterAbortAction(token), 0);
    EXPECT_EQ(TavThreadAbort(TavThreadGetCurrent()), 0) << "no entries";
    steps.reach(3);
    waiter.join();
    EXPECT_EQ(ran, "012012012");
    EXPECT_EQ(entriesOf(target), 0) << "the marker goes with the thread";
}

TEST(AbortList, aMarkerGoesWithAThreadThatExitsAndAtOnceWithNone)
{
    TavThreadID exited = kTavThreadInvalidID;
    onThread(
        [] {
            EXPECT_EQ(TavThreadAbortForTeardown(TavThreadGetCurrent()), 0);
            TavThreadExit(nullptr);
        },
        &exited);
    EXPECT_EQ(entriesOf(exited), 0);
    EXPECT_EQ(TavThreadAbortForTeardown(kTavThreadInvalidID), 0);
    EXPECT_EQ(entriesOf(kTavThreadInvalidID), 0);
}

TEST(AbortList, aRegistrationAfterTeardownRunsItsActionAndFails)
{
    onThread([] {
        int runs = 0;
        Call action = [&] { ++runs; };
        TavThreadAbortActionToken token = nullptr, second = nullptr;
        EXPECT_EQ(registerCall(action, &token), 0);
        const SignalProbe probe;
        EXPECT_EQ(registerCall(action, &second), kTavThreadAbortActionAlreadyRegisteredErr);
        EXPECT_EQ(probe.count(), 0u) << "is no failure";
        EXPECT_EQ(second, nullptr);
        EXPECT_EQ(runs, 0);

        EXPECT_EQ(TavThreadAbortForTeardown(TavThreadGetCurrent()), 0);
        EXPECT_EQ(runs, 1);
        EXPECT_EQ(registerCall(action, &second), kTavThreadAbortActionAlreadyRegisteredErr)
            << "stands before the marker";
        Call other = [&] { runs += 10; };
        EXPECT_EQ(registerCall(other, &second), kTavThreadAlreadyAborted);
        EXPECT_EQ(probe.message(), "Thread or queue already aborted for teardown");
        EXPECT_EQ(probe.subsystem(), "<< TavCommonThread >>");
        EXPECT_EQ(probe.function(), "TavThreadRegisterAbortAction");
        EXPECT_EQ(second, nullptr);
        EXPECT_EQ(runs, 11);
        EXPECT_EQ(TavThreadRegisterAbortAction(nullptr, nullptr, &second), kTavThreadAlreadyAborted);
        EXPECT_EQ(TavThreadUnregisterAbortAction(token), 0);
        EXPECT_EQ(TavThreadRegisterAbortAction(runCall, &other, nullptr), kTavThreadParamErr);
    });
}

TEST(AbortList, anActionMayUnregisterButNotRegisterOrAbort)
{
    onThread([] {
        TavThreadAbortActionToken tokens[3] = {}, refused = nullptr;
        int lastRuns = 0;
        Call unregistersItself = [&] { EXPECT_EQ(TavThreadUnregisterAbortAction(tokens[0]), 0); };
        Call last = [&] { ++lastRuns; };
        Call unregistersTheNext = [&] {
            EXPECT_EQ(registerCall(last, &refused), kTavThreadNotReentrantErr);
            EXPECT_EQ(TavThreadAbort(TavThreadGetCurrent()), 0);
            EXPECT_EQ(TavThreadAbortForTeardown(TavThreadGetCurrent()), 0);
            EXPECT_EQ(TavThreadUnregisterAbortAction(tokens[2]), 0);
            EXPECT_EQ(entriesOf(TavThreadGetCurrent()), 3) << "the walk must not lose its place";
        };
        EXPECT_EQ(registerCall(unregistersItself, &tokens[0]), 0);
        EXPECT_EQ(registerCall(unregistersTheNext, &tokens[1]), 0);
        EXPECT_EQ(registerCall(last, &tokens[2]), 0);
        EXPECT_EQ(TavThreadAbort(TavThreadGetCurrent()), 0);
        EXPECT_EQ(lastRuns, 0);
        EXPECT_EQ(entriesOf(TavThreadGetCurrent()), 1);
        EXPECT_EQ(TavThreadUnregisterAbortAction(tokens[0]), 0) << "gone already: ignored";
        EXPECT_EQ(TavThreadUnregisterAbortAction(nullptr), 0);
        EXPECT_EQ(TavThreadUnregisterAbortAction(tokens[1]), 0);
        EXPECT_EQ(registerCall(last, &tokens[2]), 0) << "the end of the list was kept";
        EXPECT_EQ(entriesOf(TavThreadGetCurrent()), 1);
        EXPECT_EQ(TavThreadUnregisterAbortAction(tokens[2]), 0);
    });
}

// A teardown can come too late, for a thread that has ended; its handle then names the next thread.
TEST(AbortList, aThreadWithARecycledHandleStartsClean)
{
    TavThreadID ended = kTavThreadInvalidID, next = kTavThreadInvalidID;
    onThread([] {}, &ended);
    for (int turn = 0; turn < 50 && next != ended; ++turn) {
        EXPECT_EQ(TavThreadAbortForTeardown(ended), 0);
        EXPECT_EQ(entriesOf(ended), 1);
        onThread([] { EXPECT_EQ(entriesOf(TavThreadGetCurrent()), 0); }, &next);
        TavThreadLockAbortList();
        TavThreadRemoveFromAbortListAndCleanup(ended);
        TavThreadUnlockAbortList();
    }
    if (next != ended) GTEST_SKIP() << "no handle was used again";
}

TEST(AbortList, aborterAndRegistrantsMayRace)
{
    constexpr int kThreads = 4, kTurns = 500;
    TavThreadID ids[kThreads] = {};
    HandOver started, finished;
    std::thread aborter([&] {
        EXPECT_TRUE(started.await(kThreads));
        while (finished.step() < kThreads)
            for (const TavThreadID id : ids) EXPECT_EQ(TavThreadAbort(id), 0);
    });
    std::vector<std::thread> registrants;
    for (TavThreadID& id : ids)
        registrants.emplace_back([&] {
            id = TavThreadGetCurrent();
            started.advance();
            for (int turn = 0; turn < kTurns; ++turn) {
                int runs = 0;  // dead after unregistration: a later run would be seen by the sanitizers
                Call action = [&] { ++runs; };
                TavThreadAbortActionToken token = nullptr;
                EXPECT_EQ(registerCall(action, &token), 0);
                EXPECT_EQ(TavThreadUnregisterAbortAction(token), 0);
            }
            finished.advance();
        });
    for (std::thread& registrant : registrants) registrant.join();
    aborter.join();
    for (const TavThreadID id : ids) EXPECT_EQ(entriesOf(id), 0);
}

void onQueue(dispatch_queue_t queue, Call work) { dispatch_sync_f(queue, &work, runCall); }

TEST(AbortList, aQueueIsAbortedByItsIdentity)
{
    const dispatch_queue_t queue = dispatch_queue_create("abortable", nullptr);
    const SignalProbe probe;
    EXPECT_EQ(TavThreadAbortQueueForTeardown(queue), kTavThreadParamErr) << "not made abortable";
    EXPECT_EQ(probe.function(), "TavThreadAbortQueueForTeardown");
    EXPECT_EQ(TavThreadMakeDispatchQueueAbortable(queue), 0);
    EXPECT_EQ(TavThreadAbortQueue(nullptr), kTavThreadParamErr) << "the current queue has no identity";

    int runs = 0;
    Call action = [&] { ++runs; };
    TavThreadAbortActionToken token = nullptr;
    onQueue(queue, [&] { EXPECT_EQ(registerCall(action, &token), 0); });
    EXPECT_EQ(TavThreadAbortQueue(queue), 0);
    EXPECT_EQ(runs, 1);
    onQueue(queue, [] { EXPECT_EQ(TavThreadAbortQueue(nullptr), 0); });
    EXPECT_EQ(runs, 2);
    EXPECT_EQ(TavThreadAbortQueueForTeardown(queue), 0);
    EXPECT_EQ(TavThreadAbortQueueForTeardown(queue), 0);
    EXPECT_EQ(runs, 4);
    EXPECT_EQ(TavThreadUnregisterAbortAction(token), 0);
    const auto ofQueue = [](const TavThreadAbortEntry_& entry) { return std::string(entry.queueLabel) == "abortable"; };
    EXPECT_EQ(countEntries(ofQueue), 1);
    onQueue(queue, [&] { EXPECT_EQ(registerCall(action, &token), kTavThreadAlreadyAborted); });
    EXPECT_EQ(runs, 5);
    EXPECT_EQ(registerCall(action, &token), 0) << "the thread itself was not torn down";
    EXPECT_EQ(TavThreadUnregisterAbortAction(token), 0);

    dispatch_release(queue);
    const auto deadline = std::chrono::steady_clock::now() + HandOver::kLimit;
    while (countEntries(ofQueue) != 0 && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
    EXPECT_EQ(countEntries(ofQueue), 0) << "the marker goes with the queue";
}

TEST(AbortList, sharedQueuesAreNotMadeAbortable)
{
    EXPECT_EQ(TavThreadMakeDispatchQueueAbortable(nullptr), 0);
    EXPECT_EQ(TavThreadMakeDispatchQueueAbortable(dispatch_get_main_queue()), kTavThreadParamErr);
    EXPECT_EQ(TavThreadMakeDispatchQueueAbortable(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_DEFAULT, 0)),
              kTavThreadParamErr);
}

}  // namespace
