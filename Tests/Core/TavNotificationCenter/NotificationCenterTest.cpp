// Plain and weak listeners, lists, deferral to queues and run loops, and barriers, alone and in storms.

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "Core/TavNotificationCenter/TavNotificationCenter.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Tests/Support/HandOver.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

using Object = ZoRef<ZoTypeRef>;
const ZoStringRef kName = ZOSTR("happened");
const ZoStringRef kOther = ZOSTR("other");

Object makeObject() { return zoAdopt(ZoTypeRef{ZoDataCreate(nullptr, nullptr, 0)}); }
LuNotificationCenterRef center() { return LuNotificationCenterGetDefaultLocalCenter(); }

std::atomic<int> sCalls;
std::string sOrder;  // of one thread's calls
void count(ZoNotificationCenterRef, void*, ZoStringRef, const void*, ZoDictionaryRef) { ++sCalls; }
void noteA(ZoNotificationCenterRef, void*, ZoStringRef, const void*, ZoDictionaryRef) { sOrder += 'a'; }
void noteB(ZoNotificationCenterRef, void*, ZoStringRef, const void*, ZoDictionaryRef) { sOrder += 'b'; }

int callsOfPost(ZoStringRef name, const void* object)
{
    sCalls = 0;
    EXPECT_EQ(LuNotificationCenterPostNotification(center(), name, object, nullptr, 0), 0);
    return sCalls;
}

OSStatus addWeak(const Object& listener, const void* object, uint32_t flags = 0, dispatch_queue_t queue = nullptr,
                 LuNotificationCallback callback = count, ZoStringRef name = kName)
{
    return TavNotificationCenterAddWeakListener(center(), listener.get(), callback, name, object, flags, queue);
}

void waitFor(dispatch_queue_t queue)
{
    dispatch_sync_f(queue, nullptr, [](void*) {});
}

TEST(NotificationCenter, refusesInOrder)
{
    const auto object = makeObject();
    const ZoTypeRef o = object.get();
    SignalProbe probe;
    EXPECT_EQ(LuNotificationCenterAddListener(nullptr, nullptr, nullptr, nullptr, nullptr, 0), -12721);
    EXPECT_EQ(LuNotificationCenterAddListener(center(), nullptr, nullptr, nullptr, nullptr, 0), -12720);
    EXPECT_EQ(LuNotificationCenterAddListener(center(), nullptr, count, nullptr, nullptr, 0), -12723);
    EXPECT_EQ(LuNotificationCenterAddListener(center(), o, count, nullptr, nullptr, 0), -12725);
    EXPECT_EQ(LuNotificationCenterPostNotification(center(), nullptr, o, nullptr, 0), -12722);
    EXPECT_EQ(LuNotificationCenterPostNotification(center(), kName, nullptr, nullptr, 0), -12724);
    EXPECT_EQ(addWeak(object, nullptr, 0, nullptr, nullptr), -12720);
    EXPECT_EQ(TavNotificationCenterAddWeakListener(nullptr, o, count, kName, nullptr, 0, nullptr), -12721);
    EXPECT_EQ(addWeak(object, nullptr, 0, nullptr, count, nullptr), -12725);
    EXPECT_EQ(probe.count(), 0u) << "bare refusals are not signalled";
    EXPECT_EQ(LuNotificationCenterPostNotification(center(), kName, o, static_cast<ZoDictionaryRef>(o), 0), -12724);
    EXPECT_EQ(addWeak(object, o, kTavNotificationWeakListenerFlag_RetainPostingObjectWhenDeferring), -12727);
    EXPECT_EQ(addWeak(nullptr, o), -12726);
    EXPECT_EQ(TavDispatchAsyncPostNotification(nullptr, center(), kName, o, nullptr, 0), -12721);
    EXPECT_EQ(LuNotificationCenterBarrier(center(), o), -12724);
    EXPECT_EQ(LuNotificationCenterUnregisterForBarrierSupport(center(), o), -12724);
    EXPECT_EQ(LuNotificationCenterRegisterForBarrierSupport(center(), o), 0);
    EXPECT_EQ(LuNotificationCenterRegisterForBarrierSupport(center(), o), -12724);
    EXPECT_EQ(LuNotificationCenterUnregisterForBarrierSupport(center(), o), 0);
    EXPECT_EQ(probe.count(), 7u);
    EXPECT_EQ(callsOfPost(kName, o), 0) << "nothing of it was registered";
}

TEST(NotificationCenter, weakListenersRegisterOnceAndGoByThemselves)
{
    const auto object = makeObject(), stranger = makeObject();
    auto listener = makeObject();
    EXPECT_EQ(addWeak(listener, object.get()), 0);
    EXPECT_EQ(addWeak(listener, object.get()), kTavNotificationInvalidObjectError);
    EXPECT_EQ(addWeak(listener, stranger.get()), 0);
    EXPECT_EQ(callsOfPost(kName, object.get()), 1);
    EXPECT_EQ(callsOfPost(kOther, object.get()), 0);
    EXPECT_EQ(TavNotificationCenterRemoveWeakListener(center(), listener.get(), count, kName, object.get()), 0);
    EXPECT_EQ(TavNotificationCenterRemoveWeakListener(center(), listener.get(), count, kName, object.get()), 0);
    EXPECT_EQ(callsOfPost(kName, object.get()), 0);
    EXPECT_EQ(callsOfPost(kName, stranger.get()), 1);
    listener.reset();
    EXPECT_EQ(callsOfPost(kName, stranger.get()), 0);
}

// Listeners that die without a word, each perhaps at the address of the one before.
TEST(NotificationCenter, aNewListenerAtADeadOnesAddressIsHeard)
{
    const auto object = makeObject();
    for (int i = 0; i < 500; ++i) {
        const auto listener = makeObject();
        ASSERT_EQ(addWeak(listener, object.get()), 0);
        if (i % 2 == 0) {
            ASSERT_EQ(callsOfPost(kName, object.get()), 1);
        }
    }
}

TEST(NotificationCenter, aListIsAddedWholeOrNotAtAll)
{
    const auto object = makeObject(), listener = makeObject();
    const TavNotificationListenerListEntry good[] = {{noteA, &kName}, {noteB, &kName}, {noteB, &kOther}};
    const TavNotificationListenerListEntry bad[] = {{noteB, &kName}, {noteB, &kOther}, {nullptr, &kName}};
    const auto order = [&] {
        sOrder.clear();
        callsOfPost(kName, object.get());
        return sOrder;
    };
    EXPECT_EQ(LuNotificationCenterAddListener(center(), listener.get(), noteA, kName, object.get(), 0), 0);
    EXPECT_EQ(TavNotificationCenterAddListeners(center(), listener.get(), bad, 3, object.get(), 0), -12720);
    EXPECT_EQ(order(), "a") << "what stood before stands";
    EXPECT_EQ(TavNotificationCenterAddListeners(center(), listener.get(), good, 3, object.get(), 0), 0);
    EXPECT_EQ(order(), "aab");
    EXPECT_EQ(TavNotificationCenterRemoveListeners(center(), listener.get(), good, 3, object.get()), 0);
    EXPECT_EQ(order(), "");

    const TavNotificationListenerListEntry twice[] = {{noteB, &kName}, {noteA, &kName}, {noteB, &kOther}};
    EXPECT_EQ(addWeak(listener, object.get(), 0, nullptr, noteA), 0);
    EXPECT_EQ(TavNotificationCenterAddWeakListeners(center(), listener.get(), twice, 3, object.get(), 0, nullptr),
              kTavNotificationInvalidObjectError);
    EXPECT_EQ(order(), "a");
    EXPECT_EQ(TavNotificationCenterRemoveWeakListeners(center(), listener.get(), twice, 3, object.get()), 0);
    EXPECT_EQ(order(), "");
    EXPECT_EQ(TavNotificationCenterAddListeners(center(), listener.get(), nullptr, 0, object.get(), 0), 0);
}

TEST(NotificationCenter, deliversOnAQueueAndKeepsWhatItNeeds)
{
    dispatch_queue_t queue = dispatch_queue_create("test", DISPATCH_QUEUE_SERIAL);
    HandOver steps;
    dispatch_async_f(queue, &steps, [](void* context) { static_cast<HandOver*>(context)->await(1); });
    auto listener = makeObject(), object = makeObject();
    const uint32_t flags = kTavNotificationWeakListenerFlag_RetainPostingObjectWhenDeferring |
                           kTavNotificationWeakListenerFlag_DeferListenerRelease;
    EXPECT_EQ(addWeak(listener, object.get(), flags, queue), 0);
    sCalls = 0;
    EXPECT_EQ(LuNotificationCenterPostNotification(center(), kName, object.get(), nullptr, 0), 0);
    EXPECT_EQ(sCalls, 0);
    EXPECT_EQ(ZoGetRetainCount(object.get()), 2);
    EXPECT_EQ(ZoGetRetainCount(listener.get()), 2);
    listener.reset();  // the delivery has its own
    steps.reach(1);
    waitFor(queue);
    EXPECT_EQ(sCalls, 1);
    EXPECT_EQ(ZoGetRetainCount(object.get()), 1);

    const auto again = makeObject();
    EXPECT_EQ(addWeak(again, object.get()), 0);
    sCalls = 0;
    EXPECT_EQ(TavDispatchAsyncPostNotification(queue, center(), kName, object.get(), nullptr,
                                               kTavDispatchAsyncPostFlag_DeferObjectRelease),
              0);
    waitFor(queue);
    EXPECT_EQ(sCalls, 1);
    dispatch_release(queue);
}

TEST(NotificationCenter, deliversOnARunLoopAlsoWhatDeliveriesDefer)
{
    EXPECT_EQ(TavRunDeferredNotificationsOnCurrentRunLoop(), 0);
    static int sLeft;
    sLeft = 3;
    sCalls = 0;
    const auto defersAgain = [](ZoNotificationCenterRef c, void*, ZoStringRef name, const void* object,
                                ZoDictionaryRef) {
        ++sCalls;
        if (--sLeft > 0)
            TavDeferNotificationToRunLoop(count, c, nullptr, name, object, nullptr, ZoRunLoopGetCurrent(), nullptr);
    };
    const auto payload = zoAdopt(ZoDictionaryCreate(nullptr, nullptr, nullptr, 0, nullptr, nullptr));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(TavDeferNotificationToRunLoop(defersAgain, center(), nullptr, kName, nullptr, payload.get(),
                                                ZoRunLoopGetCurrent(), nullptr),
                  0);
    }
    EXPECT_EQ(sCalls, 0);
    EXPECT_EQ(TavRunDeferredNotificationsOnCurrentRunLoop(), 0);
    EXPECT_EQ(sCalls, 4);
    EXPECT_EQ(ZoGetRetainCount(payload.get()), 1);
}

HandOver* sSteps;

// Begins a post of the object whose listener waits for step 2, calls `meanwhile`, and ends with the post.
template <typename Meanwhile>
void duringAPost(const Object& object, Meanwhile meanwhile)
{
    const auto listener = makeObject();
    HandOver steps;
    sSteps = &steps;
    const auto wait = [](ZoNotificationCenterRef, void*, ZoStringRef, const void*, ZoDictionaryRef) {
        sSteps->reach(1);
        sSteps->await(2);
        ++sCalls;
    };
    ASSERT_EQ(addWeak(listener, object.get(), 0, nullptr, wait), 0);
    sCalls = 0;
    std::thread poster([&] { LuNotificationCenterPostNotification(center(), kName, object.get(), nullptr, 0); });
    steps.await(1);
    meanwhile(steps);
    poster.join();
}

TEST(NotificationCenter, aBarrierWaitsForPostsUnderWay)
{
    const auto object = makeObject();
    ASSERT_EQ(LuNotificationCenterRegisterForBarrierSupport(center(), object.get()), 0);
    duringAPost(object, [&](HandOver& steps) {
        std::thread waiter([&] {
            EXPECT_EQ(LuNotificationCenterBarrier(center(), object.get()), 0);
            EXPECT_EQ(sCalls, 1) << "the post was over";
        });
        steps.reach(2);
        waiter.join();
    });
    EXPECT_EQ(LuNotificationCenterUnregisterForBarrierSupport(center(), object.get()), 0);
}

// In mid-post: the post gives back the lock that it took, not the new one.
TEST(NotificationCenter, aPostOutlivesTheRegistrationThatItBeganUnder)
{
    const auto object = makeObject();
    ASSERT_EQ(LuNotificationCenterRegisterForBarrierSupport(center(), object.get()), 0);
    duringAPost(object, [&](HandOver& steps) {
        EXPECT_EQ(LuNotificationCenterUnregisterForBarrierSupport(center(), object.get()), 0);
        EXPECT_EQ(LuNotificationCenterRegisterForBarrierSupport(center(), object.get()), 0);
        EXPECT_EQ(LuNotificationCenterBarrier(center(), object.get()), 0) << "no post began under this one";
        steps.reach(2);
    });
    EXPECT_EQ(LuNotificationCenterBarrier(center(), object.get()), 0);
    EXPECT_EQ(LuNotificationCenterUnregisterForBarrierSupport(center(), object.get()), 0);
}

TEST(NotificationCenter, listenersDieUnderPostsAndBarriers)
{
    const auto object = makeObject();
    ASSERT_EQ(LuNotificationCenterRegisterForBarrierSupport(center(), object.get()), 0);
    std::atomic<bool> done = false;
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([&] {
            while (!done) LuNotificationCenterPostNotification(center(), kName, object.get(), nullptr, 0);
        });
        threads.emplace_back([&, t] {
            for (int i = 0; i < 2000; ++i) {
                const auto listener = makeObject();
                EXPECT_EQ(addWeak(listener, t ? object.get() : nullptr), 0);
                if (i % 3 == 0)
                    TavNotificationCenterRemoveWeakListener(center(), listener.get(), count, kName,
                                                            t ? object.get() : nullptr);
                if (i % 50 == 0) {
                    EXPECT_EQ(LuNotificationCenterBarrier(center(), object.get()), 0);
                }
            }
            done = true;
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(callsOfPost(kName, object.get()), 0);
    EXPECT_EQ(LuNotificationCenterUnregisterForBarrierSupport(center(), object.get()), 0);
}

}  // namespace
