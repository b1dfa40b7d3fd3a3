// Generated times against exact arithmetic. What the operations come to is counted, so that a generator that stops
// reaching an outcome is noticed. The seed is printed.

#include <gtest/gtest.h>

#include <algorithm>

#include "Tests/Core/TavTime/TimeChecker.h"
#include "Tests/Core/TavTime/TimeSupport.h"

using namespace time_test;
namespace model = time_model;

namespace {

model::Operands makeOperands(TimeMaker& make)
{
    model::Operands in = {make.any(), make.any(), make.any(), make.factor(), make.factor(), 0};
    in.number = static_cast<double>(make.below(2) ? make.factor() : make.value());
    if (make.below(2)) in.number /= 1.0 + static_cast<double>(make.below(1000));
    if (make.below(8) == 0) in.number = std::ldexp(in.number, static_cast<int>(make.below(120)) - 60);
    const uint64_t relation = make.below(12);
    if (relation < 3) in.b.timescale = LuTimeIsNumeric(in.b) ? in.a.timescale : 0;
    if (relation == 3 && LuTimeIsNumeric(in.a)) in.b = LuTimeConvertScale(in.a, make.timescale(), 2);
    // Dictionaries of others can hold times that cannot be. No operation may trap or go on for ever.
    constexpr int32_t kImpossible[] = {0, -1, -3, INT32_MIN};
    if (relation == 4) in.a.timescale = kImpossible[make.below(4)];
    if (relation == 5) in.b.timescale = kImpossible[make.below(4)];
    return in;
}

struct Tally {
    int rounded = 0, infinite = 0, lowered = 0;

    void count(LuTime result, int32_t fullTimescale)
    {
        rounded += LuTimeHasBeenRounded(result);
        infinite += model::isInfinite(result);
        lowered += LuTimeIsNumeric(result) && result.timescale < fullTimescale;
    }
    int least() const { return std::min({rounded, infinite, lowered}); }
};

TEST(MediaTimeModel, agreesWithExactArithmetic)
{
    TimeMaker make;
    Tally sums, products, ratios, floats;
    for (int i = 0; i < 60000; ++i) {
        const model::Operands in = makeOperands(make);
        const char* fault = model::findFault(in);
        ASSERT_EQ(fault, nullptr) << fault << " of " << ::testing::PrintToString(in.a) << ", "
                                  << ::testing::PrintToString(in.b) << ", " << ::testing::PrintToString(in.c) << ", "
                                  << in.multiplier << " / " << in.divisor << ", " << in.number;
        if (!model::canBe(in.a) || !model::canBe(in.b)) continue;
        sums.count(LuTimeAdd(in.a, in.b), std::max(in.a.timescale, in.b.timescale));
        products.count(LuTimeMultiply(in.a, in.multiplier), in.a.timescale);
        ratios.count(LuTimeMultiplyByRatio(in.a, in.multiplier, in.divisor), kLuTimeFallbackTimescale);
        floats.count(LuTimeMultiplyByFloat64(in.a, in.number), in.a.timescale);
    }
    EXPECT_GT(std::min({sums.least(), products.least(), ratios.least(), floats.least()}), 20);
}

}  // namespace
