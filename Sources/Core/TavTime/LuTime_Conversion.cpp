#include "Core/TavTime/TavTimeInternal.h"

using namespace tavtime;

/// Whether a remainder moves the truncated quotient one tick away from zero. All but the timescales are magnitudes.
static bool roundsAwayFromZero(uint64_t quotient, uint32_t remainder, bool negative, int32_t oldTimescale,
                               int32_t newTimescale, LuTimeRoundingMethod method)
{
    switch (method) {
        case kLuTimeRoundingMethod_RoundHalfAwayFromZero: return 2 * uint64_t{remainder} >= magnitude(oldTimescale);
        case kLuTimeRoundingMethod_RoundAwayFromZero: return true;
        case kLuTimeRoundingMethod_Kinora: return oldTimescale < newTimescale || (quotient == 0 && negative);
        case kLuTimeRoundingMethod_RoundTowardPositiveInfinity: return !negative;
        case kLuTimeRoundingMethod_RoundTowardNegativeInfinity: return negative;
        default: return false;
    }
}

LuTime LuTimeConvertScaleGeneral(LuTime time, int32_t newTimescale, LuTimeRoundingMethod method)
{
    if (!LuTimeIsNumeric(time)) return time;
    if (newTimescale < 1) return kLuTimeInvalid;
    if (newTimescale == time.timescale) return time;

    // Signs are masks, 0 or -1, and no branches: in a stream of times they are beyond prediction.
    const int64_t valueSign = time.value >> 63, sign = valueSign ^ (time.timescale >> 31);
    const uint64_t ticks = static_cast<uint64_t>(time.value ^ valueSign) - static_cast<uint64_t>(valueSign);
    uint32_t remainder;
    uint64_t quotient = TavUInt64MulDiv(ticks, static_cast<uint32_t>(newTimescale),
                                        static_cast<uint32_t>(magnitude(time.timescale)), &remainder);
    if (ZO_UNLIKELY(quotient >= static_cast<uint64_t>(std::numeric_limits<int64_t>::max()))) return infinity(sign < 0);
    LuTimeFlags flags = numericFlags(time.flags);
    if (remainder != 0) {
        quotient += roundsAwayFromZero(quotient, remainder, sign < 0, time.timescale, newTimescale, method);
        flags |= kRounded;
    }
    return {(static_cast<int64_t>(quotient) ^ sign) - sign, newTimescale, flags, time.epoch};
}
