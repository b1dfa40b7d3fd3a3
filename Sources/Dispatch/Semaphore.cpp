#include "Dispatch/Object.h"
#include "Dispatch/Time.h"

namespace dispatch {

class Semaphore final : public Object {
public:
    explicit Semaphore(intptr_t value) : Object(nullptr), value_(value) {}

    bool wait(dispatch_time_t timeout)
    {
        std::unique_lock guard(lock_);
        ++waiting_;
        const bool taken = waitUntil(signalled_, guard, timeout, [this] { return value_ > 0; });
        --waiting_;
        if (taken) --value_;
        return taken;
    }

    bool signal()
    {
        std::lock_guard guard(lock_);
        const bool wakes = value_ < waiting_;
        ++value_;
        if (wakes) signalled_.notify_one();
        return wakes;
    }

private:
    std::mutex lock_;  ///< guards the fields below
    std::condition_variable signalled_;
    intptr_t value_;
    intptr_t waiting_ = 0;
};

}  // namespace dispatch

static dispatch::Semaphore* semaphore(dispatch_semaphore_t handle)
{
    return reinterpret_cast<dispatch::Semaphore*>(handle);
}

dispatch_semaphore_t dispatch_semaphore_create(intptr_t value)
{
    if (value < 0) return nullptr;
    return reinterpret_cast<dispatch_semaphore_t>(dispatch::make<dispatch::Semaphore>(value));
}

intptr_t dispatch_semaphore_wait(dispatch_semaphore_t handle, dispatch_time_t timeout)
{
    return semaphore(handle)->wait(timeout) ? 0 : 1;
}

intptr_t dispatch_semaphore_signal(dispatch_semaphore_t handle) { return semaphore(handle)->signal() ? 1 : 0; }
