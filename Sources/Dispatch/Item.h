// One task on its way through queues. Items come from slabs: a thread issues the items of its slab one after the other,
// and the last item of a slab to be run gives it back, so that a task costs no malloc(3) of its own.

#pragma once

#include "Dispatch/Work.h"

namespace dispatch {

class Group;
class Queue;
struct Slab;

struct Item : Work {
    Item() = default;
    Item(void* taskContext, dispatch_function_t taskFunction) : function(taskFunction), context(taskContext) {}

    static Item* create(void* context, dispatch_function_t function);
    /// Calls the function, leaves the group, and retires the item.
    void perform();

    dispatch_function_t function = nullptr;
    void* context = nullptr;
    Queue* queue = nullptr;  ///< whose task it is; not retained, a queue with tasks stays alive
    Group* group = nullptr;  ///< entered, which keeps it alive
    struct Slab* slab = nullptr;
    Event* waiter = nullptr;  ///< set when the thread whose stack holds this item may run its own task now
    bool barrier = false;
};

}  // namespace dispatch
