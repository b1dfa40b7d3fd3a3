// Tag collections under their internal names, with the operations that the framework keeps to itself.

#pragma once

#include "Core/TavTag/LuTagCollection.h"
#include "Platform/Common/TavAlias.h"

ZO_EXTERN_C_BEGIN

TAV_DECLARE_ALIAS(kTavTagCollectionTagsArrayKey, kLuTagCollectionTagsArrayKey);

TAV_DECLARE_ALIAS(TavTagCollectionGetTypeID, LuTagCollectionGetTypeID);
TAV_DECLARE_ALIAS(TavTagCollectionCreate, LuTagCollectionCreate);
TAV_DECLARE_ALIAS(TavTagCollectionCreateMutable, LuTagCollectionCreateMutable);
TAV_DECLARE_ALIAS(TavTagCollectionCreateCopy, LuTagCollectionCreateCopy);
TAV_DECLARE_ALIAS(TavTagCollectionCreateMutableCopy, LuTagCollectionCreateMutableCopy);
TAV_DECLARE_ALIAS(TavTagCollectionGetCount, LuTagCollectionGetCount);
TAV_DECLARE_ALIAS(TavTagCollectionIsEmpty, LuTagCollectionIsEmpty);
TAV_DECLARE_ALIAS(TavTagCollectionContainsTag, LuTagCollectionContainsTag);
TAV_DECLARE_ALIAS(TavTagCollectionGetCountOfCategory, LuTagCollectionGetCountOfCategory);
TAV_DECLARE_ALIAS(TavTagCollectionApply, LuTagCollectionApply);
TAV_DECLARE_ALIAS(TavTagCollectionApplyUntil, LuTagCollectionApplyUntil);
TAV_DECLARE_ALIAS(TavTagCollectionGetTags, LuTagCollectionGetTags);
TAV_DECLARE_ALIAS(TavTagCollectionGetTagsWithCategory, LuTagCollectionGetTagsWithCategory);
TAV_DECLARE_ALIAS(TavTagCollectionGetTagsWithFilterFunction, LuTagCollectionGetTagsWithFilterFunction);
TAV_DECLARE_ALIAS(TavTagCollectionCreateIntersection, LuTagCollectionCreateIntersection);
TAV_DECLARE_ALIAS(TavTagCollectionCreateUnion, LuTagCollectionCreateUnion);
TAV_DECLARE_ALIAS(TavTagCollectionCreateDifference, LuTagCollectionCreateDifference);
TAV_DECLARE_ALIAS(TavTagCollectionCreateExclusiveOr, LuTagCollectionCreateExclusiveOr);
TAV_DECLARE_ALIAS(TavTagCollectionCopyTagsOfCategories, LuTagCollectionCopyTagsOfCategories);
TAV_DECLARE_ALIAS(TavTagCollectionAddTag, LuTagCollectionAddTag);
TAV_DECLARE_ALIAS(TavTagCollectionAddTagsFromArray, LuTagCollectionAddTagsFromArray);
TAV_DECLARE_ALIAS(TavTagCollectionRemoveAllTagsOfCategory, LuTagCollectionRemoveAllTagsOfCategory);
TAV_DECLARE_ALIAS(TavTagCollectionCopyDescription, LuTagCollectionCopyDescription);
TAV_DECLARE_ALIAS(TavTagCollectionCopyAsDictionary, LuTagCollectionCopyAsDictionary);
TAV_DECLARE_ALIAS(TavTagCollectionCreateFromDictionary, LuTagCollectionCreateFromDictionary);
TAV_DECLARE_ALIAS(TavTagCollectionCopyAsData, LuTagCollectionCopyAsData);
TAV_DECLARE_ALIAS(TavTagCollectionCreateFromData, LuTagCollectionCreateFromData);

/// Each of the operations below exists under the public prefix too.

/// True when the second is empty, and, after a signal, when it is no collection.
Boolean TavTagCollectionContainsTagsOfCollection(LuTagCollectionRef tagCollection,
                                                 LuTagCollectionRef containedTagCollection);
Boolean TavTagCollectionContainsSpecifiedTags(LuTagCollectionRef tagCollection, const LuTag* containedTags,
                                              ZoIndex containedTagCount);
/// True for category 0, that of kLuTagInvalid, also in an empty collection.
Boolean TavTagCollectionContainsCategory(LuTagCollectionRef tagCollection, LuTagCategory category);
ZoIndex TavTagCollectionCountTagsWithFilterFunction(LuTagCollectionRef tagCollection,
                                                    LuTagCollectionTagFilterFunction filter, void* context);
/// kLuTagCollectionError_TagNotFound, not signalled, if it is not there.
OSStatus TavTagCollectionRemoveTag(LuMutableTagCollectionRef tagCollection, LuTag tagToRemove);
OSStatus TavTagCollectionRemoveAllTags(LuMutableTagCollectionRef tagCollection);
OSStatus TavTagCollectionAddTagsFromCollection(LuMutableTagCollectionRef tagCollection,
                                               LuTagCollectionRef collectionWithTagsToAdd);
OSStatus TavTagCollectionAddTagsFromCollectionWithFilterFunction(LuMutableTagCollectionRef tagCollection,
                                                                 LuTagCollectionRef collectionWithTagsToAdd,
                                                                 LuTagCollectionTagFilterFunction filter,
                                                                 void* context);

TAV_DECLARE_ALIAS(LuTagCollectionContainsTagsOfCollection, TavTagCollectionContainsTagsOfCollection);
TAV_DECLARE_ALIAS(LuTagCollectionContainsSpecifiedTags, TavTagCollectionContainsSpecifiedTags);
TAV_DECLARE_ALIAS(LuTagCollectionContainsCategory, TavTagCollectionContainsCategory);
TAV_DECLARE_ALIAS(LuTagCollectionCountTagsWithFilterFunction, TavTagCollectionCountTagsWithFilterFunction);
TAV_DECLARE_ALIAS(LuTagCollectionRemoveTag, TavTagCollectionRemoveTag);
TAV_DECLARE_ALIAS(LuTagCollectionRemoveAllTags, TavTagCollectionRemoveAllTags);
TAV_DECLARE_ALIAS(LuTagCollectionAddTagsFromCollection, TavTagCollectionAddTagsFromCollection);
TAV_DECLARE_ALIAS(LuTagCollectionAddTagsFromCollectionWithFilterFunction,
                  TavTagCollectionAddTagsFromCollectionWithFilterFunction);

ZO_EXTERN_C_END
