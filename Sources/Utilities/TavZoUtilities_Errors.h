// Errors as property lists, and back: for carrying them to another process. May be called from any thread.

#pragma once

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Values/ZoError.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

extern const ZoStringRef kTavZoErrorPropertyListKey_Code;                    ///< "ZoError_Code": a number; required
extern const ZoStringRef kTavZoErrorPropertyListKey_Domain;                  ///< "ZoError_Domain": required
extern const ZoStringRef kTavZoErrorPropertyListKey_LocalizedDescription;    ///< and so on, all strings
extern const ZoStringRef kTavZoErrorPropertyListKey_LocalizedFailureReason;  ///<
extern const ZoStringRef kTavZoErrorPropertyListKey_LocalizedRecoverySuggestion;  ///<
extern const ZoStringRef kTavZoErrorPropertyListKey_Description;                  ///<
extern const ZoStringRef kTavZoErrorPropertyListKey_URL;                          ///< the text of the absolute URL
extern const ZoStringRef kTavZoErrorPropertyListKey_FilePath;                     ///<
extern const ZoStringRef kTavZoErrorPropertyListKey_UnderlyingError;              ///< a dictionary like this one

/// Errors behind errors that are carried; what is behind the last of them is logged and left out.
enum { kTavZoErrorMaximumUnderlyingErrors = 64 };

/// Nothing for an absent error. What else the user info holds is left out. The caller releases it.
ZoMutableDictionaryRef TavZoCopyZoErrorAsPropertyList(ZoErrorRef error);
/// Nothing, and a line in the log, without a number for the code or a string for the domain. An entry of another type
/// is left out, and for a URL or an underlying error that is logged. The caller releases it.
ZoErrorRef TavZoErrorCreateFromPropertyList(ZoPropertyListRef propertyList);

ZO_EXTERN_C_END
