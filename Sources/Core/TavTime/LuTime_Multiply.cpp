// Products of a time with a whole number, a floating-point number, a ratio, and a ratio of times.

#include <cmath>

#include "Core/TavTime/TavTimeInternal.h"

using namespace tavtime;

namespace {

/// The outcome for a time that is not numeric.
LuTime multiplySpecialTime(LuTime time, bool negativeFactor)
{
    if (!LuTimeIsValid(time)) return kLuTimeInvalid;
    if (LuTimeIsIndefinite(time)) return kLuTimeIndefinite;
    return infinity(LuTimeIsPositiveInfinity(time) ? negativeFactor : !negativeFactor);
}

bool isInInt64(double number) { return number >= -0x1p63 && number < 0x1p63; }

bool isWholeInt64(double number)
{
    return isInInt64(number) && static_cast<double>(static_cast<int64_t>(number)) == number;
}

int64_t roundHalfAwayFromZeroSaturated(double number)
{
    if (number >= 0x1p63) return std::numeric_limits<int64_t>::max();
    if (number <= -0x1p63) return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(number < 0 ? number - 0.5 : number + 0.5);
}

}  // namespace

LuTime LuTimeMultiply(LuTime time, int32_t multiplier)
{
    if (!LuTimeIsNumeric(time)) return multiplySpecialTime(time, multiplier < 0);
    for (int32_t timescale = time.timescale;; timescale >>= 1) {
        const LuTime converted = convert(time, timescale);
        const int64_t product = TavInt64MulDiv(converted.value, multiplier, 1, nullptr);
        if (!isSaturated(product)) return {product, timescale, numericFlags(converted.flags), time.epoch};
        if (timescale < 2) return infinity(product < 0);
    }
}

LuTime LuTimeMultiplyByFloat64(LuTime time, double multiplier)
{
    if (std::isnan(multiplier)) return kLuTimeInvalid;
    if (!LuTimeIsNumeric(time)) return multiplySpecialTime(time, multiplier < 0);

    int32_t timescale = time.timescale;
    if (timescale < kLuTimeFallbackTimescale && !isWholeInt64(multiplier)) timescale = kLuTimeFallbackTimescale;
    for (;; timescale >>= 1) {
        const LuTime converted = convert(time, timescale);
        if (isInfinite(converted)) {
            if (timescale <= 1) return infinity(LuTimeIsNegativeInfinity(converted) != (multiplier < 0));
            continue;
        }
        const double product = static_cast<double>(converted.value) * multiplier;
        if (std::isnan(product)) return kLuTimeInvalid;  // 0 times an infinity
        if (product < -0x1p63 || product > 0x1p63) {
            if (timescale <= 1) return infinity(product < 0);
            continue;
        }
        const int64_t value = roundHalfAwayFromZeroSaturated(product);
        const bool rounded = (converted.flags & kRounded) != 0 || magnitude(value) > (uint64_t{1} << 51) ||
                             (timescale < kLuTimeFallbackTimescale && static_cast<double>(value) != product);
        return {value, timescale, kLuTimeFlags_Valid | (rounded ? kRounded : 0), time.epoch};
    }
}

namespace {

/// A time and the ratio that it is multiplied by, as reductions leave them; 64 bits, since 2^31 is the magnitude of
/// the least 32-bit number.
struct RatioProduct {
    int64_t value, timescale, multiplier, divisor;

    bool exact(int64_t* valueOut, int32_t* timescaleOut) const;
    bool reduce();
};

/// Divides both by their greatest common divisor. -1 is left alone: it has none, and divides into nothing.
bool reducePair(int64_t& a, int64_t& b)
{
    if (a == -1 || b == -1) return false;
    const uint64_t divisor = greatestCommonDivisor(a, b);
    if (divisor < 2 || divisor > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())) return false;
    a /= static_cast<int64_t>(divisor);
    b /= static_cast<int64_t>(divisor);
    return true;
}

/// value * multiplier over timescale * divisor, if both fit.
bool RatioProduct::exact(int64_t* valueOut, int32_t* timescaleOut) const
{
    const int64_t product = TavInt64MulDiv(value, static_cast<int32_t>(multiplier), 1, nullptr);
    const int64_t scale = product == 0 ? timescale : timescale * divisor;
    if (isSaturated(product) || magnitude(scale) > kLuTimeMaxTimescale) return false;
    *valueOut = scale < 0 ? -product : product;
    *timescaleOut = static_cast<int32_t>(scale < 0 ? -scale : scale);
    return true;
}

/// The first of three reductions that finds something; false when none does.
bool RatioProduct::reduce()
{
    return reducePair(value, divisor) || reducePair(multiplier, timescale) || reducePair(value, timescale);
}

/// The product at kLuTimeFallbackTimescale, or at the first half of it that has room.
LuTime multiplyByRatioRounding(LuTime time, int32_t multiplier, int32_t divisor, bool negativeRatio)
{
    for (int32_t timescale = kLuTimeFallbackTimescale;; timescale >>= 1) {
        const LuTime converted = convert(time, timescale);
        if (isInfinite(converted)) {
            if (timescale < 2) return infinity(LuTimeIsNegativeInfinity(converted) != negativeRatio);
            continue;
        }
        int32_t remainder;
        const int64_t quotient = TavInt64MulDiv(converted.value, multiplier, divisor, &remainder);
        if (isSaturated(quotient)) {
            if (timescale < 2) return infinity(quotient < 0);
            continue;
        }
        const int64_t half = 2 * int64_t{remainder} / static_cast<int64_t>(magnitude(divisor));
        const LuTimeFlags flags = numericFlags(converted.flags) | (remainder != 0 ? kRounded : 0);
        return {quotient + half, timescale, flags, time.epoch};
    }
}

LuTime multiplyByRatioOfZero(LuTime time, int32_t multiplier, bool negativeRatio)
{
    const int32_t sign = LuTimeCompare(time, kLuTimeZero);
    if (multiplier == 0 || sign == 0) return kLuTimeInvalid;
    return infinity((sign < 0) != negativeRatio);
}

}  // namespace

LuTime LuTimeMultiplyByRatio(LuTime time, int32_t multiplier, int32_t divisor)
{
    const bool negativeRatio = (multiplier < 0) != (divisor < 0);
    if (!LuTimeIsValid(time)) return kLuTimeInvalid;
    if (LuTimeIsIndefinite(time)) return kLuTimeIndefinite;
    if (divisor == 0) return multiplyByRatioOfZero(time, multiplier, negativeRatio);
    if (!LuTimeIsNumeric(time)) return multiplier == 0 ? kLuTimeInvalid : multiplySpecialTime(time, negativeRatio);

    RatioProduct product = {time.value, time.timescale, multiplier, divisor};
    if (multiplier != 0) reducePair(product.multiplier, product.divisor);
    do {
        int64_t value;
        int32_t timescale;
        if (product.exact(&value, &timescale)) return {value, timescale, numericFlags(time.flags), time.epoch};
    } while (product.reduce());

    const LuTime reduced = {product.value, static_cast<int32_t>(product.timescale), time.flags, time.epoch};
    return multiplyByRatioRounding(reduced, static_cast<int32_t>(product.multiplier),
                                   static_cast<int32_t>(product.divisor), negativeRatio);
}

namespace {

bool fitsInt32(int64_t value) { return value == static_cast<int32_t>(value); }

/// The value and timescale of one term of a ratio, and the values of both terms, reduced where there is something.
void reduceTerm(int64_t& value, int64_t& timescale, int64_t& numerator, int64_t& denominator, bool acrossTerms)
{
    reducePair(value, timescale);
    if (acrossTerms && numerator != 0 && denominator != 0) reducePair(numerator, denominator);
}

}  // namespace

LuTime LuTimeMultiplyTimeByTimeRatio(LuTime time, LuTime numerator, LuTime denominator)
{
    if (!LuTimeIsNumeric(time) || !LuTimeIsNumeric(numerator) || !LuTimeIsNumeric(denominator) ||
        LuTimeCompare(denominator, kLuTimeZero) == 0)
        return kLuTimeInvalid;

    int64_t upValue = numerator.value, upScale = numerator.timescale;
    int64_t downValue = denominator.value, downScale = denominator.timescale;
    const bool numeratorIsLong = !fitsInt32(upValue);
    if (numeratorIsLong) reduceTerm(upValue, upScale, upValue, downValue, true);
    if (!fitsInt32(downValue)) reduceTerm(downValue, downScale, upValue, downValue, !numeratorIsLong);

    if (fitsInt32(upValue) && fitsInt32(downValue)) {
        LuTime product = LuTimeMultiplyByRatio(time, static_cast<int32_t>(upValue), static_cast<int32_t>(upScale));
        product = LuTimeMultiplyByRatio(product, static_cast<int32_t>(downScale), static_cast<int32_t>(downValue));
        if ((product.flags & kRounded) == 0) return product;
    }
    const double ratio = LuTimeGetSeconds(numerator) / LuTimeGetSeconds(denominator);
    LuTime product = LuTimeMultiplyByFloat64(time, ratio);
    if (LuTimeIsNumeric(product) && ratio != std::trunc(ratio)) product.flags |= kRounded;
    return product;
}
