#include <gtest/gtest.h>

#include "Utilities/TavDispatchUtilities.h"

#include <cstring>
#include <thread>

#include "Foundation/Objects/ZoAllocator.h"
#include "Tests/Dispatch/Tasks.h"
#include "Tests/Support/HandOver.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

HeldQueue serialQueue() { return HeldQueue(TavDispatchQueueCreateWithPriority("utilities", nullptr, 7)); }

ZoRef<ZoTypeRef> newObject() { return ZoRef<ZoTypeRef>::retain(real(0.1).get()); }

}  // namespace

TEST(DispatchUtilities, AQueueOfAnyPriorityIsAPlainQueue)
{
    HeldQueue queue(TavDispatchQueueCreateWithPriorityAndClientPID("labelled", DISPATCH_QUEUE_CONCURRENT, 3, 1));
    EXPECT_STREQ(dispatch_queue_get_label(queue), "labelled");
    EXPECT_EQ(TavDispatchQueueSetPriorityAndClientPID(queue, 3, 1), 0);
    SignalProbe probe;
    EXPECT_EQ(TavDispatchQueueSetPriorityAndClientPID(nullptr, 3, 1), -12780);
    EXPECT_EQ(probe.message(), "NULL queue");
}

TEST(DispatchUtilities, DeferredReleaseKeepsTheObjectUntilItsQueueRuns)
{
    TavDeferZoRelease(nullptr);
    HandOver steps;
    HeldQueue gate = serialQueue();
    dispatch_set_context(gate, &steps);
    dispatch_set_finalizer_f(gate, [](void* context) { static_cast<HandOver*>(context)->reach(2); });
    TavDispatchQueueHolderRef holder;
    ASSERT_EQ(TavDispatchQueueHolderCreateWithDispatchQueue(nullptr, gate, &holder), 0);
    gate.reset();  // the holder's is the last reference
    EXPECT_EQ(steps.step(), 0);
    TavDeferZoRelease(holder);
    EXPECT_TRUE(steps.await(2));
}

TEST(DispatchUtilities, CopyPropertyRunsOnTheQueueAndPassesTheStatusOn)
{
    HeldQueue queue = serialQueue();
    static dispatch_queue_t sQueue;
    sQueue = queue;
    const auto copy = [](ZoTypeRef object, ZoTypeRef key, ZoAllocatorRef allocator, void* valueOut) -> OSStatus {
        EXPECT_EQ(dispatch_get_current_queue(), sQueue);
        EXPECT_EQ(allocator, kZoAllocatorMalloc);
        *static_cast<ZoTypeRef*>(valueOut) = key;
        return object == key ? -5 : 0;
    };
    const auto object = newObject(), key = newObject();
    ZoTypeRef value = nullptr;
    EXPECT_EQ(
        TavDispatchSyncCopyPropertyImplementation(queue, copy, object.get(), key.get(), kZoAllocatorMalloc, &value), 0);
    EXPECT_EQ(value, key.get());
    EXPECT_EQ(TavDispatchSyncCopyPropertyImplementation(queue, copy, key.get(), key.get(), kZoAllocatorMalloc, &value),
              -5);
    SignalProbe probe;
    EXPECT_EQ(TavDispatchSyncCopyPropertyImplementation(queue, copy, object.get(), nullptr, nullptr, &value), -12780);
    EXPECT_EQ(probe.message(), "Invalid arguments");
    EXPECT_EQ(TavDispatchAsyncSetPropertyImplementation(
                  queue, [](ZoTypeRef, ZoTypeRef, ZoTypeRef) { return OSStatus{0}; }, nullptr, key.get(), nullptr),
              -12780);
    EXPECT_EQ(probe.count(), 2u);
}

TEST(DispatchUtilities, SetPropertyKeepsItsArgumentsUntilTheQueueHasRun)
{
    HeldQueue queue = serialQueue();
    HandOver steps;
    static HandOver* sSteps;
    static ZoTypeRef sValue;
    sSteps = &steps;
    const auto set = [](ZoTypeRef object, ZoTypeRef key, ZoTypeRef value) -> OSStatus {
        EXPECT_GT(ZoGetRetainCount(object), 0);
        EXPECT_GT(ZoGetRetainCount(key), 0);
        EXPECT_EQ(value, sValue);
        sSteps->advance();
        return value ? 0 : -77;  // goes to the log only
    };
    async(queue, [&] { steps.await(1); });
    auto value = newObject();
    sValue = value.get();
    {
        const auto object = newObject(), key = newObject();
        EXPECT_EQ(TavDispatchAsyncSetPropertyImplementation(queue, set, object.get(), key.get(), value.get()), 0);
        EXPECT_EQ(ZoGetRetainCount(value.get()), 2);
    }
    steps.reach(1);
    sync(queue, [] {});
    EXPECT_EQ(steps.step(), 2);
    EXPECT_EQ(ZoGetRetainCount(value.get()), 1);

    sValue = nullptr;
    EXPECT_EQ(TavDispatchAsyncSetPropertyImplementation(queue, set, value.get(), value.get(), nullptr), 0);
    sync(queue, [] {});
    EXPECT_EQ(steps.step(), 3);
    EXPECT_EQ(ZoGetRetainCount(value.get()), 1);
}

TEST(DispatchUtilities, AWaitThatEndsEarlyLeavesTheTaskOnTheQueue)
{
    HeldQueue queue = serialQueue();
    HandOver steps;
    const dispatch_function_t advance = [](void* context) { static_cast<HandOver*>(context)->advance(); };
    EXPECT_EQ(TavDispatchAsyncAndWaitWithTimeout_f(queue, &steps, advance, DISPATCH_TIME_FOREVER), 0);
    EXPECT_EQ(steps.step(), 1);
    HandOver busy;
    async(queue, [&] { busy.await(1); });
    EXPECT_NE(TavDispatchAsyncAndWaitWithTimeout_f(queue, &steps, advance, DISPATCH_TIME_NOW), 0);
    EXPECT_EQ(steps.step(), 1);
    busy.reach(1);
    EXPECT_TRUE(steps.await(2));
}

TEST(DispatchQueueHolder, HoldsTheQueueAndNamesIt)
{
    HeldQueue queue = serialQueue();
    TavDispatchQueueHolderRef holder = nullptr;
    ASSERT_EQ(TavDispatchQueueHolderCreateWithDispatchQueue(nullptr, queue, &holder), 0);
    const auto owned = zoAdopt(holder);
    EXPECT_EQ(TavDispatchQueueHolderGetDispatchQueue(holder), queue);
    EXPECT_EQ(ZoGetTypeID(holder), TavDispatchQueueHolderGetTypeID());
    char expected[128];
    snprintf(expected, sizeof expected, "<TavDispatchQueueHolder %p> %p (utilities)", static_cast<const void*>(holder),
             static_cast<void*>(dispatch_queue_t(queue)));
    EXPECT_EQ(textOf(ZoCopyDescription(holder)), expected);

    SignalProbe probe;
    EXPECT_EQ(TavDispatchQueueHolderCreateWithDispatchQueue(nullptr, nullptr, &holder), -12780);
    EXPECT_EQ(probe.message(), "queue NULL");
    EXPECT_EQ(holder, nullptr);
    EXPECT_EQ(TavDispatchQueueHolderCreateWithDispatchQueue(nullptr, queue, nullptr), -12780);
    EXPECT_EQ(probe.message(), "dispatchQueueHolderOut NULL");
}
