#include <memory>

#include "Dispatch/EventThread.h"
#include "Dispatch/Queue.h"

void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context, dispatch_function_t work)
{
    using namespace dispatch;
    if (when == DISPATCH_TIME_FOREVER) return;
    if (when == DISPATCH_TIME_NOW) return dispatch_async_f(queue, context, work);

    struct Delayed {
        Queue* queue;
        void* context;
        dispatch_function_t work;
    };
    fromHandle(queue)->retain();
    const auto fire = [](void* timer) {
        std::unique_ptr<Delayed> delayed(static_cast<Delayed*>(timer));
        delayed->queue->async(delayed->context, delayed->work);
        delayed->queue->release();
    };
    EventThread::shared().at(momentOf(when), fire, make<Delayed>(Delayed{fromHandle(queue), context, work}));
}
