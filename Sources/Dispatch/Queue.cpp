#include "Dispatch/Queue.h"

#include <algorithm>

namespace dispatch {

Queue::Queue(const char* label, Queue* target) : Object(target), label_(label ? label : "") {}

void Queue::sync(void* context, dispatch_function_t function, bool barrier)
{
    Root* root = acquire(barrier);
    root->call(this, context, function);
    relinquish(barrier);
}

void Queue::destroy(const Specific& specific)
{
    if (specific.destructor && specific.value) globalQueue()->async(specific.value, specific.destructor);
}

void Queue::setSpecific(const void* key, void* value, dispatch_function_t destructor)
{
    Specific replaced{};
    {
        std::lock_guard guard(specificsLock_);
        auto found = std::find_if(specifics_.begin(), specifics_.end(), [key](auto& s) { return s.key == key; });
        if (found != specifics_.end()) {
            replaced = std::exchange(*found, {key, value, destructor});
            if (!value) specifics_.erase(found);
        } else if (value) {
            specifics_.push_back({key, value, destructor});
        }
    }
    destroy(replaced);
}

void* Queue::specific(const void* key) const
{
    std::lock_guard guard(specificsLock_);
    for (const Specific& specific : specifics_)
        if (specific.key == key) return specific.value;
    return nullptr;
}

void Queue::willDispose()
{
    for (const Specific& specific : specifics_) destroy(specific);
}

static void runOnRoot(Work* work)
{
    Item* item = static_cast<Item*>(work);
    Frame frame(item->queue);
    item->perform();
}

void Root::enqueue(Item* item)
{
    item->queue = this;
    item->run = runOnRoot;
    submit(item);
}

bool Frame::isInside(const Queue* queue)
{
    for (const Frame* frame = current_; frame; frame = frame->outer_)
        for (const Queue* held = frame->queue_; held; held = held->target())
            if (held == queue) return true;
    return false;
}

}  // namespace dispatch

using namespace dispatch;

dispatch_queue_t dispatch_get_current_queue(void)
{
    Queue* current = Frame::currentQueue();
    return toHandle(current ? current : globalQueue());
}

const char* dispatch_queue_get_label(dispatch_queue_t queue)
{
    return fromHandle(queue != DISPATCH_CURRENT_QUEUE_LABEL ? queue : dispatch_get_current_queue())->label();
}

void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work)
{
    fromHandle(queue)->async(context, work);
}

void dispatch_sync_f(dispatch_queue_t queue, void* context, dispatch_function_t work)
{
    fromHandle(queue)->sync(context, work, false);
}

void dispatch_barrier_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work)
{
    Item* item = Item::create(context, work);
    item->barrier = true;
    fromHandle(queue)->enqueue(item);
}

void dispatch_barrier_sync_f(dispatch_queue_t queue, void* context, dispatch_function_t work)
{
    fromHandle(queue)->sync(context, work, true);
}

void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key, void* value, dispatch_function_t destructor)
{
    if (key) fromHandle(queue)->setSpecific(key, value, destructor);
}

void* dispatch_queue_get_specific(dispatch_queue_t queue, const void* key) { return fromHandle(queue)->specific(key); }

void* dispatch_get_specific(const void* key)
{
    for (Queue* queue = Frame::currentQueue(); queue; queue = queue->target())
        if (void* value = queue->specific(key)) return value;
    return nullptr;
}
