// Times, ranges and mappings as dictionaries and as text.

#include <gtest/gtest.h>

#include <algorithm>

#include "Foundation/Images/YxImageBuffer.h"
#include "Tests/Core/TavTime/TimeSupport.h"
#include "Tests/Support/Objects.h"

using namespace time_test;

namespace {

std::string describe(LuTime time) { return luvia_test::textOf(LuTimeCopyDescription(nullptr, time)); }

ZoRef<ZoMutableDictionaryRef> copyOf(LuTime time)
{
    const auto dictionary = zoAdopt(LuTimeCopyAsDictionary(nullptr, time));
    return zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, 0, dictionary.get()));
}

TEST(MediaTimeForms, everyTimeComesBackFromItsDictionary)
{
    TimeMaker make;
    for (int i = 0; i < 2000; ++i) {
        LuTime time = make.any();
        time.flags ^= static_cast<uint32_t>(make.below(2) << 31);
        const LuTimeRange range = {time, make.any()};
        const auto dictionary = zoAdopt(LuTimeRangeCopyAsDictionary(nullptr, range));
        const LuTimeRange wanted = range.duration.epoch == 0 ? range : kLuTimeRangeInvalid;
        ASSERT_EQ(LuTimeRangeMakeFromDictionary(dictionary.get()), wanted);
        ASSERT_EQ(LuTimeMakeFromDictionary(
                      static_cast<ZoDictionaryRef>(ZoDictionaryGetValue(dictionary.get(), kLuTimeRangeStartKey))),
                  time);

        const LuTimeMapping mapping = LuTimeMappingMake({time, exact(1, 2)}, wanted);
        const auto mapped = zoAdopt(LuTimeMappingCopyAsDictionary(nullptr, mapping));
        const LuTimeMapping back = LuTimeMappingMakeFromDictionary(mapped.get());
        ASSERT_EQ(back.source, mapping.source);
        ASSERT_EQ(back.target, mapping.target);
    }
}

TEST(MediaTimeForms, refusesDictionariesThatAreNotWhole)
{
    const auto wideNumber = luvia_test::number(int64_t{1} << 40), halfNumber = luvia_test::real(0.5);
    for (const ZoStringRef key : {kLuTimeValueKey, kLuTimeScaleKey, kLuTimeEpochKey, kLuTimeFlagsKey}) {
        const auto dictionary = copyOf(exact(3, 4));
        for (const ZoTypeRef wrong : {ZoTypeRef{ZOSTR("3")}, ZoTypeRef{halfNumber.get()}}) {
            ZoDictionarySetValue(dictionary.get(), key, wrong);
            EXPECT_EQ(LuTimeMakeFromDictionary(dictionary.get()), kLuTimeInvalid);
        }
        ZoDictionarySetValue(dictionary.get(), key, wideNumber.get());
        const bool isWide = key == kLuTimeValueKey || key == kLuTimeEpochKey;
        EXPECT_EQ(LuTimeIsValid(LuTimeMakeFromDictionary(dictionary.get())), isWide);
        ZoDictionaryRemoveValue(dictionary.get(), key);
        EXPECT_EQ(LuTimeMakeFromDictionary(dictionary.get()), kLuTimeInvalid);
    }
    for (const ZoDictionaryRef none : {ZoDictionaryRef{nullptr}, reinterpret_cast<ZoDictionaryRef>(ZOSTR("value"))}) {
        EXPECT_EQ(LuTimeMakeFromDictionary(none), kLuTimeInvalid);
        EXPECT_EQ(LuTimeMakeFromYxBufferTimeDictionary(none), kLuTimeInvalid);
        EXPECT_EQ(LuTimeRangeMakeFromDictionary(none), kLuTimeRangeInvalid);
        EXPECT_EQ(LuTimeMappingMakeFromDictionary(none).source, kLuTimeRangeInvalid);
    }
    const auto range = copyOf(exact(3, 4));  // lacks "start", then "duration"
    EXPECT_EQ(LuTimeRangeMakeFromDictionary(range.get()), kLuTimeRangeInvalid);
    ZoDictionarySetValue(range.get(), kLuTimeRangeStartKey, copyOf(exact(3, 4)).get());
    EXPECT_EQ(LuTimeRangeMakeFromDictionary(range.get()), kLuTimeRangeInvalid);
}

TEST(MediaTimeForms, imageBuffersKnowValueAndTimescaleOnly)
{
    const auto dictionary = zoAdopt(LuTimeCopyAsYxBufferTimeDictionary(nullptr, rounded(3, 4, 5)));
    EXPECT_EQ(ZoDictionaryGetCount(dictionary.get()), 2);
    EXPECT_EQ(LuTimeMakeFromYxBufferTimeDictionary(dictionary.get()), exact(3, 4));
    EXPECT_EQ(LuTimeCopyAsYxBufferTimeDictionary(nullptr, kLuTimePositiveInfinity), nullptr);

    const auto odd = zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, 0, dictionary.get()));
    ZoDictionarySetValue(odd.get(), kYxBufferTimeScaleKey, luvia_test::number(0).get());
    EXPECT_EQ(LuTimeMakeFromYxBufferTimeDictionary(odd.get()), exact(3, 0));
    ZoDictionaryRemoveValue(odd.get(), kYxBufferTimeScaleKey);
    EXPECT_EQ(LuTimeMakeFromYxBufferTimeDictionary(odd.get()), kLuTimeInvalid);
}

TEST(MediaTimeForms, describesAndShowsALineOnStandardError)
{
    LuTime odd = rounded(-7, 2, -3);
    EXPECT_EQ(describe(exact(3003, 90000)), "{3003/90000 = 0.033}");
    EXPECT_EQ(describe(odd), "{-7/2 = -3.500, epoch=-3, rounded}");
    odd.flags |= 0x40;
    EXPECT_EQ(describe(odd), "{-7/2 = -3.500, epoch=-3, rounded, flags=0x00000043}");
    EXPECT_EQ(describe(exact(kMin, 1)), "{-9223372036854775808/1 = -9223372036854775808.000}");
    EXPECT_EQ(describe(kLuTimeInvalid), "{INVALID}");
    EXPECT_EQ(describe(kLuTimeIndefinite), "{INDEFINITE}");
    EXPECT_EQ(describe(kLuTimePositiveInfinity), "{+INFINITY}");
    EXPECT_EQ(describe(kLuTimeNegativeInfinity), "{-INFINITY}");
    const LuTimeRange range = {exact(1, 2), kLuTimePositiveInfinity};

    ::testing::internal::CaptureStderr();
    LuTimeShow(exact(1, 2));
    LuTimeRangeShow(range);
    LuTimeMappingShow(LuTimeMappingMakeEmpty(range));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "{1/2 = 0.500}\n{{1/2 = 0.500}, {+INFINITY}}\n"
              "{{{INVALID}, {INVALID}}, {{1/2 = 0.500}, {+INFINITY}}}\n");
}

// In a process of its own: the ten warnings may be used up here.
TEST(MediaTimeFormsDeathTest, warnsTenTimesOfATimescaleThatIsTooLow)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto warn = [] {
        ::testing::internal::CaptureStderr();
        LuTimeMakeWithSeconds(2.005, 100);  // 5 ms are not worth a line
        LuTimeMakeWithSeconds(2.5, 101);
        for (int i = 0; i < 12; ++i) LuTimeMakeWithSeconds(2.5, 1);
        const std::string log = ::testing::internal::GetCapturedStderr();
        const std::string line =
            "LuTimeMakeWithSeconds(2.500 seconds, timescale 1): warning: error of -0.500 introduced due to very low "
            "timescale\n";
        int lines = 0;
        for (size_t at = log.find(line); at != std::string::npos; at = log.find(line, at + 1)) ++lines;
        fprintf(stderr, "%d lines\n", lines);
        exit(std::count(log.begin(), log.end(), '\n') == 10 ? 0 : 1);
    };
    EXPECT_EXIT(warn(), ::testing::ExitedWithCode(0), "10 lines");
}

}  // namespace
