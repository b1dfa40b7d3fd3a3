#include "Dispatch/Group.h"

#include "Dispatch/Time.h"

namespace dispatch {

void Group::enter()
{
    std::lock_guard guard(lock_);
    if (entered_++ == 0) retain();
}

void Group::leave()
{
    memory::Vector<Notice> notices;
    {
        std::lock_guard guard(lock_);
        if (entered_ == 0) stop("dispatch_group_leave without dispatch_group_enter");
        if (--entered_ > 0) return;
        ++rounds_;
        emptied_.notify_all();
        notices.swap(notices_);
    }
    for (const Notice& notice : notices) deliver(notice);
    release();
}

bool Group::wait(dispatch_time_t timeout)
{
    std::unique_lock guard(lock_);
    const uint64_t round = rounds_;
    return waitUntil(emptied_, guard, timeout, [&] { return entered_ == 0 || rounds_ != round; });
}

void Group::deliver(const Notice& notice)
{
    notice.queue->async(notice.context, notice.work);
    notice.queue->release();
}

void Group::notify(Queue* queue, void* context, dispatch_function_t work)
{
    queue->retain();
    const Notice notice{queue, context, work};
    {
        std::lock_guard guard(lock_);
        if (entered_ > 0) return notices_.push_back(notice);
    }
    deliver(notice);
}

}  // namespace dispatch

using namespace dispatch;

static Group* group(dispatch_group_t handle) { return reinterpret_cast<Group*>(handle); }

dispatch_group_t dispatch_group_create(void) { return reinterpret_cast<dispatch_group_t>(make<Group>()); }

void dispatch_group_async_f(dispatch_group_t handle, dispatch_queue_t queue, void* context, dispatch_function_t work)
{
    Item* item = Item::create(context, work);
    item->group = group(handle);
    item->group->enter();
    fromHandle(queue)->enqueue(item);
}

void dispatch_group_enter(dispatch_group_t handle) { group(handle)->enter(); }
void dispatch_group_leave(dispatch_group_t handle) { group(handle)->leave(); }

intptr_t dispatch_group_wait(dispatch_group_t handle, dispatch_time_t timeout)
{
    return group(handle)->wait(timeout) ? 0 : 1;
}

void dispatch_group_notify_f(dispatch_group_t handle, dispatch_queue_t queue, void* context, dispatch_function_t work)
{
    group(handle)->notify(fromHandle(queue), context, work);
}
