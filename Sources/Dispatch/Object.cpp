#include "Dispatch/Object.h"

#include <cstdio>
#include <cstdlib>

#include "Dispatch/Queue.h"

namespace dispatch {

void warn(const char* message, const char* subject)
{
    fprintf(stderr, "dispatch: %s%s%s\n", message, *subject ? ": " : "", subject);
}

void stop(const char* message, const char* subject)
{
    warn(message, subject);
    abort();
}

Object::Object(Queue* target) : target_(target)
{
    if (target) target->retain();
}

Object::~Object()
{
    if (Queue* queue = target()) queue->release();
}

bool Object::tryRetain()
{
    intptr_t seen = references_.load(std::memory_order_relaxed);
    while (seen > 0)
        if (references_.compare_exchange_weak(seen, seen + 1, std::memory_order_relaxed)) return true;
    return false;
}

Queue* Object::exchangeTarget(Queue* queue)
{
    queue->retain();
    return target_.exchange(queue, std::memory_order_acq_rel);
}

void Object::setTarget(Queue* queue)
{
    if (Queue* old = exchangeTarget(queue)) old->release();
}

void Object::dispose()
{
    willDispose();
    void* left = userContext.load();
    const dispatch_function_t finalize = userFinalizer.load();
    if (finalize && left) (target() ? target() : globalQueue())->async(left, finalize);
    delete this;
}

}  // namespace dispatch

using dispatch::fromHandle;

void dispatch_retain(dispatch_object_t object) { fromHandle(object)->retain(); }
void dispatch_release(dispatch_object_t object) { fromHandle(object)->release(); }
void* dispatch_get_context(dispatch_object_t object) { return fromHandle(object)->userContext.load(); }
void dispatch_set_context(dispatch_object_t object, void* context) { fromHandle(object)->userContext.store(context); }
void dispatch_set_finalizer_f(dispatch_object_t object, dispatch_function_t finalizer)
{
    fromHandle(object)->userFinalizer.store(finalizer);
}
void dispatch_suspend(dispatch_object_t object) { fromHandle(object)->suspend(); }
void dispatch_resume(dispatch_object_t object) { fromHandle(object)->resume(); }
void dispatch_set_target_queue(dispatch_object_t object, dispatch_queue_t queue)
{
    fromHandle(object)->setTarget(queue ? dispatch::fromHandle(queue) : dispatch::globalQueue());
}
