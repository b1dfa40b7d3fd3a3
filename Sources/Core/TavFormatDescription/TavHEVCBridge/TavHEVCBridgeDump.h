// The text dump of a NAL unit, with walkers of the caller's choice.

#pragma once

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridge.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"

/// As TavHEVCBridge_CopyParsingInformation.
OSStatus hevcbridgeCopyParsingInformationWith(const uint8_t* nalUnit, size_t nalUnitLength,
                                              HEVCBridgeParsingInfoRef parsingInfo, const HEVCWalkers& walkers,
                                              ZoStringRef* stringOut);
