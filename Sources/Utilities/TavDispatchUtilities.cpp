#include "Utilities/TavDispatchUtilities.h"

#include <memory>
#include <new>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraAtomics.h"

// MARK: queues

dispatch_queue_t TavDispatchQueueCreateWithPriority(const char* label, dispatch_queue_attr_t attributes, uint32_t)
{
    return dispatch_queue_create(label, attributes);
}

dispatch_queue_t TavDispatchQueueCreateTargetingPThreadRootQueueWithPriority(const char* label,
                                                                             dispatch_queue_attr_t attributes,
                                                                             uint32_t priority)
{
    return TavDispatchQueueCreateWithPriority(label, attributes, priority);
}

dispatch_queue_t TavDispatchQueueCreateWithPriorityAndClientPID(const char* label, dispatch_queue_attr_t attributes,
                                                                uint32_t priority, pid_t)
{
    return TavDispatchQueueCreateWithPriority(label, attributes, priority);
}

OSStatus TavDispatchQueueSetPriorityAndClientPID(dispatch_queue_t queue, uint32_t, pid_t)
{
    if (!queue) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "NULL queue");
    return 0;
}

void TavDispatchOnceInitWithinObject(dispatch_once_t* once)
{
    *once = 0;
    TavMemoryBarrier();
}

// MARK: deferred release

static dispatch_queue_t deferredReleaseQueue()
{
    static dispatch_once_t sOnce;
    static dispatch_queue_t sQueue;
    dispatch_once_f(&sOnce, nullptr, [](void*) {
        sQueue = dispatch_queue_create("com.orvane.luvia.dispatchUtil.serialReleaseQueue", DISPATCH_QUEUE_SERIAL);
    });
    return sQueue;
}

void TavDeferZoRelease(ZoTypeRef object)
{
    if (!object) return;
    dispatch_async_f(deferredReleaseQueue(), const_cast<void*>(object), [](void* deferred) { ZoRelease(deferred); });
}

// MARK: properties

OSStatus TavDispatchSyncCopyPropertyImplementation(dispatch_queue_t queue, TavDispatchCopyPropertyFunction function,
                                                   ZoTypeRef object, ZoTypeRef key, ZoAllocatorRef allocator,
                                                   void* valueOut)
{
    if (!queue || !function || !object || !key || !valueOut)
        return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "Invalid arguments");

    struct Call {
        TavDispatchCopyPropertyFunction function;
        ZoTypeRef object;
        ZoTypeRef key;
        ZoAllocatorRef allocator;
        void* valueOut;
        OSStatus status;
    } call = {function, object, key, allocator, valueOut, 0};
    dispatch_sync_f(queue, &call, [](void* context) {
        Call& onQueue = *static_cast<Call*>(context);
        onQueue.status = onQueue.function(onQueue.object, onQueue.key, onQueue.allocator, onQueue.valueOut);
    });
    return call.status;
}

namespace {

struct AsyncSet {
    ZoRef<ZoTypeRef> object;
    ZoRef<ZoTypeRef> key;
    TavDispatchSetPropertyFunction function;
    ZoRef<ZoTypeRef> value;
};

}  // namespace

static void dispatchUtil_setProperty(void* context)
{
    const std::unique_ptr<AsyncSet> set(static_cast<AsyncSet*>(context));
    const OSStatus status = set->function(set->object.get(), set->key.get(), set->value.get());
    if (status != 0)
        tav_log(
            kTavLogType_Error, kTavLogFlag_LocalTime, 0, 0,
            "Sources/Utilities/TavDispatchUtilities %s: TavDispatchAsyncSetPropertyImplementation callback returned "
            "%d; this async error will be discarded",
            __func__, status);
}

OSStatus TavDispatchAsyncSetPropertyImplementation(dispatch_queue_t queue, TavDispatchSetPropertyFunction function,
                                                   ZoTypeRef object, ZoTypeRef key, ZoTypeRef value)
{
    if (!queue || !function || !object || !key) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "Invalid arguments");
    using Kept = ZoRef<ZoTypeRef>;
    auto* set = new (std::nothrow) AsyncSet{Kept::retain(object), Kept::retain(key), function, Kept::retain(value)};
    if (!set) return TAV_SIGNAL(kTavBaseObjectError_AllocationFailed, "Dispatch context allocation failed");
    dispatch_async_f(queue, set, dispatchUtil_setProperty);
    return 0;
}

// MARK: a wait with a limit

intptr_t TavDispatchAsyncAndWaitWithTimeout_f(dispatch_queue_t queue, void* context, dispatch_function_t function,
                                              dispatch_time_t timeout)
{
    const dispatch_group_t group = dispatch_group_create();
    dispatch_group_async_f(group, queue, context, function);
    const intptr_t result = dispatch_group_wait(group, timeout);
    dispatch_release(group);  // the task keeps it alive where it still has to run
    return result;
}

// MARK: holders

struct TavDispatchQueueHolder_ {
    ZoRuntimeBase base;
    dispatch_queue_t queue;  // retained
};

static TavDispatchQueueHolder_* asHolder(ZoTypeRef object)
{
    return static_cast<TavDispatchQueueHolder_*>(const_cast<void*>(object));
}

static void dispatchQueueHolder_Init(ZoTypeRef object) { asHolder(object)->queue = nullptr; }

static void dispatchQueueHolder_Finalize(ZoTypeRef object)
{
    if (dispatch_queue_t queue = std::exchange(asHolder(object)->queue, nullptr)) dispatch_release(queue);
}

static ZoStringRef dispatchQueueHolder_CopyDebugDesc(ZoTypeRef object)
{
    const dispatch_queue_t queue = asHolder(object)->queue;
    return ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("<TavDispatchQueueHolder %p> %p (%s)"), object,
                                    static_cast<void*>(queue), dispatch_queue_get_label(queue));
}

static ZoStringRef dispatchQueueHolder_CopyFormattingDesc(ZoTypeRef object, ZoDictionaryRef)
{
    return dispatchQueueHolder_CopyDebugDesc(object);
}

ZoTypeID TavDispatchQueueHolderGetTypeID(void)
{
    static constexpr ZoRuntimeClass kClass = {.version = 0,
                                              .className = "TavDispatchQueueHolder",
                                              .init = dispatchQueueHolder_Init,
                                              .copy = nullptr,
                                              .finalize = dispatchQueueHolder_Finalize,
                                              .equal = nullptr,
                                              .hash = nullptr,
                                              .copyFormattingDesc = dispatchQueueHolder_CopyFormattingDesc,
                                              .copyDebugDesc = dispatchQueueHolder_CopyDebugDesc,
                                              .unused = {}};
    static dispatch_once_t sOnce;
    static ZoTypeID sTypeID;
    dispatch_once_f(&sOnce, nullptr, [](void*) { sTypeID = _ZoRuntimeRegisterClass(&kClass); });
    return sTypeID;
}

OSStatus TavDispatchQueueHolderCreateWithDispatchQueue(ZoAllocatorRef allocator, dispatch_queue_t queue,
                                                       TavDispatchQueueHolderRef* holderOut)
{
    if (holderOut) *holderOut = nullptr;
    if (!queue) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "queue NULL");
    if (!holderOut) return TAV_SIGNAL(kTavBaseObjectError_ParamErr, "dispatchQueueHolderOut NULL");
    TavDispatchQueueHolder_* holder =
        asHolder(_ZoRuntimeCreateInstance(allocator, TavDispatchQueueHolderGetTypeID(),
                                          sizeof(TavDispatchQueueHolder_) - sizeof(ZoRuntimeBase), nullptr));
    if (!holder) return TAV_SIGNAL(kTavBaseObjectError_AllocationFailed, "dispatchQueueHolder NULL");
    dispatch_retain(queue);
    holder->queue = queue;
    *holderOut = holder;
    return 0;
}

dispatch_queue_t TavDispatchQueueHolderGetDispatchQueue(TavDispatchQueueHolderRef holder) { return holder->queue; }
