// Rational media time: a count of ticks over a timescale, with an epoch and flags for what is no number.
// Nothing here fails by a status. Arithmetic loses precision before it loses range: a result that does not fit is
// tried again at half the timescale, and only at one tick a second does it become an infinity.
// Pure functions of their arguments, callable from any thread. Only the dictionary and text forms allocate.

#pragma once

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef int64_t LuTimeValue;
typedef int32_t LuTimeScale;
typedef int64_t LuTimeEpoch;

typedef uint32_t LuTimeFlags;
enum {
    kLuTimeFlags_Valid = 1 << 0,             ///< clear: the whole time is invalid
    kLuTimeFlags_HasBeenRounded = 1 << 1,    ///< the outcome of inexact arithmetic
    kLuTimeFlags_PositiveInfinity = 1 << 2,  ///< with Valid
    kLuTimeFlags_NegativeInfinity = 1 << 3,  ///< with Valid
    kLuTimeFlags_Indefinite = 1 << 4,        ///< with Valid: unknown, or does not apply
    kLuTimeFlags_ImpliedValueFlagsMask =
        kLuTimeFlags_PositiveInfinity | kLuTimeFlags_NegativeInfinity | kLuTimeFlags_Indefinite,
};

/// `value` / `timescale` seconds. Every operation gives 0 in the other fields of a time that is not numeric.
typedef struct LuTime {
    LuTimeValue value;
    LuTimeScale timescale;  ///< ticks a second, above 0 in a numeric time
    LuTimeFlags flags;
    LuTimeEpoch epoch;  ///< which loop or segment of a timeline; times of different epochs do not add
} LuTime;

extern const LuTime kLuTimeInvalid;
extern const LuTime kLuTimeIndefinite;
extern const LuTime kLuTimePositiveInfinity;
extern const LuTime kLuTimeNegativeInfinity;
extern const LuTime kLuTimeZero;  ///< 0/1

/// What arithmetic falls back to when two timescales have no common multiple, or a factor is no whole number.
enum { kLuTimeFallbackTimescale = 1000000000 };
#define kLuTimeMaxTimescale 0x7FFFFFFF

/// What a remainder does to the truncated quotient. Any other number rounds toward zero.
typedef uint32_t LuTimeRoundingMethod;
enum {
    kLuTimeRoundingMethod_RoundHalfAwayFromZero = 1,
    kLuTimeRoundingMethod_RoundTowardZero = 2,
    kLuTimeRoundingMethod_RoundAwayFromZero = 3,
    /// Away from zero to a finer timescale, toward zero to a coarser one, but never from below zero to 0.
    kLuTimeRoundingMethod_Kinora = 4,
    kLuTimeRoundingMethod_RoundTowardPositiveInfinity = 5,
    kLuTimeRoundingMethod_RoundTowardNegativeInfinity = 6,
    kLuTimeRoundingMethod_Default = kLuTimeRoundingMethod_RoundHalfAwayFromZero,
};

/// What a time is, by its flags; an infinity and indefinite are valid too.
inline Boolean LuTimeIsValid(LuTime time) { return (time.flags & kLuTimeFlags_Valid) != 0; }
inline Boolean LuTimeIsNumeric(LuTime time)
{
    return (time.flags & (kLuTimeFlags_Valid | kLuTimeFlags_ImpliedValueFlagsMask)) == kLuTimeFlags_Valid;
}
inline Boolean LuTimeIsPositiveInfinity(LuTime time)
{
    const LuTimeFlags both = kLuTimeFlags_Valid | kLuTimeFlags_PositiveInfinity;
    return (time.flags & both) == both;
}
inline Boolean LuTimeIsNegativeInfinity(LuTime time)
{
    const LuTimeFlags both = kLuTimeFlags_Valid | kLuTimeFlags_NegativeInfinity;
    return (time.flags & both) == both;
}
inline Boolean LuTimeIsIndefinite(LuTime time)
{
    const LuTimeFlags both = kLuTimeFlags_Valid | kLuTimeFlags_Indefinite;
    return (time.flags & both) == both;
}
inline Boolean LuTimeHasBeenRounded(LuTime time)
{
    return LuTimeIsNumeric(time) && (time.flags & kLuTimeFlags_HasBeenRounded) != 0;
}

/// Epoch 0. Invalid for a timescale below 1.
LuTime LuTimeMake(int64_t value, int32_t timescale);
LuTime LuTimeMakeWithEpoch(int64_t value, int32_t timescale, int64_t epoch);
/// Truncates, never rounds up, and lowers the timescale as far as the value needs; an infinity if even one tick a
/// second is too fine. Invalid for a timescale below 1 and for NaN. The rounded flag is set where the seconds are not
/// met exactly, and a timescale of 100 or less that costs more than 10 ms is warned of in the log, ten times a process.
LuTime LuTimeMakeWithSeconds(double seconds, int32_t preferredTimescale);
/// NaN for invalid and indefinite times, the infinities of floating point for ours.
double LuTimeGetSeconds(LuTime time);

/// The same time at another timescale; the rounded flag is kept, and set by a remainder. What is not numeric is given
/// back unchanged; a timescale below 1 gives invalid; what leaves 64 bits an infinity.
inline LuTime LuTimeConvertScale(LuTime time, int32_t newTimescale, LuTimeRoundingMethod method);

/// At the least common multiple of the timescales, or at kLuTimeFallbackTimescale where that leaves 31 bits. Two epochs
/// that are equal give epoch 0; an epoch of 0 takes on the other one; two others are invalid together. Infinities win
/// over indefinite, opposite ones are invalid.
inline LuTime LuTimeAdd(LuTime left, LuTime right);
/// As LuTimeAdd.
inline LuTime LuTimeSubtract(LuTime left, LuTime right);
/// At the timescale of the time, or at a lower one where the product would not fit.
LuTime LuTimeMultiply(LuTime time, int32_t multiplier);
/// A multiplier that is no whole number raises a lower timescale to kLuTimeFallbackTimescale. Rounds half away from
/// zero. Invalid for NaN.
LuTime LuTimeMultiplyByFloat64(LuTime time, double multiplier);
/// Exact as long as the product and the new timescale fit, after reduction where needed; else at
/// kLuTimeFallbackTimescale or below, rounded half away from zero. A divisor of 0 gives an infinity, or invalid for 0 /
/// 0.
LuTime LuTimeMultiplyByRatio(LuTime time, int32_t multiplier, int32_t divisor);
/// `time` * `numerator` / `denominator`: exact where it can be, else by floating point. All must be numeric, and the
/// denominator not 0; otherwise invalid.
LuTime LuTimeMultiplyTimeByTimeRatio(LuTime time, LuTime numerator, LuTime denominator);
/// How many times `divisor` fits into `dividend`, truncated; `remainderOut` may be absent. 0 and an invalid remainder
/// where an operand is not numeric, the epochs exclude each other, or the divisor is 0 at the common timescale.
int64_t LuTimeDivide(LuTime dividend, LuTime divisor, LuTime* remainderOut);
LuTime LuTimeRemainder(LuTime dividend, LuTime divisor);

/// -1, 0 or 1 in the total order: negative infinity, numeric by epoch and then by value, indefinite, positive infinity,
/// invalid.
inline int32_t LuTimeCompare(LuTime left, LuTime right);
/// Of two equal times the right one.
LuTime LuTimeMinimum(LuTime left, LuTime right);
/// Of two equal times the left one.
LuTime LuTimeMaximum(LuTime left, LuTime right);
LuTime LuTimeAbsoluteValue(LuTime time);

extern const ZoStringRef kLuTimeValueKey;  ///< "value"
extern const ZoStringRef kLuTimeScaleKey;  ///< "timescale"
extern const ZoStringRef kLuTimeEpochKey;  ///< "epoch"
extern const ZoStringRef kLuTimeFlagsKey;  ///< "flags"

/// The four keys with numbers, for any time. Nothing if the allocator gives nothing. The caller releases it.
ZoDictionaryRef LuTimeCopyAsDictionary(ZoAllocatorRef allocator, LuTime time);
/// Invalid if `dictionary` is absent or none, or one of the four numbers is not there or does not fit.
LuTime LuTimeMakeFromDictionary(ZoDictionaryRef dictionary);
/// The two entries that an image buffer's time attachment has. Nothing for a time that is not numeric.
ZoDictionaryRef LuTimeCopyAsYxBufferTimeDictionary(ZoAllocatorRef allocator, LuTime time);
/// Valid, of epoch 0, with whatever timescale the dictionary holds; invalid if a number is missing or does not fit.
LuTime LuTimeMakeFromYxBufferTimeDictionary(ZoDictionaryRef dictionary);
/// Such as "{3003/90000 = 0.033}", with epoch, ", rounded" and flags where there are any. The caller releases it.
ZoStringRef LuTimeCopyDescription(ZoAllocatorRef allocator, LuTime time);
/// The description as a line on standard error.
void LuTimeShow(LuTime time);

// The common cases of the operations that players call most, at the caller's side: sums of one timescale, comparisons
// of numbers, and conversions of numbers that round half away from zero. Everything else is a call.

LuTime LuTimeAddGeneral(LuTime left, LuTime right);
LuTime LuTimeSubtractGeneral(LuTime left, LuTime right);
/// For two times that are not both numeric, or of different epochs.
int32_t LuTimeCompareGeneral(LuTime left, LuTime right);
/// As LuTimeConvertScale, for every time, timescale and method.
LuTime LuTimeConvertScaleGeneral(LuTime time, int32_t newTimescale, LuTimeRoundingMethod method);

/// Whether both are numeric without odd flags, of one timescale and one epoch (which then gives way to 0).
inline Boolean LuTimesCombineDirectly(LuTime left, LuTime right)
{
    const uint32_t leftOdd = (left.flags & ~(uint32_t)kLuTimeFlags_HasBeenRounded) ^ kLuTimeFlags_Valid;
    const uint32_t rightOdd = (right.flags & ~(uint32_t)kLuTimeFlags_HasBeenRounded) ^ kLuTimeFlags_Valid;
    return (leftOdd | rightOdd | (uint32_t)(left.timescale ^ right.timescale)) == 0 && left.epoch == right.epoch;
}

inline LuTime LuTimeAdd(LuTime left, LuTime right)
{
    LuTime sum = {0, left.timescale, left.flags | right.flags, 0};
    if (ZO_LIKELY(LuTimesCombineDirectly(left, right)) &&
        ZO_LIKELY(!__builtin_add_overflow(left.value, right.value, &sum.value)))
        return sum;
    return LuTimeAddGeneral(left, right);
}

inline LuTime LuTimeSubtract(LuTime left, LuTime right)
{
    LuTime difference = {0, left.timescale, left.flags | right.flags, 0};
    if (ZO_LIKELY(LuTimesCombineDirectly(left, right)) &&
        ZO_LIKELY(!__builtin_sub_overflow(left.value, right.value, &difference.value)))
        return difference;
    return LuTimeSubtractGeneral(left, right);
}

inline int32_t LuTimeCompare(LuTime left, LuTime right)
{
    if (ZO_UNLIKELY(!LuTimeIsNumeric(left) || !LuTimeIsNumeric(right) || left.epoch != right.epoch))
        return LuTimeCompareGeneral(left, right);
    if (left.timescale == right.timescale) return (left.value > right.value) - (left.value < right.value);
    // A product of 96 bits on either side.
    __extension__ const __int128 leftProduct = (__int128)left.value * (uint32_t)right.timescale;
    __extension__ const __int128 rightProduct = (__int128)right.value * (uint32_t)left.timescale;
    return (leftProduct > rightProduct) - (leftProduct < rightProduct);
}

/// value * multiplier / divisor, rounded down, by one division. False if the quotient leaves 64 bits. The divisor is
/// above 0.
inline Boolean LuTimeScaleTicks(uint64_t value, uint32_t multiplier, uint32_t divisor, uint64_t* quotient,
                                uint64_t* remainder)
{
#if defined(__x86_64__)
    uint64_t low, high;
    __asm__("mulq %[multiplier]" : "=a"(low), "=d"(high) : "a"(value), [multiplier] "r"((uint64_t)multiplier) : "cc");
    if (ZO_LIKELY(high == 0)) {
        *quotient = low / divisor;
        *remainder = low % divisor;
        return 1;
    }
    if (ZO_UNLIKELY(high >= divisor)) return 0;
    __asm__("divq %[divisor]"
            : "=a"(*quotient), "=d"(*remainder)
            : "a"(low), "d"(high), [divisor] "r"((uint64_t)divisor)
            : "cc");
#else
    __extension__ const unsigned __int128 product = (unsigned __int128)value * multiplier;
    if (ZO_UNLIKELY(product >> 64 >= divisor)) return 0;
    *quotient = (uint64_t)(product / divisor);
    *remainder = (uint64_t)(product % divisor);
#endif
    return 1;
}

inline LuTime LuTimeConvertScale(LuTime time, int32_t newTimescale, LuTimeRoundingMethod method)
{
    const LuTimeFlags odd = (time.flags & ~(uint32_t)kLuTimeFlags_HasBeenRounded) ^ kLuTimeFlags_Valid;
    // The sign is a mask, 0 or -1, and no branch: in a stream of times it is beyond prediction.
    const int64_t sign = time.value >> 63;
    const uint64_t ticks = (uint64_t)(time.value ^ sign) - (uint64_t)sign;
    uint64_t quotient, remainder;
    if (ZO_UNLIKELY(method != kLuTimeRoundingMethod_RoundHalfAwayFromZero || odd != 0 || time.timescale < 1 ||
                    newTimescale < 1) ||
        ZO_UNLIKELY(
            !LuTimeScaleTicks(ticks, (uint32_t)newTimescale, (uint32_t)time.timescale, &quotient, &remainder)) ||
        ZO_UNLIKELY(quotient >= (uint64_t)INT64_MAX))
        return LuTimeConvertScaleGeneral(time, newTimescale, method);
    quotient += 2 * remainder >= (uint64_t)time.timescale;
    const LuTime converted = {(int64_t)(quotient ^ (uint64_t)sign) - sign, newTimescale,
                              time.flags | (remainder != 0 ? (LuTimeFlags)kLuTimeFlags_HasBeenRounded : 0), time.epoch};
    return converted;
}

ZO_EXTERN_C_END
