#include <gtest/gtest.h>

#include "Tests/Core/TavTime/TimeSupport.h"

using namespace time_test;

namespace {

LuTimeRange seconds(int64_t start, int64_t duration) { return {exact(start, 1), exact(duration, 1)}; }

TEST(MediaTimeRange, isHalfOpen)
{
    const LuTimeRange range = seconds(2, 3);
    EXPECT_EQ(LuTimeRangeGetEnd(range), exact(5, 1));
    EXPECT_TRUE(LuTimeRangeContainsTime(range, exact(2, 1)));
    EXPECT_TRUE(LuTimeRangeContainsTime(range, exact(4999, 1000)));
    EXPECT_FALSE(LuTimeRangeContainsTime(range, exact(5, 1)));
    EXPECT_FALSE(LuTimeRangeContainsTime(seconds(2, 0), exact(2, 1)));
    EXPECT_TRUE(LuTimeRangeContainsTimeRange(range, range));
    EXPECT_TRUE(LuTimeRangeContainsTimeRange(range, seconds(4, 1)));
    EXPECT_FALSE(LuTimeRangeContainsTimeRange(range, seconds(4, 2)));
    EXPECT_FALSE(LuTimeRangeContainsTimeRange(range, seconds(5, 0)));  // empty, at the end
    EXPECT_TRUE(
        LuTimeRangeContainsTimeRange({exact(2, 1), kLuTimePositiveInfinity}, {exact(3, 1), kLuTimePositiveInfinity}));
    EXPECT_TRUE(LuTimeRangeEqual(range, {exact(4, 2), exact(9, 3)}));
    EXPECT_FALSE(LuTimeRangeEqual(range, {exact(2, 1, 1), exact(3, 1)}));
    EXPECT_TRUE(LuTimeRangeEqual(kLuTimeRangeInvalid, kLuTimeRangeInvalid));
}

TEST(MediaTimeRange, hasNoEpochInItsDuration)
{
    const LuTime start = exact(1, 1, 4), duration = exact(1, 1, 1);
    EXPECT_EQ(LuTimeRangeMake(start, duration), kLuTimeRangeInvalid);
    EXPECT_EQ(LuTimeRangeGetEnd({start, duration}), kLuTimeInvalid);
    EXPECT_EQ(LuTimeRangeFromTimeToTime(start, exact(3, 1, 4)), (LuTimeRange{start, exact(2, 1)}));
    EXPECT_EQ(LuTimeRangeFromTimeToTime(exact(1, 1), exact(3, 1, 4)), kLuTimeRangeInvalid);  // a duration of epoch 4
    EXPECT_EQ(LuTimeRangeFromTimeToTime(exact(3, 1), exact(1, 1)), kLuTimeRangeInvalid);
    const LuTimeMapping bad = LuTimeMappingMake(seconds(0, 1), {start, duration});
    EXPECT_EQ(bad.source, kLuTimeRangeInvalid);
    EXPECT_EQ(bad.target, kLuTimeRangeInvalid);
    EXPECT_EQ(LuTimeMappingMakeEmpty(seconds(1, 2)).target, seconds(1, 2));
    EXPECT_EQ(LuTimeMappingMakeEmpty({start, duration}).target, kLuTimeRangeInvalid);
}

struct Pair {
    LuTimeRange a, b, united, common;
};

TEST(MediaTimeRange, unitesAndIntersects)
{
    const LuTimeRange early = {exact(0, 1), exact(1, 1, 0)}, otherEpoch = {exact(0, 1, 2), exact(9, 1)};
    const Pair pairs[] = {
        {early, seconds(2, 1), seconds(0, 3), kLuTimeRangeZero},  // the gap belongs to the union
        {early, seconds(1, 1), seconds(0, 2), kLuTimeRangeZero},  // they touch
        {seconds(0, 4), seconds(3, 4), seconds(0, 7), seconds(3, 1)},
        {seconds(0, 9), seconds(3, 4), seconds(0, 9), seconds(3, 4)},
        {seconds(0, 9), otherEpoch, kLuTimeRangeInvalid, kLuTimeRangeInvalid},
        {otherEpoch, otherEpoch, otherEpoch, otherEpoch},
        {{exact(1, 1), kLuTimePositiveInfinity}, seconds(3, 4), {exact(1, 1), kLuTimePositiveInfinity}, seconds(3, 4)},
    };
    for (const Pair& pair : pairs) {
        EXPECT_EQ(LuTimeRangeGetUnion(pair.a, pair.b), pair.united);
        EXPECT_EQ(LuTimeRangeGetUnion(pair.b, pair.a), pair.united);
        EXPECT_EQ(LuTimeRangeGetIntersection(pair.a, pair.b), pair.common);
        EXPECT_EQ(LuTimeRangeGetIntersection(pair.b, pair.a), pair.common);
    }
}

TEST(MediaTimeRange, mapsTimesAndDurations)
{
    const LuTimeRange from = seconds(0, 10), to = seconds(100, 20), endless = {exact(5, 1), kLuTimePositiveInfinity};
    EXPECT_EQ(LuTimeMapTimeFromRangeToRange(exact(5, 1), from, to), exact(110, 1));
    EXPECT_EQ(LuTimeMapTimeFromRangeToRange(rounded(15, 3), from, from), rounded(15, 3));
    EXPECT_EQ(LuTimeMapTimeFromRangeToRange(exact(7, 1), endless, endless), exact(7, 1));
    EXPECT_EQ(LuTimeMapTimeFromRangeToRange(exact(7, 1), endless, {exact(105, 1), kLuTimePositiveInfinity}),
              exact(107, 1));
    EXPECT_EQ(
        LuTimeMapTimeFromRangeToRange(exact(5, 1, 2), {exact(0, 1, 2), exact(10, 1)}, {exact(1, 1, 3), exact(20, 1)}),
        exact(11, 1, 3));
    EXPECT_EQ(LuTimeMapTimeFromRangeToRange(exact(5, 1, 2), from, to), kLuTimeInvalid);
    EXPECT_EQ(LuTimeMapTimeFromRangeToRange(kLuTimeIndefinite, from, to), kLuTimeIndefinite);
    EXPECT_EQ(LuTimeMapTimeFromRangeToRange(kLuTimeIndefinite, from, kLuTimeRangeInvalid), kLuTimeInvalid);
    EXPECT_EQ(LuTimeMapTimeFromRangeToRange(exact(5, 1), from, endless), kLuTimeInvalid);
    EXPECT_EQ(LuTimeMapTimeFromRangeToRange(exact(5, 1), seconds(0, 0), seconds(0, 0)), kLuTimeInvalid);

    EXPECT_EQ(LuTimeMapDurationFromRangeToRange(exact(5, 1), from, to), exact(10, 1));
    EXPECT_EQ(LuTimeMapDurationFromRangeToRange(exact(5, 1, 1), from, to), kLuTimeInvalid);
    EXPECT_EQ(LuTimeMapDurationFromRangeToRange(kLuTimePositiveInfinity, from, to), kLuTimePositiveInfinity);
    EXPECT_EQ(LuTimeMapDurationFromRangeToRange(exact(5, 1), from, endless), kLuTimeInvalid);
    EXPECT_EQ(LuTimeMapDurationFromRangeToRange(exact(5, 1), endless, endless), exact(5, 1));
}

TEST(MediaTimeRange, clampsAndFolds)
{
    const LuTimeRange range = seconds(2, 10);
    EXPECT_EQ(LuTimeClampToRange(exact(1, 1), range), exact(2, 1));
    EXPECT_EQ(LuTimeClampToRange(exact(21, 7), range), exact(21, 7));
    EXPECT_EQ(LuTimeClampToRange(exact(13, 1), range), exact(12, 1));
    EXPECT_EQ(LuTimeClampToRange(kLuTimeNegativeInfinity, range), exact(2, 1));
    EXPECT_EQ(LuTimeClampToRange(kLuTimePositiveInfinity, range), exact(12, 1));
    EXPECT_EQ(LuTimeClampToRange(kLuTimeIndefinite, range), kLuTimeIndefinite);
    EXPECT_EQ(LuTimeClampToRange(exact(99, 1), {exact(2, 1), kLuTimePositiveInfinity}), exact(99, 1));
    EXPECT_EQ(LuTimeClampToRange(exact(3, 1), seconds(2, 0)), kLuTimeInvalid);

    EXPECT_EQ(LuTimeFoldIntoRange(exact(12, 1), seconds(0, 10)), exact(2, 1));
    EXPECT_EQ(LuTimeFoldIntoRange(exact(-3, 1), seconds(0, 10)), exact(7, 1));
    EXPECT_EQ(LuTimeFoldIntoRange(exact(-10, 1), seconds(0, 10)), exact(0, 1));
    EXPECT_EQ(LuTimeFoldIntoRange(exact(1, 1), seconds(2, 10)), exact(11, 1));
    EXPECT_EQ(LuTimeFoldIntoRange(exact(1, 1), seconds(2, 0)), kLuTimeInvalid);
}

}  // namespace
