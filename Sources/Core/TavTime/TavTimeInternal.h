// What the sources of media time share.

#pragma once

#include <limits>
#include <numeric>

#include "Core/TavTime/LuTime.h"
#include "Platform/Ostra/OstraIntegers.h"

namespace tavtime {

constexpr LuTimeFlags kRounded = kLuTimeFlags_HasBeenRounded;

/// The flags of a numeric time that is as exact as what it comes from.
constexpr LuTimeFlags numericFlags(LuTimeFlags sources) { return (sources & kRounded) | kLuTimeFlags_Valid; }

/// TavInt64MulDiv tells of overflow by the two ends of the type.
constexpr bool isSaturated(int64_t quotient)
{
    return quotient == std::numeric_limits<int64_t>::max() || quotient == std::numeric_limits<int64_t>::min();
}

inline LuTime infinity(bool negative) { return negative ? kLuTimeNegativeInfinity : kLuTimePositiveInfinity; }

inline bool isInfinite(LuTime time) { return LuTimeIsPositiveInfinity(time) || LuTimeIsNegativeInfinity(time); }

inline bool isUnboundedDuration(LuTime duration)
{
    return LuTimeIsPositiveInfinity(duration) || LuTimeIsIndefinite(duration);
}

inline bool isPositiveDuration(LuTime duration)
{
    return LuTimeIsNumeric(duration) && duration.value > 0 && duration.epoch == 0;
}

constexpr uint64_t magnitude(int64_t value)
{
    return value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
}

/// Of the magnitudes; 0 only for two zeros.
constexpr uint64_t greatestCommonDivisor(int64_t a, int64_t b) { return std::gcd(magnitude(a), magnitude(b)); }

/// How time is brought to another timescale inside of arithmetic.
inline LuTime convert(LuTime time, int32_t timescale)
{
    return LuTimeConvertScale(time, timescale, kLuTimeRoundingMethod_RoundHalfAwayFromZero);
}

}  // namespace tavtime
