// Sets of tags, sorted by LuTagCompare: the labels of a buffer within a group of tagged buffers.
// Up to sixteen tags stand in the object itself. No lock: an immutable collection may be read by any number of threads,
// a mutable one belongs to one thread at a time.
//
// A collection that is absent or of another type is everywhere kLuTagCollectionError_ParamErr, signalled; what returns
// no status then gives 0, false or nothing. Changing an immutable collection is the same error.
//
// LuTagCompare is an order as long as the categories of a collection, and the data types within a category, span less
// than half of the 32-bit numbers, and no float is a NaN. Of a NaN and other floats of its category the first one to
// come stays. Of categories that span more, AddTag and RemoveTag heed the first tag that compares greater, and up to 64
// tags at once are added as by AddTag; more at once are put, with those that are there, into one order that all such
// collections have. No number of tags is refused: many at once take n log n steps, a single one a walk over the others.

#pragma once

#include "Core/TavTag/LuTag.h"

ZO_EXTERN_C_BEGIN

typedef const struct LuTagCollection_* LuTagCollectionRef;
typedef struct LuTagCollection_* LuMutableTagCollectionRef;

enum {
    kLuTagCollectionError_ParamErr = -15740,
    kLuTagCollectionError_AllocationFailed = -15741,
    kLuTagCollectionError_InternalError = -15742,
    kLuTagCollectionError_InvalidTagCollectionDictionary = -15744,
    kLuTagCollectionError_InvalidTagCollectionData = -15745,
    kLuTagCollectionError_TagNotFound = -15746,  ///< never signalled
    kLuTagCollectionError_InvalidTagCollectionDataVersion = -15747,
    kLuTagCollectionError_ExhaustedBufferSize = -15748,  ///< never signalled
};

/// Of the dictionary form: an array of the tags' dictionaries.
extern const ZoStringRef kLuTagCollectionTagsArrayKey;

typedef void (*LuTagCollectionApplierFunction)(LuTag tag, void* context);
typedef Boolean (*LuTagCollectionTagFilterFunction)(LuTag tag, void* context);

ZoTypeID LuTagCollectionGetTypeID(void);

// Creation. The caller releases what comes out.
//
// kLuTagCollectionError_ParamErr          the out-parameter or a source absent, a negative count or capacity
// kLuTagCollectionError_AllocationFailed  no memory for the object or its tags

/// Sorted in, duplicates dropped. `tags` may be absent with a count of 0.
OSStatus LuTagCollectionCreate(ZoAllocatorRef allocator, const LuTag* tags, ZoIndex tagCount,
                               LuTagCollectionRef* newCollectionOut);
/// Empty; `capacity` is a hint.
OSStatus LuTagCollectionCreateMutable(ZoAllocatorRef allocator, ZoIndex capacity,
                                      LuMutableTagCollectionRef* newMutableCollectionOut);
OSStatus LuTagCollectionCreateCopy(LuTagCollectionRef tagCollection, ZoAllocatorRef allocator,
                                   LuTagCollectionRef* newCollectionCopyOut);
OSStatus LuTagCollectionCreateMutableCopy(LuTagCollectionRef tagCollection, ZoAllocatorRef allocator,
                                          LuMutableTagCollectionRef* newMutableCollectionCopyOut);

// Asking.

ZoIndex LuTagCollectionGetCount(LuTagCollectionRef tagCollection);
/// True also for what is no collection.
Boolean LuTagCollectionIsEmpty(LuTagCollectionRef tagCollection);
Boolean LuTagCollectionContainsTag(LuTagCollectionRef tagCollection, LuTag tag);
ZoIndex LuTagCollectionGetCountOfCategory(LuTagCollectionRef tagCollection, LuTagCategory category);
void LuTagCollectionApply(LuTagCollectionRef tagCollection, LuTagCollectionApplierFunction applier, void* context);
/// The first tag for which `applier` is true, or kLuTagInvalid.
LuTag LuTagCollectionApplyUntil(LuTagCollectionRef tagCollection, LuTagCollectionTagFilterFunction applier,
                                void* context);

/// The three below store tags in order, tell how many (`numberOfTagsCopied` may be absent), and fill the rest of the
/// buffer with kLuTagInvalid. kLuTagCollectionError_ExhaustedBufferSize if there were more; the buffer is then full.
OSStatus LuTagCollectionGetTags(LuTagCollectionRef tagCollection, LuTag* tagBuffer, ZoIndex tagBufferCount,
                                ZoIndex* numberOfTagsCopied);
OSStatus LuTagCollectionGetTagsWithCategory(LuTagCollectionRef tagCollection, LuTagCategory category, LuTag* tagBuffer,
                                            ZoIndex tagBufferCount, ZoIndex* numberOfTagsCopied);
OSStatus LuTagCollectionGetTagsWithFilterFunction(LuTagCollectionRef tagCollection, LuTag* tagBuffer,
                                                  ZoIndex tagBufferCount, ZoIndex* numberOfTagsCopied,
                                                  LuTagCollectionTagFilterFunction filter, void* context);

// Sets from sets: new mutable collections in the first one's allocator.

OSStatus LuTagCollectionCreateIntersection(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                           LuMutableTagCollectionRef* tagCollectionOut);
OSStatus LuTagCollectionCreateUnion(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                    LuMutableTagCollectionRef* tagCollectionOut);
/// What is in the first and not in the second.
OSStatus LuTagCollectionCreateDifference(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                         LuMutableTagCollectionRef* tagCollectionOut);
OSStatus LuTagCollectionCreateExclusiveOr(LuTagCollectionRef tagCollection1, LuTagCollectionRef tagCollection2,
                                          LuMutableTagCollectionRef* tagCollectionOut);
OSStatus LuTagCollectionCopyTagsOfCategories(ZoAllocatorRef allocator, LuTagCollectionRef tagCollection,
                                             const LuTagCategory* categories, ZoIndex categoriesCount,
                                             LuMutableTagCollectionRef* collectionWithTagsOfCategories);

// Changing.

/// Adding what compares equal to a tag that is there succeeds and changes nothing. Without memory
/// kLuTagCollectionError_AllocationFailed, and a collection that is whole; of up to 64 tags some may be in it by then.
OSStatus LuTagCollectionAddTag(LuMutableTagCollectionRef tagCollection, LuTag tagToAdd);
OSStatus LuTagCollectionAddTagsFromArray(LuMutableTagCollectionRef tagCollection, const LuTag* tags, ZoIndex tagCount);
OSStatus LuTagCollectionRemoveAllTagsOfCategory(LuMutableTagCollectionRef tagCollection, LuTagCategory category);

// Other forms. The caller releases them; nothing after a signalled failure.

ZoStringRef LuTagCollectionCopyDescription(ZoAllocatorRef allocator, LuTagCollectionRef tagCollection);
ZoDictionaryRef LuTagCollectionCopyAsDictionary(LuTagCollectionRef tagCollection, ZoAllocatorRef allocator);
/// A mutable collection.
///
/// kLuTagCollectionError_InvalidTagCollectionDictionary   no array of tags
/// kLuTagCollectionError_ParamErr                         an element is no dictionary
/// kLuTagCollectionError_InternalError                    an element is no tag
OSStatus LuTagCollectionCreateFromDictionary(ZoDictionaryRef dict, ZoAllocatorRef allocator,
                                             LuTagCollectionRef* newCollectionOut);
/// Atoms: 'tgco' with 'tgin' (version and signatures) and 'tgli' (the tags).
ZoDataRef LuTagCollectionCopyAsData(LuTagCollectionRef tagCollection, ZoAllocatorRef allocator);
/// A mutable collection of the tags of every list that is found; order and duplicates in the data do not matter.
///
/// kLuTagCollectionError_ParamErr                          no data, or fewer than 8 bytes
/// kLuTagCollectionError_InvalidTagCollectionDataVersion   an atom of another version than 0
/// kLuTagCollectionError_InvalidTagCollectionData          a signature or a length is wrong
/// and what the atom stream finds
OSStatus LuTagCollectionCreateFromData(ZoDataRef data, ZoAllocatorRef allocator, LuTagCollectionRef* newCollectionOut);

ZO_EXTERN_C_END
