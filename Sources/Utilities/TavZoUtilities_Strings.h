// Small services on strings, plain and with attributes. As thread-safe as the strings that are passed in.

#pragma once

#include "Foundation/Text/ZoAttributedString.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// Whether both are strings and `search` occurs in `string`.
Boolean TavZoStringFind(ZoStringRef string, ZoStringRef search, ZoStringCompareFlags options);
/// Whether an integer stands behind `marker`, with which `string` must begin, as ZoStringGetIntValue reads it; 0 must
/// be written as "0". `valueOut` may be absent.
Boolean TavZoStringGetIntAfterString(ZoStringRef string, ZoStringRef marker, int32_t* valueOut);
/// Random letters from A to Z, for telling objects apart in a log. Nothing for a length below 1 and without memory.
ZoStringRef TavZoStringCreateLoggingIdentifierOfLength(ZoAllocatorRef allocator, ZoIndex length);
/// Puts `count` times `indent` at the start and `count` times `continuation` behind each newline.
void TavZoStringInsertIndent(ZoMutableStringRef string, ZoStringRef indent, ZoStringRef continuation, ZoIndex count);
/// The same on a copy, which the caller releases; nothing for an absent string and without memory.
ZoStringRef TavZoStringCopyWithIndent(ZoStringRef string, ZoStringRef indent, ZoStringRef continuation, ZoIndex count);

/// kTavZoUtilitiesError_InvalidParameter, kTavZoUtilitiesError_AllocationFailed
OSStatus TavZoAttributedStringSetDouble(ZoMutableAttributedStringRef string, ZoIndex location, ZoIndex length,
                                        ZoStringRef key, double value);

ZO_EXTERN_C_END
