#define TAV_SUBSYSTEM "<<<< TAVOSTRATHREAD >>>>"

#include "Platform/Ostra/OstraThread.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/CommonThread.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraDebug.h"

ZO_DEFINE_STRING(kTavThreadCreateKey_StackSize, "com.orvane.tav.ThreadCreateKey_StackSize");
ZO_DEFINE_STRING(kTavThreadCreateKey_Identifier, "com.orvane.tav.ThreadCreateKey_Identifier");
ZO_DEFINE_STRING(kTavThreadCreateKey_NativeTimeSharePolicy, "com.orvane.tav.ThreadCreateKey_NativeTimeSharePolicy");
ZO_DEFINE_STRING(kTavThreadCreateKey_NativeThreadPriority, "com.orvane.tav.ThreadCreateKey_NativeThreadPriority");
ZO_DEFINE_STRING(kTavThreadPropertyKey_Priority, "com.orvane.tav.ThreadPropKey_Priority");
ZO_DEFINE_STRING(kTavThreadPropertyKey_ClientPID, "com.orvane.tav.ThreadPropKey_ClientPID");
ZO_DEFINE_STRING(kTavThreadPropertyKey_NativeTimeSharePolicy, "com.orvane.tav.ThreadPropKey_NativeTimeSharePolicy");
ZO_DEFINE_STRING(kTavThreadPropertyKey_NativeThreadPriority, "com.orvane.tav.ThreadPropKey_NativeThreadPriority");

static TavTraceNote sTrace;

static void threadRegisterTrace() { tavTraceNoteRegister(&sTrace, "ostrathread_trace", 0); }

// Index 5 has no native value; several indices share one.
static constexpr std::array<int32_t, kTavThreadPriorityHighest + 1> kNativePriorityMap = {
    47, 97, 54, 49, 52, 0,  55, 32, 27, 16, 39, 57, 37, 57, 56, 58, 16, 56, 47, 56, 58, 58, 56, 50,
    56, 4,  55, 56, 58, 58, 47, 27, 62, 59, 48, 47, 40, 37, 47, 31, 27, 48, 49, 30, 47, 47, 37};

/// A stack that is not larger than this leaves the system's default.
static constexpr int32_t kLargestIgnoredStackSize = 16384;

// Creation -----------------------------------------------------------------------------------------------------------

namespace {

/// What a new thread takes along.
struct StartRecord {
    TavThreadProc proc;
    void* refcon;
    ZoStringRef identifier;
};

class ThreadAttributes {
public:
    ThreadAttributes() : status_(pthread_attr_init(&attributes_)) {}
    ~ThreadAttributes()
    {
        if (status_ == 0) pthread_attr_destroy(&attributes_);
    }
    ThreadAttributes(const ThreadAttributes&) = delete;
    ThreadAttributes& operator=(const ThreadAttributes&) = delete;
    int status() const { return status_; }
    pthread_attr_t* get() { return &attributes_; }

private:
    pthread_attr_t attributes_;
    int status_;
};

}  // namespace

static void threadSetName(TavThreadID thread, ZoStringRef identifier)
{
    constexpr ZoIndex kLongestName = 255, kLongestSystemName = 15;
    if (!identifier) return;
    char name[kLongestName + 1];
    ZoIndex used = 0;
    const ZoRange range = ZoRangeMake(0, std::min(ZoStringGetLength(identifier), kLongestName));
    ZoStringGetBytes(identifier, range, kZoStringEncodingASCII, '?', false, reinterpret_cast<uint8_t*>(name),
                     kLongestName, &used);
    name[std::min(used, kLongestSystemName)] = 0;  // the system refuses a longer one
    pthread_setname_np(thread, name);
}

/// Lets go of what the list keeps for the calling thread, which is about to end.
static void threadLeaveAbortList()
{
    if (TavThreadLockAbortList() != 0) return;
    TavThreadRemoveFromAbortListAndCleanup(TavThreadGetCurrent());
    TavThreadUnlockAbortList();
}

static void* threadMain(void* argument)
{
    auto* record = static_cast<StartRecord*>(argument);
    const StartRecord start = *record;
    std::free(record);
    threadSetName(pthread_self(), start.identifier);
    if (start.identifier) ZoRelease(start.identifier);
    void* result = start.proc(start.refcon);
    threadLeaveAbortList();
    return result;
}

static OSStatus threadSignalAttributeFailure(int err, const char* operation)
{
    return TavSignalErrorAt(err, "err", "pthread_attr call failed", TAV_SUBSYSTEM, operation, __FILE__, __LINE__, 0);
}

static OSStatus threadSetPriorityAttribute(pthread_attr_t* attributes, TavThreadPriority priority,
                                           const char* operation)
{
    int policy = 0;
    int err = pthread_attr_getschedpolicy(attributes, &policy);
    // Under the usual time-sharing policy threads have no priorities.
    if (err == 0 && sched_get_priority_max(policy) > 0) {
        struct sched_param parameters = {};
        err = pthread_attr_getschedparam(attributes, &parameters);
        if (err == 0) {
            parameters.sched_priority = kNativePriorityMap[priority];
            err = pthread_attr_setschedparam(attributes, &parameters);
        }
    }
    return err ? threadSignalAttributeFailure(err, operation) : 0;
}

static int32_t threadGetStackSizeOption(ZoDictionaryRef options)
{
    const ZoTypeRef value = options ? ZoDictionaryGetValue(options, kTavThreadCreateKey_StackSize) : nullptr;
    int32_t stackSize = 0;
    if (value && ZoGetTypeID(value) == ZoNumberGetTypeID())
        ZoNumberGetValue(static_cast<ZoNumberRef>(value), kZoNumberSInt32Type, &stackSize);
    return stackSize;
}

static ZoStringRef threadGetIdentifierOption(ZoDictionaryRef options)
{
    const ZoTypeRef value = options ? ZoDictionaryGetValue(options, kTavThreadCreateKey_Identifier) : nullptr;
    return value && ZoGetTypeID(value) == ZoStringGetTypeID() ? static_cast<ZoStringRef>(value) : nullptr;
}

/// Holds the list lock from before the thread runs until its handle is clean: its first registration cannot meet a
/// marker of a dead thread, and it cannot end, and its handle go, before it has its name.
static OSStatus threadStart(const pthread_attr_t* attributes, TavThreadProc proc, void* refcon, ZoStringRef identifier,
                            TavThreadID* outThread, const char* operation)
{
    TAV_TRY(TavThreadLockAbortList());
    auto* record = static_cast<StartRecord*>(std::malloc(sizeof(StartRecord)));
    if (!record) {
        TavThreadUnlockAbortList();
        return TAV_SIGNAL_FROM(operation, kTavThreadAllocationErr, "memErr");
    }
    *record = {proc, refcon, identifier};
    if (identifier) ZoRetain(identifier);
    const int err = pthread_create(outThread, attributes, threadMain, record);
    if (err) {
        TavThreadUnlockAbortList();
        if (identifier) ZoRelease(identifier);
        std::free(record);
        return TAV_SIGNAL_AS(operation, err, "err", "pthread_create failed");
    }
    threadSetName(*outThread, identifier);
    TavThreadRemoveFromAbortListAndCleanup(*outThread);
    return TavThreadUnlockAbortList();
}

OSStatus TavThreadCreate(TavThreadProc proc, void* refcon, TavThreadPriority priority, bool joinable,
                         ZoDictionaryRef options, TavThreadID* outThread)
{
    static TavThreadOnce sOnce = TAV_THREAD_ONCE_INIT;
    TavThreadRunOnce(&sOnce, threadRegisterTrace);
    if (priority > kTavThreadPriorityHighest) return TAV_SIGNAL(kTavThreadParamErr, "Priority out of range");
    if (joinable && !outThread) return TAV_SIGNAL(kTavThreadParamErr, "Must return threadRef so it can be joined");
    if (!proc) return TAV_SIGNAL(kTavThreadParamErr, "NULL proc");

    ThreadAttributes attributes;
    int err = attributes.status();
    if (err == 0 && !joinable) err = pthread_attr_setdetachstate(attributes.get(), PTHREAD_CREATE_DETACHED);
    const int32_t stackSize = threadGetStackSizeOption(options);
    if (err == 0 && stackSize > kLargestIgnoredStackSize)
        err = pthread_attr_setstacksize(attributes.get(), static_cast<size_t>(stackSize));
    if (err) return threadSignalAttributeFailure(err, __func__);
    TAV_TRY(threadSetPriorityAttribute(attributes.get(), priority, __func__));

    TavThreadID thread = kTavThreadInvalidID;
    TAV_TRY(threadStart(attributes.get(), proc, refcon, threadGetIdentifierOption(options), &thread, __func__));
    if (outThread) *outThread = thread;
    return 0;
}

void TavThreadExit(void* result)
{
    threadLeaveAbortList();
    pthread_exit(result);
}

TavThreadID TavThreadGetCurrent(void) { return pthread_self(); }

OSStatus TavThreadJoin(TavThreadID thread, void** outResult)
{
    const int err = TavThreadIsValid(thread) ? pthread_join(thread, outResult) : ESRCH;
    switch (err) {
        case ESRCH: return TAV_SIGNAL(kTavThreadNotFoundErr, "Thread not found");
        case EDEADLK: return TAV_SIGNAL(kTavThreadNotJoinableErr, "Cannot join thread from itself");
        case EINVAL: return TAV_SIGNAL(kTavThreadNotJoinableErr, "Thread is not joinable");
        default: return err;
    }
}

// Properties ---------------------------------------------------------------------------------------------------------

static bool threadIsPriorityKey(ZoStringRef key) { return key && ZoEqual(key, kTavThreadPropertyKey_Priority); }

OSStatus TavThreadSetProperty(TavThreadID thread, ZoStringRef key, ZoTypeRef value)
{
    if (!threadIsPriorityKey(key)) return kTavUnsupportedPropertyErr;
    if (!value || ZoGetTypeID(value) != ZoNumberGetTypeID())
        return TAV_SIGNAL(kTavUnsupportedPropertyErr, "not a ZoNumber");
    int32_t priority = -1;
    if (!ZoNumberGetValue(static_cast<ZoNumberRef>(value), kZoNumberSInt32Type, &priority)) return kTavThreadParamErr;
    if (priority < 0 || priority > kTavThreadPriorityHighest || priority == kTavThreadPriorityUnknown)
        return kTavThreadParamErr;
    if (!TavThreadIsValid(thread)) return TAV_SIGNAL(kTavThreadNotFoundErr, "Thread not found");

    int policy = 0;
    struct sched_param parameters = {};
    TAV_TRY(pthread_getschedparam(thread, &policy, &parameters));
    parameters.sched_priority = kNativePriorityMap[static_cast<size_t>(priority)];
    return pthread_setschedparam(thread, policy, &parameters);
}

OSStatus TavThreadCopyProperty(TavThreadID thread, ZoStringRef key, ZoAllocatorRef allocator, ZoTypeRef* outValue)
{
    if (!outValue) return TAV_SIGNAL(kTavThreadParamErr, "NULL propertyValueOut");
    *outValue = nullptr;
    if (!threadIsPriorityKey(key)) return kTavUnsupportedPropertyErr;
    if (!TavThreadIsValid(thread)) return TAV_SIGNAL(kTavThreadNotFoundErr, "Thread not found");

    int policy = 0;
    struct sched_param parameters = {};
    TAV_TRY(pthread_getschedparam(thread, &policy, &parameters));
    const auto found = std::find(kNativePriorityMap.begin() + 1, kNativePriorityMap.end(), parameters.sched_priority);
    const int priority = found != kNativePriorityMap.end() ? static_cast<int>(found - kNativePriorityMap.begin())
                                                           : kTavThreadPriorityUnknown;
    *outValue = ZoNumberCreate(allocator, kZoNumberIntType, &priority);
    return *outValue ? 0 : TAV_SIGNAL(kTavThreadAllocationErr, "memErr");
}

int32_t TavThreadGetPosixThreadPriorityValue(TavThreadPriority priority)
{
    if (priority > kTavThreadPriorityHighest) {
        TAV_SIGNAL(kTavThreadParamErr,
                   "Priority out of range. Returning priority value for kTavThreaadPriorityDefault");
        priority = kTavThreadPriorityDefault;
    }
    return kNativePriorityMap[priority];
}
