/* These headers are called from C too; the inline ones have to compile and answer there as they do in C++. */
#include "Platform/Ostra/OstraAtomics.h"
#include "Platform/Ostra/OstraClock.h"
#include "Platform/Ostra/OstraIntegers.h"
#include "Platform/Ostra/OstraStrings.h"

int64_t mulDivFromC(int64_t value, int32_t multiplier, int32_t divisor, int32_t* remainder);
int64_t mulDivFromC(int64_t value, int32_t multiplier, int32_t divisor, int32_t* remainder)
{
    volatile int32_t word = 0;
    return TavAtomicIncrement32(&word) == 1 ? TavInt64MulDiv(value, multiplier, divisor, remainder) : 0;
}
