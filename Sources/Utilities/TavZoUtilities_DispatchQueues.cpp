#include <dispatch/dispatch.h>

#include "Utilities/TavZoUtilities.h"

static dispatch_queue_t asQueue(const void* value) { return static_cast<dispatch_queue_t>(const_cast<void*>(value)); }

static const void* retainQueue(ZoAllocatorRef, const void* value)
{
    dispatch_retain(asQueue(value));
    return value;
}

static void releaseQueue(ZoAllocatorRef, const void* value) { dispatch_release(asQueue(value)); }

static ZoStringRef copyQueueLabel(const void* value)
{
    const char* label = dispatch_queue_get_label(asQueue(value));
    return ZoStringCreateWithCString(nullptr, label ? label : "", kZoStringEncodingUTF8);
}

const ZoDictionaryValueCallBacks kTavDispatchQueueZoDictionaryValueCallbacks = {0, retainQueue, releaseQueue,
                                                                                copyQueueLabel, nullptr};
