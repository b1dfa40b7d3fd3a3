// Prints the header of each NAL unit of an Annex B file, and what profile_tier_level of a VPS or an SPS says: a line
// "name value" each. An argument "words" asks for the constraint bits as two numbers.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

static OSStatus print(uint32_t field, uint32_t value)
{
    printf("%s %u\n", NALFieldsStrings[field], value);
    return 0;
}
static OSStatus printFlag(void*, uint32_t field, Boolean value, int32_t) { return print(field, value); }
static OSStatus printUnsigned(void*, uint32_t field, uint32_t value, int32_t) { return print(field, value); }

// 7.3.2.1, to profile_tier_level
static OSStatus walkVPS(HEVCBitstream* reader, const HEVCBridgeParseContext* context)
{
    HEVCWalker w(reader, context);
    w.skip(12);
    const uint32_t maxSubLayersMinus1 = w.pull(3);
    w.skip(17);
    w.structure(hevcbridgeParseProfileTierLevel, true, maxSubLayersMinus1);
    return w.status();
}

// 7.3.2.2.1, to profile_tier_level and the element behind it
static OSStatus walkSPS(HEVCBitstream* reader, const HEVCBridgeParseContext* context, uint32_t)
{
    HEVCWalker w(reader, context);
    w.skip(4);
    const uint32_t maxSubLayersMinus1 = w.pull(3);
    w.skip(1);
    w.structure(hevcbridgeParseProfileTierLevel, true, maxSubLayersMinus1);
    const uint32_t id = w.pullUE();
    if (w.ok()) print(HEVCField::sps_seq_parameter_set_id, id);
    return w.status();
}

static int printUnit(const uint8_t* unit, size_t size, bool asWords)
{
    HEVCBridgeParseContext context = {.flagCallback = printFlag, .unsignedCallback = printUnsigned, .headerFilter = 7};
    context.profileTierLevelFilter = asWords ? 0x1FFFFF : 0x1FFFCF;
    HEVCBitstream reader = hevcbridgeBitstreamOver(unit, size, true);
    OSStatus status = hevcbridgeAdvanceInBitstream(&reader, 0);
    if (status == 0)
        status = hevcbridgeParseNALUnitWith(&reader, &context,
                                            {.videoParameterSet = walkVPS, .sequenceParameterSet = walkSPS});
    return status;
}

int main(int argc, char** argv)
{
    if (argc < 2) return 2;
    std::ifstream file(argv[1], std::ios::binary);
    const std::string stream{std::istreambuf_iterator<char>(file), {}};
    const std::string startCode("\0\0\1", 3);
    for (size_t start = stream.find(startCode); start != std::string::npos;) {
        const size_t next = stream.find(startCode, start + 3);
        size_t end = next == std::string::npos ? stream.size() : next;
        while (end > start + 3 && stream[end - 1] == 0) --end;
        const auto* unit = reinterpret_cast<const uint8_t*>(stream.data()) + start + 3;
        if (const int status = printUnit(unit, end - start - 3, argc > 2)) return printf("error %d\n", status), 1;
        start = next;
    }
}
