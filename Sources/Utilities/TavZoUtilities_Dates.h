// Dates from text: the forms of ISO 8601, and what a locale writes. May be called from any thread; the calendar is used
// under its mutex.

#pragma once

#include "Foundation/Dates/ZoDate.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// "2024-02-29T12:00:00", "20240229T120000", or a time alone, which is of today, as strptime(3) reads them; then, where
/// they follow, a fraction of a second behind "." or ",", and an offset: "+0130", "+01:30" or "+01". Without an offset
/// the time is GMT. What else follows is ignored, "Z" too.
///
/// kTavZoUtilitiesError_BadData           none of these, or a broken offset; not signalled
/// kTavZoUtilitiesError_InvalidParameter  an argument absent
OSStatus TavZoParseISO8601Date(const char* text, ZoAbsoluteTime* absoluteTimeOut);

/// The date that `string` is, as above or in one of the styles of `locale` (absent: the current one), read leniently. A
/// time alone is of today. The caller releases it; nothing if neither a date nor a time is the whole of it.
ZoDateRef TavZoDateCreateFromString(ZoAllocatorRef allocator, ZoStringRef string, ZoLocaleRef locale);

ZO_EXTERN_C_END
