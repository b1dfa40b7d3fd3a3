#include "Platform/Common/CommonThread.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/Common/CommonThreadPrivate.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Ostra/OstraAtomics.h"
#include "Platform/Ostra/OstraSynchronization.h"
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

/// A thread that waits as clients do: its action ends the wait.
class AbortableThread {
public:
    /// `registrations` actions write their number, so that the order shows.
    explicit AbortableThread(int registrations) : calls_(size_t(registrations)), tokens_(size_t(registrations))
    {
        const TavThreadProc proc = [](void* refcon) -> void* {
            static_cast<AbortableThread*>(refcon)->run();
            return nullptr;
        };
        EXPECT_EQ(TavThreadCreate(proc, this, kTavThreadPriorityDefault, true, nullptr, &thread_), 0);
        EXPECT_TRUE(steps.await(1));
    }
    ~AbortableThread()
    {
        end();
        TavSemaphoreDestroy(wake_);
    }
    void end()
    {
        if (TavThreadIsValid(thread_)) {
            steps.reach(100);
            EXPECT_EQ(TavThreadJoin(std::exchange(thread_, kTavThreadInvalidID), nullptr), 0);
        }
    }
    TavThreadID id() const { return thread_; }
    std::string ran;  ///< written under the list lock
    HandOver steps;   ///< 1: registered; 2: the wait has ended; 100: may end

private:
    void run()
    {
        for (size_t index = 0; index < calls_.size(); ++index) {
            calls_[index] = [this, index] {
                ran += char('0' + index);
                TavSemaphoreSignal(wake_);
            };
            EXPECT_EQ(registerCall(calls_[index], &tokens_[index]), 0);
        }
        steps.reach(1);
        EXPECT_EQ(TavSemaphoreWaitRelative(wake_, kTavWaitForever), 0);
        steps.reach(2);
        steps.await(100);
        for (const TavThreadAbortActionToken token : tokens_) EXPECT_EQ(TavThreadUnregisterAbortAction(token), 0);
    }

    TavSemaphoreRef wake_ = TavSemaphoreCreate(0, 1);
    TavThreadID thread_ = kTavThreadInvalidID;
    std::vector<Call> calls_;
    std::vector<TavThreadAbortActionToken> tokens_;
};

TEST(AbortList, anAbortRunsTheThreadsActionsInOrderAndEndsItsWait)
{
    AbortableThread target(3), bystander(1);
    EXPECT_EQ(TavThreadAbort(target.id()), 0);
    EXPECT_TRUE(target.steps.await(2));
    EXPECT_EQ(target.ran, "012");
    EXPECT_EQ(bystander.ran, "");
    EXPECT_EQ(TavThreadAbort(target.id()), 0) << "actions stay registered";
    EXPECT_EQ(target.ran, "012012");
    EXPECT_EQ(TavThreadAbort(bystander.id()), 0);
    EXPECT_EQ(TavThreadAbort(TavThreadGetCurrent()), 0) << "no entries";
}

TEST(AbortList, aTeardownLeavesOneMarkerUntilTheThreadEnds)
{
    for (int teardowns = 1; teardowns <= 2; ++teardowns) {
        AbortableThread target(2);
        const TavThreadID id = target.id();
        for (int turn = 0; turn < teardowns; ++turn) EXPECT_EQ(TavThreadAbortForTeardown(id), 0);
        EXPECT_EQ(target.ran, teardowns == 1 ? "01" : "0101");
        EXPECT_EQ(entriesOf(id), 3);
        target.end();
        EXPECT_EQ(entriesOf(id), 0);
    }
    TavThreadID exited = kTavThreadInvalidID;
    onThread(
        [] {
            EXPECT_EQ(TavThreadAbortForTeardown(TavThreadGetCurrent()), 0);
            TavThreadExit(nullptr);
        },
        &exited);
    EXPECT_EQ(entriesOf(exited), 0);
    EXPECT_EQ(TavThreadAbortForTeardown(kTavThreadInvalidID), 0);
    EXPECT_EQ(entriesOf(kTavThreadInvalidID), 0) << "a marker of no thread goes at once";
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
    bool recycled = false;
    for (int turn = 0; turn < 50 && !recycled; ++turn) {
        EXPECT_EQ(TavThreadAbortForTeardown(ended), 0);
        EXPECT_EQ(entriesOf(ended), 1);
        onThread(
            [] {
                Call action = [] { ADD_FAILURE() << "the marker of another thread"; };
                TavThreadAbortActionToken token = nullptr;
                EXPECT_EQ(registerCall(action, &token), 0);
                EXPECT_EQ(TavThreadUnregisterAbortAction(token), 0);
            },
            &next);
        recycled = next == ended;
        TavThreadLockAbortList();
        TavThreadRemoveFromAbortListAndCleanup(ended);
        TavThreadUnlockAbortList();
    }
    if (!recycled) GTEST_SKIP() << "no handle was used again";
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
    EXPECT_EQ(TavThreadAbortQueue(queue), kTavThreadParamErr) << "not made abortable";
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

TEST(AbortList, itsTraceTellsWhatBecomesOfEntries)
{
    TavThreadAbortActionToken token = nullptr;
    const auto registerAndUnregister = [&] {
        Call action = [] {};
        EXPECT_EQ(registerCall(action, &token), 0);
        EXPECT_EQ(TavThreadUnregisterAbortAction(token), 0);
    };
    const ZoStringRef application = ZOSTR(kTavApplicationID), key = ZOSTR("tavcommonthread_trace");
    registerAndUnregister();  // the first use of the list makes the note known
    const int32_t control = std::exchange(gTavLogControl, kTavLogControl_StandardError);
    testing::internal::CaptureStderr();
    registerAndUnregister();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    ASSERT_EQ(TavNote_ChangeValue(application, key, 1), 0);
    testing::internal::CaptureStderr();
    registerAndUnregister();
    const std::string lines = testing::internal::GetCapturedStderr();
    EXPECT_NE(lines.find("New Entry 0x"), std::string::npos) << lines;
    EXPECT_NE(lines.find(" removed and freed\n"), std::string::npos) << lines;
    EXPECT_EQ(TavNote_ChangeValue(application, key, 0), 0);
    gTavLogControl = control;
}

}  // namespace
