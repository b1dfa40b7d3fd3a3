// The threads behind the global queues. There are a few more than processors while these work; a worker that waits in
// a task does not count, and others are started in its place while work waits. Idle workers retire.

#pragma once

#include <array>
#include <atomic>
#include <chrono>

#include "Dispatch/Work.h"
#include "Memory/Containers.h"

namespace dispatch {

class WorkerPool {
public:
    static constexpr size_t kPriorities = 4;
    static constexpr unsigned kMaximumWorkers = 512;

    static WorkerPool& shared();

    /// `priority` 0 goes first. Work of one priority starts in order.
    void submit(Work* work, size_t priority);
    bool hasBacklog() const { return waiting_.load(std::memory_order_relaxed) > 0; }

    WorkerPool();

private:
    struct Worker {
        clockid_t clock;  ///< processor time of the thread
        int64_t usedAtLook = 0;
    };

    void startWorkers(unsigned count);
    void work();
    Work* take();
    void look();
    unsigned missingWorkers();
    unsigned busyWorkers();
    void lookSoon();

    const unsigned usualWorkers_;
    std::mutex lock_;  ///< guards all fields below
    std::condition_variable called_;
    std::array<List<Work>, kPriorities> ready_;
    std::atomic<size_t> waiting_{0};  ///< length of all lists; written under the lock
    memory::Vector<Worker*> workers_;
    unsigned threads_ = 0;   ///< workers, and those that are being started
    unsigned starting_ = 0;  ///< of these, not there yet
    unsigned idle_ = 0;      ///< asleep and not called
    unsigned calls_ = 0;     ///< sleepers that are called and not awake yet

    bool saidFull_ = false;
    bool looking_ = false;  ///< a look is due soon
    uint64_t taken_ = 0;
    uint64_t takenAtLook_ = 0;
    unsigned standstills_ = 0;  ///< looks in a row that saw no work taken, or all workers wait
};

}  // namespace dispatch
