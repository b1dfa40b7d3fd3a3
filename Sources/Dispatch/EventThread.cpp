#include "Dispatch/EventThread.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "Dispatch/Object.h"
#include "Dispatch/Threads.h"

namespace dispatch {

EventThread& EventThread::shared()
{
    static EventThread* const thread = make<EventThread>();
    return *thread;
}

EventThread::EventThread() : wakeUp_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    sigemptyset(&watched_);
    if (wakeUp_ < 0) stop("no event counter");
    if (!startThread(
            "dispatch.events", [](void* self) { static_cast<EventThread*>(self)->run(); }, this))
        stop("no thread for events, or no memory");
}

void EventThread::wake() const
{
    const uint64_t one = 1;
    // A full counter is awake already.
    if (write(wakeUp_, &one, sizeof one) < 0) return;
}

void EventThread::at(Moment when, void (*fire)(void* context), void* context)
{
    bool first;
    {
        std::lock_guard guard(lock_);
        const auto timer = timers_.emplace(when, Timer{fire, context});
        first = timer == timers_.begin();
    }
    if (first) wake();
}

void EventThread::watchSignal(int signalNumber, void (*collect)())
{
    {
        std::lock_guard guard(lock_);
        sigaddset(&watched_, signalNumber);
        collect_ = collect;
    }
    wake();
}

void EventThread::waitForEvent(const Moment* until) const
{
    using namespace std::chrono;
    timespec left{};
    if (until) {
        const auto ahead = std::max(*until - steady_clock::now(), nanoseconds(0));
        left.tv_sec = duration_cast<seconds>(ahead).count();
        left.tv_nsec = duration_cast<nanoseconds>(ahead % seconds(1)).count();
    }
    pollfd events = {wakeUp_, POLLIN, 0};
    ppoll(&events, 1, until ? &left : nullptr, nullptr);
    uint64_t count;
    if (read(wakeUp_, &count, sizeof count) < 0) return;  // a moment or a signal, not a wake-up
}

/// After the wait, so that a signal whose watch began during it is not missed.
void EventThread::collectSignals()
{
    void (*collect)();
    {
        std::lock_guard guard(lock_);
        collect = collect_;
    }
    if (collect) collect();
}

void EventThread::fireDue()
{
    std::unique_lock guard(lock_);
    const Moment now = std::chrono::steady_clock::now();
    while (!timers_.empty() && timers_.begin()->first <= now) {
        const Timer due = timers_.begin()->second;
        timers_.erase(timers_.begin());
        guard.unlock();
        due.fire(due.context);
        guard.lock();
    }
}

void EventThread::run()
{
    for (;;) {
        Moment next;
        bool timed;
        {
            std::lock_guard guard(lock_);
            pthread_sigmask(SIG_UNBLOCK, &watched_, nullptr);
            timed = !timers_.empty();
            if (timed) next = timers_.begin()->first;
        }
        waitForEvent(timed ? &next : nullptr);
        collectSignals();
        fireDue();
    }
}

}  // namespace dispatch
