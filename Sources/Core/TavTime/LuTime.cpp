#include "Core/TavTime/LuTime.h"

#include <limits>

const LuTime kLuTimeInvalid = {0, 0, 0, 0};
const LuTime kLuTimeIndefinite = {0, 0, kLuTimeFlags_Valid | kLuTimeFlags_Indefinite, 0};
const LuTime kLuTimePositiveInfinity = {0, 0, kLuTimeFlags_Valid | kLuTimeFlags_PositiveInfinity, 0};
const LuTime kLuTimeNegativeInfinity = {0, 0, kLuTimeFlags_Valid | kLuTimeFlags_NegativeInfinity, 0};
const LuTime kLuTimeZero = {0, 1, kLuTimeFlags_Valid, 0};

LuTime LuTimeMake(int64_t value, int32_t timescale) { return LuTimeMakeWithEpoch(value, timescale, 0); }

LuTime LuTimeMakeWithEpoch(int64_t value, int32_t timescale, int64_t epoch)
{
    if (timescale < 1) return kLuTimeInvalid;
    return {value, timescale, kLuTimeFlags_Valid, epoch};
}

/// The place of a time in the total order, where every numeric time stands at one place.
static int orderOfKind(LuTime time)
{
    if (!LuTimeIsValid(time)) return 4;
    if (LuTimeIsPositiveInfinity(time)) return 3;
    if (LuTimeIsIndefinite(time)) return 2;
    if (LuTimeIsNegativeInfinity(time)) return 0;
    return 1;
}

template <typename T>
static int32_t order(T left, T right)
{
    return (left > right) - (left < right);
}

int32_t LuTimeCompareGeneral(LuTime left, LuTime right)
{
    const int leftKind = orderOfKind(left), rightKind = orderOfKind(right);
    return leftKind == rightKind && leftKind == 1 ? order(left.epoch, right.epoch) : order(leftKind, rightKind);
}

LuTime LuTimeMinimum(LuTime left, LuTime right) { return LuTimeCompare(left, right) < 0 ? left : right; }

LuTime LuTimeMaximum(LuTime left, LuTime right) { return LuTimeCompare(left, right) < 0 ? right : left; }

LuTime LuTimeAbsoluteValue(LuTime time)
{
    if (LuTimeIsNegativeInfinity(time)) return kLuTimePositiveInfinity;
    if (time.value == std::numeric_limits<int64_t>::min())
        time.value = std::numeric_limits<int64_t>::max();
    else if (time.value < 0)
        time.value = -time.value;
    return time;
}

// The inline operations of the header, emitted here for programs in C and for function pointers.
[[gnu::used]] static Boolean (*const sInlinePredicates[])(LuTime) = {
    LuTimeIsValid,      LuTimeIsNumeric,      LuTimeIsPositiveInfinity, LuTimeIsNegativeInfinity,
    LuTimeIsIndefinite, LuTimeHasBeenRounded,
};
[[gnu::used]] static LuTime (*const sInlineSums[])(LuTime, LuTime) = {LuTimeAdd, LuTimeSubtract};
[[gnu::used]] static int32_t (*const sInlineOrders[])(LuTime, LuTime) = {LuTimeCompare};
[[gnu::used]] static Boolean (*const sInlineConditions[])(LuTime, LuTime) = {LuTimesCombineDirectly};
[[gnu::used]] static LuTime (*const sInlineConversions[])(LuTime, int32_t, LuTimeRoundingMethod) = {LuTimeConvertScale};
[[gnu::used]] static Boolean (*const sInlineScalings[])(uint64_t, uint32_t, uint32_t, uint64_t*,
                                                        uint64_t*) = {LuTimeScaleTicks};
