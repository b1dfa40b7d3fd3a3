#include <dispatch/dispatch.h>

#include <atomic>

#include "Platform/Common/CommonSynchronization.h"
#include "Platform/Common/CommonThread.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraThread.h"
#include "Tests/Memory/MemoryMakers.h"
#include "Utilities/TavDispatchUtilities.h"

using namespace luvia_test;

namespace {

template <auto create, auto destroy>
Made makeLock(ZoAllocatorRef allocator)
{
    const auto lock = create(allocator);
    return made(lock, lock && destroy(lock) == 0);
}

void count(void* counter) { ++*static_cast<std::atomic<int>*>(counter); }

Made runOnQueues(ZoAllocatorRef)
{
    std::atomic<int> ran = 0;
    const dispatch_queue_t serial = dispatch_queue_create("org.example.serial", DISPATCH_QUEUE_SERIAL);
    const dispatch_queue_t concurrent = dispatch_queue_create("org.example.concurrent", DISPATCH_QUEUE_CONCURRENT);
    if (!serial || !concurrent) {
        if (serial) dispatch_release(serial);
        if (concurrent) dispatch_release(concurrent);
        return Made::kRefused;
    }
    for (int i = 0; i < 10; ++i) dispatch_async_f(serial, &ran, count);
    dispatch_sync_f(serial, &ran, count);
    for (int i = 0; i < 4; ++i) dispatch_async_f(concurrent, &ran, count);
    dispatch_barrier_async_f(concurrent, &ran, count);
    dispatch_sync_f(concurrent, &ran, count);
    dispatch_apply_f(4, concurrent, &ran, [](void* counter, size_t) { count(counter); });
    dispatch_release(serial);
    dispatch_release(concurrent);
    return made(true, ran == 21);
}

Made waitForGroup(ZoAllocatorRef)
{
    std::atomic<int> ran = 0;
    const dispatch_group_t group = dispatch_group_create();
    const dispatch_semaphore_t semaphore = dispatch_semaphore_create(0);
    const bool isThere = group && semaphore;
    if (isThere) {
        const dispatch_queue_t queue = dispatch_get_global_queue(0, 0);
        for (int i = 0; i < 4; ++i) dispatch_group_async_f(group, queue, &ran, count);
        dispatch_group_wait(group, DISPATCH_TIME_FOREVER);
        const auto signal = [](void* it) { dispatch_semaphore_signal(static_cast<dispatch_semaphore_t>(it)); };
        dispatch_after_f(dispatch_time(DISPATCH_TIME_NOW, 1000), queue, semaphore, signal);
        dispatch_semaphore_wait(semaphore, DISPATCH_TIME_FOREVER);
    }
    if (group) dispatch_release(group);
    if (semaphore) dispatch_release(semaphore);
    return made(isThere, ran == 4);
}

Made holdQueue(ZoAllocatorRef allocator)
{
    const dispatch_queue_t queue = TavDispatchQueueCreateWithPriority("org.example.held", nullptr, 0);
    ZoRef<TavDispatchQueueHolderRef> holder;
    if (!queue) return Made::kRefused;
    const OSStatus status = TavDispatchQueueHolderCreateWithDispatchQueue(allocator, queue, holder.outParam());
    dispatch_release(queue);
    return made(status == 0, holder && TavDispatchQueueHolderGetDispatchQueue(holder.get()) == queue);
}

Made runThread(ZoAllocatorRef)
{
    std::atomic<int> ran = 0;
    TavThreadID thread = {};
    const auto run = [](void* counter) -> void* {
        count(counter);
        return nullptr;
    };
    if (TavThreadCreate(run, &ran, 1, true, nullptr, &thread) != 0) return made(false, ran == 0);
    return made(true, TavThreadJoin(thread, nullptr) == 0 && ran == 1);
}

Made abortAction(ZoAllocatorRef)
{
    TavThreadAbortActionToken token = {};
    const auto nothing = [](void*) {};
    if (TavThreadRegisterAbortAction(nothing, nullptr, &token) != 0) return Made::kRefused;
    return made(true, TavThreadUnregisterAbortAction(token) == 0);
}

Made logAndSignal(ZoAllocatorRef)
{
    tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, "%d %s %@ %1000s", 5, "text", ZOSTR("object"), "wide");
    return made(true, TAV_SIGNAL_NAMED(-1, "-1", "for the sake of it") == -1);
}

constexpr Maker kRows[] = {
    {"mutex", makeLock<TavSimpleMutexCreateWithFlags, TavSimpleMutexDestroy>, 1},
    {"reentrantMutex", makeLock<TavReentrantMutexCreateWithFlags, TavReentrantMutexDestroy>, 1},
    {"condition", makeLock<TavConditionVariableCreateWithFlags, TavConditionVariableDestroy>, 1},
    {"semaphore",
     makeLock<[](ZoAllocatorRef a) { return TavSemaphoreCreateWithFlags(a, 0, 1, 0); }, TavSemaphoreDestroy>, 1},
    {"readWriteLock",
     makeLock<[](ZoAllocatorRef a) { return TavReadWriteLockCreateWithFlags(a, 1); }, TavReadWriteLockDestroy>, 1},
    {"queues", runOnQueues},
    {"group", waitForGroup},
    {"queueHolder", holdQueue, 1},
    {"thread", runThread},
    {"abortAction", abortAction},
    {"log", logAndSignal, 0, true},
};

}  // namespace

const std::span<const Maker> luvia_test::kPlatformMakers = kRows;
