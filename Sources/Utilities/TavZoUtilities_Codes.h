// Codes of three and four characters as strings, and back. The strings are borrowed, made once a code, and live as long
// as the process; each cache is guarded by a mutex of its own. May be called from any thread.

#pragma once

#include "Foundation/Text/ZoString.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// The four characters, most significant byte first. Nothing for a code with a byte beyond ASCII, or without memory.
ZoStringRef TavGetZoStringForOSTypeValue(OSType code);
/// The three characters of the low bytes.
ZoStringRef TavGetZoStringFor3CCValue(uint32_t code);
/// Whether `string` has four characters of the classic Roman encoding, whose bytes are then the code.
Boolean TavZoStringGetOSTypeValue(ZoStringRef string, OSType* codeOut);

ZO_EXTERN_C_END
