// Values that a person typed, read leniently: a setting may be a number, a boolean or a word.
// May be called from any thread.

#pragma once

#include "Foundation/Images/WnGeometry.h"
#include "Foundation/Objects/ZoObject.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// Each takes any object, or none, and gives `defaultValue` for what it cannot read.
/// Strings: a decimal number, or "true", "yes", "false", "no" (case ignored). Numbers, and booleans as 1 and 0.
int32_t TavGetNumberFromZoTypeWithDefault(ZoTypeRef value, int32_t defaultValue);
/// Strings and numbers.
double TavGetDoubleFromZoTypeWithDefault(ZoTypeRef value, double defaultValue);
/// Booleans; numbers, of which only 0 is false; "true", "yes", "1", "false", "no", "0" (case ignored).
Boolean TavGetBooleanFromZoTypeWithDefault(ZoTypeRef value, Boolean defaultValue);

/// The same for a preference of the current user.
int32_t TavGetZoPreferenceNumberWithDefault(ZoStringRef key, ZoStringRef applicationID, int32_t defaultValue);
double TavGetZoPreferenceDoubleWithDefault(ZoStringRef key, ZoStringRef applicationID, double defaultValue);
Boolean TavGetZoPreferenceBooleanWithDefault(ZoStringRef key, ZoStringRef applicationID, Boolean defaultValue);

/// A preference such as "640x480". What has no "x" before its last character, or is no string, leaves both defaults; a
/// side that is no number is 0.
WnSize TavGetZoPreferenceSizeWithDefault(ZoStringRef key, ZoStringRef applicationID, WnFloat defaultWidth,
                                         WnFloat defaultHeight);

/// The preference; where there is none what `options`, which may be absent, has under `key`; else the default,
/// retained.
ZoTypeRef TavCopyZoPreferenceAppValueOrOptionZoTypeWithDefault(ZoDictionaryRef options, ZoStringRef key,
                                                               ZoStringRef applicationID, ZoTypeRef defaultValue);
/// The same for numbers: what cannot be read as one gives way to the next.
int32_t TavGetZoPreferenceOrOptionNumberWithDefault(ZoDictionaryRef options, ZoStringRef key, ZoStringRef applicationID,
                                                    int32_t defaultValue);
double TavGetZoPreferenceOrOptionDoubleWithDefault(ZoDictionaryRef options, ZoStringRef key, ZoStringRef applicationID,
                                                   double defaultValue);

ZO_EXTERN_C_END
