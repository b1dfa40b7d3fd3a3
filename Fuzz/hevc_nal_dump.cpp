// The text dump of arbitrary NAL units, what is kept of parameter sets with and without being asked for their fields,
// and profile_tier_level with the first bytes as filter.

#include <cstdint>
#include <cstdlib>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridge.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParameterSets.h"
#include "Foundation/Objects/ZoRef.h"

static OSStatus takeFlag(void*, uint32_t, Boolean value, int32_t) { return value > 1; }
static OSStatus takeUnsigned(void*, uint32_t, uint32_t, int32_t) { return 0; }

static OSStatus takeSigned(void*, uint32_t, int32_t, int32_t) { return 0; }
static OSStatus takeData(void*, uint32_t, ZoDataRef) { return 0; }

// Digests hold as much as they say; a walk that fails keeps none.
static void keep(const uint8_t* data, size_t size, bool asks)
{
    HEVCDigest* digest = nullptr;
    HEVCBridgeParseContext context = {nullptr, takeFlag, takeUnsigned, takeSigned, takeData};
    context.digestOut = &digest;
    for (uint32_t field = 0; asks && field < HEVCField::count; ++field)
        hevcbridgeRequest(&context, HEVCFieldPlace::of(field));
    HEVCBitstream reader = hevcbridgeBitstreamOver(data, size, true);
    if (hevcbridgeAdvanceInBitstream(&reader, 0) == 0 && hevcbridgeParseNALUnit(&reader, &context) != 0 && digest)
        abort();
    context = {.digestCount = 1, .digests = &digest};
    if (const auto* sps = hevcbridgeFindDigest<HEVCSPSDigest>(&context, digest ? digest->parameterSetId : 0))
        for (const HEVCShortTermRPS& set : sps->shortTermRefPicSets())
            if (set.numNegativePics + set.numPositivePics > 15) abort();
    free(digest);
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ZoRef<ZoStringRef> text;
    TavHEVCBridge_CopyParsingInformation(data, size, nullptr, text.outParam());
    keep(data, size, false);
    keep(data, size, true);
    if (size < 4) return 0;

    HEVCBridgeParseContext context = {.flagCallback = takeFlag, .unsignedCallback = takeUnsigned};
    context.profileTierLevelFilter = uint64_t{data[0]} << 16 | uint64_t{data[1]} << 8 | data[2];
    HEVCBitstream reader = hevcbridgeBitstreamOver(data + 4, size - 4, true);
    if (hevcbridgeAdvanceInBitstream(&reader, 0) == 0)
        hevcbridgeParseProfileTierLevel(&reader, &context, data[3] & 1, data[3] >> 1 & 7);
    return 0;
}
