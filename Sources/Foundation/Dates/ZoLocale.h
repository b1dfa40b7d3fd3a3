// Locales: identifiers such as "de_AT". Immutable; any thread.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

ZoTypeID ZoLocaleGetTypeID(void);
/// The user's locale for dates, by LC_ALL, LC_TIME or LANG; "en_US_POSIX" where none says more.
ZoLocaleRef ZoLocaleCopyCurrent(void);
/// Any identifier is taken; one that no data exists for behaves as the root locale.
ZoLocaleRef ZoLocaleCreate(ZoAllocatorRef allocator, ZoStringRef identifier);
/// Borrowed.
ZoStringRef ZoLocaleGetIdentifier(ZoLocaleRef locale);
/// The identifier for the classic numbers of a region and, where `regionCode` is -1 or not known, of a language.
/// Nothing if neither is known.
ZoStringRef ZoLocaleCreateCanonicalLocaleIdentifierFromScriptManagerCodes(ZoAllocatorRef allocator, int16_t langCode,
                                                                          int16_t regionCode);

ZO_EXTERN_C_END
