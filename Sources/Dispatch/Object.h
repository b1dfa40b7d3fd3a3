// What all dispatch objects share: an atomic reference count, a context with its finalizer, a target queue.
// Handles of the public header are addresses of these records.

#pragma once

#include <dispatch/dispatch.h>

#include <atomic>
#include <cstdint>
#include <utility>

#include "Memory/Containers.h"

namespace dispatch {

class Queue;

/// The caller's fault, or nothing left to go on with: a line on standard error and abort(3).
[[noreturn]] void stop(const char* message, const char* subject = "");
/// The same line, and the process goes on.
void warn(const char* message, const char* subject = "");

using memory::make;

class Object {
public:
    explicit Object(Queue* target);
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    void retain() { references_.fetch_add(1, std::memory_order_relaxed); }
    void release()
    {
        if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1) dispose();
    }
    /// False once the last reference is gone.
    bool tryRetain();

    Queue* target() const { return target_.load(std::memory_order_acquire); }
    virtual void setTarget(Queue* queue);
    virtual void suspend() {}
    virtual void resume() {}

    std::atomic<void*> userContext{nullptr};
    std::atomic<dispatch_function_t> userFinalizer{nullptr};

protected:
    virtual ~Object();
    /// Runs when the last reference is gone, with the object still whole.
    virtual void willDispose() {}
    /// Retains and stores `queue`; the caller keeps others from using the target, and releases the old one.
    [[nodiscard]] Queue* exchangeTarget(Queue* queue);

private:
    void dispose();

    std::atomic<intptr_t> references_{1};
    std::atomic<Queue*> target_;
};

inline Object* fromHandle(dispatch_object_t handle) { return reinterpret_cast<Object*>(handle); }

}  // namespace dispatch
