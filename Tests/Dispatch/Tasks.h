// Closures as tasks: the queues take functions with a context.

#pragma once

#include <dispatch/dispatch.h>

#include <functional>
#include <memory>
#include <utility>

namespace luvia_test {

using Task = std::function<void()>;

inline void runTask(void* task) { (*std::unique_ptr<Task>(static_cast<Task*>(task)))(); }
inline void callTask(void* task) { (*static_cast<Task*>(task))(); }

inline void async(dispatch_queue_t queue, Task task) { dispatch_async_f(queue, new Task(std::move(task)), runTask); }
inline void barrierAsync(dispatch_queue_t queue, Task task)
{
    dispatch_barrier_async_f(queue, new Task(std::move(task)), runTask);
}
inline void sync(dispatch_queue_t queue, Task task) { dispatch_sync_f(queue, &task, callTask); }
inline void barrierSync(dispatch_queue_t queue, Task task) { dispatch_barrier_sync_f(queue, &task, callTask); }
inline void groupAsync(dispatch_group_t group, dispatch_queue_t queue, Task task)
{
    dispatch_group_async_f(group, queue, new Task(std::move(task)), runTask);
}

/// Owns one reference.
template <typename T>
class Held {
public:
    explicit Held(T object) : object_(object) {}
    ~Held() { reset(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    operator T() const { return object_; }
    void reset()
    {
        if (object_) dispatch_release(object_);
        object_ = nullptr;
    }

private:
    T object_;
};
using HeldQueue = Held<dispatch_queue_t>;
using HeldGroup = Held<dispatch_group_t>;

}  // namespace luvia_test
