// Walks one NAL unit and tells its caller of the syntax elements that it asked for (ITU-T H.265 7.3).
//
// All operations take a primed reader and give 0, kTavBridgeStopParsing where a callback ended the walk, or an error,
// signalled where it was found. Nothing is kept between calls but what the process decided once: whether Dolby Vision
// RPUs are walked.

#pragma once

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBitstream.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParseContext.h"

/// Walks the NAL unit under the reader. 0 also where a callback stopped it. Kinds of NAL units without a walker are
/// walked no further than their header, and are no error.
OSStatus hevcbridgeParseNALUnit(HEVCBitstream* reader, const HEVCBridgeParseContext* context);

/// Reads and reports one se(v) if `requested`, else steps over it.
OSStatus hevcbridgeSEPullIfRequested(HEVCBitstream* reader, const HEVCBridgeParseContext* context, bool requested,
                                     uint32_t fieldIdentifier);

/// Whether NAL units of type 62 are walked: unless the preference "dolbyrpu" says no. Decided once in a process.
Boolean hevcbridgeShouldParseDolbyRPUNAL(void);

// Walkers of structures that several NAL units share.

/// profile_tier_level (7.3.3). Nothing of a sub-layer is reported. Where either word of
/// general_constraint_indicator_flags is requested, the flags from general_progressive_source_flag to
/// general_inbld_flag are not.
OSStatus hevcbridgeParseProfileTierLevel(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                         bool profilePresentFlag, uint32_t maxNumSubLayersMinus1);

// Walkers of NAL units, from behind the two bytes of the header. Those of parameter sets leave in the context's
// digestOut, if there is one, what slices need of them, or null: always where the walk fails, and for a VPS without an
// extension.

OSStatus hevcbridgeParseVideoParameterSet(HEVCBitstream* reader, const HEVCBridgeParseContext* context);
OSStatus hevcbridgeParseSequenceParameterSet(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                             uint32_t nuhLayerId);
OSStatus hevcbridgeParsePictureParameterSet(HEVCBitstream* reader, const HEVCBridgeParseContext* context);

// Marked ones are weak: one that the library does not have yet is null, and its NAL units end with their header. The
// mark goes when the walker comes, since a weak reference fetches nothing from an archive.

#define HEVC_WALKER __attribute__((weak))
HEVC_WALKER OSStatus hevcbridgeParseSliceSegmentLayer(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                                      uint32_t nalUnitType, uint32_t nuhLayerId,
                                                      uint32_t nuhTemporalIdPlus1);
/// One message of an SEI RBSP.
HEVC_WALKER OSStatus hevcbridgeParseSEIMessage(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                               uint32_t nalUnitType);
HEVC_WALKER OSStatus hevcbridgeParseDolbyRPUDataRBSP(HEVCBitstream* reader, const HEVCBridgeParseContext* context);
#undef HEVC_WALKER

/// The walkers that a walk dispatches to; null for what is walked no further than the header.
struct HEVCWalkers {
    decltype(&hevcbridgeParseSliceSegmentLayer) sliceSegmentLayer;
    decltype(&hevcbridgeParseVideoParameterSet) videoParameterSet;
    decltype(&hevcbridgeParseSequenceParameterSet) sequenceParameterSet;
    decltype(&hevcbridgeParsePictureParameterSet) pictureParameterSet;
    decltype(&hevcbridgeParseSEIMessage) seiMessage;
    decltype(&hevcbridgeParseDolbyRPUDataRBSP) dolbyRPUData;
};

/// Those that the program carries.
extern const HEVCWalkers kHEVCWalkers;

/// hevcbridgeParseNALUnit with walkers of the caller's choice.
OSStatus hevcbridgeParseNALUnitWith(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                    const HEVCWalkers& walkers);
