// Three times of any bits, two factors and a number: the operations agree with exact arithmetic where the times can be,
// and survive where they cannot; what comes out is a number or one of the four times that are none.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Tests/Core/TavTime/TimeModel.h"

namespace model = time_model;

namespace {

struct Input {
    LuTime times[3];
    int32_t multiplier, divisor;
    double number;
};

void require(bool condition, const char* what)
{
    if (condition) return;
    fprintf(stderr, "wrong: %s\n", what);
    abort();
}

/// Both are numbers, in timescales that can be.
bool canBe(LuTime a, LuTime b)
{
    return LuTimeIsNumeric(a) && LuTimeIsNumeric(b) && a.timescale > 0 && b.timescale > 0;
}

/// Epochs that a 64-bit sum holds.
bool hasSmallEpoch(LuTime time) { return std::abs(time.epoch / 2) < INT64_MAX / 4; }

void requireOneOfOurs(LuTime time, const char* what)
{
    require(LuTimeIsNumeric(time) || time == kLuTimeInvalid || time == kLuTimeIndefinite ||
                time == kLuTimePositiveInfinity || time == kLuTimeNegativeInfinity,
            what);
}

void checkAgainstModel(const Input& in, LuTime a, LuTime b)
{
    if (!hasSmallEpoch(a) || !hasSmallEpoch(b)) return;
    require(LuTimeAdd(a, b) == model::combine(a, b, 1), "sum");
    require(LuTimeSubtract(a, b) == model::combine(a, b, -1), "difference");
    require(LuTimeMultiply(a, in.multiplier) == model::multiply(a, in.multiplier), "product");
    if (in.divisor != 0)
        require(
            LuTimeMultiplyByRatio(a, in.multiplier, in.divisor) == model::multiplyByRatio(a, in.multiplier, in.divisor),
            "ratio");
    const auto method = static_cast<uint32_t>(in.divisor) % 8;
    require(LuTimeConvertScale(a, b.timescale, method) == model::convert(a, b.timescale, method), "conversion");
    LuTime remainder;
    const int64_t quotient = LuTimeDivide(a, b, &remainder);
    const model::Division division = model::divide(a, b);
    require(quotient == division.quotient && remainder == division.remainder, "division");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input in = {};
    if (size > sizeof in) size = sizeof in;
    memcpy(&in, data, size);
    const auto& [a, b, c] = in.times;

    if (canBe(a, b)) {
        checkAgainstModel(in, a, b);
        require(LuTimeCompare(a, b) == model::compare(a, b), "order of numbers");
    } else if (!LuTimeIsNumeric(a) || !LuTimeIsNumeric(b)) {
        require(LuTimeCompare(a, b) == model::compare(a, b), "order of kinds");
    }
    require(LuTimeCompare(a, b) == -LuTimeCompare(b, a), "order both ways");
    requireOneOfOurs(LuTimeAdd(a, b), "kind of sum");
    requireOneOfOurs(LuTimeSubtract(a, b), "kind of difference");
    requireOneOfOurs(LuTimeMultiply(a, in.multiplier), "kind of product");
    requireOneOfOurs(LuTimeMultiplyByRatio(a, in.multiplier, in.divisor), "kind of ratio");
    requireOneOfOurs(LuTimeMultiplyByFloat64(a, in.number), "kind of float product");
    requireOneOfOurs(LuTimeMultiplyTimeByTimeRatio(a, b, c), "kind of ratio of times");
    requireOneOfOurs(LuTimeMakeWithSeconds(in.number, in.multiplier), "kind of seconds");
    requireOneOfOurs(LuTimeRemainder(a, b), "kind of remainder");
    const LuTimeRange from = LuTimeRangeMake(a, b), to = LuTimeRangeMake(b, c);
    LuTimeFoldIntoRange(c, from);
    LuTimeClampToRange(c, from);
    LuTimeMapTimeFromRangeToRange(c, from, to);
    LuTimeRangeGetUnion(from, to);
    LuTimeRangeGetIntersection(from, to);
    return 0;
}
