#include "Foundation/Services/ZoRunLoop.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <mutex>
#include <new>

#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Text/ZoString.h"
#include "Memory/Containers.h"

ZO_DEFINE_STRING(kZoRunLoopDefaultMode, "kZoRunLoopDefaultMode");
ZO_DEFINE_STRING(kZoRunLoopCommonModes, "kZoRunLoopCommonModes");

namespace {

// Deadlines stand on the steady clock, in seconds: a run loop does not notice when somebody sets the date.
using Seconds = double;
constexpr Seconds kLongestWait = 86400;  // a wait that is longer comes back to look

Seconds now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

struct Timer {
    ZoRunLoopTimerCallBack callout;
    ZoRunLoopTimerContext context;
    ZoAbsoluteTime fireDate;  // which order goes by: two deadlines of one date differ by when they were worked out
    Seconds deadline, interval;
    ZoIndex order;
    // Below: guarded by sLock.
    ZoRunLoopRef loop = nullptr;  // retained while the timer is valid and added; the loop retains the timer as well
    memory::Vector<ZoRef<ZoStringRef>> modes;
    bool isValid = true;
    bool isFiring = false;
};

struct Loop {
    std::condition_variable changed;
    // Below: guarded by sLock.
    memory::Vector<ZoRef<ZoRunLoopTimerRef>> timers;
    bool isAwake = false;
    bool isStopped = false;
    bool isOver = false;  // its thread has ended
};

// One lock for all loops and timers: it is held for walks of short lists only, and never over a callout.
std::mutex sLock;

}  // namespace

struct ZoRunLoop_ {
    ZoRuntimeBase header;
    Loop loop;
};

struct ZoRunLoopTimer_ {
    ZoRuntimeBase header;
    Timer timer;
};

namespace {

ZoRunLoop_* runLoopOf(ZoTypeRef object) { return static_cast<ZoRunLoop_*>(const_cast<void*>(object)); }
ZoRunLoopTimer_* timerOf(ZoTypeRef object) { return static_cast<ZoRunLoopTimer_*>(const_cast<void*>(object)); }

void runLoopInit(ZoTypeRef object) { new (&runLoopOf(object)->loop) Loop; }
void runLoopFinalize(ZoTypeRef object) { runLoopOf(object)->loop.~Loop(); }
void timerInit(ZoTypeRef object) { new (&timerOf(object)->timer) Timer{}; }

void releaseInfo(Timer& timer)
{
    void* info = std::exchange(timer.context.info, nullptr);
    if (info && timer.context.release) timer.context.release(info);
}

void timerFinalize(ZoTypeRef object)
{
    Timer& timer = timerOf(object)->timer;
    releaseInfo(timer);  // of one that was never invalidated
    timer.~Timer();
}

ZoStringRef timerCopyDescription(ZoTypeRef object)
{
    const Timer& timer = timerOf(object)->timer;
    ZoRef<ZoStringRef> info;
    if (timer.context.info && timer.context.copyDescription)
        info.reset(timer.context.copyDescription(timer.context.info));
    return ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("<ZoRunLoopTimer every %g s, info %@>"), timer.interval,
                                    info.get());
}

}  // namespace

const ZoRuntimeClass __ZoRunLoopClass = {
    .version = 0,
    .className = "ZoRunLoop",
    .init = runLoopInit,
    .copy = nullptr,
    .finalize = runLoopFinalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = nullptr,
    .unused = {},
};

const ZoRuntimeClass __ZoRunLoopTimerClass = {
    .version = 0,
    .className = "ZoRunLoopTimer",
    .init = timerInit,
    .copy = nullptr,
    .finalize = timerFinalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = timerCopyDescription,
    .unused = {},
};

namespace {

bool isLoop(ZoRunLoopRef loop) { return zoIsOfType(loop, kZoTypeIDRunLoop); }
bool isTimer(ZoRunLoopTimerRef timer) { return zoIsOfType(timer, kZoTypeIDRunLoopTimer); }

/// A thread's loop, and its end.
struct ThreadLoop {
    ZoRunLoopRef loop = nullptr;

    ~ThreadLoop()
    {
        if (!loop) return;
        memory::Vector<ZoRef<ZoRunLoopTimerRef>> timers;
        {
            const std::lock_guard guard(sLock);
            loop->loop.isOver = true;
            for (const auto& timer : loop->loop.timers) timers.push_back(ZoRef<ZoRunLoopTimerRef>::retain(timer.get()));
        }
        for (const auto& timer : timers) ZoRunLoopTimerInvalidate(timer.get());
        ZoRelease(std::exchange(loop, nullptr));
    }
};
thread_local ThreadLoop tLoop;

bool isInMode(const Timer& timer, ZoStringRef mode)
{
    const bool isCommon = ZoEqual(mode, kZoRunLoopDefaultMode);
    return std::any_of(timer.modes.begin(), timer.modes.end(), [&](const auto& own) {
        return ZoEqual(own.get(), mode) || (isCommon && ZoEqual(own.get(), kZoRunLoopCommonModes));
    });
}

/// What a look at the timers of one mode found.
struct Look {
    bool isEmpty = true;
    Seconds next = INFINITY;  // the earliest deadline of those that can fire
    memory::Vector<ZoRef<ZoRunLoopTimerRef>> due;
};

Look lookAtTimers(const Loop& loop, ZoStringRef mode, Seconds time)
{
    Look look;
    for (const auto& ref : loop.timers) {
        const Timer& timer = ref.get()->timer;
        if (!isInMode(timer, mode)) continue;
        look.isEmpty = false;
        if (timer.isFiring) continue;  // a run within its own callout
        if (timer.deadline <= time)
            look.due.push_back(ZoRef<ZoRunLoopTimerRef>::retain(ref.get()));
        else
            look.next = std::min(look.next, timer.deadline);
    }
    std::stable_sort(look.due.begin(), look.due.end(), [](const auto& a, const auto& b) {
        const Timer &left = a.get()->timer, &right = b.get()->timer;
        return left.fireDate != right.fireDate ? left.fireDate < right.fireDate : left.order < right.order;
    });
    return look;
}

/// Calls out, unless another callout has invalidated or fired the timer by now.
bool fire(ZoRunLoopTimerRef ref, Seconds time)
{
    Timer& timer = ref->timer;
    {
        const std::lock_guard guard(sLock);
        if (!timer.isValid || timer.isFiring || timer.deadline > time) return false;
        timer.isFiring = true;
    }
    timer.callout(ref, timer.context.info);
    bool isOver, mayReleaseInfo;
    {
        const std::lock_guard guard(sLock);
        timer.isFiring = false;
        isOver = timer.interval <= 0;
        if (!isOver) {
            // The next of the dates that the timer was made with; those that have passed are left out.
            const Seconds missed = std::floor((now() - timer.deadline) / timer.interval);
            const Seconds step = (std::max(missed, 0.0) + 1) * timer.interval;
            timer.deadline += step;
            timer.fireDate += step;
        }
        mayReleaseInfo = !timer.isValid;
    }
    if (mayReleaseInfo)
        releaseInfo(timer);
    else if (isOver)
        ZoRunLoopTimerInvalidate(ref);
    return true;
}

}  // namespace

ZoTypeID ZoRunLoopGetTypeID(void) { return kZoTypeIDRunLoop; }
ZoTypeID ZoRunLoopTimerGetTypeID(void) { return kZoTypeIDRunLoopTimer; }

ZoRunLoopRef ZoRunLoopGetCurrent(void)
{
    if (!tLoop.loop)
        tLoop.loop = runLoopOf(
            _ZoRuntimeCreateInstance(nullptr, kZoTypeIDRunLoop, sizeof(ZoRunLoop_) - sizeof(ZoRuntimeBase), nullptr));
    return tLoop.loop;
}

void ZoRunLoopRun(void)
{
    ZoRunLoopRunResult result;
    do {
        result = ZoRunLoopRunInMode(kZoRunLoopDefaultMode, INFINITY, false);
    } while (result != kZoRunLoopRunStopped && result != kZoRunLoopRunFinished);
}

ZoRunLoopRunResult ZoRunLoopRunInMode(ZoStringRef mode, ZoTimeInterval seconds, Boolean returnAfterSourceHandled)
{
    const ZoRunLoopRef current = ZoRunLoopGetCurrent();
    if (!current || !mode || ZoEqual(mode, kZoRunLoopCommonModes)) return kZoRunLoopRunFinished;
    Loop& loop = current->loop;
    const Seconds end = now() + (seconds > 0 ? seconds : 0);
    for (;;) {
        std::unique_lock lock(sLock);
        if (std::exchange(loop.isStopped, false)) return kZoRunLoopRunStopped;
        const Seconds time = now();
        const Look look = lookAtTimers(loop, mode, time);
        if (look.isEmpty) return kZoRunLoopRunFinished;
        if (!look.due.empty()) {
            lock.unlock();
            bool didFire = false;
            for (const auto& timer : look.due) didFire |= fire(timer.get(), time);
            lock.lock();
            if (std::exchange(loop.isStopped, false)) return kZoRunLoopRunStopped;
            if (didFire && returnAfterSourceHandled) return kZoRunLoopRunHandledSource;
        }
        if (now() >= end) return kZoRunLoopRunTimedOut;
        if (!look.due.empty()) continue;
        const Seconds wait = std::min({look.next - time, end - time, kLongestWait});
        loop.changed.wait_for(lock, std::chrono::duration<double>(wait),
                              [&loop] { return loop.isAwake || loop.isStopped; });
        loop.isAwake = false;
    }
}

void ZoRunLoopWakeUp(ZoRunLoopRef loop)
{
    if (!ZO_EXPECT(isLoop(loop), "not a run loop")) return;
    const std::lock_guard guard(sLock);
    loop->loop.isAwake = true;
    loop->loop.changed.notify_one();
}

void ZoRunLoopStop(ZoRunLoopRef loop)
{
    if (!ZO_EXPECT(isLoop(loop), "not a run loop")) return;
    const std::lock_guard guard(sLock);
    loop->loop.isStopped = true;
    loop->loop.changed.notify_one();
}

void ZoRunLoopAddTimer(ZoRunLoopRef loop, ZoRunLoopTimerRef timer, ZoStringRef mode)
{
    if (!ZO_EXPECT(isLoop(loop) && isTimer(timer) && mode, "not a run loop, a timer and a mode")) return;
    const std::lock_guard guard(sLock);
    Timer& fields = timer->timer;
    if (!fields.isValid || loop->loop.isOver || (fields.loop && fields.loop != loop)) return;
    for (const auto& own : fields.modes)
        if (ZoEqual(own.get(), mode)) return;
    fields.modes.push_back(zoAdopt(ZoStringCreateCopy(nullptr, mode)));
    if (!fields.loop) {
        fields.loop = ZoRef<ZoRunLoopRef>::retain(loop).release();
        loop->loop.timers.push_back(ZoRef<ZoRunLoopTimerRef>::retain(timer));
    }
    loop->loop.isAwake = true;
    loop->loop.changed.notify_one();
}

ZoRunLoopTimerRef ZoRunLoopTimerCreate(ZoAllocatorRef allocator, ZoAbsoluteTime fireDate, ZoTimeInterval interval,
                                       ZoOptionFlags, ZoIndex order, ZoRunLoopTimerCallBack callout,
                                       const ZoRunLoopTimerContext* context)
{
    if (!ZO_EXPECT(callout, "no callout") || std::isnan(fireDate)) return nullptr;
    auto* object = timerOf(_ZoRuntimeCreateInstance(allocator, kZoTypeIDRunLoopTimer,
                                                    sizeof(ZoRunLoopTimer_) - sizeof(ZoRuntimeBase), nullptr));
    if (!object) return nullptr;
    Timer& timer = object->timer;
    timer.callout = callout;
    timer.fireDate = fireDate;
    timer.deadline = now() + (fireDate - ZoAbsoluteTimeGetCurrent());
    timer.interval = interval > 0 ? interval : 0;
    timer.order = order;
    if (context) {
        timer.context = *context;
        if (context->info && context->retain) timer.context.info = const_cast<void*>(context->retain(context->info));
    }
    return object;
}

void ZoRunLoopTimerInvalidate(ZoRunLoopTimerRef timer)
{
    if (!ZO_EXPECT(isTimer(timer), "not a timer")) return;
    Timer& fields = timer->timer;
    ZoRef<ZoRunLoopTimerRef> fromLoop;  // these outlive the guard: the last reference may be among them
    ZoRef<ZoRunLoopRef> loop;
    memory::Vector<ZoRef<ZoStringRef>> modes;
    bool mayReleaseInfo;
    {
        const std::lock_guard guard(sLock);
        if (!std::exchange(fields.isValid, false)) return;
        modes.swap(fields.modes);
        loop.reset(std::exchange(fields.loop, nullptr));
        if (loop) {
            auto& timers = loop.get()->loop.timers;
            const auto at =
                std::find_if(timers.begin(), timers.end(), [timer](const auto& own) { return own.get() == timer; });
            if (at != timers.end()) {
                fromLoop = std::move(*at);
                timers.erase(at);
            }
            loop.get()->loop.isAwake = true;
            loop.get()->loop.changed.notify_one();
        }
        mayReleaseInfo = !fields.isFiring;  // otherwise the callout's thread does, once it is back
    }
    if (mayReleaseInfo) releaseInfo(fields);
}

Boolean ZoRunLoopTimerIsValid(ZoRunLoopTimerRef timer)
{
    if (!ZO_EXPECT(isTimer(timer), "not a timer")) return false;
    const std::lock_guard guard(sLock);
    return timer->timer.isValid;
}
