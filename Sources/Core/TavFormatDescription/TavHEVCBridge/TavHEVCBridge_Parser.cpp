#include <dispatch/dispatch.h>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeTrace.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"
#include "Foundation/Text/ZoString.h"
#include "Utilities/TavZoUtilities_Preferences.h"

TavTraceNote gTavHEVCBridgeTrace;

void hevcbridgeRegisterTrace(void)
{
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, [](void*) { tavTraceNoteRegister(&gTavHEVCBridgeTrace, "hevc_bridge_trace", 0); });
}

const HEVCWalkers kHEVCWalkers = {
    .sliceSegmentLayer = hevcbridgeParseSliceSegmentLayer,
    .videoParameterSet = hevcbridgeParseVideoParameterSet,
    .sequenceParameterSet = hevcbridgeParseSequenceParameterSet,
    .pictureParameterSet = hevcbridgeParsePictureParameterSet,
    .seiMessage = hevcbridgeParseSEIMessage,
    .dolbyRPUData = hevcbridgeParseDolbyRPUDataRBSP,
};

OSStatus hevcbridgeTellFlag(HEVCBitstream* reader, const uint8_t* next, uint32_t count,
                            const HEVCBridgeParseContext* context, uint32_t field, uint32_t value,
                            int32_t index) noexcept
{
    hevcbridgeSettle(reader, next, count);
    return context->flagCallback(context->refcon, field, static_cast<Boolean>(value), index);
}

OSStatus hevcbridgeTellUnsigned(HEVCBitstream* reader, const uint8_t* next, uint32_t count,
                                const HEVCBridgeParseContext* context, uint32_t field, uint32_t value,
                                int32_t index) noexcept
{
    hevcbridgeSettle(reader, next, count);
    return context->unsignedCallback(context->refcon, field, value, index);
}

OSStatus hevcbridgeTellSigned(HEVCBitstream* reader, const uint8_t* next, uint32_t count,
                              const HEVCBridgeParseContext* context, uint32_t field, int32_t value,
                              int32_t index) noexcept
{
    hevcbridgeSettle(reader, next, count);
    return context->signedCallback(context->refcon, field, value, index);
}

OSStatus hevcbridgeSEPullIfRequested(HEVCBitstream* reader, const HEVCBridgeParseContext* context, bool requested,
                                     uint32_t fieldIdentifier)
{
    if (!requested) return hevcbridgeSESkip(reader);
    int32_t value;
    TAV_TRY(hevcbridgeSEPullLong(reader, &value));
    return context->signedCallback(context->refcon, fieldIdentifier, value, -1);
}

static int32_t sEnableDolbyRPUParser = 1;

static void setParseDolbyRPUNAL(void*)
{
    sEnableDolbyRPUParser =
        TavGetZoPreferenceNumberWithDefault(ZOSTR("dolbyrpu"), ZOSTR(kTavApplicationID), sEnableDolbyRPUParser);
}

Boolean hevcbridgeShouldParseDolbyRPUNAL(void)
{
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, nullptr, setParseDolbyRPUNAL);
    return sEnableDolbyRPUParser != 0;
}

// 7.3.2.4
static OSStatus hevcbridgeParseSEIRBSP(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                       const HEVCWalkers& walkers, uint32_t nalUnitType)
{
    if (!walkers.seiMessage) return 0;
    const uint8_t* nonZeroBehind = nullptr;
    HEVCWalker w(reader, context);
    do w.structure(walkers.seiMessage, nalUnitType);
    while (w.moreRBSPData(&nonZeroBehind));
    w.require(w.pull(8) == 0x80, "{hevcbridgeParseSEIRBSP} ERROR: Wrong rbps_trailing_bits in SEI RBSP");
    return w.status();
}

// nal_unit_type, table 7-1.
namespace {
enum : uint32_t {
    kRASL_R = 9,
    kBLA_W_LP = 16,
    kCRA_NUT = 21,
    kVPS_NUT = 32,
    kSPS_NUT = 33,
    kPPS_NUT = 34,
    kPREFIX_SEI_NUT = 39,
    kSUFFIX_SEI_NUT = 40,
    kDolby62 = 62,
};
}

static bool isSliceSegment(uint32_t nalUnitType)
{
    return nalUnitType <= kRASL_R || (nalUnitType >= kBLA_W_LP && nalUnitType <= kCRA_NUT);
}

static OSStatus parsePayload(HEVCBitstream* reader, const HEVCBridgeParseContext* context, const HEVCWalkers& walkers,
                             uint32_t nalUnitType, uint32_t nuhLayerId, uint32_t nuhTemporalIdPlus1)
{
    if (isSliceSegment(nalUnitType))
        return walkers.sliceSegmentLayer
                   ? walkers.sliceSegmentLayer(reader, context, nalUnitType, nuhLayerId, nuhTemporalIdPlus1)
                   : 0;
    switch (nalUnitType) {
        case kVPS_NUT: return walkers.videoParameterSet ? walkers.videoParameterSet(reader, context) : 0;
        case kSPS_NUT:
            return walkers.sequenceParameterSet ? walkers.sequenceParameterSet(reader, context, nuhLayerId) : 0;
        case kPPS_NUT: return walkers.pictureParameterSet ? walkers.pictureParameterSet(reader, context) : 0;
        case kPREFIX_SEI_NUT:
        case kSUFFIX_SEI_NUT: return hevcbridgeParseSEIRBSP(reader, context, walkers, nalUnitType);
        case kDolby62:
            return walkers.dolbyRPUData && hevcbridgeShouldParseDolbyRPUNAL() ? walkers.dolbyRPUData(reader, context)
                                                                              : 0;
        default: return 0;
    }
}

// 7.3.1.1, 7.3.1.2
OSStatus hevcbridgeParseNALUnitWith(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                    const HEVCWalkers& walkers)
{
    HEVCWalker w(reader, context, "hevcbridgeParseNALUnit");
    w.require(w.pull(1) == 0, "{hevcbridgeParseNALUnit} ERROR: Wrong forbidden_bit in NAL unit");
    const uint32_t nalUnitType = w.needU(6, HEVCField::nal_unit_type);
    const uint32_t nuhLayerId = w.needU(6, HEVCField::nuh_layer_id);
    const uint32_t nuhTemporalIdPlus1 = w.needU(3, HEVCField::nuh_temporal_id_plus1);
    w.structure(parsePayload, walkers, nalUnitType, nuhLayerId, nuhTemporalIdPlus1);
    return w.status() == kTavBridgeStopParsing ? 0 : w.status();
}

OSStatus hevcbridgeParseNALUnit(HEVCBitstream* reader, const HEVCBridgeParseContext* context)
{
    return hevcbridgeParseNALUnitWith(reader, context, kHEVCWalkers);
}
