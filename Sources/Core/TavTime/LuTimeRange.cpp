#include "Core/TavTime/LuTimeRange.h"

#include "Core/TavTime/TavTimeInternal.h"

#define LU_TIME_ZERO                \
    {                               \
        0, 1, kLuTimeFlags_Valid, 0 \
    }
#define LU_TIME_INVALID \
    {                   \
        0, 0, 0, 0      \
    }
const LuTimeRange kLuTimeRangeZero = {LU_TIME_ZERO, LU_TIME_ZERO};
const LuTimeRange kLuTimeRangeInvalid = {LU_TIME_INVALID, LU_TIME_INVALID};

LuTimeRange LuTimeRangeMake(LuTime start, LuTime duration)
{
    if (duration.epoch != 0) return kLuTimeRangeInvalid;
    return {start, duration};
}

LuTimeRange LuTimeRangeFromTimeToTime(LuTime start, LuTime end)
{
    if (LuTimeCompare(start, end) > 0) return kLuTimeRangeInvalid;
    return LuTimeRangeMake(start, LuTimeSubtract(end, start));
}

LuTime LuTimeRangeGetEnd(LuTimeRange range)
{
    if (range.duration.epoch != 0) return kLuTimeInvalid;
    return LuTimeAdd(range.start, range.duration);
}

LuTimeRange LuTimeRangeGetUnion(LuTimeRange range1, LuTimeRange range2)
{
    if (range1.start.epoch != range2.start.epoch) return kLuTimeRangeInvalid;
    const LuTime start = LuTimeMinimum(range1.start, range2.start);
    const LuTime end = LuTimeMaximum(LuTimeRangeGetEnd(range1), LuTimeRangeGetEnd(range2));
    return LuTimeRangeMake(start, LuTimeSubtract(end, start));
}

LuTimeRange LuTimeRangeGetIntersection(LuTimeRange range1, LuTimeRange range2)
{
    if (range1.start.epoch != range2.start.epoch) return kLuTimeRangeInvalid;
    const LuTime start = LuTimeMaximum(range1.start, range2.start);
    const LuTime end = LuTimeMinimum(LuTimeRangeGetEnd(range1), LuTimeRangeGetEnd(range2));
    if (LuTimeCompare(start, end) >= 0) return kLuTimeRangeZero;
    return LuTimeRangeMake(start, LuTimeSubtract(end, start));
}

Boolean LuTimeRangeEqual(LuTimeRange range1, LuTimeRange range2)
{
    return range1.start.epoch == range2.start.epoch && LuTimeCompare(range1.start, range2.start) == 0 &&
           LuTimeCompare(range1.duration, range2.duration) == 0;
}

Boolean LuTimeRangeContainsTime(LuTimeRange range, LuTime time)
{
    return LuTimeCompare(range.start, time) <= 0 && LuTimeCompare(time, LuTimeRangeGetEnd(range)) < 0;
}

Boolean LuTimeRangeContainsTimeRange(LuTimeRange range1, LuTimeRange range2)
{
    if (range1.start.epoch != range2.start.epoch || !LuTimeRangeContainsTime(range1, range2.start)) return false;
    const LuTime end = LuTimeRangeGetEnd(range2);
    return LuTimeRangeContainsTime(range1, end) || LuTimeCompare(LuTimeRangeGetEnd(range1), end) == 0;
}

LuTime LuTimeClampToRange(LuTime time, LuTimeRange range)
{
    const bool usable = tavtime::isUnboundedDuration(range.duration) || tavtime::isPositiveDuration(range.duration);
    if (!LuTimeIsNumeric(range.start) || !usable) return kLuTimeInvalid;
    if (!LuTimeIsValid(time) || LuTimeIsIndefinite(time)) return time;
    if (LuTimeCompare(time, range.start) <= 0) return range.start;
    const LuTime end = LuTimeRangeGetEnd(range);
    return LuTimeCompare(time, end) >= 0 ? end : time;
}

LuTime LuTimeFoldIntoRange(LuTime time, LuTimeRange range)
{
    LuTime offset = LuTimeSubtract(time, range.start);
    if (LuTimeCompare(offset, kLuTimeZero) < 0)
        offset = LuTimeAdd(LuTimeRemainder(offset, range.duration), range.duration);
    return LuTimeAdd(LuTimeRemainder(offset, range.duration), range.start);
}
