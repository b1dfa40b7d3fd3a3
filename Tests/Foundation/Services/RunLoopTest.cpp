#include <gtest/gtest.h>

#include "Foundation/Services/ZoRunLoop.h"

#include <atomic>
#include <cmath>
#include <functional>
#include <future>
#include <string>
#include <thread>

#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"

namespace {

using Action = std::function<void(ZoRunLoopTimerRef)>;
using Timer = ZoRef<ZoRunLoopTimerRef>;

constexpr double kNever = 1e13;

/// A timer that runs `action`, first at a date: 0 is long ago.
Timer timer(double date, Action& action, double interval = 0, ZoIndex order = 0)
{
    const ZoRunLoopTimerContext context = {0, &action, nullptr, nullptr, nullptr};
    const auto callout = [](ZoRunLoopTimerRef self, void* info) { (*static_cast<Action*>(info))(self); };
    return zoAdopt(ZoRunLoopTimerCreate(nullptr, date, interval, 0, order, callout, &context));
}

void add(const Timer& t, ZoStringRef mode = kZoRunLoopDefaultMode)
{
    ZoRunLoopAddTimer(ZoRunLoopGetCurrent(), t.get(), mode);
}

ZoRunLoopRunResult pass(ZoStringRef mode = kZoRunLoopDefaultMode) { return ZoRunLoopRunInMode(mode, 0, false); }

TEST(RunLoop, firesWhatIsDueInOrderOfDateThenOrder)
{
    std::string fired;
    Action a = [&](auto) { fired += 'a'; }, b = [&](auto) { fired += 'b'; };
    const auto late = timer(kNever, a), last = timer(1, b, 0, 2), second = timer(1, a, 0, 1), victim = timer(1, a);
    Action kill = [&](auto) { ZoRunLoopTimerInvalidate(victim.get()); };
    const auto first = timer(0, kill, 0, 3);
    for (const auto* t : {&late, &last, &second, &victim, &first}) add(*t);
    EXPECT_EQ(pass(), kZoRunLoopRunTimedOut);
    EXPECT_EQ(fired, "ab");
    EXPECT_FALSE(ZoRunLoopTimerIsValid(first.get()));
    EXPECT_TRUE(ZoRunLoopTimerIsValid(late.get()));
    ZoRunLoopTimerInvalidate(late.get());
    EXPECT_EQ(pass(), kZoRunLoopRunFinished);
}

TEST(RunLoop, modesDecideWhatFires)
{
    int common = 0, own = 0;
    Action countCommon = [&](auto) { ++common; }, countOwn = [&](auto) { ++own; };
    const auto inCommon = timer(0, countCommon), inOwn = timer(0, countOwn);
    add(inCommon, kZoRunLoopCommonModes);
    for (ZoStringRef mode : {ZOSTR("own"), ZOSTR("other"), kZoRunLoopDefaultMode}) add(inOwn, mode);
    EXPECT_EQ(pass(kZoRunLoopCommonModes), kZoRunLoopRunFinished);
    EXPECT_EQ(pass(ZOSTR("none")), kZoRunLoopRunFinished);
    EXPECT_EQ(ZoRunLoopRunInMode(ZOSTR("own"), 0, true), kZoRunLoopRunHandledSource);
    EXPECT_EQ(own, 1);
    EXPECT_EQ(common, 0);
    EXPECT_EQ(ZoRunLoopRunInMode(kZoRunLoopDefaultMode, 10, false), kZoRunLoopRunFinished);
    EXPECT_EQ(own, 1);
    EXPECT_EQ(common, 1);
}

TEST(RunLoop, aRepeatingTimerLeavesOutWhatItMissedAndMayEndItself)
{
    int count = 0;
    Action action = [&](ZoRunLoopTimerRef self) {
        if (++count == 3) ZoRunLoopTimerInvalidate(self);
    };
    const auto every = timer(ZoAbsoluteTimeGetCurrent() - 10, action, 0.001);
    add(every);
    EXPECT_EQ(pass(), kZoRunLoopRunTimedOut);
    EXPECT_EQ(count, 1);  // not ten thousand
    ZoRunLoopRun();
    EXPECT_EQ(count, 3);
}

TEST(RunLoop, aTimerDoesNotFireWithinItself)
{
    int depth = 0, deepest = 0, inner = 0;
    Action nested = [&](auto) { ++inner; };
    const auto other = timer(0, nested);
    Action action = [&](auto) {
        deepest = std::max(deepest, ++depth);
        add(other);
        pass();
        --depth;
    };
    const auto outer = timer(0, action, 0.0001);
    add(outer);
    pass();
    EXPECT_EQ(deepest, 1);
    EXPECT_EQ(inner, 1);
    ZoRunLoopTimerInvalidate(outer.get());
}

TEST(RunLoop, otherThreadsAddTimersWakeAndStop)
{
    std::promise<ZoRunLoopRef> started;
    std::promise<void> fired;
    std::thread runner([&] {
        Action nothing = [](auto) {};
        const auto keepAlive = timer(kNever, nothing, kNever);
        add(keepAlive, kZoRunLoopCommonModes);
        started.set_value(const_cast<ZoRunLoopRef>(ZoRunLoopGetCurrent()));
        ZoRunLoopRun();  // until it is stopped
        EXPECT_TRUE(ZoRunLoopTimerIsValid(keepAlive.get()));
    });
    const ZoRunLoopRef loop = started.get_future().get();
    Action tell = [&](auto) { fired.set_value(); };
    const auto now = timer(0, tell);
    ZoRunLoopAddTimer(loop, now.get(), kZoRunLoopDefaultMode);
    ZoRunLoopWakeUp(loop);
    fired.get_future().wait();
    ZoRunLoopStop(loop);
    runner.join();
}

TEST(RunLoop, aStopBeforeTheRunIsNotLost)
{
    Action nothing = [](auto) {};
    const auto keepAlive = timer(kNever, nothing);
    add(keepAlive);
    ZoRunLoopStop(ZoRunLoopGetCurrent());
    EXPECT_EQ(ZoRunLoopRunInMode(kZoRunLoopDefaultMode, INFINITY, false), kZoRunLoopRunStopped);
    EXPECT_EQ(ZoRunLoopRunInMode(kZoRunLoopDefaultMode, 0.001, false), kZoRunLoopRunTimedOut);
    ZoRunLoopTimerInvalidate(keepAlive.get());
}

// The info of a timer's context: how often it is held, and whether it is in use.
struct Info {
    std::atomic<int> references{0};
    std::promise<void> entered, mayLeave;
    static const void* retain(const void* info)
    {
        ++static_cast<Info*>(const_cast<void*>(info))->references;
        return info;
    }
    static void release(const void* info) { --static_cast<Info*>(const_cast<void*>(info))->references; }
    ZoRunLoopTimerContext context() { return {0, this, retain, release, nullptr}; }
};

TEST(RunLoop, theInfoIsReleasedOnceWhenTheTimerEnds)
{
    Info info;
    const auto context = info.context();
    const auto make = [&context](double at) {
        return zoAdopt(ZoRunLoopTimerCreate(
            nullptr, at, 0, 0, 0, [](ZoRunLoopTimerRef, void*) {}, &context));
    };
    std::thread([&] {
        auto fired = make(0), cancelled = make(0), neverAdded = make(0), leftOver = make(kNever);
        EXPECT_EQ(info.references, 4);
        add(fired);
        pass();
        EXPECT_EQ(info.references, 3);
        add(cancelled);
        for (int i = 0; i < 2; ++i) ZoRunLoopTimerInvalidate(cancelled.get());
        add(cancelled);
        EXPECT_EQ(pass(), kZoRunLoopRunFinished);
        EXPECT_EQ(info.references, 2);
        neverAdded.reset();
        EXPECT_EQ(info.references, 1);
        add(leftOver);
    }).join();
    EXPECT_EQ(info.references, 0);  // with the thread its loop has ended
}

TEST(RunLoop, theInfoOutlivesACalloutThatIsCancelledUnderWay)
{
    Info info;
    const auto context = info.context();
    const auto t = zoAdopt(ZoRunLoopTimerCreate(
        nullptr, 0, 0.001, 0, 0,
        [](ZoRunLoopTimerRef, void* pointer) {
            auto* own = static_cast<Info*>(pointer);
            own->entered.set_value();
            own->mayLeave.get_future().wait();
            EXPECT_EQ(own->references, 1);
        },
        &context));
    std::thread runner([&] {
        add(t);
        ZoRunLoopRun();
        EXPECT_EQ(info.references, 0);
    });
    info.entered.get_future().wait();
    ZoRunLoopTimerInvalidate(t.get());
    info.mayLeave.set_value();
    runner.join();
}

}  // namespace
