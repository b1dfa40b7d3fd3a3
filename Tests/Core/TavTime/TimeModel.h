// Media time once more, slowly: whole numbers of 128 bits, so that nothing overflows and the exact result is at hand.

#pragma once

#include <algorithm>
#include <cmath>

#include "Core/TavTime/LuTimeRange.h"

inline bool operator==(const LuTime& a, const LuTime& b)
{
    return a.value == b.value && a.timescale == b.timescale && a.flags == b.flags && a.epoch == b.epoch;
}

inline bool operator==(const LuTimeRange& a, const LuTimeRange& b)
{
    return a.start == b.start && a.duration == b.duration;
}

namespace time_model {

using Int = __int128;
constexpr int64_t kMax = INT64_MAX;

inline Int absolute(Int a) { return a < 0 ? -a : a; }
inline Int floorDivide(Int a, Int b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }
inline Int ceilDivide(Int a, Int b) { return -floorDivide(-a, b); }
inline Int gcd(Int a, Int b) { return b == 0 ? absolute(a) : gcd(b, a % b); }
inline Int roundHalfAway(Int a, Int b)
{
    const Int magnitude = (2 * absolute(a) + absolute(b)) / (2 * absolute(b));
    return (a < 0) != (b < 0) ? -magnitude : magnitude;
}
inline bool leavesInt64(Int a) { return a > kMax || a < -Int{kMax} - 1; }
/// Both ends of the type stand for overflow, and so does the number next to the lower one.
inline bool saturates(Int a) { return absolute(a) >= kMax; }
inline LuTime infinity(bool negative) { return negative ? kLuTimeNegativeInfinity : kLuTimePositiveInfinity; }
inline LuTime make(Int value, Int timescale, bool isRounded, int64_t epoch)
{
    return {static_cast<int64_t>(value), static_cast<int32_t>(timescale), isRounded ? 3u : 1u, epoch};
}
inline bool isRounded(LuTime time) { return (time.flags & 2) != 0; }
inline bool isInfinite(LuTime time) { return (time.flags & 12) != 0; }

inline LuTime convert(LuTime time, Int scale, uint32_t method = 1)
{
    if ((time.flags & 29) != 1 || scale == time.timescale) return time;
    const Int ticks = Int{time.value} * scale, old = time.timescale;
    if (saturates(ticks / old)) return infinity(time.value < 0);
    const bool inexact = ticks % old != 0;
    Int value = ticks / old;
    if (method == 1) value = roundHalfAway(ticks, old);
    if (method == 3 || (method == 4 && old < scale))
        value = ticks < 0 ? floorDivide(ticks, old) : ceilDivide(ticks, old);
    if (method == 4 && inexact && value == 0 && ticks < 0) value = -1;
    if (method == 5) value = ceilDivide(ticks, old);
    if (method == 6) value = floorDivide(ticks, old);
    return make(value, scale, inexact || isRounded(time), time.epoch);
}

inline bool epochsClash(LuTime a, LuTime b) { return a.epoch && b.epoch && a.epoch != b.epoch; }

inline Int commonScale(LuTime a, LuTime b)
{
    const Int multiple = Int{a.timescale} * b.timescale / gcd(a.timescale, b.timescale);
    return multiple > INT32_MAX ? Int{1000000000} : multiple;
}

/// a + b or a - b of numeric times.
inline LuTime combine(LuTime a, LuTime b, int sign)
{
    if (epochsClash(a, b)) return kLuTimeInvalid;
    const int64_t epoch = a.epoch == b.epoch ? 0 : a.epoch + b.epoch;
    const bool anyRounded = isRounded(a) || isRounded(b);
    if (a.value == 0 && sign > 0) return make(b.value, b.timescale, anyRounded, epoch);
    if (b.value == 0) return make(a.value, a.timescale, anyRounded, epoch);
    if (a.value == 0 && !leavesInt64(sign * Int{b.value}))
        return make(sign * Int{b.value}, b.timescale, anyRounded, epoch);
    for (Int scale = commonScale(a, b);; scale /= 2) {
        const LuTime x = convert(a, scale), y = convert(b, scale);
        const Int sum = Int{x.value} + sign * Int{y.value};
        if (!isInfinite(x) && !isInfinite(y) && !leavesInt64(sum))
            return make(sum, scale, isRounded(x) || isRounded(y), epoch);
        if (scale > 1) continue;
        if (!isInfinite(x) && !isInfinite(y)) return infinity(sum < 0);
        const bool yNegative = ((y.flags & 8) != 0) != (sign < 0);
        if (isInfinite(x) && isInfinite(y) && ((x.flags & 8) != 0) != yNegative) return kLuTimeInvalid;
        return infinity(isInfinite(x) ? (x.flags & 8) != 0 : yNegative);
    }
}

inline LuTime multiply(LuTime time, Int multiplier)
{
    for (Int scale = time.timescale;; scale /= 2) {
        const LuTime x = convert(time, scale);
        const Int product = x.value * multiplier;
        if (!saturates(product)) return make(product, scale, isRounded(x), time.epoch);
        if (scale == 1) return infinity(product < 0);
    }
}

struct Ratio {
    Int value, scale, multiplier, divisor;
};

inline bool reduce(Int& a, Int& b)
{
    if (a == -1 || b == -1 || gcd(a, b) < 2 || gcd(a, b) > kMax) return false;
    const Int common = gcd(a, b);
    a /= common;
    b /= common;
    return true;
}

/// For numeric times and a divisor other than 0.
inline LuTime multiplyByRatio(LuTime time, int32_t multiplier, int32_t divisor)
{
    Ratio r = {time.value, time.timescale, multiplier, divisor};
    const bool negativeRatio = (multiplier < 0) != (divisor < 0);
    if (multiplier != 0) reduce(r.multiplier, r.divisor);
    do {
        const Int product = r.value * r.multiplier, scale = product == 0 ? r.scale : r.scale * r.divisor;
        if (!saturates(product) && absolute(scale) <= INT32_MAX)
            return make(scale < 0 ? -product : product, absolute(scale), isRounded(time), time.epoch);
    } while (reduce(r.value, r.divisor) || reduce(r.multiplier, r.scale) || reduce(r.value, r.scale));
    for (Int scale = 1000000000;; scale /= 2) {
        const LuTime x = convert(make(r.value, r.scale, isRounded(time), time.epoch), scale);
        const Int product = x.value * r.multiplier;
        if (isInfinite(x) || saturates(product / r.divisor)) {
            if (scale > 1) continue;
            return infinity(isInfinite(x) ? ((x.flags & 8) != 0) != negativeRatio : (product < 0) != (r.divisor < 0));
        }
        return make(roundHalfAway(product, r.divisor), scale, isRounded(x) || product % r.divisor != 0, time.epoch);
    }
}

inline LuTime multiplyByFloat(LuTime time, double multiplier)
{
    if (std::isnan(multiplier)) return kLuTimeInvalid;
    const bool whole = multiplier >= -0x1p63 && multiplier < 0x1p63 && std::trunc(multiplier) == multiplier;
    for (Int scale = whole ? time.timescale : std::max(time.timescale, 1000000000);; scale /= 2) {
        const LuTime x = convert(time, scale);
        const double product = static_cast<double>(x.value) * multiplier;
        if (!isInfinite(x) && std::isnan(product)) return kLuTimeInvalid;
        if (isInfinite(x) || std::fabs(product) > 0x1p63) {
            if (scale > 1) continue;
            return infinity(isInfinite(x) ? ((x.flags & 8) != 0) != (multiplier < 0) : product < 0);
        }
        const Int value = std::min(static_cast<Int>(product + (product < 0 ? -0.5 : 0.5)), Int{kMax});
        const bool inexact = scale < 1000000000 && static_cast<double>(value) != product;
        return make(value, scale, isRounded(x) || inexact || absolute(value) > Int{1} << 51, time.epoch);
    }
}

inline LuTime makeWithSeconds(double seconds, int32_t preferred)
{
    if (preferred < 1 || std::isnan(seconds)) return kLuTimeInvalid;
    int32_t scale = preferred;
    while (scale > 0 && std::fabs(scale * seconds) > 0x1p63) scale /= 2;
    if (scale == 0) return infinity(seconds < 0);
    const Int ticks = std::min(static_cast<Int>(std::fabs(scale * seconds)), Int{kMax});
    const auto value = static_cast<int64_t>(seconds < 0 ? -ticks : ticks);
    return make(value, scale, static_cast<double>(value) / scale != seconds, 0);
}

/// Exactly, by two ratios of whole numbers, where the terms fit 32 bits when reduced; else by the quotient of seconds.
inline LuTime multiplyByTimes(LuTime time, LuTime numerator, LuTime denominator)
{
    if (denominator.value == 0 && denominator.epoch == 0) return kLuTimeInvalid;
    const auto isLong = [](Int value) { return value != static_cast<int32_t>(value); };
    Int up = numerator.value, upScale = numerator.timescale, down = denominator.value,
        downScale = denominator.timescale;
    const bool reducesAcross = up != 0 && down != 0, upWasLong = isLong(up);
    if (upWasLong) reduce(up, upScale);
    if (upWasLong && reducesAcross) reduce(up, down);
    if (isLong(down)) {
        reduce(down, downScale);
        if (!upWasLong && reducesAcross) reduce(up, down);
    }
    if (!isLong(up) && !isLong(down)) {
        const LuTime half = LuTimeMultiplyByRatio(time, static_cast<int32_t>(up), static_cast<int32_t>(upScale));
        const LuTime all = LuTimeMultiplyByRatio(half, static_cast<int32_t>(downScale), static_cast<int32_t>(down));
        if (!isRounded(all)) return all;
    }
    const double ratio = static_cast<double>(numerator.value) / numerator.timescale /
                         (static_cast<double>(denominator.value) / denominator.timescale);
    LuTime product = multiplyByFloat(time, ratio);
    if ((product.flags & 29) == 1 && ratio != std::trunc(ratio)) product.flags |= 2;
    return product;
}

struct Division {
    int64_t quotient;
    LuTime remainder;
};

inline Division divide(LuTime a, LuTime b)
{
    if ((a.flags & 29) != 1 || (b.flags & 29) != 1 || epochsClash(a, b) || b.value == 0) return {0, kLuTimeInvalid};
    const int64_t epoch = a.epoch ? a.epoch : b.epoch;
    if (a.value == 0) return {0, make(0, a.timescale, isRounded(a) || isRounded(b), epoch)};
    for (Int scale = commonScale(a, b);; scale /= 2) {
        const LuTime x = convert(a, scale), y = convert(b, scale);
        if (isInfinite(x) || isInfinite(y)) {
            if (scale > 1) continue;
            return {0, kLuTimeInvalid};
        }
        if (y.value == 0) return {0, kLuTimeInvalid};
        const Int quotient = Int{x.value} / y.value;
        return {static_cast<int64_t>(leavesInt64(quotient) ? Int{kMax} : quotient),
                make(Int{x.value} % y.value, scale, isRounded(x) || isRounded(y), epoch)};
    }
}

/// The place in the total order by kind; numeric times are 1.
inline int kind(LuTime time)
{
    if (!(time.flags & 1)) return 4;
    return time.flags & 4 ? 3 : time.flags & 16 ? 2 : time.flags & 8 ? 0 : 1;
}

inline int compare(LuTime a, LuTime b)
{
    const auto sign = [](Int difference) { return difference < 0 ? -1 : difference > 0 ? 1 : 0; };
    if (kind(a) != 1 || kind(b) != 1) return sign(kind(a) - kind(b));
    if (a.epoch != b.epoch) return sign(Int{a.epoch} - b.epoch);
    return sign(Int{a.value} * b.timescale - Int{b.value} * a.timescale);
}

}  // namespace time_model
