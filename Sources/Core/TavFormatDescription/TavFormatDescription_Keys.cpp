// Every key and value once, as a constant string; a second name is a second pointer to it.

#include "Core/TavFormatDescription/TavFormatDescriptionKeys.h"
#include "Foundation/Objects/ZoObject.h"

#define LU_FORMAT_STRING(name, text)  ZO_DEFINE_STRING(name, text);
#define TAV_FORMAT_STRING(name, text) ZO_DEFINE_STRING(name, text);
#define LU_TAV_FORMAT_STRING(publicName, internalName, text) \
    ZO_DEFINE_STRING(publicName, text);                      \
    const ZoStringRef internalName = (ZoStringRef)(const void*)&publicName##Record;
#include "Core/TavFormatDescription/LuFormatDescriptionKeys.inc"

#define LU_FORMAT_STRING(name, text)  ZO_DEFINE_STRING(name, text);
#define TAV_FORMAT_STRING(name, text) ZO_DEFINE_STRING(name, text);
#define LU_TAV_FORMAT_STRING(publicName, internalName, text) \
    ZO_DEFINE_STRING(publicName, text);                      \
    const ZoStringRef internalName = (ZoStringRef)(const void*)&publicName##Record;
#include "Core/TavFormatDescription/LuFormatDescriptionValues.inc"
