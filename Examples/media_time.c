// Media time: exact sums over different timescales, frames on a timeline, and what is no number.
//
//     {1/2 = 0.500} and {1/3 = 0.333} are {5/6 = 0.833}
//     a second holds 29 frames of 1001/30000 and {971/30000 = 0.032}
//     frame 100 starts at tick 300300 of 90000
//     1/3 s in milliseconds is 333, rounded
//     a time without a timescale is not valid, and sorts behind positive infinity

#include <stdio.h>

#include "Core/TavTime/LuTime.h"
#include "Foundation/Text/ZoString.h"

static const char* textOf(LuTime time, char* text, ZoIndex size)
{
    ZoStringRef description = LuTimeCopyDescription(NULL, time);
    if (!description || !ZoStringGetCString(description, text, size, kZoStringEncodingUTF8)) text[0] = 0;
    if (description) ZoRelease(description);
    return text;
}

int main(void)
{
    char text1[64], text2[64], text3[64];
    const LuTime half = LuTimeMake(1, 2), third = LuTimeMake(1, 3);
    printf("%s and %s are %s\n", textOf(half, text1, sizeof(text1)), textOf(third, text2, sizeof(text2)),
           textOf(LuTimeAdd(half, third), text3, sizeof(text3)));

    const LuTime frame = LuTimeMake(1001, 30000);
    LuTime rest;
    const int64_t frames = LuTimeDivide(LuTimeMake(1, 1), frame, &rest);
    printf("a second holds %d frames of 1001/30000 and %s\n", (int)frames, textOf(rest, text1, sizeof(text1)));

    const LuTime start = LuTimeConvertScale(LuTimeMultiply(frame, 100), 90000, kLuTimeRoundingMethod_Default);
    printf("frame 100 starts at tick %lld of %d\n", (long long)start.value, (int)start.timescale);

    const LuTime milliseconds = LuTimeConvertScale(third, 1000, kLuTimeRoundingMethod_RoundTowardZero);
    printf("1/3 s in milliseconds is %lld%s\n", (long long)milliseconds.value,
           LuTimeHasBeenRounded(milliseconds) ? ", rounded" : "");

    const LuTime none = LuTimeMake(1, 0);
    printf("a time without a timescale is %s, and sorts %s positive infinity\n",
           LuTimeIsValid(none) ? "valid" : "not valid",
           LuTimeCompare(none, kLuTimePositiveInfinity) > 0 ? "behind" : "before");
    return 0;
}
