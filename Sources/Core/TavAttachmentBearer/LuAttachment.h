// Attachments: key-value pairs that ride along with a buffer through a pipeline. One interface for every kind of object
// that can bear them; an object of any other kind bears none, and every operation on it, as on an absent object, does
// nothing. Each bearer says which threads may touch its attachments.

#pragma once

#include "Foundation/Collections/ZoDictionary.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef uint32_t LuAttachmentMode;
enum {
    kLuAttachmentMode_ShouldNotPropagate = 0,  ///< stays on its object
    kLuAttachmentMode_ShouldPropagate = 1,     ///< is carried over by LuPropagateAttachments
};

/// Retains `value`; an absent value removes the key. A key is attached in one mode, that of the last call.
/// An absent key and a mode other than the two are signalled, and nothing is set.
void LuSetAttachment(ZoTypeRef target, ZoStringRef key, ZoTypeRef value, LuAttachmentMode attachmentMode);
/// Borrowed; absent if the key is not attached. `attachmentModeOut` may be absent. An absent key is signalled.
ZoTypeRef LuGetAttachment(ZoTypeRef target, ZoStringRef key, LuAttachmentMode* attachmentModeOut);
/// An absent key is signalled.
void LuRemoveAttachment(ZoTypeRef target, ZoStringRef key);
void LuRemoveAllAttachments(ZoTypeRef target);
/// A new dictionary of the attachments of that mode, or nothing. A mode other than the two is signalled.
ZoDictionaryRef LuCopyDictionaryOfAttachments(ZoAllocatorRef allocator, ZoTypeRef target,
                                              LuAttachmentMode attachmentMode);
/// Sets each pair of `theAttachments`.
void LuSetAttachments(ZoTypeRef target, ZoDictionaryRef theAttachments, LuAttachmentMode attachmentMode);
/// Sets the propagating attachments of `source` on `destination`, where they propagate again; what else `destination`
/// bears stays. The two may be of different kinds.
void LuPropagateAttachments(ZoTypeRef source, ZoTypeRef destination);

ZO_EXTERN_C_END
