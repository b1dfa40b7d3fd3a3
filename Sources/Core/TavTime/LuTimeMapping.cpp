#include "Core/TavTime/LuTimeRange.h"
#include "Core/TavTime/TavTimeInternal.h"

using namespace tavtime;

const LuTimeMapping kLuTimeMappingInvalid = {{{0, 0, 0, 0}, {0, 0, 0, 0}}, {{0, 0, 0, 0}, {0, 0, 0, 0}}};

/// Whether times can be mapped between the two at all.
static bool rangesCorrespond(LuTimeRange from, LuTimeRange to)
{
    if (!LuTimeIsNumeric(from.start) || !LuTimeIsNumeric(to.start)) return false;
    return (isUnboundedDuration(from.duration) && isUnboundedDuration(to.duration)) ||
           (isPositiveDuration(from.duration) && isPositiveDuration(to.duration));
}

static LuTime scaleDuration(LuTime duration, LuTimeRange from, LuTimeRange to)
{
    if (LuTimeCompare(from.duration, to.duration) == 0) return duration;
    const double ratio = LuTimeGetSeconds(to.duration) / LuTimeGetSeconds(from.duration);
    return LuTimeMultiplyByFloat64(duration, ratio);
}

LuTime LuTimeMapDurationFromRangeToRange(LuTime duration, LuTimeRange fromRange, LuTimeRange toRange)
{
    if (LuTimeIsNumeric(duration) && duration.epoch != 0) return kLuTimeInvalid;
    if (!rangesCorrespond(fromRange, toRange)) return kLuTimeInvalid;
    return scaleDuration(duration, fromRange, toRange);
}

LuTime LuTimeMapTimeFromRangeToRange(LuTime time, LuTimeRange fromRange, LuTimeRange toRange)
{
    if (!rangesCorrespond(fromRange, toRange)) return kLuTimeInvalid;
    if (!LuTimeIsNumeric(time)) return time;
    if (time.epoch != fromRange.start.epoch) return kLuTimeInvalid;
    if (LuTimeCompare(fromRange.start, toRange.start) == 0 && LuTimeCompare(fromRange.duration, toRange.duration) == 0)
        return time;
    const LuTime offset = LuTimeSubtract(time, fromRange.start);
    return LuTimeAdd(scaleDuration(offset, fromRange, toRange), toRange.start);
}

static bool durationsHaveNoEpoch(LuTimeMapping mapping)
{
    return mapping.source.duration.epoch == 0 && mapping.target.duration.epoch == 0;
}

LuTimeMapping LuTimeMappingMake(LuTimeRange source, LuTimeRange target)
{
    const LuTimeMapping mapping = {source, target};
    return durationsHaveNoEpoch(mapping) ? mapping : kLuTimeMappingInvalid;
}

LuTimeMapping LuTimeMappingMakeEmpty(LuTimeRange target) { return LuTimeMappingMake(kLuTimeRangeInvalid, target); }
