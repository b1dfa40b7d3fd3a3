#include <errno.h>

#include "Platform/Ostra/OstraSynchronizationPrivate.h"

TavConditionVariableRef TavConditionVariableCreate(void) { return TavConditionVariableCreateWithFlags(nullptr); }

TavConditionVariableRef TavConditionVariableCreateWithFlags(ZoAllocatorRef allocator)
{
    TavConditionVariableRef condition = tavRecordCreate<TavConditionVariable_>(allocator);
    if (condition && pthread_cond_init(&condition->posix, nullptr) != 0) {
        tavRecordFree(condition);
        return nullptr;
    }
    return condition;
}

OSStatus TavConditionVariableBroadcast(TavConditionVariableRef condition)
{
    return pthread_cond_broadcast(&condition->posix);
}

OSStatus TavConditionVariableWaitRelative(TavConditionVariableRef condition, TavSimpleMutexRef mutex, int64_t timeout)
{
    const int err = tavWaitOnConditionTimedRelative(&condition->posix, mutex, timeout, __func__);
    return err == ETIMEDOUT ? kTavWaitTimedOutErr : err;
}

OSStatus TavConditionVariableDestroy(TavConditionVariableRef condition)
{
    if (!condition) return 0;
    const int err = pthread_cond_destroy(&condition->posix);
    if (err) {
        tav_log(kTavLogType_Error, kTavLogFlag_LocalTime, 0, 0,
                "/workspace/tav/Sources/Platform/Ostra/OstraSynchronization %s: pthread_cond_destroy ERROR %d mutex "
                "%p; just leaking it",
                __func__, err, static_cast<void*>(condition));
        return TAV_SIGNAL(err, "pthread_cond_destroy failed, just leaking it");
    }
    tavRecordFree(condition);
    return 0;
}
