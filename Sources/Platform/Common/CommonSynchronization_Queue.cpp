#include "Platform/Common/CommonSynchronization.h"

TavReadWriteQueueRef TavReadWriteQueue_Create(const char* label) { return dispatch_queue_create(label, nullptr); }

void TavReadWriteQueue_Read(TavReadWriteQueueRef queue, void* context, dispatch_function_t work)
{
    dispatch_sync_f(queue, context, work);
}

void TavReadWriteQueue_Write(TavReadWriteQueueRef queue, void* context, dispatch_function_t work)
{
    dispatch_barrier_sync_f(queue, context, work);
}

void TavReadWriteQueue_Write_Async(TavReadWriteQueueRef queue, void* context, dispatch_function_t work)
{
    dispatch_barrier_async_f(queue, context, work);
}

bool _TavIsCurrentDispatchQueue(dispatch_queue_t queue) { return dispatch_get_current_queue() == queue; }

bool _TavIsNotCurrentDispatchQueue(dispatch_queue_t queue) { return !_TavIsCurrentDispatchQueue(queue); }
