#include <dispatch/dispatch.h>

#include <new>
#include <utility>

#include "Core/TavNotificationCenter/TavNotificationCenter.h"
#include "Core/TavNotificationCenter/TavNotificationCenterPrivate.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Platform/Common/TavSignal.h"

static const ZoStringRef kDeferredMode = ZOSTR("TavDeferredNotificationMode");

// Firings of timers, in the process; atomic.
static int64_t sDeferredNotificationCount;

dispatch_queue_t notificationSerialQueue(dispatch_once_t* once, dispatch_queue_t* queue, const char* label)
{
    std::pair<dispatch_queue_t*, const char*> wanted(queue, label);
    dispatch_once_f(once, &wanted, [](void* context) {
        const auto& [queueOut, name] = *static_cast<decltype(wanted)*>(context);
        *queueOut = dispatch_queue_create(name, DISPATCH_QUEUE_SERIAL);
    });
    return *queue;
}

void notificationReleaseOn(dispatch_queue_t queue, ZoTypeRef object)
{
    dispatch_async_f(queue, const_cast<void*>(object), [](void* last) { ZoRelease(last); });
}

// MARK: contexts

/// A delivery that waits. Center, name, payload and allocator are retained.
struct NotificationDeferral {
    LuNotificationCenterRef center;
    LuNotificationCallback callback;
    const void* listener;
    ZoStringRef name;
    const void* object;
    ZoDictionaryRef payload;
    ZoAllocatorRef allocator;
    const void* reserved;
};
static_assert(sizeof(NotificationDeferral) == 64);

static ZoTypeRef notificationRetain(ZoTypeRef object) { return object ? ZoRetain(object) : nullptr; }
static void notificationRelease(ZoTypeRef object)
{
    if (object) ZoRelease(object);
}

static NotificationDeferral* deferralCreate(const NotificationDeferral& values)
{
    void* const memory = ZoAllocatorAllocate(values.allocator, sizeof(NotificationDeferral), 0);
    if (!memory) return nullptr;
    for (ZoTypeRef kept :
         {ZoTypeRef{values.center}, ZoTypeRef{values.name}, ZoTypeRef{values.payload}, ZoTypeRef{values.allocator}})
        notificationRetain(kept);
    return new (memory) NotificationDeferral(values);
}

static void deferralDestroy(NotificationDeferral* deferral)
{
    ZoAllocatorRef const allocator = deferral->allocator;
    for (ZoTypeRef kept : {ZoTypeRef{deferral->center}, ZoTypeRef{deferral->name}, ZoTypeRef{deferral->payload}})
        notificationRelease(kept);
    ZoAllocatorDeallocate(allocator, deferral);
    notificationRelease(allocator);
}

// Once: a second firing finds no callback.
static void deferralDeliver(NotificationDeferral* deferral)
{
    if (LuNotificationCallback const callback = std::exchange(deferral->callback, nullptr))
        callback(deferral->center, const_cast<void*>(deferral->listener), deferral->name, deferral->object,
                 deferral->payload);
}

// MARK: to a queue

OSStatus TavDeferNotificationToDispatchQueue(LuNotificationCallback callback, LuNotificationCenterRef center,
                                             const void* listener, ZoStringRef name, const void* object,
                                             ZoDictionaryRef payload, dispatch_queue_t queue, ZoAllocatorRef allocator)
{
    if (!queue) return TAV_SIGNAL(kLuNotificationInvalidParameterError, "NULL queue");
    NotificationDeferral* const deferral =
        deferralCreate({center, callback, listener, name, object, payload, allocator, nullptr});
    if (!deferral) return TAV_SIGNAL(kTavNotificationAllocationFailedError, "ZoAllocatorAllocate failed");
    dispatch_async_f(queue, deferral, [](void* context) {
        deferralDeliver(static_cast<NotificationDeferral*>(context));
        deferralDestroy(static_cast<NotificationDeferral*>(context));
    });
    return 0;
}

// MARK: to a run loop

static void deferralTimerFired(ZoRunLoopTimerRef timer, void* info)
{
    const auto held = ZoRef<ZoRunLoopTimerRef>::retain(timer);
    deferralDeliver(static_cast<NotificationDeferral*>(info));
    ZoRunLoopTimerInvalidate(timer);
    __atomic_add_fetch(&sDeferredNotificationCount, 1, __ATOMIC_ACQ_REL);
}

OSStatus TavDeferNotificationToRunLoop(LuNotificationCallback callback, LuNotificationCenterRef center,
                                       const void* listener, ZoStringRef name, const void* object,
                                       ZoDictionaryRef payload, ZoRunLoopRef runLoop, ZoAllocatorRef allocator)
{
    if (!runLoop) return TAV_SIGNAL(kLuNotificationInvalidParameterError, "NULL run loop");
    NotificationDeferral* const deferral =
        deferralCreate({center, callback, listener, name, object, payload, allocator, nullptr});
    if (!deferral) return TAV_SIGNAL(kTavNotificationAllocationFailedError, "ZoAllocatorAllocate failed");
    const ZoRunLoopTimerContext context = {
        .version = 0,
        .info = deferral,
        .retain = nullptr,
        .release =
            [](const void* info) { deferralDestroy(static_cast<NotificationDeferral*>(const_cast<void*>(info))); },
        .copyDescription = nullptr,
    };
    const auto timer =
        zoAdopt(ZoRunLoopTimerCreate(allocator, ZoAbsoluteTimeGetCurrent(), 0, 0, 0, deferralTimerFired, &context));
    if (!timer) {
        deferralDestroy(deferral);
        return TAV_SIGNAL(kTavNotificationAllocationFailedError, "ZoRunLoopTimerCreate failed");
    }
    // The loop keeps the timer until it has fired, or until its thread ends.
    for (ZoStringRef mode : {kZoRunLoopDefaultMode, kZoRunLoopCommonModes, kDeferredMode})
        ZoRunLoopAddTimer(runLoop, timer.get(), mode);
    ZoRunLoopWakeUp(runLoop);
    return 0;
}

OSStatus TavRunDeferredNotificationsOnCurrentRunLoop(void)
{
    int64_t before;
    do {
        before = __atomic_load_n(&sDeferredNotificationCount, __ATOMIC_ACQUIRE);
        ZoRunLoopRunInMode(kDeferredMode, 0, true);
    } while (__atomic_load_n(&sDeferredNotificationCount, __ATOMIC_ACQUIRE) != before);
    return 0;
}

// MARK: posts

struct NotificationAsyncPost {
    LuNotificationCenterRef center;
    ZoStringRef name;
    ZoTypeRef object;
    ZoDictionaryRef payload;
    ZoAllocatorRef allocator;
    uint32_t flags;
};

static dispatch_queue_t asyncPostReleaseQueue()
{
    static dispatch_once_t sOnce;
    static dispatch_queue_t sQueue;
    return notificationSerialQueue(&sOnce, &sQueue, "com.orvane.luvia.deferredpostnotification.deferredRelease");
}

static void asyncPostRun(void* context)
{
    auto* const post = static_cast<NotificationAsyncPost*>(context);
    LuNotificationCenterPostNotification(post->center, post->name, post->object, post->payload, 0);
    if (post->flags & kTavDispatchAsyncPostFlag_DeferObjectRelease)
        notificationReleaseOn(asyncPostReleaseQueue(), post->object);
    else
        ZoRelease(post->object);
    ZoRelease(post->center);
    ZoRelease(post->name);
    notificationRelease(post->payload);
    ZoAllocatorRef const allocator = post->allocator;
    ZoAllocatorDeallocate(allocator, post);
    notificationRelease(allocator);
}

OSStatus TavDispatchAsyncPostNotification(dispatch_queue_t queue, LuNotificationCenterRef center, ZoStringRef name,
                                          ZoTypeRef object, ZoDictionaryRef payload, uint32_t flags)
{
    if (!queue || !center) return TAV_SIGNAL(kTavNotificationInvalidCenterError, "Invalid arguments");
    if (!name || !object) return TAV_SIGNAL(kTavNotificationNULLObjectAndNameError, "Invalid arguments");
    ZoAllocatorRef const allocator = kZoAllocatorDefault;
    auto* const post =
        static_cast<NotificationAsyncPost*>(ZoAllocatorAllocate(allocator, sizeof(NotificationAsyncPost), 0));
    if (!post) return TAV_SIGNAL(kTavNotificationAllocationFailedError, "Dispatch context allocation failed");
    for (ZoTypeRef kept : {ZoTypeRef{center}, ZoTypeRef{name}, object, ZoTypeRef{payload}, ZoTypeRef{allocator}})
        notificationRetain(kept);
    *post = {center, name, object, payload, allocator, flags};
    dispatch_async_f(queue, post, asyncPostRun);
    return 0;
}
