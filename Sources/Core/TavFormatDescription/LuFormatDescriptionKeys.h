// The keys of format descriptions' extensions, and the text values that stand under some of them. What each key holds
// is said in LuFormatDescriptionKeys.inc, which lists them all with their texts. Two keys of equal text are one key.

#pragma once

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

#define LU_FORMAT_STRING(name, text)                         extern const ZoStringRef name;
#define LU_TAV_FORMAT_STRING(publicName, internalName, text) extern const ZoStringRef publicName;
#include "Core/TavFormatDescription/LuFormatDescriptionKeys.inc"

#define LU_FORMAT_STRING(name, text)                         extern const ZoStringRef name;
#define LU_TAV_FORMAT_STRING(publicName, internalName, text) extern const ZoStringRef publicName;
#include "Core/TavFormatDescription/LuFormatDescriptionValues.inc"

ZO_EXTERN_C_END
