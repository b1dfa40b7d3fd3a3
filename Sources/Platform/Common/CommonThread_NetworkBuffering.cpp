#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Services/ZoPreferences.h"
#include "Foundation/Services/ZoRunLoop.h"
#include "Platform/Common/CommonThread.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Ostra/OstraSynchronization.h"
#include "Utilities/TavDispatchUtilities.h"

#define LABEL_BUFFERING            "com.orvane.luvia.networkbuffering"
#define LABEL_LOW_PRIORITY         "com.orvane.luvia.networkbufferinglowpriority"
#define LABEL_BACKGROUND_THROTTLED "com.orvane.luvia.networkbufferingbackgroundthrottled"

// Run loops ----------------------------------------------------------------------------------------------------------

namespace {

struct NetworkThread {
    ZoStringRef label;
    TavThreadPriority priority;
    TavSemaphoreRef ready;
    ZoRunLoopRef runLoop;
};

}  // namespace

static void networkTimerFired(ZoRunLoopTimerRef, void*) {}

static void* networkThreadMain(void* refcon)
{
    auto* self = static_cast<NetworkThread*>(refcon);
    const ZoRunLoopRef runLoop = ZoRunLoopGetCurrent();
    self->runLoop = runLoop;
    TavSemaphoreSignal(self->ready);  // and from here on `ready` belongs to the creator

    // A run loop without a timer ends. This one comes due after a million years.
    constexpr ZoTimeInterval kNever = 3.1536e13;
    const ZoRef<ZoRunLoopTimerRef> timer = zoAdopt(
        ZoRunLoopTimerCreate(nullptr, ZoAbsoluteTimeGetCurrent() + kNever, kNever, 0, 0, networkTimerFired, nullptr));
    if (timer) ZoRunLoopAddTimer(runLoop, timer.get(), kZoRunLoopCommonModes);
    for (;;) ZoRunLoopRun();
}

static void networkThreadStart(NetworkThread* thread)
{
    const void* key = kTavThreadCreateKey_Identifier;
    const void* value = thread->label;
    const ZoRef<ZoDictionaryRef> options = zoAdopt(
        ZoDictionaryCreate(nullptr, &key, &value, 1, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    thread->ready = TavSemaphoreCreate(0, 1);
    if (!thread->ready) return;
    if (TavThreadCreate(networkThreadMain, thread, thread->priority, false, options.get(), nullptr) == 0)
        TavSemaphoreWaitRelative(thread->ready, kTavWaitForever);
    TavSemaphoreDestroy(thread->ready);
    thread->ready = nullptr;
}

static NetworkThread sBuffering, sLowPriority, sBackgroundThrottled;

static void startBuffering()
{
    sBuffering = {ZOSTR(LABEL_BUFFERING), kTavThreadPriorityNetworkBuffering, nullptr, nullptr};
    networkThreadStart(&sBuffering);
}

static void startLowPriority()
{
    sLowPriority = {ZOSTR(LABEL_LOW_PRIORITY), kTavThreadPriorityNetworkBufferingLowPriority, nullptr, nullptr};
    networkThreadStart(&sLowPriority);
}

static void startBackgroundThrottled()
{
    sBackgroundThrottled = {ZOSTR(LABEL_BACKGROUND_THROTTLED), kTavThreadPriorityNetworkBufferingBackgroundThrottled,
                            nullptr, nullptr};
    networkThreadStart(&sBackgroundThrottled);
}

ZoRunLoopRef TavThreadGetGlobalNetworkBufferingRunloop(void)
{
    static TavThreadOnce sOnce = TAV_THREAD_ONCE_INIT;
    TavThreadRunOnce(&sOnce, startBuffering);
    return sBuffering.runLoop;
}

ZoRunLoopRef TavThreadGetGlobalNetworkBufferingLowPriorityRunloop(void)
{
    static TavThreadOnce sOnce = TAV_THREAD_ONCE_INIT;
    TavThreadRunOnce(&sOnce, startLowPriority);
    return sLowPriority.runLoop;
}

ZoRunLoopRef TavThreadGetGlobalNetworkBufferingBackgroundThrottledRunloop(void)
{
    static TavThreadOnce sOnce = TAV_THREAD_ONCE_INIT;
    TavThreadRunOnce(&sOnce, startBackgroundThrottled);
    return sBackgroundThrottled.runLoop;
}

// Queues -------------------------------------------------------------------------------------------------------------

static dispatch_queue_t sBufferingQueue, sLowPriorityQueue;

static void makeBufferingQueue()
{
    if (ZoPreferencesGetAppBooleanValue(ZOSTR("tavthread_network_buffering_queue_considers_block_qos"),
                                        ZOSTR(kTavApplicationID), nullptr))
        tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0,
                "Will create network buffering dispatch queue that %s consider block QoS -- thank you for setting "
                "\"defaults write com.orvane.luvia tavthread_network_buffering_queue_considers_block_qos -bool %s\"",
                "DOES", "YES");
    sBufferingQueue = TavDispatchQueueCreateWithPriority(LABEL_BUFFERING, nullptr, kTavThreadPriorityNetworkBuffering);
}

static void makeLowPriorityQueue()
{
    sLowPriorityQueue =
        TavDispatchQueueCreateWithPriority(LABEL_LOW_PRIORITY, nullptr, kTavThreadPriorityNetworkBufferingLowPriority);
}

dispatch_queue_t TavThreadGetGlobalNetworkBufferingQueue(void)
{
    static TavThreadOnce sOnce = TAV_THREAD_ONCE_INIT;
    TavThreadRunOnce(&sOnce, makeBufferingQueue);
    return sBufferingQueue;
}

dispatch_queue_t TavThreadGetGlobalNetworkBufferingLowPriorityQueue(void)
{
    static TavThreadOnce sOnce = TAV_THREAD_ONCE_INIT;
    TavThreadRunOnce(&sOnce, makeLowPriorityQueue);
    return sLowPriorityQueue;
}
