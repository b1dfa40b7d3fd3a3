// What can be asked about HEVC NAL units as they are stored, with emulation prevention. Free functions over bytes,
// which may be called from any thread.

#pragma once

#include "Core/TavFormatDescription/FormatDescriptionBridge_Common/TavBridgeErrors.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// The parameter sets of a stream that its slices refer to.
typedef const struct HEVCBridgeParsingInfo* HEVCBridgeParsingInfoRef;

/// The syntax elements of one NAL unit as text, a line each. `parsingInfo` may be absent; a slice is then not walked
/// past slice_pic_parameter_set_id. A syntax error is told in the text, behind what was walked until then, and is no
/// failure. The caller releases the string, which is made only if `stringOut` is there.
///
/// kTavBridgeInvalidSerializedSampleDescriptionErr  the first bytes cannot be read
OSStatus TavHEVCBridge_CopyParsingInformation(const uint8_t* nalUnit, size_t nalUnitLength,
                                              HEVCBridgeParsingInfoRef parsingInfo, ZoStringRef* stringOut);

ZO_EXTERN_C_END
