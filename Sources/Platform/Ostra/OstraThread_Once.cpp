// Apart from the threads themselves: what only needs a guard or a key carries no thread, queue or list.

#define TAV_SUBSYSTEM "<<<< TAVOSTRATHREAD >>>>"

#include <errno.h>
#include <unistd.h>

#include "Platform/Common/TavSignal.h"
#include "Platform/Ostra/OstraThread.h"

OSStatus TavThreadRunOnce(TavThreadOnce* once, void (*function)(void)) { return pthread_once(once, function); }

OSStatus TavThreadAllocKey(void*, uint64_t* outKey)
{
    if (!outKey) return TAV_SIGNAL(kTavThreadParamErr, "NULL outKey");
    *outKey = 0;
    pthread_key_t key = 0;
    TAV_TRY(pthread_key_create(&key, nullptr));
    *outKey = key;
    return 0;
}

void* TavThreadGetValue(uint64_t key)
{
    return key <= UINT32_MAX ? pthread_getspecific(static_cast<pthread_key_t>(key)) : nullptr;
}

OSStatus TavThreadSetValue(uint64_t key, const void* value)
{
    return key <= UINT32_MAX ? pthread_setspecific(static_cast<pthread_key_t>(key), value) : EINVAL;
}

int32_t TavThreadGetMaxLogicalCoreCount(void)
{
    static const auto sCount = static_cast<int32_t>(sysconf(_SC_NPROCESSORS_ONLN));
    return sCount;
}
