// What objects say of themselves, as the types know it: weakly, so that a program that prints no object carries no text
// of any. The services are in ZoDescription.cpp and ZoDescription_Values.cpp; a type's record holds null without them.

#pragma once

#include "Foundation/Objects/ZoObject.h"

// Whoever defines them must not make them weak.
#ifdef ZO_DEFINES_DESCRIPTIONS
#define ZO_DESCRIPTION
#else
#define ZO_DESCRIPTION __attribute__((weak))
#endif

ZO_EXTERN_C_BEGIN

ZO_DESCRIPTION ZoStringRef ZoCopyDescription(ZoTypeRef object);
ZO_DESCRIPTION ZoStringRef _ZoNullCopyDescription(ZoTypeRef object);
ZO_DESCRIPTION ZoStringRef _ZoBooleanCopyDescription(ZoTypeRef object);
ZO_DESCRIPTION ZoStringRef _ZoNumberCopyDescription(ZoTypeRef object);
ZO_DESCRIPTION ZoStringRef _ZoDataCopyDescription(ZoTypeRef object);
ZO_DESCRIPTION ZoStringRef _ZoArrayCopyDescription(ZoTypeRef object);
ZO_DESCRIPTION ZoStringRef _ZoSetCopyDescription(ZoTypeRef object);
ZO_DESCRIPTION ZoStringRef _ZoDictionaryCopyDescription(ZoTypeRef object);

ZO_EXTERN_C_END

#undef ZO_DESCRIPTION
