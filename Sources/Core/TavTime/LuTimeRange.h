// Ranges of media time, from a start to the end that is not in them, and mappings of one range onto another.
// A duration has no epoch: a range formed with one that has is invalid. Nothing here fails by a status: what cannot be
// computed is invalid. Pure functions of their arguments, callable from any thread.

#pragma once

#include "Core/TavTime/LuTime.h"

ZO_EXTERN_C_BEGIN

typedef struct LuTimeRange {
    LuTime start;
    LuTime duration;
} LuTimeRange;

typedef struct LuTimeMapping {
    LuTimeRange source;
    LuTimeRange target;
} LuTimeMapping;

extern const LuTimeRange kLuTimeRangeZero;  ///< start and duration 0/1
extern const LuTimeRange kLuTimeRangeInvalid;
extern const LuTimeMapping kLuTimeMappingInvalid;

/// Invalid if the duration has an epoch.
LuTimeRange LuTimeRangeMake(LuTime start, LuTime duration);
/// Invalid if `start` compares above `end`.
LuTimeRange LuTimeRangeFromTimeToTime(LuTime start, LuTime end);
/// The first time that is no longer in the range.
LuTime LuTimeRangeGetEnd(LuTimeRange range);
/// The shortest range that holds both. Invalid if the starts are of different epochs.
LuTimeRange LuTimeRangeGetUnion(LuTimeRange range1, LuTimeRange range2);
/// kLuTimeRangeZero if they have no time in common. Invalid if the starts are of different epochs.
LuTimeRange LuTimeRangeGetIntersection(LuTimeRange range1, LuTimeRange range2);
Boolean LuTimeRangeEqual(LuTimeRange range1, LuTimeRange range2);
Boolean LuTimeRangeContainsTime(LuTimeRange range, LuTime time);
/// Whether `range2` lies in `range1`; a range contains itself.
Boolean LuTimeRangeContainsTimeRange(LuTimeRange range1, LuTimeRange range2);

/// A duration scaled as `toRange` is to `fromRange`. The ranges need numeric starts, and either positive durations of
/// epoch 0 or two that are both infinite or indefinite; otherwise invalid.
LuTime LuTimeMapDurationFromRangeToRange(LuTime duration, LuTimeRange fromRange, LuTimeRange toRange);
/// Where `time` comes to lie when `fromRange` is laid onto `toRange`, under the same conditions. A time that is not
/// numeric stays as it is; one of another epoch than `fromRange` is invalid.
LuTime LuTimeMapTimeFromRangeToRange(LuTime time, LuTimeRange fromRange, LuTimeRange toRange);
/// The time, or the nearer of start and end. Invalid if the range has no numeric start or no positive duration.
LuTime LuTimeClampToRange(LuTime time, LuTimeRange range);
/// The time moved into the range by whole durations of it.
LuTime LuTimeFoldIntoRange(LuTime time, LuTimeRange range);

extern const ZoStringRef kLuTimeRangeStartKey;     ///< "start"
extern const ZoStringRef kLuTimeRangeDurationKey;  ///< "duration"
extern const ZoStringRef kLuTimeMappingSourceKey;  ///< "source"
extern const ZoStringRef kLuTimeMappingTargetKey;  ///< "target"

/// Dictionaries of time dictionaries. Nothing if the allocator gives nothing. The caller releases what Copy gives.
ZoDictionaryRef LuTimeRangeCopyAsDictionary(ZoAllocatorRef allocator, LuTimeRange range);
/// Invalid if `dictionary` is absent or none, or lacks a key.
LuTimeRange LuTimeRangeMakeFromDictionary(ZoDictionaryRef dictionary);
/// Such as "{{0/1 = 0.000}, {10/1 = 10.000}}".
ZoStringRef LuTimeRangeCopyDescription(ZoAllocatorRef allocator, LuTimeRange range);
void LuTimeRangeShow(LuTimeRange range);

/// Invalid if a duration has an epoch.
LuTimeMapping LuTimeMappingMake(LuTimeRange source, LuTimeRange target);
/// Nothing plays in the target: the source is kLuTimeRangeInvalid.
LuTimeMapping LuTimeMappingMakeEmpty(LuTimeRange target);
ZoDictionaryRef LuTimeMappingCopyAsDictionary(ZoAllocatorRef allocator, LuTimeMapping mapping);
LuTimeMapping LuTimeMappingMakeFromDictionary(ZoDictionaryRef dictionary);
ZoStringRef LuTimeMappingCopyDescription(ZoAllocatorRef allocator, LuTimeMapping mapping);
void LuTimeMappingShow(LuTimeMapping mapping);

ZO_EXTERN_C_END
