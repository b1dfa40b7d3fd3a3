// What the sources of the core share: the registry of kinds.

#pragma once

#define TAV_SUBSYSTEM "<<<< FormatDescription >>>>"

#include "Core/TavFormatDescription/TavFormatDescription.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Common/TavSignal.h"

// Derived storage follows, aligned for every type.
struct alignas(16) LuFormatDescription_ {
    ZoRuntimeBase base;
    LuMediaType mediaType;  // 0 until the object is complete
    OSType mediaSubType;
    ZoDictionaryRef extensions;                        // retained, may be absent
    const TavDerivedFormatDescriptionCallbacks* kind;  // what it was created for; lives as long as the process
};

extern TavTraceNote gTavFormatDescTrace;

/// Whether any kind was ever registered.
bool tavFormatDescriptionRegistryExists();
/// The kind's record, or nothing. Lives as long as the process.
const TavDerivedFormatDescriptionCallbacks* tavFormatDescriptionGetKind(LuMediaType mediaType);
/// The record for a description of that type: the kind's, registered on demand, the generic one for a media type
/// without a kind, or nothing.
const TavDerivedFormatDescriptionCallbacks* tavFormatDescriptionFindKind(LuMediaType mediaType);
void tavFormatDescriptionRegisterGenericKind();
