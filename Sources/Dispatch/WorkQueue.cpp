#include "Dispatch/WorkQueue.h"

struct dispatch_queue_attr_s {};
struct dispatch_queue_attr_s _dispatch_queue_attr_concurrent;

namespace dispatch {

static constexpr size_t kBusyBatch = 8;
static constexpr int kLingerSpins = 200;

static void pauseProcessor()
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    asm volatile("yield");
#endif
}

WorkQueue::WorkQueue(const char* label, bool concurrent, Queue* target) : Queue(label, target), concurrent_(concurrent)
{
    drain_.queue = this;
    drain_.run = [](Work* work) { static_cast<Drain*>(work)->queue->drain(); };
}

/// Under the lock: whether a newcomer may run without waiting for anything.
bool WorkQueue::mayEnter(bool alone) const
{
    return pending_.empty() && !exclusive_ && suspended_.load(std::memory_order_relaxed) == 0 &&
           !(alone && running_ > 0);
}

/// Under the lock, for a newcomer that may not enter and whose thread is in a task of this queue: whether its turn
/// comes only when that task has ended. Tasks of a concurrent queue wait for a barrier, which waits for the tasks
/// before it; but what a suspension holds may still start.
bool WorkQueue::wouldWaitForInsider(bool alone) const
{
    return alone || exclusive_ || suspended_.load(std::memory_order_relaxed) == 0;
}

/// Under the lock, after every change: takes off the queue what may start now.
WorkQueue::Ready WorkQueue::advance()
{
    Ready ready;
    while (!pending_.empty() && !exclusive_ && suspended_.load(std::memory_order_relaxed) == 0) {
        Item* head = pending_.front();
        if (!runsAlone(head->barrier)) {
            ++running_;
            ready.items.append(pending_.pop());
            continue;
        }
        if (running_ > 0) break;
        exclusive_ = true;
        if (head->waiter)
            ready.items.append(pending_.pop());
        else
            ready.drain = true;
    }
    arrived_.store(!pending_.empty(), std::memory_order_relaxed);
    const bool busy = exclusive_ || running_ > 0 || !pending_.empty();
    if (busy && !counted_) retain();
    ready.idle = !busy && counted_;
    counted_ = busy;
    return ready;
}

void WorkQueue::start(Ready ready)
{
    while (Item* item = ready.items.pop()) {
        if (item->waiter) {
            item->waiter->set();  // the item lived on the stack of the thread that goes on now
        } else {
            item->queue = this;
            item->run = runShared;
            target()->submit(item);
        }
    }
    if (ready.drain) target()->submit(&drain_);
    if (ready.idle) release();
}

void WorkQueue::enqueue(Item* item)
{
    Ready ready;
    {
        std::lock_guard guard(lock_);
        pending_.append(item);
        if (exclusive_ && counted_) {
            // Whoever holds the queue will come to it: nothing may start, and nothing else changes.
            if (!arrived_.load(std::memory_order_relaxed)) arrived_.store(true, std::memory_order_relaxed);
            return;
        }
        ready = advance();
    }
    start(ready);
}

void WorkQueue::submit(Work* work)
{
    async(work, [](void* context) {
        Work* submitted = static_cast<Work*>(context);
        submitted->run(submitted);
    });
}

Root* WorkQueue::acquire(bool barrier)
{
    const bool alone = runsAlone(barrier);
    std::unique_lock guard(lock_);
    if (mayEnter(alone)) {
        if (alone)
            exclusive_ = true;
        else
            ++running_;
        guard.unlock();
    } else {
        if (Frame::isInside(this) && wouldWaitForInsider(alone))
            stop("dispatch_sync_f would wait for its own thread", label());
        Event turn;
        Item item(nullptr, nullptr);
        item.waiter = &turn;
        item.barrier = barrier;
        pending_.append(&item);
        Ready ready = advance();
        guard.unlock();
        start(ready);
        turn.wait();
    }
    return target()->acquire(false);
}

void WorkQueue::relinquish(bool barrier)
{
    target()->relinquish(false);
    List<Item> none;
    if (runsAlone(barrier))
        start(endExclusive(none));
    else
        endShared();
}

void WorkQueue::runShared(Work* work)
{
    Item* item = static_cast<Item*>(work);
    WorkQueue* queue = static_cast<WorkQueue*>(item->queue);
    {
        Frame frame(queue);
        item->perform();
    }
    queue->endShared();
}

void WorkQueue::endShared()
{
    Ready ready;
    {
        std::lock_guard guard(lock_);
        --running_;
        ready = advance();
    }
    start(ready);
}

WorkQueue::Ready WorkQueue::endExclusive(List<Item>& left)
{
    std::lock_guard guard(lock_);
    pending_.prepend(left);
    exclusive_ = false;
    return advance();
}

/// A serial queue gives all it has, so that producers and the drain seldom meet at the lock; a concurrent one gives
/// the barrier that the drain was made for.
List<Item> WorkQueue::takeBatch()
{
    List<Item> batch;
    std::lock_guard guard(lock_);
    if (!concurrent_)
        std::swap(batch, pending_);
    else if (suspended_.load(std::memory_order_relaxed) == 0)
        batch.append(pending_.pop());
    arrived_.store(!pending_.empty(), std::memory_order_relaxed);
    return batch;
}

/// Stops before a thread that waits for its turn, after a suspension and after a change of target.
size_t WorkQueue::runBatch(List<Item>& batch, const Queue* submittedTo)
{
    size_t count = 0;
    for (; !batch.empty() && !batch.front()->waiter && target() == submittedTo &&
           suspended_.load(std::memory_order_relaxed) == 0;
         ++count)
        batch.pop()->perform();
    return count;
}

/// A worker that goes to sleep and is called again costs its caller more than a thousand empty tasks. A queue that was
/// busy waits a few microseconds for what comes next.
void WorkQueue::linger() const
{
    for (int spins = 0; spins < kLingerSpins && !arrived_.load(std::memory_order_relaxed); ++spins) pauseProcessor();
}

void WorkQueue::drain()
{
    const Queue* submittedTo = target();
    Ready ready;
    do {
        List<Item> batch = takeBatch();
        {
            Frame frame(this);
            const size_t count = runBatch(batch, submittedTo);
            if (count >= kBusyBatch && batch.empty()) linger();
        }
        ready = endExclusive(batch);
    } while (ready.drain && target() == submittedTo && !submittedTo->hasBacklog());
    start(ready);
}

void WorkQueue::setTarget(Queue* queue)
{
    Queue* old = nullptr;
    {
        std::lock_guard guard(lock_);
        if (mayEnter(true)) old = exchangeTarget(queue);
    }
    if (old) return old->release();

    struct Change {
        WorkQueue* self;
        Queue* target;
    };
    queue->retain();
    Item* item = Item::create(make<Change>(Change{this, queue}), [](void* context) {
        std::unique_ptr<Change> change(static_cast<Change*>(context));
        change->self->exchangeTarget(change->target)->release();
        change->target->release();
    });
    item->barrier = true;
    enqueue(item);
}

void WorkQueue::suspend()
{
    std::lock_guard guard(lock_);
    suspended_.fetch_add(1, std::memory_order_relaxed);
}

void WorkQueue::resume()
{
    Ready ready;
    {
        std::lock_guard guard(lock_);
        if (suspended_.fetch_sub(1, std::memory_order_relaxed) <= 0) stop("resumed more often than suspended", label());
        ready = advance();
    }
    start(ready);
}

}  // namespace dispatch

dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attributes)
{
    using namespace dispatch;
    return toHandle(make<WorkQueue>(label, attributes == DISPATCH_QUEUE_CONCURRENT, globalQueue()));
}
