// Questions about one collection, and new collections from one or two.

#include <algorithm>

#include "Core/TavTag/TavTagCollectionPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"

ZO_DEFINE_STRING(kLuTagCollectionTagsArrayKey, "tags");
TAV_DEFINE_ALIAS(kTavTagCollectionTagsArrayKey, kLuTagCollectionTagsArrayKey);

// The tags; none of what is no collection, after a signal.
static std::span<const LuTag> tagsOf(const char* operation, LuTagCollectionRef tagCollection)
{
    if (tagCollectionCheck(operation, tagCollection) != 0) return {};
    return {tagCollection->tags, static_cast<size_t>(tagCollection->count)};
}

ZoIndex LuTagCollectionGetCount(LuTagCollectionRef tagCollection)
{
    return static_cast<ZoIndex>(tagsOf(__func__, tagCollection).size());
}

Boolean LuTagCollectionIsEmpty(LuTagCollectionRef tagCollection) { return tagsOf(__func__, tagCollection).empty(); }

Boolean LuTagCollectionContainsTag(LuTagCollectionRef tagCollection, LuTag tag)
{
    return TagLookUp(tagsOf(__func__, tagCollection), 1).contains(tag);
}

static bool containsAll(std::span<const LuTag> tags, std::span<const LuTag> contained)
{
    const TagLookUp lookUp(tags, contained.size());
    return std::all_of(contained.begin(), contained.end(), [&](const LuTag& tag) { return lookUp.contains(tag); });
}

Boolean TavTagCollectionContainsTagsOfCollection(LuTagCollectionRef tagCollection,
                                                 LuTagCollectionRef containedTagCollection)
{
    if (tagCollectionCheck(__func__, tagCollection) != 0) return false;
    return containsAll(tagsOf(__func__, tagCollection), tagsOf(__func__, containedTagCollection));
}

Boolean TavTagCollectionContainsSpecifiedTags(LuTagCollectionRef tagCollection, const LuTag* containedTags,
                                              ZoIndex containedTagCount)
{
    if (tagCollectionCheck(__func__, tagCollection) != 0) return false;
    if (!containedTags) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "NULL containedTags");
        return false;
    }
    if (containedTagCount < 0) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "containedTagCount should be non-negative");
        return false;
    }
    return containsAll(tagsOf(__func__, tagCollection), {containedTags, static_cast<size_t>(containedTagCount)});
}

Boolean TavTagCollectionContainsCategory(LuTagCollectionRef tagCollection, LuTagCategory category)
{
    if (tagCollectionCheck(__func__, tagCollection) != 0) return false;
    return category == kLuTagInvalid.category || LuTagCollectionGetCountOfCategory(tagCollection, category) > 0;
}

ZoIndex LuTagCollectionGetCountOfCategory(LuTagCollectionRef tagCollection, LuTagCategory category)
{
    const auto tags = tagsOf(__func__, tagCollection);
    return std::count_if(tags.begin(), tags.end(), [category](const LuTag& tag) { return tag.category == category; });
}

void LuTagCollectionApply(LuTagCollectionRef tagCollection, LuTagCollectionApplierFunction applier, void* context)
{
    if (tagCollectionCheck(__func__, tagCollection) != 0) return;
    if (!applier) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "NULL applier function");
        return;
    }
    for (const LuTag& tag : tagsOf(__func__, tagCollection)) applier(tag, context);
}

LuTag LuTagCollectionApplyUntil(LuTagCollectionRef tagCollection, LuTagCollectionTagFilterFunction applier,
                                void* context)
{
    if (tagCollectionCheck(__func__, tagCollection) != 0) return kLuTagInvalid;
    if (!applier) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "NULL applier function");
        return kLuTagInvalid;
    }
    for (const LuTag& tag : tagsOf(__func__, tagCollection))
        if (applier(tag, context)) return tag;
    return kLuTagInvalid;
}

ZoIndex TavTagCollectionCountTagsWithFilterFunction(LuTagCollectionRef tagCollection,
                                                    LuTagCollectionTagFilterFunction filter, void* context)
{
    if (tagCollectionCheck(__func__, tagCollection) != 0) return 0;
    if (!filter) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "filterApplier is NULL");
        return 0;
    }
    const auto tags = tagsOf(__func__, tagCollection);
    return std::count_if(tags.begin(), tags.end(), [=](const LuTag& tag) { return filter(tag, context) != 0; });
}

OSStatus LuTagCollectionGetTagsWithFilterFunction(LuTagCollectionRef tagCollection, LuTag* tagBuffer,
                                                  ZoIndex tagBufferCount, ZoIndex* numberOfTagsCopied,
                                                  LuTagCollectionTagFilterFunction filter, void* context)
{
    if (numberOfTagsCopied) *numberOfTagsCopied = 0;
    TAV_TRY(tagCollectionCheck(__func__, tagCollection));
    if (!tagBuffer) return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "tagBuffer is NULL");
    if (!filter) return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "filterApplier is NULL");
    ZoIndex copied = 0;
    OSStatus status = 0;
    for (const LuTag& tag : tagsOf(__func__, tagCollection)) {
        if (!filter(tag, context)) continue;
        if (copied >= tagBufferCount) {
            status = kLuTagCollectionError_ExhaustedBufferSize;
            break;
        }
        tagBuffer[copied++] = tag;
    }
    for (ZoIndex i = copied; i < tagBufferCount; ++i) tagBuffer[i] = kLuTagInvalid;
    if (numberOfTagsCopied) *numberOfTagsCopied = copied;
    return status;
}

OSStatus LuTagCollectionGetTags(LuTagCollectionRef tagCollection, LuTag* tagBuffer, ZoIndex tagBufferCount,
                                ZoIndex* numberOfTagsCopied)
{
    return LuTagCollectionGetTagsWithFilterFunction(
        tagCollection, tagBuffer, tagBufferCount, numberOfTagsCopied, [](LuTag, void*) -> Boolean { return true; },
        nullptr);
}

OSStatus LuTagCollectionGetTagsWithCategory(LuTagCollectionRef tagCollection, LuTagCategory category, LuTag* tagBuffer,
                                            ZoIndex tagBufferCount, ZoIndex* numberOfTagsCopied)
{
    const auto ofCategory = [](LuTag tag, void* wanted) -> Boolean {
        return tag.category == *static_cast<LuTagCategory*>(wanted);
    };
    return LuTagCollectionGetTagsWithFilterFunction(tagCollection, tagBuffer, tagBufferCount, numberOfTagsCopied,
                                                    ofCategory, &category);
}

// MARK: sets from sets

// Which tags of each operand the result takes: those that the other one has, those that it has not, or both.
enum : uint32_t { kTakeShared = 1, kTakeOwn = 2, kTakeAll = 3 };

static OSStatus checkOperands(const char* operation, LuTagCollectionRef tagCollection1,
                              LuTagCollectionRef tagCollection2, LuMutableTagCollectionRef* tagCollectionOut)
{
    for (LuTagCollectionRef operand : {tagCollection1, tagCollection2})
        if (!tagCollectionIsOne(operand))
            return TAV_SIGNAL_FROM(operation, kLuTagCollectionError_ParamErr,
                                   "tagCollection2 is NULL or not a LuTagCollection");
    if (!tagCollectionOut)
        return TAV_SIGNAL_FROM(operation, kLuTagCollectionError_ParamErr, "tagCollectionOut is NULL");
    return 0;
}

static OSStatus take(TagInserter& inserter, std::span<const LuTag> from, std::span<const LuTag> other, uint32_t taken)
{
    const TagLookUp lookUp(other, taken == kTakeAll ? 0 : from.size());
    for (const LuTag& tag : from)
        if (taken == kTakeAll || taken == (lookUp.contains(tag) ? kTakeShared : kTakeOwn)) TAV_TRY(inserter.add(tag));
    return 0;
}

static OSStatus combine(const char* operation, LuTagCollectionRef tagCollection1, uint32_t takenOf1,
                        LuTagCollectionRef tagCollection2, uint32_t takenOf2,
                        LuMutableTagCollectionRef* tagCollectionOut)
{
    if (tagCollectionOut) *tagCollectionOut = nullptr;
    TAV_TRY(checkOperands(operation, tagCollection1, tagCollection2, tagCollectionOut));
    const ZoAllocatorRef allocator = ZoGetAllocator(tagCollection1);
    const bool isSame = tagCollection1 == tagCollection2;
    if (isSame && takenOf1 & kTakeShared)
        return tagCollectionCopyMutable(operation, allocator, tagCollection1, tagCollectionOut);
    ZoRef<LuMutableTagCollectionRef> result;
    TAV_TRY(tagCollectionCreateMutable(operation, allocator, result.outParam()));
    if (!isSame) {
        const auto tags1 = tagsOf(operation, tagCollection1), tags2 = tagsOf(operation, tagCollection2);
        TagInserter inserter(operation, result.get(), static_cast<ZoIndex>(tags1.size() + tags2.size()));
        TAV_TRY(take(inserter, tags1, tags2, takenOf1));
        if (takenOf2 != 0) TAV_TRY(take(inserter, tags2, tags1, takenOf2));
        TAV_TRY(inserter.finish());
    }
    *tagCollectionOut = result.release();
    return 0;
}

OSStatus LuTagCollectionCreateIntersection(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                           LuMutableTagCollectionRef* tagCollectionOut)
{
    return combine(__func__, tagCollection1, kTakeShared, tagCollection2, 0, tagCollectionOut);
}

OSStatus LuTagCollectionCreateUnion(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                    LuMutableTagCollectionRef* tagCollectionOut)
{
    return combine(__func__, tagCollection1, kTakeAll, tagCollection2, kTakeAll, tagCollectionOut);
}

OSStatus LuTagCollectionCreateDifference(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                         LuMutableTagCollectionRef* tagCollectionOut)
{
    return combine(__func__, tagCollection1, kTakeOwn, tagCollection2, 0, tagCollectionOut);
}

OSStatus LuTagCollectionCreateExclusiveOr(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                          LuMutableTagCollectionRef* tagCollectionOut)
{
    return combine(__func__, tagCollection1, kTakeOwn, tagCollection2, kTakeOwn, tagCollectionOut);
}

OSStatus LuTagCollectionCopyTagsOfCategories(ZoAllocatorRef allocator, LuTagCollectionRef tagCollection,
                                             const LuTagCategory* categories, ZoIndex categoriesCount,
                                             LuMutableTagCollectionRef* collectionWithTagsOfCategories)
{
    if (collectionWithTagsOfCategories) *collectionWithTagsOfCategories = nullptr;
    TAV_TRY(tagCollectionCheck(__func__, tagCollection));
    if (!categories || categoriesCount < 1)
        return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "categories is NULL or categoriesCount is invalid");
    if (!collectionWithTagsOfCategories)
        return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "collectionWithTagsOfCategories is NULL");
    const std::span wanted(categories, static_cast<size_t>(categoriesCount));
    ZoRef<LuMutableTagCollectionRef> result;
    TAV_TRY(tagCollectionCreateMutable(__func__, allocator, result.outParam()));
    TagInserter inserter(__func__, result.get(), tagCollection->count);
    for (const LuTag& tag : tagsOf(__func__, tagCollection))
        if (std::find(wanted.begin(), wanted.end(), tag.category) != wanted.end()) TAV_TRY(inserter.add(tag));
    TAV_TRY(inserter.finish());
    *collectionWithTagsOfCategories = result.release();
    return 0;
}

// MARK: the other names

TAV_DEFINE_ALIAS(TavTagCollectionGetCount, LuTagCollectionGetCount);
TAV_DEFINE_ALIAS(TavTagCollectionIsEmpty, LuTagCollectionIsEmpty);
TAV_DEFINE_ALIAS(TavTagCollectionContainsTag, LuTagCollectionContainsTag);
TAV_DEFINE_ALIAS(TavTagCollectionGetCountOfCategory, LuTagCollectionGetCountOfCategory);
TAV_DEFINE_ALIAS(TavTagCollectionApply, LuTagCollectionApply);
TAV_DEFINE_ALIAS(TavTagCollectionApplyUntil, LuTagCollectionApplyUntil);
TAV_DEFINE_ALIAS(TavTagCollectionGetTags, LuTagCollectionGetTags);
TAV_DEFINE_ALIAS(TavTagCollectionGetTagsWithCategory, LuTagCollectionGetTagsWithCategory);
TAV_DEFINE_ALIAS(TavTagCollectionGetTagsWithFilterFunction, LuTagCollectionGetTagsWithFilterFunction);
TAV_DEFINE_ALIAS(TavTagCollectionCreateIntersection, LuTagCollectionCreateIntersection);
TAV_DEFINE_ALIAS(TavTagCollectionCreateUnion, LuTagCollectionCreateUnion);
TAV_DEFINE_ALIAS(TavTagCollectionCreateDifference, LuTagCollectionCreateDifference);
TAV_DEFINE_ALIAS(TavTagCollectionCreateExclusiveOr, LuTagCollectionCreateExclusiveOr);
TAV_DEFINE_ALIAS(TavTagCollectionCopyTagsOfCategories, LuTagCollectionCopyTagsOfCategories);
TAV_DEFINE_ALIAS(LuTagCollectionContainsTagsOfCollection, TavTagCollectionContainsTagsOfCollection);
TAV_DEFINE_ALIAS(LuTagCollectionContainsSpecifiedTags, TavTagCollectionContainsSpecifiedTags);
TAV_DEFINE_ALIAS(LuTagCollectionContainsCategory, TavTagCollectionContainsCategory);
TAV_DEFINE_ALIAS(LuTagCollectionCountTagsWithFilterFunction, TavTagCollectionCountTagsWithFilterFunction);
