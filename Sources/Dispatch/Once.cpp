#include <dispatch/dispatch.h>

#include <condition_variable>
#include <mutex>

#include "Memory/Containers.h"

#undef dispatch_once_f

namespace {

constexpr dispatch_once_t kFresh = 0;
constexpr dispatch_once_t kRunning = 1;
constexpr dispatch_once_t kAwaited = 2;  // running, and another thread waits
constexpr dispatch_once_t kDone = ~static_cast<dispatch_once_t>(0);

// One pair for all guards: waiting for another thread's first run is rare and short.
struct Waiting {
    std::mutex lock;
    std::condition_variable done;
};

Waiting& waiting()
{
    static Waiting* const shared = memory::make<Waiting>();  // outlives the destructors of statics
    return *shared;
}

void waitForOther(dispatch_once_t* predicate)
{
    Waiting& shared = waiting();
    std::unique_lock guard(shared.lock);
    dispatch_once_t running = kRunning;
    __atomic_compare_exchange_n(predicate, &running, kAwaited, false, __ATOMIC_RELAXED, __ATOMIC_RELAXED);
    shared.done.wait(guard, [predicate] { return __atomic_load_n(predicate, __ATOMIC_ACQUIRE) == kDone; });
}

}  // namespace

void dispatch_once_f(dispatch_once_t* predicate, void* context, dispatch_function_t function)
{
    dispatch_once_t seen = kFresh;
    if (!__atomic_compare_exchange_n(predicate, &seen, kRunning, false, __ATOMIC_ACQUIRE, __ATOMIC_ACQUIRE)) {
        if (seen != kDone) waitForOther(predicate);
        return;
    }
    function(context);
    if (__atomic_exchange_n(predicate, kDone, __ATOMIC_RELEASE) == kRunning) return;
    Waiting& shared = waiting();
    std::lock_guard guard(shared.lock);
    shared.done.notify_all();
}
