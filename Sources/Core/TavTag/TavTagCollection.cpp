// The object, its storage, and everything that adds or removes a tag.

#include <dispatch/dispatch.h>

#include <algorithm>
#include <cstring>

#include "Core/TavTag/TavTagCollectionPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"

static TavTraceNote gTavTagCollectionTypesTrace;

// MARK: the class

static LuTagCollection_* asMutable(ZoTypeRef object)
{
    return static_cast<LuTagCollection_*>(const_cast<void*>(object));
}

static void LuTagCollectionInit(ZoTypeRef object)
{
    LuTagCollection_* collection = asMutable(object);
    std::memcpy(collection->signature, "sgat", sizeof(collection->signature));
    collection->flags = kTagCollectionIsInline;
    collection->reserved = 0;
    collection->count = 0;
    collection->capacity = kTagCollectionInlineCapacity;
    collection->tags = collection->inlineTags;
}

static void tagCollectionFreeBlock(LuTagCollection_* collection)
{
    if (!(collection->flags & kTagCollectionIsInline))
        ZoAllocatorDeallocate(ZoGetAllocator(collection), collection->tags);
}

static void LuTagCollectionFinalize(ZoTypeRef object)
{
    if (tavTraceIsOn(&gTavTagCollectionTypesTrace))
        tav_log_emit(gTavTagCollectionTypesTrace.emitter, 1, 1, 0, 0, "<<<< TavTagCollection >>>> %s: Called %@",
                     __func__, object);
    tagCollectionFreeBlock(asMutable(object));
}

static Boolean LuTagCollectionEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    if (object1 == object2) return true;
    if (!object1 || !object2) return false;
    if (!tagCollectionIsOne(object1)) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "tagCollection1 is NULL or not a LuTagCollection");
        return false;
    }
    if (!tagCollectionIsOne(object2)) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "tagCollection2 is NULL or not a LuTagCollection");
        return false;
    }
    const auto* a = static_cast<LuTagCollectionRef>(object1);
    const auto* b = static_cast<LuTagCollectionRef>(object2);
    return a->count == b->count && std::memcmp(a->tags, b->tags, static_cast<size_t>(a->count) * sizeof(LuTag)) == 0;
}

static ZoHashCode LuTagCollectionHash(ZoTypeRef object)
{
    const auto* collection = static_cast<LuTagCollectionRef>(object);
    uint64_t hash = TavTagHashBytes(collection->signature, sizeof(collection->signature));
    const auto mix = [&hash](uint64_t value) { hash ^= (hash << 6) + 0x9E3779B9 + (hash >> 2) + value; };
    mix(TavTagHashBytes(&collection->flags, sizeof(collection->flags)));
    mix(TavTagHashBytes(&collection->reserved, sizeof(collection->reserved)));
    for (ZoIndex i = 0; i < collection->count; ++i) mix(LuTagHash(collection->tags[i]));
    return hash;
}

static ZoStringRef LuTagCollectionCopyDebugDesc(ZoTypeRef object)
{
    return LuTagCollectionCopyDescription(ZoGetAllocator(object), static_cast<LuTagCollectionRef>(object));
}

static ZoStringRef LuTagCollectionCopyFormattingDesc(ZoTypeRef object, ZoDictionaryRef)
{
    return LuTagCollectionCopyDebugDesc(object);
}

static const ZoRuntimeClass sTagCollectionClass = {.version = 0,
                                                   .className = "LuTagCollection",
                                                   .init = LuTagCollectionInit,
                                                   .copy = nullptr,
                                                   .finalize = LuTagCollectionFinalize,
                                                   .equal = LuTagCollectionEqual,
                                                   .hash = LuTagCollectionHash,
                                                   .copyFormattingDesc = LuTagCollectionCopyFormattingDesc,
                                                   .copyDebugDesc = LuTagCollectionCopyDebugDesc,
                                                   .unused = {}};

ZoTypeID LuTagCollectionGetTypeID(void)
{
    static ZoTypeID sTypeID;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, &sTypeID, [](void* typeID) {
        tavTraceNoteRegister(&gTavTagCollectionTypesTrace, "tavtagcollection_trace", 0);
        *static_cast<ZoTypeID*>(typeID) = _ZoRuntimeRegisterClass(&sTagCollectionClass);
    });
    return sTypeID;
}

bool tagCollectionIsOne(ZoTypeRef object) { return object && ZoGetTypeID(object) == LuTagCollectionGetTypeID(); }

// MARK: storage

static bool tagCollectionSizeOf(ZoIndex capacity, ZoIndex* sizeOut)
{
    return !__builtin_mul_overflow(capacity, static_cast<ZoIndex>(sizeof(LuTag)), sizeOut);
}

OSStatus tagCollectionSetCapacity(const char* operation, LuTagCollection_* collection, ZoIndex capacity)
{
    const ZoAllocatorRef allocator = ZoGetAllocator(collection);
    ZoIndex size = 0;
    void* block = nullptr;
    if (tagCollectionSizeOf(capacity, &size)) {
        block = collection->flags & kTagCollectionIsInline
                    ? ZoAllocatorAllocate(allocator, size, 0)
                    : ZoAllocatorReallocate(allocator, collection->tags, size, 0);
    }
    if (!block) return TAV_SIGNAL_FROM(operation, kLuTagCollectionError_AllocationFailed, "couldn't allocate tags");
    if (collection->flags & kTagCollectionIsInline) {
        std::copy_n(collection->inlineTags, collection->count, static_cast<LuTag*>(block));
        collection->flags &= ~kTagCollectionIsInline;
    }
    collection->tags = static_cast<LuTag*>(block);
    collection->capacity = capacity;
    return 0;
}

OSStatus tagCollectionInsert(const char* operation, LuTagCollection_* collection, LuTag tag)
{
    if (collection->count == collection->capacity)
        TAV_TRY(tagCollectionSetCapacity(operation, collection, collection->count + 1));
    LuTag* const end = collection->tags + collection->count;
    LuTag* place = collection->tags;
    for (; place != end; ++place) {
        const ZoComparisonResult order = LuTagCompare(tag, *place);
        if (order == 0) return 0;
        if (order < 0) break;
    }
    std::copy_backward(place, end, end + 1);
    *place = tag;
    collection->count += 1;
    return 0;
}

// MARK: creation

enum CreateMode : uint32_t { kCreateMutable = 1, kCreateCopy = 2 };

static OSStatus tagCollectionCheckArguments(const char* operation, uint32_t mode, const LuTag* tags, ZoIndex tagCount,
                                            ZoIndex capacity, LuTagCollectionRef source)
{
    const char* complaint = nullptr;
    switch (mode) {
        case kCreateMutable:
            if (tags || tagCount != 0)
                complaint = "in mutable creation tags must be NULL and tagCount must be non-zero";
            else if (capacity < 0)
                complaint = "capacity must be non-negative";
            break;
        case 0:
            if ((!tags && tagCount != 0) || tagCount < 0) complaint = "tagCount must be 0 unless tags are specified";
            break;
        case kCreateCopy:
            if (!source) complaint = "tagCollectionToCopy NULL (! createMutableCollection && createCopy)";
            break;
        default:
            if (!source) complaint = "tagCollectionToCopy NULL (createMutableCollection && createCopy)";
    }
    return complaint ? TAV_SIGNAL_FROM(operation, kLuTagCollectionError_ParamErr, complaint) : 0;
}

static OSStatus _LuTagCollectionCreateCommon(const char* operation, uint32_t mode, ZoAllocatorRef allocator,
                                             const LuTag* tags, ZoIndex tagCount, ZoIndex capacity,
                                             LuTagCollectionRef source, LuMutableTagCollectionRef* newCollectionOut)
{
    if (!newCollectionOut) return TAV_SIGNAL_FROM(operation, kLuTagCollectionError_ParamErr, "NULL newCollectionOut");
    *newCollectionOut = nullptr;
    TAV_TRY(tagCollectionCheckArguments(operation, mode, tags, tagCount, capacity, source));

    constexpr ZoIndex kExtraBytes = sizeof(LuTagCollection_) - sizeof(ZoRuntimeBase);
    auto collection =
        zoAdopt(asMutable(_ZoRuntimeCreateInstance(allocator, LuTagCollectionGetTypeID(), kExtraBytes, nullptr)));
    if (!collection)
        return TAV_SIGNAL_FROM(operation, kLuTagCollectionError_AllocationFailed,
                               "couldn't allocate LuTagCollection object");

    const ZoIndex wanted = mode & kCreateCopy ? source->capacity : mode & kCreateMutable ? capacity : tagCount;
    if (wanted > kTagCollectionInlineCapacity) TAV_TRY(tagCollectionSetCapacity(operation, collection.get(), wanted));
    if (mode & kCreateCopy) {
        std::copy_n(source->tags, source->count, collection.get()->tags);
        collection.get()->count = source->count;
    }
    TAV_TRY(tagCollectionInsertMany(operation, collection.get(), tags, tagCount));
    if (mode & kCreateMutable) collection.get()->flags |= kTagCollectionIsMutable;
    *newCollectionOut = collection.release();
    return 0;
}

OSStatus tagCollectionCreateMutable(const char* operation, ZoAllocatorRef allocator, LuMutableTagCollectionRef* out)
{
    return _LuTagCollectionCreateCommon(operation, kCreateMutable, allocator, nullptr, 0, 0, nullptr, out);
}

OSStatus tagCollectionCopyMutable(const char* operation, ZoAllocatorRef allocator, LuTagCollectionRef source,
                                  LuMutableTagCollectionRef* out)
{
    if (source) TAV_TRY(tagCollectionCheck(operation, source));
    return _LuTagCollectionCreateCommon(operation, kCreateMutable | kCreateCopy, allocator, nullptr, 0, 0, source, out);
}

OSStatus LuTagCollectionCreate(ZoAllocatorRef allocator, const LuTag* tags, ZoIndex tagCount,
                               LuTagCollectionRef* newCollectionOut)
{
    return _LuTagCollectionCreateCommon(__func__, 0, allocator, tags, tagCount, 0, nullptr,
                                        const_cast<LuMutableTagCollectionRef*>(newCollectionOut));
}

OSStatus LuTagCollectionCreateMutable(ZoAllocatorRef allocator, ZoIndex capacity,
                                      LuMutableTagCollectionRef* newMutableCollectionOut)
{
    return _LuTagCollectionCreateCommon(__func__, kCreateMutable, allocator, nullptr, 0, capacity, nullptr,
                                        newMutableCollectionOut);
}

OSStatus LuTagCollectionCreateCopy(LuTagCollectionRef tagCollection, ZoAllocatorRef allocator,
                                   LuTagCollectionRef* newCollectionCopyOut)
{
    if (tagCollection) TAV_TRY(tagCollectionCheck(__func__, tagCollection));
    return _LuTagCollectionCreateCommon(__func__, kCreateCopy, allocator, nullptr, 0, 0, tagCollection,
                                        const_cast<LuMutableTagCollectionRef*>(newCollectionCopyOut));
}

OSStatus LuTagCollectionCreateMutableCopy(LuTagCollectionRef tagCollection, ZoAllocatorRef allocator,
                                          LuMutableTagCollectionRef* newMutableCollectionCopyOut)
{
    return tagCollectionCopyMutable(__func__, allocator, tagCollection, newMutableCollectionCopyOut);
}

// MARK: changing

OSStatus LuTagCollectionAddTag(LuMutableTagCollectionRef tagCollection, LuTag tagToAdd)
{
    TAV_TRY(tagCollectionCheckMutable(__func__, tagCollection));
    return tagCollectionInsert(__func__, tagCollection, tagToAdd);
}

OSStatus LuTagCollectionAddTagsFromArray(LuMutableTagCollectionRef tagCollection, const LuTag* tags, ZoIndex tagCount)
{
    TAV_TRY(tagCollectionCheckMutable(__func__, tagCollection));
    if (!tags) return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "tags array is NULL");
    return tagCollectionInsertMany(__func__, tagCollection, tags, tagCount);
}

// Without a filter all tags are added.
static OSStatus addTags(const char* operation, LuMutableTagCollectionRef tagCollection, LuTagCollectionRef source,
                        LuTagCollectionTagFilterFunction filter, void* context)
{
    if (source == tagCollection) return 0;  // every tag is there already
    TagInserter inserter(operation, tagCollection, source->count);
    for (ZoIndex i = 0; i < source->count; ++i) {
        const LuTag tag = source->tags[i];
        if (!filter || filter(tag, context)) TAV_TRY(inserter.add(tag));
    }
    return inserter.finish();
}

OSStatus TavTagCollectionAddTagsFromCollectionWithFilterFunction(LuMutableTagCollectionRef tagCollection,
                                                                 LuTagCollectionRef collectionWithTagsToAdd,
                                                                 LuTagCollectionTagFilterFunction filter, void* context)
{
    TAV_TRY(tagCollectionCheckMutable(__func__, tagCollection));
    TAV_TRY(tagCollectionCheck(__func__, collectionWithTagsToAdd));
    if (!filter) return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "Received NULL filter");
    return addTags(__func__, tagCollection, collectionWithTagsToAdd, filter, context);
}

OSStatus TavTagCollectionAddTagsFromCollection(LuMutableTagCollectionRef tagCollection,
                                               LuTagCollectionRef collectionWithTagsToAdd)
{
    TAV_TRY(tagCollectionCheckMutable(__func__, tagCollection));
    TAV_TRY(tagCollectionCheck(__func__, collectionWithTagsToAdd));
    return addTags(__func__, tagCollection, collectionWithTagsToAdd, nullptr, nullptr);
}

OSStatus TavTagCollectionRemoveTag(LuMutableTagCollectionRef tagCollection, LuTag tagToRemove)
{
    TAV_TRY(tagCollectionCheckMutable(__func__, tagCollection));
    LuTag* const end = tagCollection->tags + tagCollection->count;
    for (LuTag* place = tagCollection->tags; place != end; ++place) {
        const ZoComparisonResult order = LuTagCompare(*place, tagToRemove);
        if (order > 0) break;
        if (order < 0) continue;
        std::copy(place + 1, end, place);
        end[-1] = kLuTagInvalid;
        tagCollection->count -= 1;
        return 0;
    }
    return kLuTagCollectionError_TagNotFound;
}

OSStatus TavTagCollectionRemoveAllTags(LuMutableTagCollectionRef tagCollection)
{
    TAV_TRY(tagCollectionCheckMutable(__func__, tagCollection));
    if (!(tagCollection->flags & kTagCollectionIsInline)) {
        std::copy_n(tagCollection->tags, std::min(tagCollection->count, kTagCollectionInlineCapacity),
                    tagCollection->inlineTags);
        tagCollectionFreeBlock(tagCollection);
        tagCollection->tags = tagCollection->inlineTags;
        tagCollection->capacity = kTagCollectionInlineCapacity;
        tagCollection->flags |= kTagCollectionIsInline;
    }
    tagCollection->count = 0;
    return 0;
}

OSStatus LuTagCollectionRemoveAllTagsOfCategory(LuMutableTagCollectionRef tagCollection, LuTagCategory category)
{
    TAV_TRY(tagCollectionCheckMutable(__func__, tagCollection));
    LuTag* const end = tagCollection->tags + tagCollection->count;
    LuTag* const newEnd =
        std::remove_if(tagCollection->tags, end, [category](const LuTag& tag) { return tag.category == category; });
    tagCollection->count = newEnd - tagCollection->tags;
    return 0;
}

// MARK: the other names

TAV_DEFINE_ALIAS(TavTagCollectionGetTypeID, LuTagCollectionGetTypeID);
TAV_DEFINE_ALIAS(TavTagCollectionCreate, LuTagCollectionCreate);
TAV_DEFINE_ALIAS(TavTagCollectionCreateMutable, LuTagCollectionCreateMutable);
TAV_DEFINE_ALIAS(TavTagCollectionCreateCopy, LuTagCollectionCreateCopy);
TAV_DEFINE_ALIAS(TavTagCollectionCreateMutableCopy, LuTagCollectionCreateMutableCopy);
TAV_DEFINE_ALIAS(TavTagCollectionAddTag, LuTagCollectionAddTag);
TAV_DEFINE_ALIAS(TavTagCollectionAddTagsFromArray, LuTagCollectionAddTagsFromArray);
TAV_DEFINE_ALIAS(TavTagCollectionRemoveAllTagsOfCategory, LuTagCollectionRemoveAllTagsOfCategory);
TAV_DEFINE_ALIAS(LuTagCollectionRemoveTag, TavTagCollectionRemoveTag);
TAV_DEFINE_ALIAS(LuTagCollectionRemoveAllTags, TavTagCollectionRemoveAllTags);
TAV_DEFINE_ALIAS(LuTagCollectionAddTagsFromCollection, TavTagCollectionAddTagsFromCollection);
TAV_DEFINE_ALIAS(LuTagCollectionAddTagsFromCollectionWithFilterFunction,
                 TavTagCollectionAddTagsFromCollectionWithFilterFunction);
