#include <algorithm>

#include "Dispatch/Queue.h"
#include "Dispatch/Threads.h"

namespace dispatch {

namespace {

/// Shared by the caller and helpers, of which some may only arrive when all is done; the last one frees it.
struct Apply {
    Apply(size_t iterations, void* taskContext, void (*task)(void*, size_t), size_t userCount)
        : count(iterations), context(taskContext), work(task), users(userCount)
    {}

    const size_t count;
    void* const context;
    void (*const work)(void* context, size_t i);
    std::atomic<size_t> users;
    std::atomic<size_t> next{0};
    std::atomic<size_t> finished{0};
    Event done{};

    void help()
    {
        for (size_t i; (i = next.fetch_add(1, std::memory_order_relaxed)) < count;) {
            work(context, i);
            if (finished.fetch_add(1, std::memory_order_acq_rel) + 1 == count) done.set();
        }
    }
    void leave()
    {
        if (users.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }
};

}  // namespace

}  // namespace dispatch

void dispatch_apply_f(size_t iterations, dispatch_queue_t queue, void* context, void (*work)(void* context, size_t i))
{
    using namespace dispatch;
    if (iterations == 0) return;
    Queue* on = queue ? fromHandle(queue) : globalQueue();
    const size_t helpers = on->isConcurrent() ? std::min<size_t>(iterations, processorCount()) - 1 : 0;
    Apply* apply = make<Apply>(iterations, context, work, helpers + 1);
    for (size_t i = 0; i < helpers; ++i)
        on->async(apply, [](void* shared) {
            static_cast<Apply*>(shared)->help();
            static_cast<Apply*>(shared)->leave();
        });
    on->sync(
        apply, [](void* shared) { static_cast<Apply*>(shared)->help(); }, false);
    apply->done.wait();
    apply->leave();
}
