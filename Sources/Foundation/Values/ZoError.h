// Errors as objects: a domain, a code, and a dictionary of what else is known. Immutable; any thread may read them.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

extern const ZoStringRef kZoErrorDescriptionKey;                  ///< a string for developers
extern const ZoStringRef kZoErrorFilePathKey;                     ///< a string
extern const ZoStringRef kZoErrorLocalizedDescriptionKey;         ///< a string for users: what failed
extern const ZoStringRef kZoErrorLocalizedFailureReasonKey;       ///< a string for users: why
extern const ZoStringRef kZoErrorLocalizedRecoverySuggestionKey;  ///< a string for users: what to do
extern const ZoStringRef kZoErrorURLKey;                          ///< a URL
extern const ZoStringRef kZoErrorUnderlyingErrorKey;              ///< the error behind this one

ZoTypeID ZoErrorGetTypeID(void);
/// `userInfo` may be absent; it is copied. Nothing for an absent domain.
ZoErrorRef ZoErrorCreate(ZoAllocatorRef allocator, ZoStringRef domain, ZoIndex code, ZoDictionaryRef userInfo);
ZoIndex ZoErrorGetCode(ZoErrorRef error);
/// Borrowed.
ZoStringRef ZoErrorGetDomain(ZoErrorRef error);
/// Empty where none was given.
ZoDictionaryRef ZoErrorCopyUserInfo(ZoErrorRef error);
/// What stands under kZoErrorLocalizedFailureReasonKey, if it is a string; else nothing.
ZoStringRef ZoErrorCopyFailureReason(ZoErrorRef error);

ZO_EXTERN_C_END
