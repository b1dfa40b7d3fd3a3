// Points in time. Dates are immutable; any thread.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

/// Seconds from 1 January 1970 to the reference date of ZoAbsoluteTime, 1 January 2001.
#define kZoAbsoluteTimeIntervalSince1970 978307200.0

/// The system's clock, with its full resolution.
ZoAbsoluteTime ZoAbsoluteTimeGetCurrent(void);
ZoTypeID ZoDateGetTypeID(void);
ZoDateRef ZoDateCreate(ZoAllocatorRef allocator, ZoAbsoluteTime at);
ZoAbsoluteTime ZoDateGetAbsoluteTime(ZoDateRef date);
ZoTimeInterval ZoDateGetTimeIntervalSinceDate(ZoDateRef date, ZoDateRef otherDate);
ZoComparisonResult ZoDateCompare(ZoDateRef date, ZoDateRef otherDate, void* context);

ZO_EXTERN_C_END
