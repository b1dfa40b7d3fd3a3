#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "Tests/Dispatch/Tasks.h"
#include "Tests/Support/HandOver.h"
#include "Tests/Support/Sleeper.h"

using namespace luvia_test;

static HeldQueue serialQueue(const char* label = "serial") { return HeldQueue(dispatch_queue_create(label, nullptr)); }
static HeldQueue concurrentQueue(const char* label = "concurrent")
{
    return HeldQueue(dispatch_queue_create(label, DISPATCH_QUEUE_CONCURRENT));
}

// Producers on a serial queue, a concurrent one, and two that target a serial one, with whatever form of task: writers
// are alone, readers see no half-made change, and what one producer put on a serial queue runs in order.
TEST(Queues, KeepOrderAndKeepWritersApartUnderLoad)
{
    enum Kind { kSerial, kConcurrent, kTargeting };
    for (const Kind kind : {kSerial, kConcurrent, kTargeting}) {
        HeldQueue bottom(dispatch_queue_create("bottom", kind == kConcurrent ? DISPATCH_QUEUE_CONCURRENT : nullptr));
        HeldQueue first = concurrentQueue(), second = serialQueue();
        dispatch_set_target_queue(first, bottom);
        dispatch_set_target_queue(second, bottom);
        HeldGroup group(dispatch_group_create());
        int left = 0, right = 0, last[4] = {};  // no lock: the queue is the lock
        std::atomic<int> torn{0}, outOfOrder{0}, writes{0};
        std::vector<std::thread> producers;
        for (unsigned p = 0; p < 4; ++p)
            producers.emplace_back([&, p] {
                const dispatch_queue_t queue = kind != kTargeting ? bottom : p % 2 ? first : second;
                std::minstd_rand random(p + 1);
                for (int i = 1; i <= 500; ++i) {
                    const auto read = [&] { torn += left != right; };
                    const auto write = [&, p, i] {
                        ++left;
                        if (i % 16 == 0) std::this_thread::yield();
                        ++right;
                        if (kind == kSerial) outOfOrder += std::exchange(last[p], i) > i;
                    };
                    const auto form = random() % 8;
                    writes += form < 3;
                    switch (form) {
                        case 0: barrierAsync(queue, write); break;
                        case 1: barrierSync(queue, write); break;
                        case 2: kind == kConcurrent ? barrierAsync(queue, write) : async(queue, write); break;
                        case 3:
                        case 4: sync(queue, read); break;
                        case 5: groupAsync(group, queue, read); break;
                        default: async(queue, read);
                    }
                }
                barrierSync(queue, [] {});
            });
        for (std::thread& producer : producers) producer.join();
        barrierSync(bottom, [] {});
        EXPECT_EQ(dispatch_group_wait(group, DISPATCH_TIME_FOREVER), 0);
        EXPECT_TRUE(torn == 0 && outOfOrder == 0) << kind;
        EXPECT_EQ(left, writes) << kind;
    }
}

TEST(SerialQueue, SyncRunsOnTheCallersThreadInItsTurn)
{
    HeldQueue queue = serialQueue();
    HandOver steps;
    std::string order;  // no lock: the queue is the lock
    dispatch_suspend(queue);
    async(queue, [&] {
        steps.reach(1);
        steps.await(2);
    });
    Sleeper caller([&] {
        sync(queue, [&, id = std::this_thread::get_id()] {
            order += 's';
            EXPECT_EQ(std::this_thread::get_id(), id);
        });
    });
    caller.awaitAsleep();
    async(queue, [&] { order += '1'; });
    dispatch_resume(queue);
    EXPECT_TRUE(steps.await(1));
    async(queue, [&] { order += '2'; });  // behind what is left of those that started together
    steps.reach(2);
    sync(queue, [&] { EXPECT_EQ(order, "s12"); });
}

TEST(SerialQueue, LivesWithoutAReferenceUntilItsTasksHaveRun)
{
    HandOver steps;
    {
        HeldQueue queue = serialQueue("last words");
        dispatch_set_context(queue, &steps);
        dispatch_set_finalizer_f(queue, [](void* context) { static_cast<HandOver*>(context)->reach(3); });
        async(queue, [&] { steps.await(1); });
        async(queue, [&] {
            EXPECT_STREQ(dispatch_queue_get_label(DISPATCH_CURRENT_QUEUE_LABEL), "last words");
            steps.reach(2);
        });
    }
    EXPECT_EQ(steps.step(), 0);
    steps.reach(1);
    EXPECT_TRUE(steps.await(3));

    HandOver shared, other;
    {
        HeldQueue queue = concurrentQueue();
        dispatch_set_context(queue, &shared);
        dispatch_set_finalizer_f(queue, [](void* context) { static_cast<HandOver*>(context)->reach(3); });
        async(queue, [&] {
            shared.await(2);
            EXPECT_EQ(shared.step(), 2);
        });
    }
    async(dispatch_get_global_queue(0, 0), [&] { other.reach(1); });
    EXPECT_TRUE(other.await(1));
    shared.reach(2);
    EXPECT_TRUE(shared.await(3));
}

TEST(QueueDeathTest, AThreadThatWouldWaitForItselfStopsTheProgram)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    HeldQueue outer = serialQueue("outer"), inner = serialQueue("inner"), shared = concurrentQueue("shared");
    dispatch_set_target_queue(inner, outer);
    EXPECT_DEATH(sync(outer, [&] { sync(outer, [] {}); }), "wait for its own thread: outer");
    EXPECT_DEATH(sync(inner, [&] { sync(outer, [] {}); }), "wait for its own thread: outer");
    EXPECT_DEATH(barrierSync(shared, [&] { sync(shared, [] {}); }), "wait for its own thread: shared");
    EXPECT_DEATH(sync(shared, [&] { barrierSync(shared, [] {}); }), "wait for its own thread: shared");
    const auto behindABarrier = [&] {
        barrierAsync(shared, [] {});
        sync(shared, [] {});
    };
    EXPECT_DEATH(sync(shared, behindABarrier), "wait for its own thread: shared");
    // What a suspension holds may go on, and so may a reader among readers.
    HandOver steps;
    std::thread resumer([&] {
        steps.await(1);
        dispatch_resume(shared);
    });
    sync(shared, [&] {
        sync(shared, [&] { dispatch_suspend(shared); });
        steps.reach(1);
        sync(shared, [] {});
    });
    resumer.join();
}

TEST(CurrentQueue, IsTheInnermostInNestedSyncAndAGlobalOneOutside)
{
    HeldQueue outer = serialQueue("outer"), inner = concurrentQueue("inner");
    EXPECT_EQ(dispatch_get_current_queue(), dispatch_get_global_queue(0, 0));
    sync(outer, [&] {
        EXPECT_EQ(dispatch_get_current_queue(), outer);
        sync(inner, [&] { EXPECT_EQ(dispatch_get_current_queue(), inner); });
        EXPECT_EQ(dispatch_get_current_queue(), outer);
        barrierAsync(inner, [&] { EXPECT_EQ(dispatch_get_current_queue(), inner); });
        barrierSync(inner, [&] { EXPECT_EQ(dispatch_get_current_queue(), inner); });
    });
    sync(dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_LOW, 0),
         [] { EXPECT_EQ(dispatch_get_current_queue(), dispatch_get_global_queue(DISPATCH_QUEUE_PRIORITY_LOW, 0)); });
    EXPECT_EQ(dispatch_get_global_queue(77, 0), nullptr);
}

TEST(ConcurrentQueue, SharedTasksMeetAndABarrierRunsAlone)
{
    HeldQueue queue = concurrentQueue();
    HandOver steps;
    std::atomic<int> before{0}, after{0};
    for (int i = 0; i < 3; ++i)
        async(queue, [&] {
            steps.advance();
            steps.await(3);  // all three are in at the same time
            ++before;
        });
    barrierAsync(queue, [&] {
        EXPECT_EQ(before, 3);
        EXPECT_EQ(after, 0);
    });
    for (int i = 0; i < 3; ++i) async(queue, [&] { ++after; });
    barrierSync(queue, [&] { EXPECT_EQ(after, 3); });
}

TEST(TargetQueue, ChangesBehindTheTasksThatAreOnTheQueue)
{
    HeldQueue first = serialQueue("first"), second = serialQueue("second"), queue = serialQueue("queue");
    static const char kKey = 0;
    int one = 1, two = 2;
    dispatch_queue_set_specific(first, &kKey, &one, nullptr);
    dispatch_queue_set_specific(second, &kKey, &two, nullptr);
    dispatch_set_target_queue(queue, first);
    HandOver steps;
    const auto expect = [](int* value) { return [value] { EXPECT_EQ(dispatch_get_specific(&kKey), value); }; };
    async(queue, [&] { steps.await(1); });
    async(queue, expect(&one));
    dispatch_set_target_queue(queue, second);
    std::atomic<bool> ran{false};
    async(queue, [&] { ran = true; });
    async(second, [&] { steps.await(2); });
    steps.reach(1);
    sync(first, [&] { EXPECT_FALSE(ran) << "on the new target only, which is busy"; });
    steps.reach(2);
    sync(queue, expect(&two));
    EXPECT_TRUE(ran);
}

TEST(QueueSpecific, IsInheritedReplacedAndDestroyed)
{
    HandOver destroyed;
    static HandOver* sDestroyed;
    sDestroyed = &destroyed;
    const dispatch_function_t destroy = [](void* value) { sDestroyed->reach(*static_cast<int*>(value)); };
    static const char kKey = 0, kOther = 0;
    int one = 1, two = 2;
    {
        HeldQueue parent = serialQueue("parent"), child = concurrentQueue("child");
        dispatch_set_target_queue(child, parent);
        dispatch_queue_set_specific(parent, &kKey, &one, destroy);
        EXPECT_EQ(dispatch_get_specific(&kKey), nullptr);
        sync(child, [&] {
            EXPECT_EQ(dispatch_get_specific(&kKey), &one);
            EXPECT_EQ(dispatch_get_specific(&kOther), nullptr);
        });
        EXPECT_EQ(dispatch_queue_get_specific(child, &kKey), nullptr);
        dispatch_queue_set_specific(parent, &kKey, &two, destroy);
        EXPECT_TRUE(destroyed.await(1));
        EXPECT_EQ(dispatch_queue_get_specific(parent, &kKey), &two);
    }
    EXPECT_TRUE(destroyed.await(2));
}

TEST(Suspension, HoldsWhatHasNotStartedUntilResumedAsOften)
{
    for (dispatch_queue_attr_t attributes : {DISPATCH_QUEUE_SERIAL, DISPATCH_QUEUE_CONCURRENT}) {
        HeldQueue queue(dispatch_queue_create("suspended", attributes));
        HandOver steps;
        std::atomic<int> ran{0};
        async(queue, [&] {
            dispatch_suspend(queue);  // holds what stands behind in the same batch, too
            steps.reach(1);
            steps.await(2);
        });
        steps.await(1);
        async(queue, [&] { ++ran; });
        barrierAsync(queue, [&] { ++ran; });
        std::thread waiter([&] { sync(queue, [&] { ++ran; }); });
        dispatch_suspend(queue);
        steps.reach(2);
        dispatch_resume(queue);
        EXPECT_EQ(ran, 0);
        dispatch_resume(queue);
        waiter.join();
        barrierSync(queue, [&] { EXPECT_EQ(ran, 3); });
    }
}

TEST(MainQueueDeathTest, RunsAsyncAndSyncTasksOnTheThreadInDispatchMain)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            static std::thread::id sMain;
            sMain = std::this_thread::get_id();
            async(dispatch_get_global_queue(0, 0), [] {
                static std::atomic<int> sOnMain{0};
                async(dispatch_get_main_queue(), [] { sOnMain += std::this_thread::get_id() == sMain; });
                sync(dispatch_get_main_queue(), [] { sOnMain += std::this_thread::get_id() == sMain; });
                _exit(sOnMain == 2 ? 7 : 1);
            });
            dispatch_main();
        },
        testing::ExitedWithCode(7), "");
}
