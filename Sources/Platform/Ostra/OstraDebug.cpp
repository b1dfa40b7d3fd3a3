#include <atomic>

#include "Platform/Common/TavSignal.h"

static std::atomic<uint32_t> gErrorCount;

OSStatus TavSignalErrorAt3(const char*, uintptr_t, OSStatus code, const char*, const char*, const char*, const char*,
                           const char*, int64_t, const void*, int32_t)
{
    gErrorCount.fetch_add(1);
    return code;
}
