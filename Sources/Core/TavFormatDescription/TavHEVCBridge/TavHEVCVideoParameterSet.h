// What the extension of a VPS needs of the VPS before it.

#pragma once

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParameterSets.h"
#include "Memory/Containers.h"

struct HEVCVideoParameterSet {
    uint32_t parameterSetId = 0;
    bool baseLayerInternal = false;
    uint32_t maxLayersMinus1 = 0;
    uint32_t maxSubLayersMinus1 = 0;
    /// The nuh_layer_id of each layer set from the second on, as bits: LayerSetLayerIdList (7.4.3.1), which ascends.
    memory::ReportingArray<uint64_t> layerSets;
};

/// vps_extension (F.7.3.2.1.1), as far as slices need it. Ends with kTavBridgeStopParsing.
OSStatus hevcbridgeParseVPSExtension(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                     HEVCVideoParameterSet* vps, HEVCDigestInMaking<HEVCVPSDigest>* digest);
