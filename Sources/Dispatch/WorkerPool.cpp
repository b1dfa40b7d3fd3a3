#include "Dispatch/WorkerPool.h"

#include <pthread.h>
#include <time.h>

#include <algorithm>

#include "Dispatch/EventThread.h"
#include "Dispatch/Object.h"
#include "Dispatch/Threads.h"

namespace dispatch {

using namespace std::chrono_literals;

// While work waits with every worker taken, the pool looks this often whether they work or wait.
static constexpr auto kLookInterval = 2ms;
// A worker that used less than this between two looks waits for something.
static constexpr int64_t kBusyNanoseconds = std::chrono::nanoseconds(kLookInterval).count() / 4;
// So many looks without progress, and even workers that use their processor get company: they may spin.
static constexpr unsigned kPatience = 25;
static constexpr auto kRetireAfter = 5s;

WorkerPool& WorkerPool::shared()
{
    static WorkerPool* const pool = make<WorkerPool>();
    return *pool;
}

WorkerPool::WorkerPool() : usualWorkers_(processorCount() + 2) {}

void WorkerPool::submit(Work* work, size_t priority)
{
    bool startOne = false;
    {
        std::lock_guard guard(lock_);
        ready_[priority].append(work);
        waiting_.store(waiting_ + 1, std::memory_order_relaxed);
        if (idle_ > 0) {
            --idle_;
            ++calls_;
            called_.notify_one();
        } else if (threads_ < usualWorkers_) {
            startOne = true;
            ++threads_;
            ++starting_;
        } else {
            lookSoon();
        }
    }
    if (startOne) startWorkers(1);
}

/// Under the lock.
Work* WorkerPool::take()
{
    for (List<Work>& list : ready_) {
        Work* work = list.pop();
        if (!work) continue;
        waiting_.store(waiting_ - 1, std::memory_order_relaxed);
        ++taken_;
        return work;
    }
    return nullptr;
}

/// Without the lock, for workers that are already counted.
void WorkerPool::startWorkers(unsigned count)
{
    for (; count > 0; --count) {
        if (startThread(
                "dispatch.worker", [](void* pool) { static_cast<WorkerPool*>(pool)->work(); }, this))
            continue;
        std::lock_guard guard(lock_);
        threads_ -= count;
        starting_ -= count;
        if (threads_ == 0) stop("no thread for work, or no memory");
        return lookSoon();
    }
}

void WorkerPool::work()
{
    Worker self;
    pthread_getcpuclockid(pthread_self(), &self.clock);
    std::unique_lock guard(lock_);
    workers_.push_back(&self);
    --starting_;
    for (;;) {
        while (Work* work = take()) {
            guard.unlock();
            work->run(work);
            guard.lock();
        }
        ++idle_;
        if (!called_.wait_for(guard, kRetireAfter, [this] { return calls_ > 0; })) {
            --idle_;
            break;
        }
        --calls_;
    }
    std::erase(workers_, &self);
    --threads_;
}

/// Under the lock.
void WorkerPool::lookSoon()
{
    if (std::exchange(looking_, true)) return;
    EventThread::shared().at(
        std::chrono::steady_clock::now() + kLookInterval, [](void* pool) { static_cast<WorkerPool*>(pool)->look(); },
        this);
}

/// Under the lock.
unsigned WorkerPool::busyWorkers()
{
    unsigned busy = 0;
    for (Worker* worker : workers_) {
        timespec used{};
        clock_gettime(worker->clock, &used);
        const int64_t nanoseconds = used.tv_sec * 1'000'000'000 + used.tv_nsec;
        if (nanoseconds - std::exchange(worker->usedAtLook, nanoseconds) >= kBusyNanoseconds) ++busy;
    }
    return busy;
}

/// Under the lock, while work waits. Where nothing moves the number doubles from look to look, so that a chain of
/// hundreds of tasks that wait for one another is through in a few.
unsigned WorkerPool::missingWorkers()
{
    const unsigned busy = busyWorkers();
    const bool moves = std::exchange(takenAtLook_, taken_) != taken_ && busy > 0;
    standstills_ = moves ? 0 : standstills_ + 1;
    unsigned missing = busy < usualWorkers_ ? usualWorkers_ - busy : 0;
    if (standstills_ > 0) missing <<= std::min(standstills_ - 1, 6u);
    if (standstills_ > kPatience) missing = std::max(missing, 1u);
    const size_t onTheirWay = starting_ + calls_;
    const size_t useful = waiting_ > onTheirWay ? waiting_ - onTheirWay : 0;
    return static_cast<unsigned>(std::min<size_t>({missing, useful, kMaximumWorkers - threads_}));
}

void WorkerPool::look()
{
    unsigned missing = 0;
    bool full = false;
    {
        std::lock_guard guard(lock_);
        looking_ = false;
        if (waiting_ == 0) {
            standstills_ = 0;
            return;
        }
        missing = missingWorkers();
        threads_ += missing;
        starting_ += missing;
        full = threads_ == kMaximumWorkers && !std::exchange(saidFull_, true);
        lookSoon();
    }
    if (full) warn("512 workers are taken, and no more are started: tasks wait until one of these ends");
    startWorkers(missing);
}

}  // namespace dispatch
