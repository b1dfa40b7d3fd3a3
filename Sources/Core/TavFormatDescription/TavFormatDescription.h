// Format descriptions for those who define kinds: the registry of kinds, derived storage, comparison of extensions.
//
// A kind registers once, behind its own once-guard, before its first description is made. Registration takes a lock;
// looking a kind up takes none, and goes on while others register.

#pragma once

#include "Core/TavFormatDescription/LuFormatDescription.h"
#include "Core/TavFormatDescription/TavFormatDescriptionKeys.h"

ZO_EXTERN_C_BEGIN

enum {
    kTavFormatDescriptionError_InvalidParameter = kLuFormatDescriptionError_InvalidParameter,
    kTavFormatDescriptionError_AllocationFailed = kLuFormatDescriptionError_AllocationFailed,
};

/// What a kind is registered with. The record is 36 bytes, without gaps.
#pragma pack(push, 4)
typedef struct TavDerivedFormatDescriptionCallbacks {
    uint32_t version;           ///< 0
    size_t derivedStorageSize;  ///< bytes, cleared in a new description
    /// Required. Called for two descriptions of one media type and subtype; the key arguments are those of
    /// LuFormatDescriptionEqualIgnoringExtensionKeys.
    Boolean (*equal)(LuFormatDescriptionRef description1, LuFormatDescriptionRef description2, ZoTypeRef keysToIgnore,
                     ZoTypeRef extensionAtomKeysToIgnore);
    /// May be absent. A new string: what the kind adds to the description for people.
    ZoStringRef (*copyDebugDesc)(LuFormatDescriptionRef description);
    /// May be absent. Releases what the derived storage owns, which may still be all zero.
    void (*finalize)(LuFormatDescriptionRef description);
} TavDerivedFormatDescriptionCallbacks;
#pragma pack(pop)

/// Copies `callbacks`. The first registration of a media type stands; later ones succeed without effect. Descriptions
/// that are older than their kind stay as they are, generic.
///
/// kTavFormatDescriptionError_InvalidParameter  no record, another version, no equal callback
/// kTavFormatDescriptionError_AllocationFailed  no memory
OSStatus TavDerivedFormatDescriptionRegister(LuMediaType mediaType,
                                             const TavDerivedFormatDescriptionCallbacks* callbacks);

/// As LuFormatDescriptionCreate, but fails while no kind was ever registered: the kind's own creation registers first.
OSStatus TavDerivedFormatDescriptionCreate(ZoAllocatorRef allocator, LuMediaType mediaType, OSType mediaSubType,
                                           ZoDictionaryRef extensions, LuFormatDescriptionRef* descriptionOut);

/// The bytes that the kind asked for, aligned for every type: written once after creation. Nothing for a description of
/// a kind without storage; nothing, which is signalled, for an absent description.
void* TavDerivedFormatDescriptionGetDerivedStorage(LuFormatDescriptionRef description);
/// The same for the getters of a kind: nothing unless the description was made for the kind that `callbacks` is the
/// record of, which leaves out absent descriptions and those that are older than their kind. Signals nothing: the
/// getter says what was wrong in its own words.
void* TavDerivedFormatDescriptionGetDerivedStorageOfKind(LuFormatDescriptionRef description,
                                                         const TavDerivedFormatDescriptionCallbacks* callbacks);

/// How LuFormatDescriptionEqualIgnoringExtensionKeys compares extensions. An absent dictionary equals an empty one.
Boolean TavFormatDescriptionExtensionsDictionariesEqualIgnoringKeys(ZoDictionaryRef dictionary1,
                                                                    ZoDictionaryRef dictionary2, ZoTypeRef keysToIgnore,
                                                                    ZoTypeRef extensionAtomKeysToIgnore);

/// Gives its argument, which may be absent.
LuFormatDescriptionRef TavFormatDescriptionRetain(LuFormatDescriptionRef description);
/// An absent description does nothing.
void TavFormatDescriptionRelease(LuFormatDescriptionRef description);

ZO_EXTERN_C_END
