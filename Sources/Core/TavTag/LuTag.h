// A small typed value with a category, to label media: an eye, a projection, a packing, a media type.
// Sixteen bytes, passed by value, nothing to release; pure functions.

#pragma once

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef uint32_t LuTagCategory;
typedef uint32_t LuTagDataType;

enum {
    kLuTagDataType_Invalid = 0,  ///< the tag holds nothing
    kLuTagDataType_SInt64 = 2,
    kLuTagDataType_Float64 = 3,  ///< the bit pattern of a double
    kLuTagDataType_OSType = 5,   ///< in the low 32 bits
    kLuTagDataType_Flags = 7,
};

typedef struct LuTag {
    LuTagCategory category;
    LuTagDataType dataType;  ///< bit 30 is no part of the type: it is left out wherever two tags meet
    uint64_t value;
} LuTag;

enum { kLuTagError_AllocationFailed = -15731 };

extern const LuTag kLuTagInvalid;  ///< all fields 0
extern const LuTag kLuTagMediaTypeVideo;
extern const LuTag kLuTagMediaTypeAudio;
extern const LuTag kLuTagMediaTypeMetadata;
extern const LuTag kLuTagMediaSubTypeMebx;
extern const LuTag kLuTagProjectionTypeRectangular;
extern const LuTag kLuTagProjectionTypeEquirectangular;
extern const LuTag kLuTagProjectionTypeFisheye;
extern const LuTag kLuTagPackingTypeNone;
extern const LuTag kLuTagPackingTypeSideBySide;
extern const LuTag kLuTagPackingTypeOverUnder;
extern const LuTag kLuTagStereoNone;
extern const LuTag kLuTagStereoLeftEye;
extern const LuTag kLuTagStereoRightEye;
extern const LuTag kLuTagStereoLeftAndRightEye;
extern const LuTag kLuTagStereoInterpretationOrderReversed;

/// Keys of a tag's dictionary. The key of the data type spells "flags".
extern const ZoStringRef kLuTagCategoryKey;
extern const ZoStringRef kLuTagDataTypeKey;
extern const ZoStringRef kLuTagValueKey;

/// The five below ask for the type of the tag's value.
Boolean LuTagHasSInt64Value(LuTag tag);
Boolean LuTagHasFloat64Value(LuTag tag);
Boolean LuTagHasOSTypeValue(LuTag tag);
Boolean LuTagHasFlagsValue(LuTag tag);
LuTagDataType LuTagGetValueDataType(LuTag tag);

/// The value read as that type, whatever the tag's own type is.
int64_t LuTagGetSInt64Value(LuTag tag);
double LuTagGetFloat64Value(LuTag tag);
OSType LuTagGetOSTypeValue(LuTag tag);
uint64_t LuTagGetFlagsValue(LuTag tag);

/// A tag of the category with a value of that type, as the three below.
LuTag LuTagMakeWithSInt64Value(LuTagCategory category, int64_t value);
LuTag LuTagMakeWithFloat64Value(LuTagCategory category, double value);
LuTag LuTagMakeWithOSTypeValue(LuTagCategory category, OSType value);
LuTag LuTagMakeWithFlagsValue(LuTagCategory category, uint64_t value);

/// Equal tags have equal hashes.
ZoHashCode LuTagHash(LuTag tag);
/// Category, type and bits of the value are the same.
Boolean LuTagEqualToTag(LuTag tag1, LuTag tag2);
/// -1, 0 or 1: by category, then type, each as the sign of a 32-bit difference, then value: floats as floats (a NaN is
/// level with everything), all else as unsigned 64-bit numbers, so that negative integers come after positive ones.
ZoComparisonResult LuTagCompare(LuTag tag1, LuTag tag2);

/// Text for people, which the caller releases.
ZoStringRef LuTagCopyDescription(ZoAllocatorRef allocator, LuTag tag);
/// Category and type as signed 32-bit numbers, the value as a signed 64-bit one. Nothing after a signalled
/// kLuTagError_AllocationFailed. The caller releases it.
ZoDictionaryRef LuTagCopyAsDictionary(LuTag tag, ZoAllocatorRef allocator);
/// kLuTagInvalid if the argument is absent or no dictionary, or one of the three keys is missing.
LuTag LuTagMakeFromDictionary(ZoDictionaryRef dict);

ZO_EXTERN_C_END
