// One thread that waits for moments and for wake-ups: delayed tasks, the worker pool's look at itself, signals.
// What it calls must not block. It starts with its first use and lives as long as the process.

#pragma once

#include <signal.h>

#include <mutex>

#include "Dispatch/Time.h"
#include "Memory/Containers.h"

namespace dispatch {

class EventThread {
public:
    static EventThread& shared();
    EventThread();

    /// Calls `fire` at `when` or soon after; in order of moments, and of calls for one moment.
    void at(Moment when, void (*fire)(void* context), void* context);
    /// From now on the thread takes `signalNumber` itself if no other thread does, and calls `collect` when it is
    /// woken.
    void watchSignal(int signalNumber, void (*collect)());
    /// May be called from a signal handler, once shared() has been.
    void wake() const;

private:
    struct Timer {
        void (*fire)(void* context);
        void* context;
    };

    void run();
    void waitForEvent(const Moment* until) const;
    void collectSignals();
    void fireDue();

    int wakeUp_;  ///< an event counter of the kernel's
    std::mutex lock_;
    memory::Multimap<Moment, Timer> timers_;
    sigset_t watched_;
    void (*collect_)() = nullptr;
};

}  // namespace dispatch
