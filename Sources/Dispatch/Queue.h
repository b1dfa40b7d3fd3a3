// Queues as the rest of the layer sees them. A root has no target and is an executor: the worker pool at one priority,
// or the thread in dispatch_main(). A WorkQueue keeps order and hands what may run to its target.

#pragma once

#include <memory>

#include "Dispatch/Item.h"
#include "Dispatch/Object.h"

namespace dispatch {

class Root;

class Queue : public Object {
public:
    Queue(const char* label, Queue* target);

    const char* label() const { return label_.c_str(); }
    /// Whether tasks may run side by side, as far as this queue is concerned.
    virtual bool isConcurrent() const = 0;

    virtual void enqueue(Item* item) = 0;
    /// Has `work` run as one task of this queue.
    virtual void submit(Work* work) = 0;
    void async(void* context, dispatch_function_t function) { enqueue(Item::create(context, function)); }

    /// Waits for the turn of the calling thread on this queue and on all that it targets. relinquish() ends it.
    virtual Root* acquire(bool barrier) = 0;
    virtual void relinquish(bool barrier) = 0;
    void sync(void* context, dispatch_function_t function, bool barrier);

    /// Whether other work waits beside a queue that could go on draining.
    virtual bool hasBacklog() const = 0;

    void setSpecific(const void* key, void* value, dispatch_function_t destructor);
    void* specific(const void* key) const;

protected:
    void willDispose() override;

private:
    struct Specific {
        const void* key;
        void* value;
        dispatch_function_t destructor;
    };
    static void destroy(const Specific& specific);

    const memory::String label_;
    mutable std::mutex specificsLock_;  ///< guards specifics_; nothing is called under it
    memory::Vector<Specific> specifics_;
};

class Root : public Queue {
public:
    explicit Root(const char* label) : Queue(label, nullptr) {}
    void setTarget(Queue*) override {}
    bool isConcurrent() const override { return true; }
    void enqueue(Item* item) override;
    Root* acquire(bool) override { return this; }
    void relinquish(bool) override {}
    /// Runs a task whose turn the caller has acquired, as a task of `queue`, and waits for its end.
    virtual void call(Queue* queue, void* context, dispatch_function_t function) = 0;
};

inline Queue* fromHandle(dispatch_queue_t handle) { return reinterpret_cast<Queue*>(handle); }
inline dispatch_queue_t toHandle(Queue* queue) { return reinterpret_cast<dispatch_queue_t>(queue); }

/// The default global queue.
Queue* globalQueue();

/// The queues whose tasks the thread is in, innermost first.
class Frame {
public:
    explicit Frame(Queue* queue) : queue_(queue), outer_(std::exchange(current_, this)) {}
    ~Frame() { current_ = outer_; }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    static Queue* currentQueue() { return current_ ? current_->queue_ : nullptr; }
    /// Whether the thread is in a task of `queue` or of a queue that targets it.
    static bool isInside(const Queue* queue);

private:
    static inline thread_local constinit Frame* current_ = nullptr;

    Queue* queue_;
    Frame* outer_;
};

}  // namespace dispatch
