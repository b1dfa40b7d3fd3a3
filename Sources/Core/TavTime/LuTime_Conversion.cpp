#include "Core/TavTime/TavTimeInternal.h"

using namespace tavtime;

/// The truncated quotient, moved by one tick as the method says. `remainder` is not 0 and has the quotient's sign.
static int64_t roundQuotient(int64_t quotient, int64_t remainder, int32_t oldTimescale, int32_t newTimescale,
                             LuTimeRoundingMethod method)
{
    const int64_t awayFromZero = remainder < 0 ? -1 : 1;
    switch (method) {
        case kLuTimeRoundingMethod_RoundHalfAwayFromZero:
            return 2 * magnitude(remainder) >= magnitude(oldTimescale) ? quotient + awayFromZero : quotient;
        case kLuTimeRoundingMethod_RoundAwayFromZero: return quotient + awayFromZero;
        case kLuTimeRoundingMethod_Kinora:
            if (oldTimescale < newTimescale) return quotient + awayFromZero;
            return quotient == 0 && remainder < 0 ? -1 : quotient;
        case kLuTimeRoundingMethod_RoundTowardPositiveInfinity: return remainder > 0 ? quotient + 1 : quotient;
        case kLuTimeRoundingMethod_RoundTowardNegativeInfinity: return remainder < 0 ? quotient - 1 : quotient;
        default: return quotient;
    }
}

LuTime LuTimeConvertScale(LuTime time, int32_t newTimescale, LuTimeRoundingMethod method)
{
    if (!LuTimeIsNumeric(time)) return time;
    if (newTimescale < 1) return kLuTimeInvalid;
    if (newTimescale == time.timescale) return time;
    int32_t remainder;
    int64_t quotient = TavInt64MulDiv(time.value, newTimescale, time.timescale, &remainder);
    if (ZO_UNLIKELY(isSaturated(quotient))) return infinity(quotient < 0);
    if (remainder == 0) return {quotient, newTimescale, numericFlags(time.flags), time.epoch};
    quotient = roundQuotient(quotient, remainder, time.timescale, newTimescale, method);
    return {quotient, newTimescale, kLuTimeFlags_Valid | kRounded, time.epoch};
}
