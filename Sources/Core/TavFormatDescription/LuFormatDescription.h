// Format descriptions: what a stream of media is made of. Media type, media subtype, a dictionary of extensions, and
// what the kind of description (video, audio, metadata...) adds.
//
// A description is immutable and may be read by any number of threads. Two are equal if their types are and their kind
// finds them so.

#pragma once

#include "Core/TavFormatDescription/LuFormatDescriptionKeys.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef const struct LuFormatDescription_* LuFormatDescriptionRef;

typedef OSType LuMediaType;
enum {
    kLuMediaType_Video = LU_FOURCC('v', 'i', 'd', 'e'),
    kLuMediaType_AuxiliaryPicture = LU_FOURCC('a', 'u', 'x', 'v'),
    kLuMediaType_Picture = LU_FOURCC('p', 'i', 'c', 't'),
    kLuMediaType_Audio = LU_FOURCC('s', 'o', 'u', 'n'),
    kLuMediaType_Metadata = LU_FOURCC('m', 'e', 't', 'a'),
    kLuMediaType_Muxed = LU_FOURCC('m', 'u', 'x', 'x'),
    kLuMediaType_TaggedBufferGroup = LU_FOURCC('t', 'b', 'g', 'r'),
    kLuMediaType_TimeCode = LU_FOURCC('t', 'm', 'c', 'd'),
    kLuMediaType_Text = LU_FOURCC('t', 'e', 'x', 't'),
    kLuMediaType_ClosedCaption = LU_FOURCC('c', 'l', 'c', 'p'),
    kLuMediaType_Subtitle = LU_FOURCC('s', 'b', 't', 'l'),
    kLuMediaType_Scene = LU_FOURCC('s', 'c', 'e', 'n'),
    kLuMediaType_PointCloud = LU_FOURCC('p', 'c', 'l', 'd'),
};

enum {
    kLuFormatDescriptionError_InvalidParameter = -12710,
    kLuFormatDescriptionError_AllocationFailed = -12711,
    kLuFormatDescriptionError_ValueNotAvailable = -12718,  ///< of the kinds: nothing stands there
};

ZoTypeID LuFormatDescriptionGetTypeID(void);

/// A description of the kind that serves `mediaType`, without anything that is the kind's own; types without a kind get
/// the generic one. `extensions` may be absent; it is copied with all that it holds, which must be of a property list.
/// `descriptionOut` is left as it is where this fails.
///
/// kLuFormatDescriptionError_InvalidParameter  no out-parameter, media type 0, extensions that cannot be copied
/// kLuFormatDescriptionError_AllocationFailed  no memory
OSStatus LuFormatDescriptionCreate(ZoAllocatorRef allocator, LuMediaType mediaType, OSType mediaSubType,
                                   ZoDictionaryRef extensions, LuFormatDescriptionRef* descriptionOut);

/// 0 for an absent description.
LuMediaType LuFormatDescriptionGetMediaType(LuFormatDescriptionRef description);
OSType LuFormatDescriptionGetMediaSubType(LuFormatDescriptionRef description);
/// Borrowed; nothing if there are none.
ZoDictionaryRef LuFormatDescriptionGetExtensions(LuFormatDescriptionRef description);
/// Borrowed; nothing if it is not there.
ZoPropertyListRef LuFormatDescriptionGetExtension(LuFormatDescriptionRef description, ZoStringRef key);

/// One and the same description, or two that are equal. Two absent ones are the same.
Boolean LuFormatDescriptionEqual(LuFormatDescriptionRef description1, LuFormatDescriptionRef description2);
/// Compares without some extensions. Each key argument is a string, an array of strings, or absent; the second names
/// types of sample description extension atoms. With either of them the verbatim records do not count.
Boolean LuFormatDescriptionEqualIgnoringExtensionKeys(LuFormatDescriptionRef description1,
                                                      LuFormatDescriptionRef description2, ZoTypeRef keysToIgnore,
                                                      ZoTypeRef extensionAtomKeysToIgnore);

ZO_EXTERN_C_END
