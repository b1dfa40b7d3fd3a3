// Generated times against exact arithmetic. Each test counts the branches that its cases reached, so that a generator
// that stops reaching one is noticed. The seed is printed.

#include <algorithm>
#include <cmath>
#include <vector>

#include "Tests/Core/TavTime/TimeSupport.h"

using namespace time_test;
namespace model = time_model;

namespace {

constexpr int kCases = 60000;

class MediaTimeModel : public ::testing::Test {
protected:
    TimeMaker make;
    int rounded_ = 0, infinite_ = 0, invalid_ = 0, lowered_ = 0;

    /// `fullTimescale` is that of a result for which there was room enough.
    void count(LuTime result, int64_t fullTimescale)
    {
        const bool numeric = LuTimeIsNumeric(result);
        rounded_ += LuTimeHasBeenRounded(result);
        infinite_ += model::isInfinite(result);
        invalid_ += !LuTimeIsValid(result);
        lowered_ += numeric && result.timescale < fullTimescale;
    }
};

TEST_F(MediaTimeModel, convertsAsExactDivisionRounds)
{
    for (int i = 0; i < kCases; ++i) {
        const LuTime time = make.numeric();
        const int32_t scale = make.timescale();
        const auto method = static_cast<uint32_t>(make.below(8));
        const LuTime result = LuTimeConvertScale(time, scale, method);
        ASSERT_EQ(result, model::convert(time, scale, method))
            << ::testing::PrintToString(time) << " to " << scale << " method " << method;
        count(result, scale);
    }
    EXPECT_GT(std::min(rounded_, infinite_), 100);
}

TEST_F(MediaTimeModel, addsAndSubtractsAsExactSumsDo)
{
    for (int i = 0; i < kCases; ++i) {
        const LuTime left = make.numeric();
        LuTime right = make.numeric();
        if (make.below(3) == 0) right.timescale = left.timescale;
        const LuTime sum = LuTimeAdd(left, right), difference = LuTimeSubtract(left, right);
        ASSERT_EQ(sum, model::combine(left, right, 1))
            << ::testing::PrintToString(left) << " + " << ::testing::PrintToString(right);
        ASSERT_EQ(difference, model::combine(left, right, -1))
            << ::testing::PrintToString(left) << " - " << ::testing::PrintToString(right);
        ASSERT_EQ(sum, LuTimeAddGeneral(left, right));
        ASSERT_EQ(difference, LuTimeSubtractGeneral(left, right));
        count(sum, static_cast<int64_t>(model::commonScale(left, right)));
    }
    EXPECT_GT(std::min({rounded_, infinite_, invalid_, lowered_}), 100);
}

TEST_F(MediaTimeModel, comparesAsCrossProductsDo)
{
    std::vector<LuTime> times;
    for (int i = 0; i < kCases; ++i) {
        const LuTime left = make.any();
        LuTime right = make.any();
        if (make.below(4) == 0 && LuTimeIsNumeric(left)) right = LuTimeConvertScale(left, make.timescale(), 2);
        ASSERT_EQ(LuTimeCompare(left, right), model::compare(left, right))
            << ::testing::PrintToString(left) << " and " << ::testing::PrintToString(right);
        times.push_back(left);
    }
    // One order over all of them.
    std::sort(times.begin(), times.end(), [](LuTime a, LuTime b) { return LuTimeCompare(a, b) < 0; });
    for (size_t i = 0; i + 100 < times.size(); ++i)
        ASSERT_LE(LuTimeCompare(times[i], times[i + 1 + make.below(99)]), 0);
}

TEST_F(MediaTimeModel, multipliesAsExactProductsDo)
{
    for (int i = 0; i < kCases; ++i) {
        const LuTime time = make.numeric();
        const int32_t multiplier = make.factor();
        const LuTime result = LuTimeMultiply(time, multiplier);
        ASSERT_EQ(result, model::multiply(time, multiplier)) << ::testing::PrintToString(time) << " * " << multiplier;
        count(result, time.timescale);
    }
    EXPECT_GT(std::min({rounded_, infinite_, lowered_}), 100);
}

TEST_F(MediaTimeModel, multipliesByRatiosExactlyWhereThatFits)
{
    int exactWhereReduced = 0;
    for (int i = 0; i < kCases; ++i) {
        const LuTime time = make.numeric();
        const int32_t multiplier = make.factor();
        int32_t divisor = make.factor();
        if (divisor == 0) divisor = 1;
        const LuTime result = LuTimeMultiplyByRatio(time, multiplier, divisor);
        ASSERT_EQ(result, model::multiplyByRatio(time, multiplier, divisor))
            << ::testing::PrintToString(time) << " * " << multiplier << " / " << divisor;
        count(result, 1000000000);

        // Whatever way was taken: a fraction that fits when it is reduced is met exactly.
        model::Int over = model::Int{time.value} * multiplier, under = model::Int{time.timescale} * divisor;
        const model::Int common = model::gcd(over, under);
        if (model::saturates(over / common) || model::absolute(under / common) > INT32_MAX || divisor == -1) continue;
        ++exactWhereReduced;
        ASSERT_EQ(LuTimeHasBeenRounded(result), LuTimeHasBeenRounded(time));
        ASSERT_TRUE(result.value * under == over * result.timescale) << ::testing::PrintToString(result);
    }
    EXPECT_GT(std::min({rounded_, infinite_, lowered_, exactWhereReduced}), 100);
}

TEST_F(MediaTimeModel, dividesAsExactDivisionDoes)
{
    int quotients = 0;
    for (int i = 0; i < kCases; ++i) {
        const LuTime left = make.any(), right = make.any();
        LuTime remainder;
        const int64_t quotient = LuTimeDivide(left, right, &remainder);
        const model::Division expected = model::divide(left, right);
        ASSERT_EQ(quotient, expected.quotient)
            << ::testing::PrintToString(left) << " / " << ::testing::PrintToString(right);
        ASSERT_EQ(remainder, expected.remainder)
            << ::testing::PrintToString(left) << " % " << ::testing::PrintToString(right);
        ASSERT_EQ(LuTimeRemainder(left, right), remainder);
        quotients += quotient != 0;
        count(remainder, 1000000000);
    }
    EXPECT_GT(std::min({quotients, rounded_, invalid_, lowered_}), 100);
}

TEST_F(MediaTimeModel, multipliesByFloatsWithinTheirPrecision)
{
    for (int i = 0; i < kCases; ++i) {
        const LuTime time = make.numeric();
        double multiplier = static_cast<double>(make.factor());
        if (make.below(2)) multiplier /= 1.0 + static_cast<double>(make.below(1000));
        if (make.below(20) == 0) multiplier = std::ldexp(multiplier, static_cast<int>(make.below(120)) - 60);
        const LuTime result = LuTimeMultiplyByFloat64(time, multiplier);
        count(result, multiplier == std::trunc(multiplier) ? time.timescale : 1000000000);
        const long double wanted = static_cast<long double>(time.value) / time.timescale * multiplier;
        if (!LuTimeIsNumeric(result)) {
            ASSERT_GE(std::fabs(wanted), 0x1p62L) << ::testing::PrintToString(time) << " * " << multiplier;
            ASSERT_EQ(LuTimeIsNegativeInfinity(result), wanted < 0);
            continue;
        }
        // Half a tick for the time at the result's timescale, half for the result, and what a double does not hold.
        const long double tolerance =
            (0.5L * std::fabs(multiplier) + 0.5L) / result.timescale + std::fabs(wanted) * 0x1p-51L;
        ASSERT_LE(std::fabs(static_cast<long double>(result.value) / result.timescale - wanted), tolerance)
            << ::testing::PrintToString(time) << " * " << multiplier << " gave " << ::testing::PrintToString(result);
        ASSERT_EQ(result.epoch, time.epoch);
    }
    EXPECT_GT(std::min({rounded_, infinite_, lowered_}), 100);
}

TEST_F(MediaTimeModel, makesTheLastTickBeforeTheSeconds)
{
    for (int i = 0; i < kCases; ++i) {
        const double seconds = std::ldexp(static_cast<double>(make.value()), static_cast<int>(make.below(60)) - 60);
        const int32_t scale = make.timescale();
        const LuTime time = LuTimeMakeWithSeconds(seconds, scale);
        count(time, scale);
        if (!LuTimeIsNumeric(time)) {
            ASSERT_GT(std::fabs(seconds), 0x1p62);
            continue;
        }
        const long double wanted = std::fabs(static_cast<long double>(seconds) * time.timescale);
        const long double got = std::fabs(static_cast<long double>(time.value));
        ASSERT_LE(got, wanted + wanted * 0x1p-52L) << seconds << " at " << scale;
        ASSERT_GE(got, wanted - 1 - wanted * 0x1p-52L) << seconds << " at " << scale;
        ASSERT_EQ(LuTimeHasBeenRounded(time), LuTimeGetSeconds(time) != seconds);
    }
    EXPECT_GT(std::min(rounded_, lowered_), 100);
}

// A ratio of two times is a rational factor: the outcome is never off by more than floating point is.
TEST_F(MediaTimeModel, multipliesByRatiosOfTimes)
{
    int exactCases = 0;
    for (int i = 0; i < kCases; ++i) {
        const LuTime time = exact(make.factor(), make.timescale()), numerator = make.numeric(),
                     denominator = make.numeric();
        const LuTime result = LuTimeMultiplyTimeByTimeRatio(time, numerator, denominator);
        if (LuTimeCompare(denominator, kLuTimeZero) == 0) {
            ASSERT_EQ(result, kLuTimeInvalid);
            continue;
        }
        if (denominator.value == 0 || !LuTimeIsNumeric(result)) continue;
        const long double ratio = static_cast<long double>(numerator.value) / numerator.timescale /
                                  (static_cast<long double>(denominator.value) / denominator.timescale);
        const long double wanted = static_cast<long double>(time.value) / time.timescale * ratio;
        const long double tolerance =
            LuTimeHasBeenRounded(result)
                ? (0.5L * std::fabs(ratio) + 0.5L) / result.timescale + std::fabs(wanted) * 0x1p-50L
                : std::fabs(wanted) * 0x1p-50L + 0.5e-9L;
        ASSERT_LE(std::fabs(static_cast<long double>(result.value) / result.timescale - wanted), tolerance)
            << ::testing::PrintToString(time) << " * " << ::testing::PrintToString(numerator) << " / "
            << ::testing::PrintToString(denominator) << " gave " << ::testing::PrintToString(result);
        exactCases += !LuTimeHasBeenRounded(result);
    }
    EXPECT_GT(exactCases, 100);
}

}  // namespace
