// The queues at the bottom: four global ones on the worker pool, and the main queue on the thread in dispatch_main().

#include "Dispatch/WorkQueue.h"
#include "Dispatch/WorkerPool.h"

namespace dispatch {

namespace {

class PoolRoot final : public Root {
public:
    PoolRoot(const char* label, size_t priority) : Root(label), priority_(priority) {}

    void submit(Work* work) override { WorkerPool::shared().submit(work, priority_); }
    bool hasBacklog() const override { return WorkerPool::shared().hasBacklog(); }
    void call(Queue* queue, void* context, dispatch_function_t function) override
    {
        Frame frame(queue);
        function(context);
    }

private:
    const size_t priority_;
};

class MainRoot final : public Root {
public:
    MainRoot() : Root("dispatch.main.thread") {}

    void submit(Work* work) override
    {
        std::lock_guard guard(lock_);
        waiting_.append(work);
        arrived_.notify_one();
    }
    bool hasBacklog() const override { return true; }
    void call(Queue* queue, void* context, dispatch_function_t function) override
    {
        Call call{{nullptr, Call::runOnMain}, queue, context, function, {}};
        submit(&call);
        call.done.wait();
    }
    [[noreturn]] void runForever()
    {
        for (std::unique_lock guard(lock_);;) {
            arrived_.wait(guard, [this] { return !waiting_.empty(); });
            Work* work = waiting_.pop();
            guard.unlock();
            work->run(work);
            guard.lock();
        }
    }

private:
    struct Call : Work {
        static void runOnMain(Work* work)
        {
            Call* call = static_cast<Call*>(work);
            {
                Frame frame(call->queue);
                call->function(call->context);
            }
            call->done.set();
        }

        Queue* queue;
        void* context;
        dispatch_function_t function;
        Event done;
    };

    std::mutex lock_;
    std::condition_variable arrived_;
    List<Work> waiting_;
};

struct Globals {
    PoolRoot high{"dispatch.global.high", 0};
    PoolRoot standard{"dispatch.global.default", 1};
    PoolRoot low{"dispatch.global.low", 2};
    PoolRoot background{"dispatch.global.background", 3};
};

// Never destroyed: tasks may run while the process ends.
Globals& globals()
{
    static Globals* const roots = make<Globals>();
    return *roots;
}

MainRoot& mainRoot()
{
    static MainRoot* const root = make<MainRoot>();
    return *root;
}

}  // namespace

Queue* globalQueue() { return &globals().standard; }

}  // namespace dispatch

using namespace dispatch;

dispatch_queue_t dispatch_get_global_queue(intptr_t identifier, uintptr_t flags)
{
    if (flags) return nullptr;
    switch (identifier) {
        case DISPATCH_QUEUE_PRIORITY_HIGH: return toHandle(&globals().high);
        case DISPATCH_QUEUE_PRIORITY_DEFAULT: return toHandle(&globals().standard);
        case DISPATCH_QUEUE_PRIORITY_LOW: return toHandle(&globals().low);
        case DISPATCH_QUEUE_PRIORITY_BACKGROUND: return toHandle(&globals().background);
        default: return nullptr;
    }
}

dispatch_queue_t dispatch_get_main_queue(void)
{
    static WorkQueue* const queue = make<WorkQueue>("dispatch.main", false, &mainRoot());
    return toHandle(queue);
}

void dispatch_main(void) { mainRoot().runForever(); }
