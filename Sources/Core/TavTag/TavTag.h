// The tags under their internal names, with the constants and the byte hash that the framework keeps to itself.

#pragma once

#include "Core/TavTag/LuTag.h"
#include "Platform/Common/TavAlias.h"

ZO_EXTERN_C_BEGIN

TAV_DECLARE_ALIAS(kTavTagInvalid, kLuTagInvalid);
TAV_DECLARE_ALIAS(kTavTagMediaTypeVideo, kLuTagMediaTypeVideo);
TAV_DECLARE_ALIAS(kTavTagMediaTypeAudio, kLuTagMediaTypeAudio);
TAV_DECLARE_ALIAS(kTavTagMediaTypeMetadata, kLuTagMediaTypeMetadata);
TAV_DECLARE_ALIAS(kTavTagMediaSubTypeMebx, kLuTagMediaSubTypeMebx);
TAV_DECLARE_ALIAS(kTavTagProjectionTypeRectangular, kLuTagProjectionTypeRectangular);
TAV_DECLARE_ALIAS(kTavTagProjectionTypeEquirectangular, kLuTagProjectionTypeEquirectangular);
TAV_DECLARE_ALIAS(kTavTagProjectionTypeFisheye, kLuTagProjectionTypeFisheye);
TAV_DECLARE_ALIAS(kTavTagPackingTypeNone, kLuTagPackingTypeNone);
TAV_DECLARE_ALIAS(kTavTagPackingTypeSideBySide, kLuTagPackingTypeSideBySide);
TAV_DECLARE_ALIAS(kTavTagPackingTypeOverUnder, kLuTagPackingTypeOverUnder);
TAV_DECLARE_ALIAS(kTavTagStereoNone, kLuTagStereoNone);
TAV_DECLARE_ALIAS(kTavTagStereoLeftEye, kLuTagStereoLeftEye);
TAV_DECLARE_ALIAS(kTavTagStereoRightEye, kLuTagStereoRightEye);
TAV_DECLARE_ALIAS(kTavTagStereoLeftAndRightEye, kLuTagStereoLeftAndRightEye);
TAV_DECLARE_ALIAS(kTavTagStereoInterpretationOrderReversed, kLuTagStereoInterpretationOrderReversed);
extern const LuTag kTavTagProjectionTypeHalfEquirectangular;
extern const LuTag kTavTagResourceTypeCameraConfigurations;
extern const LuTag kTavTagResourceTypeVenueDescription;

TAV_DECLARE_ALIAS(kTavTagCategoryKey, kLuTagCategoryKey);
TAV_DECLARE_ALIAS(kTavTagFlagsKey, kLuTagDataTypeKey);
TAV_DECLARE_ALIAS(kTavTagValueKey, kLuTagValueKey);

TAV_DECLARE_ALIAS(TavTagHasSInt64Value, LuTagHasSInt64Value);
TAV_DECLARE_ALIAS(TavTagHasFloat64Value, LuTagHasFloat64Value);
TAV_DECLARE_ALIAS(TavTagHasOSTypeValue, LuTagHasOSTypeValue);
TAV_DECLARE_ALIAS(TavTagHasFlagsValue, LuTagHasFlagsValue);
TAV_DECLARE_ALIAS(TavTagGetValueDataType, LuTagGetValueDataType);
TAV_DECLARE_ALIAS(TavTagGetSInt64Value, LuTagGetSInt64Value);
TAV_DECLARE_ALIAS(TavTagGetFloat64Value, LuTagGetFloat64Value);
TAV_DECLARE_ALIAS(TavTagGetOSTypeValue, LuTagGetOSTypeValue);
TAV_DECLARE_ALIAS(TavTagGetFlagsValue, LuTagGetFlagsValue);
TAV_DECLARE_ALIAS(TavTagMakeWithSInt64Value, LuTagMakeWithSInt64Value);
TAV_DECLARE_ALIAS(TavTagMakeWithFloat64Value, LuTagMakeWithFloat64Value);
TAV_DECLARE_ALIAS(TavTagMakeWithOSTypeValue, LuTagMakeWithOSTypeValue);
TAV_DECLARE_ALIAS(TavTagMakeWithFlagsValue, LuTagMakeWithFlagsValue);
TAV_DECLARE_ALIAS(TavTagHash, LuTagHash);
TAV_DECLARE_ALIAS(TavTagEqualToTag, LuTagEqualToTag);
TAV_DECLARE_ALIAS(TavTagCompare, LuTagCompare);
TAV_DECLARE_ALIAS(TavTagCopyDescription, LuTagCopyDescription);
TAV_DECLARE_ALIAS(TavTagCopyAsDictionary, LuTagCopyAsDictionary);
TAV_DECLARE_ALIAS(TavTagMakeFromDictionary, LuTagMakeFromDictionary);

/// The ELF hash of the System V ABI, 32 bits wide, that hashes of tags and of their collections are mixed from.
uint64_t TavTagHashBytes(const void* bytes, size_t length);

/// What LuTagCopyDescription makes a string of, in Roman text with a NUL; the length without it.
enum { kTavTagDescriptionSize = 448 };
size_t TavTagDescribe(LuTag tag, char text[kTavTagDescriptionSize]);

ZO_EXTERN_C_END
