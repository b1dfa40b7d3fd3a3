// Values that a person typed, read leniently: a setting may be a number, a boolean or a word.
// May be called from any thread.

#pragma once

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

ZO_EXTERN_C_END
