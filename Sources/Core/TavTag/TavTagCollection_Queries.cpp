// Questions about one collection, and new collections from one or two.

#include <algorithm>
#include <span>

#include "Core/TavTag/TavTagCollectionPrivate.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"

ZO_DEFINE_STRING(kLuTagCollectionTagsArrayKey, "tags");
TAV_DEFINE_ALIAS(kTavTagCollectionTagsArrayKey, kLuTagCollectionTagsArrayKey);

// The tags; none of what is no collection, after a signal.
static std::span<const LuTag> tagsOf(LuTagCollectionRef tagCollection)
{
    if (tagCollectionCheck(tagCollection) != 0) return {};
    return {tagCollection->tags, static_cast<size_t>(tagCollection->count)};
}

static bool contains(std::span<const LuTag> tags, LuTag tag)
{
    return std::any_of(tags.begin(), tags.end(), [tag](const LuTag& other) { return LuTagEqualToTag(other, tag); });
}

ZoIndex LuTagCollectionGetCount(LuTagCollectionRef tagCollection)
{
    return static_cast<ZoIndex>(tagsOf(tagCollection).size());
}

Boolean LuTagCollectionIsEmpty(LuTagCollectionRef tagCollection) { return tagsOf(tagCollection).empty(); }

Boolean LuTagCollectionContainsTag(LuTagCollectionRef tagCollection, LuTag tag)
{
    return contains(tagsOf(tagCollection), tag);
}

static bool containsAll(std::span<const LuTag> tags, std::span<const LuTag> contained)
{
    return std::all_of(contained.begin(), contained.end(), [tags](const LuTag& tag) { return contains(tags, tag); });
}

Boolean TavTagCollectionContainsTagsOfCollection(LuTagCollectionRef tagCollection,
                                                 LuTagCollectionRef containedTagCollection)
{
    if (tagCollectionCheck(tagCollection) != 0) return false;
    return containsAll(tagsOf(tagCollection), tagsOf(containedTagCollection));
}

Boolean TavTagCollectionContainsSpecifiedTags(LuTagCollectionRef tagCollection, const LuTag* containedTags,
                                              ZoIndex containedTagCount)
{
    if (tagCollectionCheck(tagCollection) != 0) return false;
    if (!containedTags) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "NULL containedTags");
        return false;
    }
    if (containedTagCount < 0) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "containedTagCount should be non-negative");
        return false;
    }
    return containsAll(tagsOf(tagCollection), {containedTags, static_cast<size_t>(containedTagCount)});
}

Boolean TavTagCollectionContainsCategory(LuTagCollectionRef tagCollection, LuTagCategory category)
{
    if (tagCollectionCheck(tagCollection) != 0) return false;
    return category == kLuTagInvalid.category || LuTagCollectionGetCountOfCategory(tagCollection, category) > 0;
}

ZoIndex LuTagCollectionGetCountOfCategory(LuTagCollectionRef tagCollection, LuTagCategory category)
{
    const auto tags = tagsOf(tagCollection);
    return std::count_if(tags.begin(), tags.end(), [category](const LuTag& tag) { return tag.category == category; });
}

void LuTagCollectionApply(LuTagCollectionRef tagCollection, LuTagCollectionApplierFunction applier, void* context)
{
    if (tagCollectionCheck(tagCollection) != 0) return;
    if (!applier) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "NULL applier function");
        return;
    }
    for (const LuTag& tag : tagsOf(tagCollection)) applier(tag, context);
}

LuTag LuTagCollectionApplyUntil(LuTagCollectionRef tagCollection, LuTagCollectionTagFilterFunction applier,
                                void* context)
{
    if (tagCollectionCheck(tagCollection) != 0) return kLuTagInvalid;
    if (!applier) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "NULL applier function");
        return kLuTagInvalid;
    }
    for (const LuTag& tag : tagsOf(tagCollection))
        if (applier(tag, context)) return tag;
    return kLuTagInvalid;
}

ZoIndex TavTagCollectionCountTagsWithFilterFunction(LuTagCollectionRef tagCollection,
                                                    LuTagCollectionTagFilterFunction filter, void* context)
{
    if (tagCollectionCheck(tagCollection) != 0) return 0;
    if (!filter) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "filterApplier is NULL");
        return 0;
    }
    const auto tags = tagsOf(tagCollection);
    return std::count_if(tags.begin(), tags.end(), [=](const LuTag& tag) { return filter(tag, context) != 0; });
}

OSStatus LuTagCollectionGetTagsWithFilterFunction(LuTagCollectionRef tagCollection, LuTag* tagBuffer,
                                                  ZoIndex tagBufferCount, ZoIndex* numberOfTagsCopied,
                                                  LuTagCollectionTagFilterFunction filter, void* context)
{
    if (numberOfTagsCopied) *numberOfTagsCopied = 0;
    TAV_TRY(tagCollectionCheck(tagCollection));
    if (!tagBuffer) return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "tagBuffer is NULL");
    if (!filter) return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "filterApplier is NULL");
    ZoIndex copied = 0;
    OSStatus status = 0;
    for (const LuTag& tag : tagsOf(tagCollection)) {
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

static OSStatus checkOperands(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                              LuMutableTagCollectionRef* tagCollectionOut)
{
    for (LuTagCollectionRef operand : {tagCollection1, tagCollection2})
        if (!tagCollectionIsOne(operand))
            return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "tagCollection2 is NULL or not a LuTagCollection");
    if (!tagCollectionOut) return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "tagCollectionOut is NULL");
    return 0;
}

// Which tags of each operand the result takes: those that the other one has, those that it has not, or both.
enum : uint32_t { kTakeShared = 1, kTakeOwn = 2 };

static OSStatus combine(LuTagCollectionRef tagCollection1, uint32_t takenOf1, LuTagCollectionRef tagCollection2,
                        uint32_t takenOf2, LuMutableTagCollectionRef* tagCollectionOut)
{
    if (tagCollectionOut) *tagCollectionOut = nullptr;
    TAV_TRY(checkOperands(tagCollection1, tagCollection2, tagCollectionOut));
    const ZoAllocatorRef allocator = ZoGetAllocator(tagCollection1);
    ZoRef<LuMutableTagCollectionRef> result;
    TAV_TRY(LuTagCollectionCreateMutable(allocator, 0, result.outParam()));
    const auto take = [&](LuTagCollectionRef from, LuTagCollectionRef other, uint32_t taken) -> OSStatus {
        for (const LuTag& tag : tagsOf(from)) {
            const uint32_t kind = contains(tagsOf(other), tag) ? kTakeShared : kTakeOwn;
            if (taken & kind) TAV_TRY(LuTagCollectionAddTag(result.get(), tag));
        }
        return 0;
    };
    TAV_TRY(take(tagCollection1, tagCollection2, takenOf1));
    TAV_TRY(take(tagCollection2, tagCollection1, takenOf2));
    *tagCollectionOut = result.release();
    return 0;
}

OSStatus LuTagCollectionCreateIntersection(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                           LuMutableTagCollectionRef* tagCollectionOut)
{
    return combine(tagCollection1, kTakeShared, tagCollection2, 0, tagCollectionOut);
}

OSStatus LuTagCollectionCreateUnion(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                    LuMutableTagCollectionRef* tagCollectionOut)
{
    return combine(tagCollection1, kTakeShared | kTakeOwn, tagCollection2, kTakeShared | kTakeOwn, tagCollectionOut);
}

OSStatus LuTagCollectionCreateDifference(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                         LuMutableTagCollectionRef* tagCollectionOut)
{
    return combine(tagCollection1, kTakeOwn, tagCollection2, 0, tagCollectionOut);
}

OSStatus LuTagCollectionCreateExclusiveOr(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                          LuMutableTagCollectionRef* tagCollectionOut)
{
    return combine(tagCollection1, kTakeOwn, tagCollection2, kTakeOwn, tagCollectionOut);
}

OSStatus LuTagCollectionCopyTagsOfCategories(ZoAllocatorRef allocator, LuTagCollectionRef tagCollection,
                                             const LuTagCategory* categories, ZoIndex categoriesCount,
                                             LuMutableTagCollectionRef* collectionWithTagsOfCategories)
{
    if (collectionWithTagsOfCategories) *collectionWithTagsOfCategories = nullptr;
    TAV_TRY(tagCollectionCheck(tagCollection));
    if (!categories || categoriesCount < 1)
        return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "categories is NULL or categoriesCount is invalid");
    if (!collectionWithTagsOfCategories)
        return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "collectionWithTagsOfCategories is NULL");
    const std::span wanted(categories, static_cast<size_t>(categoriesCount));
    ZoRef<LuMutableTagCollectionRef> result;
    TAV_TRY(LuTagCollectionCreateMutable(allocator, 0, result.outParam()));
    for (const LuTag& tag : tagsOf(tagCollection))
        if (std::find(wanted.begin(), wanted.end(), tag.category) != wanted.end())
            TAV_TRY(LuTagCollectionAddTag(result.get(), tag));
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
