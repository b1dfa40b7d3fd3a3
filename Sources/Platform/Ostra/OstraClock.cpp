#include "Platform/Ostra/OstraClock.h"

#include <time.h>

uint64_t TavGetUpTime(void)
{
    struct timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000u + static_cast<uint64_t>(now.tv_nsec);
}

uint64_t TavGetUpTimeNanoseconds(void) { return TavHostTimeToNanoseconds(TavGetUpTime()); }

void TavGetHostTimeToNanosecondsScale(uint32_t* outNumerator, uint32_t* outDenominator)
{
    if (outNumerator) *outNumerator = 1;
    if (outDenominator) *outDenominator = 1;
}
