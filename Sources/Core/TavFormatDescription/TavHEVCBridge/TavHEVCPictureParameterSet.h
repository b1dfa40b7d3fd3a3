// Parts of a PPS with a source of their own.

#pragma once

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBitstream.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParseContext.h"

/// pps_multilayer_extension (F.7.3.2.3.4).
OSStatus hevcbridgeParsePictureParameterSetMultilayerExtension(HEVCBitstream* reader,
                                                               const HEVCBridgeParseContext* context);
