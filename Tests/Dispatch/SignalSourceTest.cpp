#include <gtest/gtest.h>

#include <signal.h>
#include <unistd.h>

#include <atomic>

#include "Tests/Dispatch/Tasks.h"
#include "Tests/Support/HandOver.h"

using namespace luvia_test;

namespace {

/// Counts what a source reports, on a queue of its own.
struct Watcher {
    explicit Watcher(int signalNumber)
        : queue(dispatch_queue_create("signals", nullptr)),
          source(dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, uintptr_t(signalNumber), 0, queue))
    {
        dispatch_set_context(source, this);
        dispatch_source_set_event_handler_f(source, [](void* context) {
            Watcher* self = static_cast<Watcher*>(context);
            EXPECT_EQ(dispatch_get_current_queue(), self->queue);
            EXPECT_GE(dispatch_source_get_data(self->source), 1u);
            self->seen.advance();
        });
        dispatch_source_set_cancel_handler_f(
            source, [](void* context) { static_cast<Watcher*>(context)->cancelled.advance(); });
    }
    HeldQueue queue;
    Held<dispatch_source_t> source;
    HandOver seen, cancelled;
};

struct sigaction dispositionOf(int signalNumber)
{
    struct sigaction now = {};
    sigaction(signalNumber, nullptr, &now);
    return now;
}

std::atomic<int> gPlainCalls{0};

}  // namespace

TEST(SignalSource, SeesASignalThatIsIgnoredAndGivesTheDispositionBack)
{
    signal(SIGUSR1, SIG_IGN);
    {
        Watcher watcher(SIGUSR1);
        EXPECT_EQ(dispatch_source_get_handle(watcher.source), uintptr_t(SIGUSR1));
        EXPECT_EQ(dispositionOf(SIGUSR1).sa_handler, SIG_IGN) << "made suspended";
        dispatch_resume(watcher.source);
        for (int round = 1; round <= 3; ++round) {
            kill(getpid(), SIGUSR1);
            ASSERT_TRUE(watcher.seen.await(round));
        }
        dispatch_source_cancel(watcher.source);
        EXPECT_TRUE(dispatch_source_testcancel(watcher.source));
        EXPECT_TRUE(watcher.cancelled.await(1));
        EXPECT_EQ(dispositionOf(SIGUSR1).sa_handler, SIG_IGN);
        kill(getpid(), SIGUSR1);
        dispatch_source_cancel(watcher.source);
        sync(watcher.queue, [] {});
        EXPECT_EQ(watcher.seen.step(), 3);
        EXPECT_EQ(watcher.cancelled.step(), 1);
    }
    signal(SIGUSR1, SIG_DFL);
}

TEST(SignalSource, CallsTheHandlerThatStoodBeforeAndServesSeveralSources)
{
    signal(SIGUSR2, [](int) { ++gPlainCalls; });
    {
        Watcher first(SIGUSR2), second(SIGUSR2);
        dispatch_resume(first.source);
        dispatch_resume(second.source);
        kill(getpid(), SIGUSR2);
        EXPECT_TRUE(first.seen.await(1));
        EXPECT_TRUE(second.seen.await(1));
        EXPECT_EQ(gPlainCalls, 1);
        dispatch_source_cancel(first.source);
        EXPECT_TRUE(first.cancelled.await(1));
        kill(getpid(), SIGUSR2);
        EXPECT_TRUE(second.seen.await(2)) << "still watched for the other source";
        EXPECT_EQ(first.seen.step(), 1);
        dispatch_set_finalizer_f(second.source,
                                 [](void* context) { static_cast<Watcher*>(context)->cancelled.reach(9); });
        second.source.reset();  // without being cancelled
        EXPECT_TRUE(second.cancelled.await(9));
    }
    EXPECT_NE(dispositionOf(SIGUSR2).sa_flags & SA_SIGINFO, SA_SIGINFO) << "the plain handler stands again";
    signal(SIGUSR2, SIG_DFL);
}

TEST(SignalSource, GathersWhileSuspendedAndReportsAfterwards)
{
    Watcher watcher(SIGWINCH), other(SIGWINCH);
    dispatch_resume(watcher.source);
    dispatch_resume(other.source);
    dispatch_suspend(watcher.source);
    for (int round = 1; round <= 3; ++round) {
        kill(getpid(), SIGWINCH);
        ASSERT_TRUE(other.seen.await(round));
    }
    sync(watcher.queue, [&] { EXPECT_EQ(watcher.seen.step(), 0); });
    dispatch_resume(watcher.source);
    EXPECT_TRUE(watcher.seen.await(1));
    sync(watcher.queue, [&] { EXPECT_EQ(dispatch_source_get_data(watcher.source), 3u); });
    for (Watcher* each : {&watcher, &other}) {
        dispatch_source_cancel(each->source);
        EXPECT_TRUE(each->cancelled.await(1));
    }
}

TEST(SignalSource, RefusesWhatCannotBeWatched)
{
    for (uintptr_t number : {uintptr_t(0), uintptr_t(SIGKILL), uintptr_t(SIGSTOP), uintptr_t(65), UINTPTR_MAX})
        EXPECT_EQ(dispatch_source_create(DISPATCH_SOURCE_TYPE_SIGNAL, number, 0, nullptr), nullptr) << number;
}
