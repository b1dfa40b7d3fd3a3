// What the sources of the tag collection share. For them only.

#pragma once

#define TAV_SUBSYSTEM "<<<< TavTagCollection >>>>"

#include "Core/TavTag/TavTag.h"
#include "Core/TavTag/TavTagCollection.h"
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

/// Adds the tags, in a time that does not grow with the square of their number.
OSStatus tagCollectionInsertMany(LuTagCollection_* collection, const LuTag* tags, ZoIndex tagCount);

/// Signals and gives kLuTagCollectionError_ParamErr unless `tagCollection` is a collection, and a mutable one.
inline OSStatus tagCollectionCheck(LuTagCollectionRef tagCollection)
{
    if (tagCollectionIsOne(tagCollection)) return 0;
    return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "tagCollection is NULL or not a LuTagCollection");
}
inline OSStatus tagCollectionCheckMutable(LuTagCollectionRef tagCollection)
{
    TAV_TRY(tagCollectionCheck(tagCollection));
    if (tagCollection->flags & kTagCollectionIsMutable) return 0;
    return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "tagCollection is not mutable");
}
