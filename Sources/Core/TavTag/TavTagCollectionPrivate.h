// What the sources of the tag collection share. For them only. Helpers take the name of the public operation that was
// asked, for what they signal.

#pragma once

#define TAV_SUBSYSTEM "<<<< TavTagCollection >>>>"

#include <span>

#include "Core/TavTag/TavTag.h"
#include "Core/TavTag/TavTagCollection.h"
#include "Foundation/Objects/ZoAllocatorSourcePrivate.h"
#include "Foundation/Objects/ZoObject.h"
#include "Platform/Common/TavSignal.h"

constexpr ZoIndex kTagCollectionInlineCapacity = 16;

enum : uint32_t { kTagCollectionIsMutable = 1, kTagCollectionIsInline = 2 };

struct LuTagCollection_ {
    ZoRuntimeBase base;
    uint8_t signature[4];  // "sgat"
    uint32_t flags;
    uint64_t reserved;
    ZoIndex count;     // tags, in strictly ascending order under LuTagCompare
    ZoIndex capacity;  // of `tags`
    LuTag* tags;       // `inlineTags`, or a block of its own
    LuTag inlineTags[kTagCollectionInlineCapacity];
};

bool tagCollectionIsOne(ZoTypeRef object);

/// kLuTagCollectionError_ParamErr unless `tagCollection` is a collection, and a mutable one.
inline OSStatus tagCollectionCheck(const char* operation, LuTagCollectionRef tagCollection)
{
    if (tagCollectionIsOne(tagCollection)) return 0;
    return TAV_SIGNAL_FROM(operation, kLuTagCollectionError_ParamErr, "tagCollection is NULL or not a LuTagCollection");
}
inline OSStatus tagCollectionCheckMutable(const char* operation, LuTagCollectionRef tagCollection)
{
    TAV_TRY(tagCollectionCheck(operation, tagCollection));
    if (tagCollection->flags & kTagCollectionIsMutable) return 0;
    return TAV_SIGNAL_FROM(operation, kLuTagCollectionError_ParamErr, "tagCollection is not mutable");
}

/// The new mutable collections that operations fill and give out.
OSStatus tagCollectionCreateMutable(const char* operation, ZoAllocatorRef allocator, LuMutableTagCollectionRef* out);
OSStatus tagCollectionCopyMutable(const char* operation, ZoAllocatorRef allocator, LuTagCollectionRef source,
                                  LuMutableTagCollectionRef* out);

/// Makes room for `capacity` tags, of which there must be more than stand inline. The tags stay if there is no memory.
OSStatus tagCollectionSetCapacity(const char* operation, LuTagCollection_* collection, ZoIndex capacity);
OSStatus tagCollectionInsert(const char* operation, LuTagCollection_* collection, LuTag tag);

/// Up to this many tags are looked for, and put in, one by one.
constexpr ZoIndex kFewTags = 64;

/// Adds the tags as insertions one by one would, in a time that does not grow with the square of their number.
OSStatus tagCollectionInsertMany(const char* operation, LuTagCollection_* collection, const LuTag* tags,
                                 ZoIndex tagCount);

/// Tags on their way into a collection: few go in at once, many when all of them have come.
class TagInserter {
public:
    TagInserter(const char* operation, LuTagCollection_* collection, ZoIndex atMost)
        : operation_(operation),
          collection_(collection),
          areFew_(atMost <= kFewTags),
          pending_(ZoAllocatorSource{ZoGetAllocator(collection)})
    {}
    OSStatus add(LuTag tag)
    {
        if (areFew_) return tagCollectionInsert(operation_, collection_, tag);
        if (pending_.append(tag)) return 0;
        return TAV_SIGNAL_FROM(operation_, kLuTagCollectionError_AllocationFailed, "couldn't allocate tags");
    }
    OSStatus finish()
    {
        return tagCollectionInsertMany(operation_, collection_, pending_.data(), static_cast<ZoIndex>(pending_.size()));
    }

private:
    const char* operation_;
    LuTagCollection_* collection_;
    bool areFew_;
    memory::ReportingArray<LuTag, ZoAllocatorSource> pending_;
};

/// Answers which tags are among the given ones, under LuTagEqualToTag. Many questions about many tags get a sorted copy
/// if there is memory for it.
class TagLookUp {
public:
    TagLookUp(std::span<const LuTag> tags, size_t questions);
    bool contains(LuTag tag) const;

private:
    std::span<const LuTag> tags_;
    memory::ReportingArray<LuTag> sorted_;
};
