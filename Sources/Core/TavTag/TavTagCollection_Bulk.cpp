// Many tags at once: sorted in, and looked up, without a walk over all the others for each.

#include <algorithm>
#include <tuple>

#include "Core/TavTag/TavTagCollectionPrivate.h"

// MARK: order

static auto identity(const LuTag& tag) { return std::make_tuple(tag.category, LuTagGetValueDataType(tag), tag.value); }

static bool isNaN(const LuTag& tag) { return LuTagGetFloat64Value(tag) != LuTagGetFloat64Value(tag); }

// LuTagCompare goes by the signs of 32-bit differences, to which numbers lie on a circle. [first, last) is in ascending
// order of `numberOf`; it is turned so that the widest gap of the circle lies between its end and its beginning. Where
// the numbers take up less than half of the circle that makes it the order of LuTagCompare. Where they take up more
// LuTagCompare has none, and this is one.
template <typename NumberOf>
static void cutAtWidestGap(LuTag* first, LuTag* last, NumberOf numberOf)
{
    LuTag* start = first;
    uint32_t widest = numberOf(*first) - numberOf(last[-1]);
    for (LuTag* next = first + 1; next < last; ++next) {
        const uint32_t gap = numberOf(*next) - numberOf(next[-1]);
        if (gap <= widest) continue;
        widest = gap;
        start = next;
    }
    std::rotate(first, start, last);
}

template <typename NumberOf>
static LuTag* endOfRun(LuTag* first, LuTag* last, NumberOf numberOf)
{
    return std::find_if(first, last, [&](const LuTag& tag) { return numberOf(tag) != numberOf(*first); });
}

// Tags of one category and type, in the order in which they came. The end of those that stay: of tags that compare
// equal the first, and a NaN, which is level with every float, only where it came before all.
static LuTag* settleValues(LuTag* first, LuTag* last)
{
    if (LuTagHasFloat64Value(*first)) {
        if (isNaN(*first)) return first + 1;
        last = std::remove_if(first, last, isNaN);
    }
    std::stable_sort(first, last, [](const LuTag& a, const LuTag& b) { return LuTagCompare(a, b) < 0; });
    return std::unique(first, last, [](const LuTag& a, const LuTag& b) { return LuTagCompare(a, b) == 0; });
}

// Puts tags in the order in which they came into that of a collection; the end of those that stay.
static LuTag* settle(LuTag* first, LuTag* last)
{
    const auto categoryOf = [](const LuTag& tag) { return tag.category; };
    const auto byKind = [](const LuTag& a, const LuTag& b) {
        return std::make_pair(a.category, LuTagGetValueDataType(a)) <
               std::make_pair(b.category, LuTagGetValueDataType(b));
    };
    std::stable_sort(first, last, byKind);
    cutAtWidestGap(first, last, categoryOf);
    LuTag* kept = first;
    for (LuTag *category = first, *next; category != last; category = next) {
        next = endOfRun(category, last, categoryOf);
        cutAtWidestGap(category, next, LuTagGetValueDataType);
        for (LuTag *type = category, *nextType; type != next; type = nextType) {
            nextType = endOfRun(type, next, LuTagGetValueDataType);
            kept = std::copy(type, settleValues(type, nextType), kept);
        }
    }
    return kept;
}

OSStatus tagCollectionInsertMany(const char* operation, LuTagCollection_* collection, const LuTag* tags,
                                 ZoIndex tagCount)
{
    if (tagCount <= kFewTags) {
        for (ZoIndex i = 0; i < tagCount; ++i) TAV_TRY(tagCollectionInsert(operation, collection, tags[i]));
        return 0;
    }
    const ZoIndex total = collection->count + tagCount;  // both are in memory
    if (total > collection->capacity) TAV_TRY(tagCollectionSetCapacity(operation, collection, total));
    std::copy_n(tags, tagCount, collection->tags + collection->count);
    collection->count = settle(collection->tags, collection->tags + total) - collection->tags;
    return 0;
}

// MARK: look-up

TagLookUp::TagLookUp(std::span<const LuTag> tags, size_t questions) : tags_(tags)
{
    constexpr auto kFew = static_cast<size_t>(kFewTags);
    if (tags.size() <= kFew || questions <= kFew || !sorted_.append(tags)) return;
    std::sort(sorted_.begin(), sorted_.end(), [](const LuTag& a, const LuTag& b) { return identity(a) < identity(b); });
}

bool TagLookUp::contains(LuTag tag) const
{
    if (sorted_.empty())
        return std::any_of(tags_.begin(), tags_.end(),
                           [tag](const LuTag& other) { return LuTagEqualToTag(other, tag); });
    const auto isBefore = [](const LuTag& a, const LuTag& b) { return identity(a) < identity(b); };
    return std::binary_search(sorted_.begin(), sorted_.end(), tag, isBefore);
}
