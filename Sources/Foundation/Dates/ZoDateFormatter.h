// Date formatters: dates and times to text of a locale and back. A formatter belongs to one thread at a time.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

typedef ZoIndex ZoDateFormatterStyle;
enum {
    kZoDateFormatterNoStyle = 0,
    kZoDateFormatterShortStyle = 1,
    kZoDateFormatterMediumStyle = 2,
    kZoDateFormatterLongStyle = 3,
    kZoDateFormatterFullStyle = 4,
};

extern const ZoStringRef kZoDateFormatterIsLenient;  ///< a boolean; false at first
extern const ZoStringRef kZoDateFormatterTimeZone;   ///< a time zone; the process's at first

ZoTypeID ZoDateFormatterGetTypeID(void);
/// `locale` absent: the current one. Nothing for styles outside of the list.
ZoDateFormatterRef ZoDateFormatterCreate(ZoAllocatorRef allocator, ZoLocaleRef locale, ZoDateFormatterStyle dateStyle,
                                         ZoDateFormatterStyle timeStyle);
/// A key that is not known, or a value of another type, changes nothing.
void ZoDateFormatterSetProperty(ZoDateFormatterRef formatter, ZoStringRef key, ZoTypeRef value);
/// Parses from the start of `*range` (absent: the whole string), which becomes what was parsed. What the format does
/// not name is that of 1 January 1970. False, a time of 0 and an empty range, if nothing was recognised.
Boolean ZoDateFormatterGetAbsoluteTimeFromString(ZoDateFormatterRef formatter, ZoStringRef string, ZoRange* range,
                                                 ZoAbsoluteTime* at);
ZoStringRef ZoDateFormatterCreateStringWithAbsoluteTime(ZoAllocatorRef allocator, ZoDateFormatterRef formatter,
                                                        ZoAbsoluteTime at);

ZO_EXTERN_C_END
