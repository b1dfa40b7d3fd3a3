// What the sources of the core share: the registry of kinds.

#pragma once

#define TAV_SUBSYSTEM "<<<< FormatDescription >>>>"

#include "Core/TavFormatDescription/TavFormatDescription.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Common/TavSignal.h"

extern TavTraceNote gTavFormatDescTrace;

/// Whether any kind was ever registered.
bool tavFormatDescriptionRegistryExists();
/// The kind's record, or nothing. Lives as long as the process.
const TavDerivedFormatDescriptionCallbacks* tavFormatDescriptionGetKind(LuMediaType mediaType);
/// The record for a description of that type: the kind's, registered on demand, else the generic one, or nothing.
const TavDerivedFormatDescriptionCallbacks* tavFormatDescriptionFindKind(LuMediaType mediaType);
/// The same without registering anything.
const TavDerivedFormatDescriptionCallbacks* tavFormatDescriptionGetKindOrGeneric(LuMediaType mediaType);
void tavFormatDescriptionRegisterGenericKind();
