// Every operation of media time on one set of operands: whether it agrees with the model where the operands can be, and
// gives one of our own times where they cannot.

#pragma once

#include <cstdlib>

#include "Tests/Core/TavTime/TimeModel.h"

namespace time_model {

struct Operands {
    LuTime a, b, c;
    int32_t multiplier, divisor;
    double number;
};

inline bool isNumeric(LuTime time) { return (time.flags & 29) == 1; }
inline bool canBe(LuTime time) { return isNumeric(time) && time.timescale > 0; }
/// Epochs whose 64-bit sum holds.
inline bool hasSmallEpoch(LuTime time) { return std::abs(time.epoch / 2) < INT64_MAX / 4; }

inline bool isOneOfOurs(LuTime time)
{
    return isNumeric(time) || time == kLuTimeInvalid || time == kLuTimeIndefinite || time == kLuTimePositiveInfinity ||
           time == kLuTimeNegativeInfinity;
}

/// The operation that is off for two numbers; nothing if none is.
inline const char* findFaultOfNumbers(const Operands& in)
{
    const auto& [a, b, c, multiplier, divisor, number] = in;
    if (LuTimeCompare(a, b) != compare(a, b)) return "order of numbers";
    if (!hasSmallEpoch(a) || !hasSmallEpoch(b)) return nullptr;
    const auto method = static_cast<uint32_t>(divisor) % 8;
    if (LuTimeConvertScale(a, b.timescale, method) != convert(a, b.timescale, method)) return "conversion";
    if (LuTimeConvertScaleGeneral(a, b.timescale, method) != convert(a, b.timescale, method)) return "conversion call";
    if (LuTimeAdd(a, b) != combine(a, b, 1) || LuTimeAddGeneral(a, b) != combine(a, b, 1)) return "sum";
    if (LuTimeSubtract(a, b) != combine(a, b, -1) || LuTimeSubtractGeneral(a, b) != combine(a, b, -1))
        return "difference";
    if (LuTimeMultiply(a, multiplier) != multiply(a, multiplier)) return "product";
    if (divisor != 0 && LuTimeMultiplyByRatio(a, multiplier, divisor) != multiplyByRatio(a, multiplier, divisor))
        return "product with a ratio";
    if (LuTimeMultiplyByFloat64(a, number) != multiplyByFloat(a, number)) return "product with a float";
    if (canBe(c) && LuTimeMultiplyTimeByTimeRatio(a, b, c) != multiplyByTimes(a, b, c))
        return "product with a ratio of times";
    LuTime remainder;
    const Division expected = divide(a, b);
    if (LuTimeDivide(a, b, &remainder) != expected.quotient || remainder != expected.remainder) return "division";
    return LuTimeRemainder(a, b) == remainder ? nullptr : "remainder";
}

/// The same for any bits at all.
inline const char* findFault(const Operands& in)
{
    const auto& [a, b, c, multiplier, divisor, number] = in;
    if (canBe(a) && canBe(b)) {
        if (const char* fault = findFaultOfNumbers(in)) return fault;
    } else if ((!isNumeric(a) || !isNumeric(b)) && LuTimeCompare(a, b) != compare(a, b)) {
        return "order of kinds";
    }
    if (LuTimeCompare(a, b) != -LuTimeCompare(b, a)) return "order both ways";
    if (LuTimeMakeWithSeconds(number, multiplier) != makeWithSeconds(number, multiplier)) return "seconds";
    for (const LuTime result : {LuTimeAdd(a, b), LuTimeSubtract(a, b), LuTimeMultiply(a, multiplier),
                                LuTimeMultiplyByRatio(a, multiplier, divisor), LuTimeMultiplyByFloat64(a, number),
                                LuTimeMultiplyTimeByTimeRatio(a, b, c), LuTimeRemainder(a, b)})
        if (!isOneOfOurs(result)) return "kind of a result";
    (void)LuTimeConvertScale(a, multiplier, static_cast<uint32_t>(divisor) % 8);
    const LuTimeRange from = LuTimeRangeMake(a, b), to = LuTimeRangeMake(b, c);
    (void)LuTimeFoldIntoRange(c, from);
    (void)LuTimeClampToRange(c, from);
    (void)LuTimeMapTimeFromRangeToRange(c, from, to);
    (void)LuTimeRangeGetUnion(from, to);
    (void)LuTimeRangeGetIntersection(from, to);
    return nullptr;
}

}  // namespace time_model
