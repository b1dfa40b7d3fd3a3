#include <gtest/gtest.h>

#include <unistd.h>

#include <atomic>
#include <thread>
#include <vector>

#include "Tests/Dispatch/Tasks.h"
#include "Tests/Support/HandOver.h"

using namespace luvia_test;

static dispatch_queue_t global() { return dispatch_get_global_queue(0, 0); }

// Each task waits for the next one: it takes as many workers as tasks.
TEST(WorkerPool, GrowsWhileTasksWaitForTasksBehindThem)
{
    constexpr int kTasks = 100;
    HandOver chain[kTasks + 1];
    for (int i = 0; i < kTasks; ++i)
        async(global(), [&chain, i] {
            chain[i + 1].await(1);
            chain[i].reach(1);
        });
    async(global(), [&] { chain[kTasks].reach(1); });
    EXPECT_TRUE(chain[0].await(1));
}

TEST(WorkerPool, BlockedQueuesStarveNoOtherQueue)
{
    constexpr int kBlocked = 40;
    HandOver release, free;
    HeldGroup group(dispatch_group_create());
    for (int i = 0; i < kBlocked; ++i) {
        HeldQueue queue(dispatch_queue_create("blocked", nullptr));
        groupAsync(group, queue, [&] { release.await(1); });
    }
    HeldQueue queue(dispatch_queue_create("free", nullptr));
    async(queue, [&] { free.reach(1); });
    EXPECT_TRUE(free.await(1));
    EXPECT_EQ(dispatch_group_wait(group, DISPATCH_TIME_NOW), 1);
    release.reach(1);
    EXPECT_EQ(dispatch_group_wait(group, DISPATCH_TIME_FOREVER), 0);
}

TEST(WorkerPoolDeathTest, SaysThatItIsFullAndGoesOn)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            constexpr int kMost = 512;
            HandOver started;
            HandOver release;
            HeldGroup group(dispatch_group_create());
            for (int i = 0; i <= kMost; ++i)
                groupAsync(group, global(), [&] {
                    started.advance();
                    release.await(1);
                });
            started.await(kMost);
            fprintf(stderr, "%d\n", started.step());
            release.reach(1);
            dispatch_group_wait(group, DISPATCH_TIME_FOREVER);
            _exit(0);
        },
        testing::ExitedWithCode(0), "dispatch: 512 workers are taken[^\n]*\n512\n$");
}

TEST(WorkerPool, TasksThatSpinGetCompanyToo)
{
    std::atomic<bool> go{false};
    HandOver done;
    const unsigned spinners = std::thread::hardware_concurrency() + 4;
    for (unsigned i = 0; i < spinners; ++i)
        async(global(), [&] {
            while (!go) std::this_thread::yield();
            done.advance();
        });
    async(global(), [&] { go = true; });
    EXPECT_TRUE(done.await(int(spinners)));
}

TEST(Apply, RunsEachIndexOnceAndReturnsAfterTheLast)
{
    HeldQueue serial(dispatch_queue_create("serial", nullptr));
    HeldQueue concurrent(dispatch_queue_create("concurrent", DISPATCH_QUEUE_CONCURRENT));
    HeldQueue narrowed(dispatch_queue_create("narrowed", DISPATCH_QUEUE_CONCURRENT));
    dispatch_set_target_queue(narrowed, serial);
    for (dispatch_queue_t queue : {dispatch_queue_t(serial), dispatch_queue_t(concurrent), dispatch_queue_t(narrowed),
                                   global(), dispatch_queue_t(nullptr)}) {
        for (size_t count : {size_t(0), size_t(1), size_t(1000)}) {
            std::vector<std::atomic<int>> runs(count);
            dispatch_apply_f(count, queue, runs.data(),
                             [](void* context, size_t i) { ++static_cast<std::atomic<int>*>(context)[i]; });
            for (const std::atomic<int>& run : runs) EXPECT_EQ(run, 1);
        }
    }
    // Nested, from within tasks of the same queue.
    std::atomic<int> total{0};
    dispatch_apply_f(8, concurrent, &total, [](void* context, size_t) {
        dispatch_apply_f(8, global(), context, [](void* sum, size_t) { ++*static_cast<std::atomic<int>*>(sum); });
    });
    EXPECT_EQ(total, 64);
}

TEST(After, RunsNotBeforeItsMomentAndInOrderOfMoments)
{
    HeldQueue queue(dispatch_queue_create("after", nullptr));
    std::vector<int> order;
    HandOver done;
    const auto start = std::chrono::steady_clock::now();
    const auto after = [&](int64_t milliseconds, int name) {
        const auto task = [&, milliseconds, name] {
            EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(milliseconds));
            order.push_back(name);
            done.advance();
        };
        dispatch_after_f(dispatch_time(DISPATCH_TIME_NOW, milliseconds * int64_t(NSEC_PER_MSEC)), queue, new Task(task),
                         runTask);
    };
    after(30, 3);
    after(20, 2);
    after(-5, 1);
    dispatch_after_f(DISPATCH_TIME_FOREVER, queue, nullptr, [](void*) { ADD_FAILURE() << "forever came"; });
    EXPECT_TRUE(done.await(3));
    sync(queue, [&] { EXPECT_EQ(order, (std::vector<int>{1, 2, 3})); });

    HandOver wall;
    dispatch_after_f(dispatch_walltime(nullptr, 1000), global(), &wall,
                     [](void* context) { static_cast<HandOver*>(context)->reach(1); });
    EXPECT_TRUE(wall.await(1));
}
