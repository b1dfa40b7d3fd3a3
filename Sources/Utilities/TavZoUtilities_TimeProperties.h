// Properties of base objects that are times, which objects carry as dictionaries. As thread-safe as the object.

#pragma once

#include "Core/TavBaseObject/LuBaseObject.h"
#include "Core/TavTime/LuTime.h"

ZO_EXTERN_C_BEGIN

/// An invalid time unless the object gave a dictionary that makes one.
///
/// kTavZoUtilitiesError_InvalidParameter  no out
/// kLuBaseObjectError_NoSuchOperation     absent object, or a class that has no properties
/// and what the object's class returns
OSStatus TavZoCopyPropertyAsTime(LuBaseObjectRef object, ZoStringRef key, ZoAllocatorRef allocator, LuTime* timeOut);
/// kTavZoUtilitiesError_AllocationFailed, kLuBaseObjectError_NoSuchOperation, and what the object's class returns
OSStatus TavZoSetPropertyToTime(LuBaseObjectRef object, ZoStringRef key, LuTime time);

ZO_EXTERN_C_END
