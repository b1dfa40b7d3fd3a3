// Groups count tasks; who waits or is to be notified goes on when the count reaches 0.

#pragma once

#include "Dispatch/Queue.h"

namespace dispatch {

class Group final : public Object {
public:
    Group() : Object(nullptr) {}

    void enter();
    void leave();
    /// False when `timeout` came first.
    bool wait(dispatch_time_t timeout);
    void notify(Queue* queue, void* context, dispatch_function_t work);

private:
    struct Notice {
        Queue* queue;  ///< retained
        void* context;
        dispatch_function_t work;
    };
    static void deliver(const Notice& notice);

    std::mutex lock_;  ///< guards the fields below; nothing is called under it
    std::condition_variable emptied_;
    size_t entered_ = 0;   ///< above 0 the group holds a reference to itself
    uint64_t rounds_ = 0;  ///< how often the group became empty: a waiter goes on even if it was entered again
    memory::Vector<Notice> notices_;
};

}  // namespace dispatch
