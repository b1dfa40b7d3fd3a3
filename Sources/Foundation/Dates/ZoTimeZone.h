// Time zones. Immutable; any thread.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

ZoTypeID ZoTimeZoneGetTypeID(void);
/// A fixed distance from GMT, rounded to seconds. Nothing for a day or more.
ZoTimeZoneRef ZoTimeZoneCreateWithTimeIntervalFromGMT(ZoAllocatorRef allocator, ZoTimeInterval interval);
/// A zone of the IANA database. Nothing for a name that it does not have.
ZoTimeZoneRef ZoTimeZoneCreateWithName(ZoAllocatorRef allocator, ZoStringRef name);
/// The process's zone, by TZ or the system's setting.
ZoTimeZoneRef ZoTimeZoneCopyDefault(void);
/// Borrowed. Fixed distances are named "GMT+05:30".
ZoStringRef ZoTimeZoneGetName(ZoTimeZoneRef timeZone);

ZO_EXTERN_C_END
