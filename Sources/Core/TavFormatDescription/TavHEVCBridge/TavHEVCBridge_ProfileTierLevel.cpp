// profile_tier_level, ITU-T H.265 7.3.3.

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

// A condition of 7.3.3: general_profile_idc is one of these, or one of their compatibility flags is set.
static bool profileIsAmong(uint32_t first, uint32_t last, uint32_t profileIdc, uint32_t compatibilityFlags)
{
    for (uint32_t profile = first; profile <= last; ++profile)
        if (profileIdc == profile || (compatibilityFlags >> (31 - profile) & 1)) return true;
    return false;
}

// 7.3.3, the 43 bits and the one behind general_frame_only_constraint_flag.
static void walkProfileConstraints(HEVCWalker& w, uint32_t profileIdc, uint32_t compatibilityFlags)
{
    if (profileIsAmong(4, 7, profileIdc, compatibilityFlags)) {
        w.flag(HEVCField::general_max_12bit_constraint_flag);
        w.flag(HEVCField::general_max_10bit_constraint_flag);
        w.flag(HEVCField::general_max_8bit_constraint_flag);
        w.flag(HEVCField::general_max_422chroma_constraint_flag);
        w.flag(HEVCField::general_max_420chroma_constraint_flag);
        w.flag(HEVCField::general_max_monochrome_constraint_flag);
        w.flag(HEVCField::general_intra_constraint_flag);
        w.flag(HEVCField::general_one_picture_only_constraint_flag);
        w.flag(HEVCField::general_lower_bit_rate_constraint_flag);
        w.skip(34);  // general_reserved_zero_34bits
    } else {
        w.skip(43);  // general_reserved_zero_43bits
    }
    if (profileIsAmong(1, 5, profileIdc, compatibilityFlags))
        w.flag(HEVCField::general_inbld_flag);
    else
        w.skip(1);  // general_reserved_zero_bit
}

// 7.3.3, the general part of the profile.
static void walkGeneralProfile(HEVCWalker& w)
{
    w.u(2, HEVCField::general_profile_space);
    w.flag(HEVCField::general_tier_flag);
    const uint32_t profileIdc = w.needU(5, HEVCField::general_profile_idc);
    const uint32_t compatibilityFlags = w.needU(32, HEVCField::general_profile_compatibility_flags);

    if (w.isRequested(HEVCField::general_constraint_indicator_flags_hi) ||
        w.isRequested(HEVCField::general_constraint_indicator_flags_low)) {
        w.u(16, HEVCField::general_constraint_indicator_flags_hi);
        w.u(32, HEVCField::general_constraint_indicator_flags_low);
        return;
    }
    w.flag(HEVCField::general_progressive_source_flag);
    w.flag(HEVCField::general_interlaced_source_flag);
    w.flag(HEVCField::general_non_packed_constraint_flag);
    w.flag(HEVCField::general_frame_only_constraint_flag);
    walkProfileConstraints(w, profileIdc, compatibilityFlags);
}

// 7.3.3
OSStatus hevcbridgeParseProfileTierLevel(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                         bool profilePresentFlag, uint32_t maxNumSubLayersMinus1)
{
    constexpr uint32_t kMostSubLayers = 7;
    HEVCWalker w(reader, context);
    w.require(maxNumSubLayersMinus1 < kMostSubLayers,
              "{hevcbridgeParseProfileTierLevel} ERROR: maxNumSubLayersMinus1 out of range");
    if (!w.ok()) return w.status();

    if (profilePresentFlag) walkGeneralProfile(w);
    w.u(8, HEVCField::general_level_idc);

    uint32_t subLayerBits = 0;
    w.times(maxNumSubLayersMinus1, [&] {
        if (w.pull(1)) subLayerBits += 88;  // sub_layer_profile_present_flag
        if (w.pull(1)) subLayerBits += 8;   // sub_layer_level_present_flag
    });
    if (maxNumSubLayersMinus1 > 0) w.skip(2 * (8 - maxNumSubLayersMinus1));  // reserved_zero_2bits
    w.skip(subLayerBits);
    return w.status();
}
