// What the model does not say: the times that are no numbers, the cases that people rely on by hand, bad timescales.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Tests/Core/TavTime/TimeSupport.h"

using namespace time_test;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// One letter a kind: invalid, the infinities, indefinite (U), a number.
const std::string kKinds = "IPNUn";

LuTime timeOfKind(char kind)
{
    switch (kind) {
        case 'P': return kLuTimePositiveInfinity;
        case 'N': return kLuTimeNegativeInfinity;
        case 'U': return kLuTimeIndefinite;
        case 'n': return exact(3, 2);
        default: return kLuTimeInvalid;
    }
}

/// '?' for a time that is of no kind in full, such as an infinity with a value.
char kindOf(LuTime time)
{
    if (LuTimeIsNumeric(time)) return 'n';
    for (const char kind : kKinds)
        if (time == timeOfKind(kind)) return kind;
    return '?';
}

template <typename Operation>
std::string rowOf(char left, Operation operation)
{
    std::string row;
    for (const char right : kKinds) row += kindOf(operation(timeOfKind(left), timeOfKind(right)));
    return row;
}

TEST(MediaTime, combinesWhatIsNoNumber)
{
    // Rows: the left operand; columns: the right one, both in the order of kKinds.
    const std::string sums[] = {"IIIII", "IPIPP", "IINNN", "IPNUU", "IPNUn"};
    const std::string differences[] = {"IIIII", "IIPPP", "ININN", "INPUU", "INPUn"};
    for (size_t i = 0; i < kKinds.size(); ++i) {
        EXPECT_EQ(rowOf(kKinds[i], LuTimeAdd), sums[i]) << kKinds[i];
        EXPECT_EQ(rowOf(kKinds[i], LuTimeSubtract), differences[i]) << kKinds[i];
    }
}

TEST(MediaTime, multipliesWhatIsNoNumber)
{
    const auto row = [](auto operation) {
        std::string kinds;
        for (const char kind : kKinds) kinds += kindOf(operation(timeOfKind(kind)));
        return kinds;
    };
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiply(t, 0); }), "IPNUn");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiply(t, -1); }), "INPUn");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyByFloat64(t, 0.0); }), "IPNUn");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyByFloat64(t, -0.5); }), "INPUn");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyByFloat64(t, kNaN); }), "IIIII");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyByFloat64(t, kInfinity); }), "IPNUP");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyByRatio(t, -2, 3); }), "INPUn");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyByRatio(t, 0, -3); }), "IIIUn");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyByRatio(t, -2, 0); }), "INPUN");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyByRatio(t, 0, 0); }), "IIIUI");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyTimeByTimeRatio(t, exact(1, 1), exact(2, 1)); }), "IIIIn");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyTimeByTimeRatio(exact(1, 1), t, exact(2, 1)); }), "IIIIn");
    EXPECT_EQ(row([](LuTime t) { return LuTimeMultiplyTimeByTimeRatio(exact(1, 1), exact(2, 1), t); }), "IIIIn");
    EXPECT_EQ(kindOf(LuTimeMultiplyByRatio(exact(0, 5), 7, 0)), 'I');
    EXPECT_EQ(kindOf(LuTimeMultiplyByRatio(exact(-1, 5), 7, 0)), 'N');
    EXPECT_EQ(row([](LuTime t) { return LuTimeAbsoluteValue(t); }), "IPPUn");
}

TEST(MediaTime, ordersKindsAndPicksTheLaterAndTheEarlier)
{
    const std::string order = "NnUPI";
    for (size_t i = 0; i < order.size(); ++i)
        for (size_t j = 0; j < order.size(); ++j)
            EXPECT_EQ(LuTimeCompare(timeOfKind(order[i]), timeOfKind(order[j])), (i > j) - (i < j));
    EXPECT_EQ(LuTimeCompare(exact(1, 2), exact(500000000, 1000000000)), 0);
    EXPECT_EQ(LuTimeCompare(exact(1, 2, 1), exact(3, 2)), 1);
    const LuTime half = exact(1, 2), alsoHalf = exact(2, 4);
    EXPECT_EQ(LuTimeMinimum(half, alsoHalf), alsoHalf);
    EXPECT_EQ(LuTimeMaximum(half, alsoHalf), half);
    EXPECT_EQ(LuTimeMinimum(exact(1, 3), half), exact(1, 3));
    EXPECT_EQ(LuTimeMaximum(exact(1, 3), half), half);
}

// The model's anchors: what people rely on, by hand.
TEST(MediaTime, computesByHandWhatTheModelDoesAtLength)
{
    EXPECT_EQ(LuTimeAdd(exact(1, 30), exact(1, 25)), exact(11, 150));
    EXPECT_EQ(LuTimeAdd(exact(1, 1000000007), exact(1, 1000000009)), rounded(2, 1000000000));
    EXPECT_EQ(LuTimeAdd(exact(kMin, 1), exact(kMin, 1)), kLuTimeNegativeInfinity);  // wraps to 0
    // A zero leaves the other's timescale alone; of two, a sum has the right one's and a difference the left one's.
    EXPECT_EQ(LuTimeAdd(exact(0, 3), exact(0, 5)), exact(0, 5));
    EXPECT_EQ(LuTimeSubtract(exact(0, 3), exact(0, 5)), exact(0, 3));
    // Epochs: equal ones cancel, one takes on the other, two others exclude each other.
    EXPECT_EQ(LuTimeAdd(exact(1, 2, 3), exact(1, 2, 3)), exact(2, 2));
    EXPECT_EQ(LuTimeAdd(exact(1, 2, 3), exact(1, 2)), exact(2, 2, 3));
    EXPECT_EQ(LuTimeAdd(exact(1, 2, 3), exact(1, 2, 4)), kLuTimeInvalid);
    // A numerator that is long only until it is reduced by the denominator stays exact.
    EXPECT_EQ(LuTimeMultiplyTimeByTimeRatio(exact(1, 1), exact(int64_t{3} << 40, 1), exact(int64_t{1} << 40, 1)),
              exact(3, 1));
    EXPECT_EQ(LuTimeMultiplyByFloat64(exact(1, 3), 0.5), rounded(166666667, 1000000000));  // the time was rounded first
    EXPECT_EQ(LuTimeMakeWithSeconds(2.5, 1), rounded(2, 1));
    EXPECT_EQ(LuTimeAbsoluteValue(exact(-7, 2, -1)), exact(7, 2, -1));
    EXPECT_EQ(LuTimeAbsoluteValue(exact(kMin, 1)), exact(kMax, 1));
}

TEST(MediaTime, refusesTimescalesAndIgnoresBitsThatItDoesNotKnow)
{
    EXPECT_EQ(LuTimeMake(1, 0), kLuTimeInvalid);
    EXPECT_EQ(LuTimeMakeWithEpoch(1, 2, 3), exact(1, 2, 3));
    EXPECT_EQ(LuTimeMakeWithSeconds(1.0, 0), kLuTimeInvalid);
    EXPECT_EQ(LuTimeConvertScale(exact(1, 1), 0, 1), kLuTimeInvalid);
    EXPECT_EQ(LuTimeConvertScale(kLuTimeIndefinite, 0, 1), kLuTimeIndefinite);
    EXPECT_TRUE(std::isnan(LuTimeGetSeconds(kLuTimeInvalid)));
    EXPECT_TRUE(std::isnan(LuTimeGetSeconds(kLuTimeIndefinite)));
    EXPECT_EQ(LuTimeGetSeconds(kLuTimeNegativeInfinity), -kInfinity);
    EXPECT_EQ(LuTimeGetSeconds(kLuTimePositiveInfinity), kInfinity);
    for (const LuTimeFlags without : {4u, 8u, 16u}) {  // what is not valid is nothing else
        const LuTime time = {0, 0, without, 0};
        EXPECT_FALSE(LuTimeIsPositiveInfinity(time) || LuTimeIsNegativeInfinity(time) || LuTimeIsIndefinite(time));
    }
    LuTime odd = exact(1, 2);
    odd.flags |= 0x40;
    EXPECT_EQ(LuTimeAdd(odd, exact(1, 2)), exact(2, 2));
    EXPECT_EQ(LuTimeConvertScale(odd, 4, 1), exact(2, 4));
}

}  // namespace
