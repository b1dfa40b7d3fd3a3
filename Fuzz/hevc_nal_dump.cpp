// The text dump of arbitrary NAL units, and profile_tier_level with the first bytes as filter.

#include <cstdint>
#include <cstring>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridge.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"
#include "Foundation/Objects/ZoRef.h"

static OSStatus takeFlag(void*, uint32_t, Boolean value, int32_t) { return value > 1; }
static OSStatus takeUnsigned(void*, uint32_t, uint32_t, int32_t) { return 0; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ZoRef<ZoStringRef> text;
    TavHEVCBridge_CopyParsingInformation(data, size, nullptr, text.outParam());
    if (size < 4) return 0;

    HEVCBridgeParseContext context = {.flagCallback = takeFlag, .unsignedCallback = takeUnsigned};
    context.profileTierLevelFilter = uint64_t{data[0]} << 16 | uint64_t{data[1]} << 8 | data[2];
    HEVCBitstream reader = hevcbridgeBitstreamOver(data + 4, size - 4, true);
    if (hevcbridgeAdvanceInBitstream(&reader, 0) == 0)
        hevcbridgeParseProfileTierLevel(&reader, &context, data[3] & 1, data[3] >> 1 & 7);
    return 0;
}
