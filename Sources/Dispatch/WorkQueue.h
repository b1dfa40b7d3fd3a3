// Queues that keep order. Tasks leave in the order in which they came. A task that runs alone (every task of a serial
// queue, a barrier of a concurrent one) waits for all before it; others only for barriers.
//
// `lock_` guards all fields but the target, which only changes while no task runs. Nothing is called under it. Who
// holds the queue exclusively is one of: a drain on its way to or in the target, or a thread in dispatch_sync_f.

#pragma once

#include "Dispatch/Queue.h"

namespace dispatch {

class WorkQueue final : public Queue {
public:
    WorkQueue(const char* label, bool concurrent, Queue* target);

    bool isConcurrent() const override { return concurrent_; }
    void enqueue(Item* item) override;
    void submit(Work* work) override;
    Root* acquire(bool barrier) override;
    void relinquish(bool barrier) override;
    bool hasBacklog() const override { return true; }

    void setTarget(Queue* queue) override;
    void suspend() override;
    void resume() override;

private:
    /// What may go on, decided under the lock and done without it.
    struct Ready {
        List<Item> items;    ///< shared tasks to run, or threads to wake
        bool drain = false;  ///< the queue is held for a drain that has to be submitted
        bool idle = false;   ///< the reference that tasks hold has to go
    };

    bool runsAlone(bool barrier) const { return barrier || !concurrent_; }
    bool mayEnter(bool alone) const;
    bool wouldWaitForInsider(bool alone) const;
    Ready advance();
    void start(Ready ready);
    void drain();
    List<Item> takeBatch();
    size_t runBatch(List<Item>& batch, const Queue* submittedTo);
    void linger() const;
    Ready endExclusive(List<Item>& left);
    void endShared();
    static void runShared(Work* work);

    const bool concurrent_;
    bool exclusive_ = false;  ///< one task or drain holds the queue alone
    bool counted_ = false;    ///< tasks hold a reference
    size_t running_ = 0;      ///< tasks that share the queue
    List<Item> pending_;
    std::atomic<bool> arrived_{false};  ///< a hint: pending_ is not empty
    std::atomic<int> suspended_{0};     ///< written under the lock, read between the tasks of a batch
    BriefLock lock_;

    struct Drain : Work {
        WorkQueue* queue;
    } drain_;
};

}  // namespace dispatch
