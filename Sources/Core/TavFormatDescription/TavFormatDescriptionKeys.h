// The keys and values of format descriptions that have a name of the framework's own, beside the public ones.

#pragma once

#include "Core/TavFormatDescription/LuFormatDescriptionKeys.h"

ZO_EXTERN_C_BEGIN

#define TAV_FORMAT_STRING(name, text)                        extern const ZoStringRef name;
#define LU_TAV_FORMAT_STRING(publicName, internalName, text) extern const ZoStringRef internalName;
#include "Core/TavFormatDescription/LuFormatDescriptionKeys.inc"

#define TAV_FORMAT_STRING(name, text)                        extern const ZoStringRef name;
#define LU_TAV_FORMAT_STRING(publicName, internalName, text) extern const ZoStringRef internalName;
#include "Core/TavFormatDescription/LuFormatDescriptionValues.inc"

ZO_EXTERN_C_END
