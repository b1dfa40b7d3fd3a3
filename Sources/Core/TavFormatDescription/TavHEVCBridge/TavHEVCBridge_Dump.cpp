#include <cinttypes>
#include <cstdio>
#include <iterator>
#include <span>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeDump.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeTrace.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"

namespace {

struct NamedValue {
    uint32_t value;
    const char* name;
};

constexpr NamedValue kChromaFormats[] = {{0, "monochrome"}, {1, "4:2:0"}, {2, "4:2:2"}, {3, "4:4:4"}};
constexpr NamedValue kVideoFormats[] = {{0, "Component"}, {1, "PAL"}, {2, "NTSC"},
                                        {3, "SECAM"},     {4, "MAC"}, {5, "Unspecified video format"}};
constexpr NamedValue kSliceTypes[] = {{0, "B"}, {1, "P"}, {2, "I"}};
constexpr NamedValue kSEIPayloadTypes[] = {
    {0, "buffering_period"},
    {1, "pic_timing"},
    {4, "user_data_registered_itut35"},
    {5, "user_data_unregistered"},
    {128, "structure_of_pictures_info"},
    {129, "active_parameter_sets"},
    {132, "decoded_picture_hash"},
    {137, "mastering_display_colour_volume"},
    {144, "content_light_level_info"},
    {147, "alternative_transfer_characteristics"},
    {148, "ambient_viewing_environment"},
    {149, "content_color_volume"},
    {165, "alpha_channel_info"},
    {176, "three_dimensional_reference_displays_info"},
};

// The fields whose values have names.
struct NamedField {
    uint32_t field;
    std::span<const NamedValue> values;
};
constexpr NamedField kNamedFields[] = {
    {HEVCField::chroma_format_idc, kChromaFormats},
    {HEVCField::video_format, kVideoFormats},
    {HEVCField::slice_type, kSliceTypes},
    {HEVCField::sei_payload_type, kSEIPayloadTypes},
};

// The name of a value; null where the field's values have none.
const char* valueName(uint32_t field, uint32_t value)
{
    if (field == HEVCField::nal_unit_type) return nalUnitTypeString(value);
    for (const NamedField& named : kNamedFields) {
        if (named.field != field) continue;
        for (const NamedValue& row : named.values)
            if (row.value == value) return row.name;
        return "?";
    }
    return nullptr;
}

const char* fieldName(uint32_t field) { return field < HEVCField::count ? NALFieldsStrings[field] : "unknown field"; }

template <typename... Arguments>
void add(void* text, const char* format, Arguments... arguments)
{
    char line[256];  // the longest name has 70 characters
    snprintf(line, sizeof(line), format, arguments...);
    ZoStringAppendCString(static_cast<ZoMutableStringRef>(text), line, kZoStringEncodingASCII);
}

OSStatus dumpFlag(void* text, uint32_t field, Boolean value, int32_t index)
{
    const char* state = value ? "SET" : "not set";
    if (index >= 0)
        add(text, "%s[%d]: %s\n", fieldName(field), index, state);
    else
        add(text, "%s: %s\n", fieldName(field), state);
    return 0;
}

OSStatus dumpUnsigned(void* text, uint32_t field, uint32_t value, int32_t)
{
    if (const char* name = valueName(field, value))
        add(text, "%s: %s (%u)\n", fieldName(field), name, value);
    else if (field == HEVCField::general_level_idc)
        add(text, "%s: %u (%f)\n", fieldName(field), value, value / 30.0);
    else
        add(text, "%s: %u\n", fieldName(field), value);
    return 0;
}

OSStatus dumpSigned(void* text, uint32_t field, int32_t value, int32_t)
{
    add(text, "%s: %d\n", fieldName(field), value);
    return 0;
}

void addBytes(void* text, std::span<const uint8_t> bytes)
{
    for (const uint8_t byte : bytes) add(text, "%02x", byte);
}

// Long data is shortened to its two ends.
OSStatus dumpData(void* text, uint32_t field, ZoDataRef data)
{
    const std::span<const uint8_t> bytes(ZoDataGetBytePtr(data), static_cast<size_t>(ZoDataGetLength(data)));
    add(text, "%s: {length = %lu, bytes = 0x", fieldName(field), static_cast<unsigned long>(bytes.size()));
    if (bytes.size() >= 25) {
        addBytes(text, bytes.first(16));
        add(text, "%s", " ... ");
        addBytes(text, bytes.last(8));
    } else {
        addBytes(text, bytes);
    }
    add(text, "%s", "}\n");
    return 0;
}

HEVCBridgeParseContext contextForEverything(void* text, HEVCBridgeParsingInfoRef parsingInfo)
{
    HEVCBridgeParseContext context = {.refcon = text,
                                      .flagCallback = dumpFlag,
                                      .unsignedCallback = dumpUnsigned,
                                      .signedCallback = dumpSigned,
                                      .dataCallback = dumpData,
                                      .ignoreVPSExtension = true};
    for (uint32_t field = 0; field < HEVCField::count; ++field) hevcbridgeRequest(&context, HEVCFieldPlace::of(field));
    if (parsingInfo) {
        context.digestCount = parsingInfo->digestCount;
        context.digests = parsingInfo->digests;
    }
    return context;
}

}  // namespace

OSStatus hevcbridgeCopyParsingInformationWith(const uint8_t* nalUnit, size_t nalUnitLength,
                                              HEVCBridgeParsingInfoRef parsingInfo, const HEVCWalkers& walkers,
                                              ZoStringRef* stringOut)
{
    if (stringOut) *stringOut = nullptr;
    HEVCBitstream reader = hevcbridgeBitstreamOver(nalUnit, nalUnitLength, true);
    TAV_TRY(hevcbridgeAdvanceInBitstream(&reader, 0));

    auto text = zoAdopt(ZoStringCreateMutable(kZoAllocatorDefault, 0));
    if (!text) return TAV_SIGNAL(kTavBridgeAllocationFailedErr, "text NULL");
    HEVCBridgeParseContext context = contextForEverything(text.get(), parsingInfo);
    const OSStatus status = hevcbridgeParseNALUnitWith(&reader, &context, walkers);
    if (status != 0) add(text.get(), "Error found: %d\n", status);
    if (stringOut) *stringOut = text.release();
    return 0;
}

OSStatus TavHEVCBridge_CopyParsingInformation(const uint8_t* nalUnit, size_t nalUnitLength,
                                              HEVCBridgeParsingInfoRef parsingInfo, ZoStringRef* stringOut)
{
    hevcbridgeRegisterTrace();
    return hevcbridgeCopyParsingInformationWith(nalUnit, nalUnitLength, parsingInfo, kHEVCWalkers, stringOut);
}
