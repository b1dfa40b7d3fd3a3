#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "Tests/Dispatch/Tasks.h"
#include "Tests/Support/HandOver.h"

using namespace luvia_test;

static dispatch_time_t in(int64_t milliseconds)
{
    return dispatch_time(DISPATCH_TIME_NOW, milliseconds * int64_t(NSEC_PER_MSEC));
}

TEST(Time, SaturatesAtBothEndsAndKeepsClocksApart)
{
    EXPECT_EQ(dispatch_time(DISPATCH_TIME_NOW, INT64_MAX), DISPATCH_TIME_FOREVER);
    EXPECT_EQ(dispatch_time(DISPATCH_TIME_FOREVER, -1), DISPATCH_TIME_FOREVER);
    EXPECT_EQ(dispatch_time(dispatch_time(DISPATCH_TIME_NOW, INT64_MIN), 0), dispatch_time_t(1));
    const timespec moment = {1000, 5};
    const dispatch_time_t wall = dispatch_walltime(&moment, 7);
    EXPECT_EQ(dispatch_time(wall, 3), dispatch_walltime(&moment, 10));
    EXPECT_EQ(dispatch_time(wall, INT64_MAX), DISPATCH_TIME_FOREVER);
    const timespec farPast = {INT64_MIN / 2, 0}, farFuture = {INT64_MAX, 999'999'999};
    EXPECT_EQ(dispatch_walltime(&farFuture, 1), DISPATCH_TIME_FOREVER);
    HeldGroup group(dispatch_group_create());
    dispatch_group_enter(group);
    for (dispatch_time_t past : {dispatch_walltime(&farPast, -5), wall, dispatch_time_t(1), DISPATCH_TIME_NOW})
        EXPECT_NE(dispatch_group_wait(group, past), 0);
    dispatch_group_leave(group);
}

TEST(Group, WaitsForAllAndTimesOutWhileOneIsLeft)
{
    HeldGroup group(dispatch_group_create());
    HandOver steps;
    EXPECT_EQ(dispatch_group_wait(group, DISPATCH_TIME_NOW), 0);
    std::atomic<int> ran{0};
    for (int i = 0; i < 20; ++i)
        groupAsync(group, dispatch_get_global_queue(0, 0), [&] {
            if (++ran == 20) steps.await(1);
        });
    EXPECT_NE(dispatch_group_wait(group, in(1)), 0);
    steps.reach(1);
    EXPECT_EQ(dispatch_group_wait(group, DISPATCH_TIME_FOREVER), 0);
    EXPECT_EQ(ran, 20);
}

TEST(Group, NotifiesOnceEmptyAlsoWhenItIsAlready)
{
    HeldQueue queue(dispatch_queue_create("notify", nullptr));
    HandOver steps;
    const dispatch_function_t advance = [](void* context) { static_cast<HandOver*>(context)->advance(); };
    {
        HeldGroup group(dispatch_group_create());
        dispatch_group_enter(group);
        dispatch_group_enter(group);
        dispatch_group_notify_f(group, queue, &steps, advance);
        dispatch_group_leave(group);
        sync(queue, [&] { EXPECT_EQ(steps.step(), 0); });
        dispatch_group_leave(group);
        EXPECT_TRUE(steps.await(1));
        dispatch_group_notify_f(group, queue, &steps, advance);
        EXPECT_TRUE(steps.await(2));
        dispatch_group_enter(group);
        dispatch_group_notify_f(group, queue, &steps, advance);
        async(queue, [group = dispatch_group_t(group)] { dispatch_group_leave(group); });
    }  // the count alone keeps the group alive
    EXPECT_TRUE(steps.await(3));
}

TEST(GroupDeathTest, LeavingWithoutHavingEnteredStopsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    HeldGroup group(dispatch_group_create());
    EXPECT_DEATH(dispatch_group_leave(group), "dispatch_group_leave without");
}

TEST(Semaphore, CountsTimesOutAndTellsWhetherItWoke)
{
    EXPECT_EQ(dispatch_semaphore_create(-1), nullptr);
    Held<dispatch_semaphore_t> semaphore(dispatch_semaphore_create(1));
    EXPECT_EQ(dispatch_semaphore_wait(semaphore, DISPATCH_TIME_NOW), 0);
    EXPECT_NE(dispatch_semaphore_wait(semaphore, DISPATCH_TIME_NOW), 0);
    EXPECT_NE(dispatch_semaphore_wait(semaphore, in(1)), 0);
    EXPECT_EQ(dispatch_semaphore_signal(semaphore), 0);
    EXPECT_EQ(dispatch_semaphore_wait(semaphore, DISPATCH_TIME_FOREVER), 0);

    // Ping-pong: every signal is taken exactly once.
    Held<dispatch_semaphore_t> back(dispatch_semaphore_create(0));
    int value = 0;
    std::thread other([&] {
        for (int i = 0; i < 1000; ++i) {
            dispatch_semaphore_wait(semaphore, DISPATCH_TIME_FOREVER);
            ++value;
            dispatch_semaphore_signal(back);
        }
    });
    for (int i = 0; i < 1000; ++i) {
        dispatch_semaphore_signal(semaphore);
        dispatch_semaphore_wait(back, DISPATCH_TIME_FOREVER);
        ASSERT_EQ(value, i + 1);
    }
    other.join();
}

TEST(Once, RacingCallersAllSeeTheFinishedRun)
{
    for (int round = 0; round < 50; ++round) {
        struct State {
            dispatch_once_t once = 0;
            int runs = 0;  // no lock: the guard is the lock
            HandOver steps;
        } state;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&state] {
                state.steps.advance();
                dispatch_once_f(&state.once, &state, [](void* context) {
                    State* self = static_cast<State*>(context);
                    self->steps.await(4);  // all are there, so most wait
                    ++self->runs;
                });
                EXPECT_EQ(state.runs, 1);
            });
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(state.once, ~dispatch_once_t(0));
    }
}
