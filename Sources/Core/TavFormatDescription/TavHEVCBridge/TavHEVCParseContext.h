// What a caller wants to be told while a NAL unit is walked: fields by identifier, filter bits that ask for them, and
// the callbacks that receive them. A walk skips what nobody asked for without decoding it, and goes on until a callback
// stops it. Reader and context serve one NAL unit and one thread. A callback may change filters and callbacks for what
// is still to come, though the walk takes the context as const: what a callback changes must not be a const object.
//
//     HEVCBridgeParseContext context = {.refcon = &found, .unsignedCallback = takeWidth};
//     hevcbridgeRequest(&context, HEVCField::pic_width_in_luma_samples);
//     TAV_TRY(hevcbridgeParseNALUnit(&reader, &context));

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "Foundation/Values/ZoData.h"
#include "Platform/Common/LuBase.h"

namespace HEVCField {
enum Identifier : uint32_t {
#define HEVC_FIELD(name) name,
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCFields.inc"
#undef HEVC_FIELD
    count
};
}  // namespace HEVCField

/// The names of the fields by identifier.
extern const char* const NALFieldsStrings[HEVCField::count];
/// The name of a nal_unit_type (H.265 table 7-1); "?" from 64 on.
const char* nalUnitTypeString(uint32_t nalUnitType);

/// How every retained parameter set begins.
struct HEVCDigest {
    uint32_t nalUnitType;
    uint32_t parameterSetId;
};

/// The parameter sets of a stream that slices refer to.
struct HEVCBridgeParsingInfo {
    uint64_t digestCount;
    HEVCDigest* digests[];
};

/// The index of an element that belongs to no numbered array is -1. A callback returns 0 to go on,
/// kTavBridgeStopParsing to end the walk without error, anything else to end it with that. Data is valid during the
/// call.
typedef OSStatus (*HEVCBridgeFlagCallback)(void* refcon, uint32_t fieldIdentifier, Boolean value, int32_t index);
typedef OSStatus (*HEVCBridgeUnsignedCallback)(void* refcon, uint32_t fieldIdentifier, uint32_t value, int32_t index);
typedef OSStatus (*HEVCBridgeSignedCallback)(void* refcon, uint32_t fieldIdentifier, int32_t value, int32_t index);
typedef OSStatus (*HEVCBridgeDataCallback)(void* refcon, uint32_t fieldIdentifier, ZoDataRef value);

/// Zero-filled, then populated. A callback is called only for fields whose filter bit is set. In a filter a field's bit
/// is its identifier less the first of its group; see kHEVCFilterGroups.
struct HEVCBridgeParseContext {
    void* refcon;
    HEVCBridgeFlagCallback flagCallback;          ///< one-bit elements
    HEVCBridgeUnsignedCallback unsignedCallback;  ///< u(n) and ue(v)
    HEVCBridgeSignedCallback signedCallback;      ///< se(v), and signed elements of a fixed width
    HEVCBridgeDataCallback dataCallback;          ///< byte strings

    uint64_t headerFilter;
    /// For the kind of NAL unit that the caller expects: bit 0 is one field in an SPS and another in a PPS. The caller
    /// rejects other kinds when it is told of nal_unit_type.
    uint64_t syntaxFilter[2];
    uint64_t profileTierLevelFilter;
    uint64_t hrdFilter;
    uint64_t alphaFilter;
    uint64_t ambientFilter;
    uint64_t threeDFilter;
    uint64_t t35Filter;
    uint64_t st2094Filter;
    uint64_t rpuDmFilter;
    uint64_t rpuMappingFilter;
    uint64_t rpuMappingParamFilter;
    uint64_t rpuExtHeaderFilter;
    uint64_t rpuExtBlockFilter;
    uint64_t rpuExtBlockHighFilter;
    uint64_t rpuExtHeader2Filter;

    uint64_t digestCount;
    HEVCDigest* const* digests;  ///< parameter sets that a slice may refer to
    HEVCDigest** digestOut;      ///< where not null, gets what is kept of a parameter set; the caller frees it
    Boolean ignoreVPSExtension;
};

/// Where the filter bits of a run of fields stand.
struct HEVCFilterGroup {
    uint32_t first;   ///< identifier; the run ends where the next begins
    uint32_t offset;  ///< of the first filter word in the context
};

// clang-format off
inline constexpr HEVCFilterGroup kHEVCFilterGroups[] = {
    {HEVCField::nal_unit_type, offsetof(HEVCBridgeParseContext, headerFilter)},
    {HEVCField::vps_video_parameter_set_id, offsetof(HEVCBridgeParseContext, syntaxFilter)},
    {HEVCField::sps_video_parameter_set_id, offsetof(HEVCBridgeParseContext, syntaxFilter)},
    {HEVCField::pps_pic_parameter_set_id, offsetof(HEVCBridgeParseContext, syntaxFilter)},
    {HEVCField::first_slice_segment_in_pic_flag, offsetof(HEVCBridgeParseContext, syntaxFilter)},
    {HEVCField::general_profile_space, offsetof(HEVCBridgeParseContext, profileTierLevelFilter)},
    {HEVCField::nal_hrd_parameters_present_flag, offsetof(HEVCBridgeParseContext, hrdFilter)},
    {HEVCField::sei_message, offsetof(HEVCBridgeParseContext, syntaxFilter)},
    {HEVCField::alpha_channel_cancel_flag, offsetof(HEVCBridgeParseContext, alphaFilter)},
    {HEVCField::ambient_illuminance, offsetof(HEVCBridgeParseContext, ambientFilter)},
    {HEVCField::prec_ref_display_width, offsetof(HEVCBridgeParseContext, threeDFilter)},
    {HEVCField::itu_t_t35_country_code, offsetof(HEVCBridgeParseContext, t35Filter)},
    {HEVCField::application_identifier, offsetof(HEVCBridgeParseContext, st2094Filter)},
    {HEVCField::rpu_type, offsetof(HEVCBridgeParseContext, syntaxFilter)},
    {HEVCField::affected_dm_metadata_id, offsetof(HEVCBridgeParseContext, rpuDmFilter)},
    {HEVCField::mapping_idc, offsetof(HEVCBridgeParseContext, rpuMappingFilter)},
    {HEVCField::poly_order_minus1, offsetof(HEVCBridgeParseContext, rpuMappingParamFilter)},
    {HEVCField::ext_block_length, offsetof(HEVCBridgeParseContext, rpuExtHeaderFilter)},
    {HEVCField::level_1_min_PQ, offsetof(HEVCBridgeParseContext, rpuExtBlockFilter)},
    {HEVCField::level_10_target_primary_white_y, offsetof(HEVCBridgeParseContext, rpuExtBlockHighFilter)},
    {HEVCField::num_ext_blocks2, offsetof(HEVCBridgeParseContext, rpuExtHeader2Filter)},
};
// clang-format on

/// Where a field's filter bit stands: offset of the word in the context, and bit.
struct HEVCFilterBit {
    uint16_t word;
    uint8_t bit;
};

/// Those of all fields by identifier.
inline constexpr std::array<HEVCFilterBit, HEVCField::count> kHEVCFilterBits = [] {
    std::array<HEVCFilterBit, HEVCField::count> bits = {};
    const HEVCFilterGroup* group = kHEVCFilterGroups;
    for (uint32_t field = 0; field < HEVCField::count; ++field) {
        if (group + 1 != std::end(kHEVCFilterGroups) && group[1].first == field) ++group;
        const uint32_t bit = field - group->first;
        bits[field] = {static_cast<uint16_t>(group->offset + bit / 64 * 8), static_cast<uint8_t>(bit % 64)};
    }
    return bits;
}();

/// A field with the place of its filter bit: worked out by the compiler where the field is written as a constant,
/// looked up where it is told at run time.
struct HEVCFieldPlace {
    consteval HEVCFieldPlace(HEVCField::Identifier field) : HEVCFieldPlace(of(field)) {}

    /// `field` is below HEVCField::count.
    static constexpr HEVCFieldPlace of(uint32_t field)
    {
        return {static_cast<uint16_t>(field), kHEVCFilterBits[field]};
    }

    uint16_t identifier;
    uint16_t word;
    uint8_t bit;

private:
    constexpr HEVCFieldPlace(uint16_t field, HEVCFilterBit place) : identifier(field), word(place.word), bit(place.bit)
    {}
};

inline bool hevcbridgeIsRequested(const HEVCBridgeParseContext* context, HEVCFieldPlace field)
{
    const char* word = reinterpret_cast<const char*>(context) + field.word;
    return *reinterpret_cast<const uint64_t*>(word) >> field.bit & 1;
}

inline void hevcbridgeRequest(HEVCBridgeParseContext* context, HEVCFieldPlace field, bool isRequested = true)
{
    auto* word = reinterpret_cast<uint64_t*>(reinterpret_cast<char*>(context) + field.word);
    *word = isRequested ? *word | uint64_t{1} << field.bit : *word & ~(uint64_t{1} << field.bit);
}
