// Dictionary and text forms of ranges and mappings: a pair of dictionaries under two keys, a pair of texts in braces.

#include "Core/TavTime/LuTimeRange.h"
#include "Core/TavTime/TavTimeForms.h"

ZO_DEFINE_STRING(kLuTimeRangeStartKey, "start");
ZO_DEFINE_STRING(kLuTimeRangeDurationKey, "duration");
ZO_DEFINE_STRING(kLuTimeMappingSourceKey, "source");
ZO_DEFINE_STRING(kLuTimeMappingTargetKey, "target");

using namespace tavtime;

/// Whether both keys are there. What stands under them is for its own reader to judge.
static bool getPair(ZoDictionaryRef dictionary, ZoStringRef key1, ZoStringRef key2, ZoDictionaryRef* value1,
                    ZoDictionaryRef* value2)
{
    if (!isDictionary(dictionary)) return false;
    *value1 = static_cast<ZoDictionaryRef>(ZoDictionaryGetValue(dictionary, key1));
    *value2 = static_cast<ZoDictionaryRef>(ZoDictionaryGetValue(dictionary, key2));
    return *value1 && *value2;
}

static ZoStringRef copyPairDescription(ZoAllocatorRef allocator, ZoStringRef description1, ZoStringRef description2)
{
    const auto owner1 = zoAdopt(description1), owner2 = zoAdopt(description2);
    if (!description1 || !description2) return ZOSTR("{ERROR CONSTRUCTING DESCRIPTION}");
    return ZoStringCreateWithFormat(allocator, nullptr, ZOSTR("{%@, %@}"), description1, description2);
}

ZoDictionaryRef LuTimeRangeCopyAsDictionary(ZoAllocatorRef allocator, LuTimeRange range)
{
    const auto start = zoAdopt(LuTimeCopyAsDictionary(allocator, range.start));
    const auto duration = zoAdopt(LuTimeCopyAsDictionary(allocator, range.duration));
    return createDictionary(allocator,
                            {{kLuTimeRangeStartKey, start.get()}, {kLuTimeRangeDurationKey, duration.get()}});
}

LuTimeRange LuTimeRangeMakeFromDictionary(ZoDictionaryRef dictionary)
{
    ZoDictionaryRef start, duration;
    if (!getPair(dictionary, kLuTimeRangeStartKey, kLuTimeRangeDurationKey, &start, &duration))
        return kLuTimeRangeInvalid;
    return LuTimeRangeMake(LuTimeMakeFromDictionary(start), LuTimeMakeFromDictionary(duration));
}

ZoStringRef LuTimeRangeCopyDescription(ZoAllocatorRef allocator, LuTimeRange range)
{
    return copyPairDescription(allocator, LuTimeCopyDescription(allocator, range.start),
                               LuTimeCopyDescription(allocator, range.duration));
}

void LuTimeRangeShow(LuTimeRange range) { showDescription(zoAdopt(LuTimeRangeCopyDescription(nullptr, range))); }

ZoDictionaryRef LuTimeMappingCopyAsDictionary(ZoAllocatorRef allocator, LuTimeMapping mapping)
{
    const auto source = zoAdopt(LuTimeRangeCopyAsDictionary(allocator, mapping.source));
    const auto target = zoAdopt(LuTimeRangeCopyAsDictionary(allocator, mapping.target));
    return createDictionary(allocator,
                            {{kLuTimeMappingSourceKey, source.get()}, {kLuTimeMappingTargetKey, target.get()}});
}

LuTimeMapping LuTimeMappingMakeFromDictionary(ZoDictionaryRef dictionary)
{
    ZoDictionaryRef source, target;
    if (!getPair(dictionary, kLuTimeMappingSourceKey, kLuTimeMappingTargetKey, &source, &target))
        return kLuTimeMappingInvalid;
    return LuTimeMappingMake(LuTimeRangeMakeFromDictionary(source), LuTimeRangeMakeFromDictionary(target));
}

ZoStringRef LuTimeMappingCopyDescription(ZoAllocatorRef allocator, LuTimeMapping mapping)
{
    return copyPairDescription(allocator, LuTimeRangeCopyDescription(allocator, mapping.source),
                               LuTimeRangeCopyDescription(allocator, mapping.target));
}

void LuTimeMappingShow(LuTimeMapping mapping)
{
    showDescription(zoAdopt(LuTimeMappingCopyDescription(nullptr, mapping)));
}
