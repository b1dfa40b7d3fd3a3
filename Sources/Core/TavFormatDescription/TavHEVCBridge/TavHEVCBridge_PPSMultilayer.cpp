// pps_multilayer_extension with its colour mapping, ITU-T H.265 F.7.3.2.3.4 to F.7.3.2.3.6.

#include <algorithm>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCPictureParameterSet.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

namespace {

void walkReferenceLayerOffsets(HEVCWalker& w)
{
    w.u(6, HEVCField::ref_loc_offset_layer_id);
    if (w.needFlag(HEVCField::scaled_ref_layer_offset_present_flag)) {
        w.se(HEVCField::scaled_ref_layer_left_offset);
        w.se(HEVCField::scaled_ref_layer_top_offset);
        w.se(HEVCField::scaled_ref_layer_right_offset);
        w.se(HEVCField::scaled_ref_layer_bottom_offset);
    }
    if (w.needFlag(HEVCField::ref_region_offset_present_flag)) {
        w.se(HEVCField::ref_region_left_offset);
        w.se(HEVCField::ref_region_top_offset);
        w.se(HEVCField::ref_region_right_offset);
        w.se(HEVCField::ref_region_bottom_offset);
    }
    if (w.needFlag(HEVCField::resample_phase_set_present_flag)) {
        w.ue(HEVCField::phase_hor_luma);
        w.ue(HEVCField::phase_ver_luma);
        w.ue(HEVCField::phase_hor_chroma_plus8);
        w.ue(HEVCField::phase_ver_chroma_plus8);
    }
}

struct ColourMapping {
    uint32_t octantDepth;
    uint32_t partNumY;
    int32_t resLSBits;  // the width of res_coeff_r; one that cannot be read fails where it is read
};

void walkResidual(HEVCWalker& w, const ColourMapping& mapping)
{
    const uint32_t res_coeff_q = w.needUE(HEVCField::res_coeff_q);
    const uint32_t res_coeff_r = mapping.resLSBits != 0 ? w.needU(mapping.resLSBits, HEVCField::res_coeff_r) : 0;
    if (res_coeff_q || res_coeff_r) w.flag(HEVCField::res_coeff_s);
}

// F.7.3.2.3.6. No deeper than the three levels that two bits can say.
void walkOctants(HEVCWalker& w, const ColourMapping& mapping, uint32_t inpDepth)
{
    if (inpDepth < mapping.octantDepth && w.needFlag(HEVCField::split_octant_flag)) {
        w.times(8, [&] { walkOctants(w, mapping, inpDepth + 1); });
        return;
    }
    w.times(mapping.partNumY * 4, [&] {
        if (w.needFlag(HEVCField::coded_res_flag)) w.times(3, [&] { walkResidual(w, mapping); });
    });
}

// 9 + input - output - quantizer - delta, which takes more than 32 bits; what no width can be stays none.
int32_t residualBits(uint32_t inputMinus8, uint32_t outputMinus8, uint32_t quantBits, uint32_t deltaBitsMinus1)
{
    const int64_t bits = int64_t{9} + inputMinus8 - outputMinus8 - quantBits - deltaBitsMinus1;
    return static_cast<int32_t>(std::clamp<int64_t>(bits, -1, 33));
}

// F.7.3.2.3.5
void walkColourMapping(HEVCWalker& w)
{
    const uint32_t num_cm_ref_layers_minus1 = w.needUE(HEVCField::num_cm_ref_layers_minus1);
    w.require(num_cm_ref_layers_minus1 <= 61,
              "{hevcbridgeParsePictureParameterSetMultilayerExtension} ERROR: num_cm_ref_layers_minus1 out of range");
    w.times(num_cm_ref_layers_minus1 + 1, [&] { w.u(6, HEVCField::cm_ref_layer_id); });
    const uint32_t cm_octant_depth = w.needU(2, HEVCField::cm_octant_depth);
    const uint32_t cm_y_part_num_log2 = w.needU(2, HEVCField::cm_y_part_num_log2);
    const uint32_t luma_bit_depth_cm_input_minus8 = w.needUE(HEVCField::luma_bit_depth_cm_input_minus8);
    w.ue(HEVCField::chroma_bit_depth_cm_input_minus8);
    const uint32_t luma_bit_depth_cm_output_minus8 = w.needUE(HEVCField::luma_bit_depth_cm_output_minus8);
    w.ue(HEVCField::chroma_bit_depth_cm_output_minus8);
    const uint32_t cm_res_quant_bits = w.needU(2, HEVCField::cm_res_quant_bits);
    const uint32_t cm_delta_flc_bits_minus1 = w.needU(2, HEVCField::cm_delta_flc_bits_minus1);
    if (cm_octant_depth == 1) {
        w.se(HEVCField::cm_adapt_threshold_u_delta);
        w.se(HEVCField::cm_adapt_threshold_v_delta);
    }
    const ColourMapping mapping = {
        .octantDepth = cm_octant_depth,
        .partNumY = 1u << cm_y_part_num_log2,
        .resLSBits = residualBits(luma_bit_depth_cm_input_minus8, luma_bit_depth_cm_output_minus8, cm_res_quant_bits,
                                  cm_delta_flc_bits_minus1),
    };
    walkOctants(w, mapping, 0);
}

}  // namespace

// F.7.3.2.3.4
OSStatus hevcbridgeParsePictureParameterSetMultilayerExtension(HEVCBitstream* reader,
                                                               const HEVCBridgeParseContext* context)
{
    HEVCWalker w(reader, context);
    w.flag(HEVCField::poc_reset_info_present_flag);
    if (w.needFlag(HEVCField::pps_infer_scaling_list_flag)) w.u(6, HEVCField::pps_scaling_list_ref_layer_id);
    const uint32_t num_ref_loc_offsets = w.needUE(HEVCField::num_ref_loc_offsets);
    w.require(num_ref_loc_offsets <= 1024,
              "{hevcbridgeParsePictureParameterSetMultilayerExtension} ERROR: num_ref_loc_offsets out of range");
    w.times(num_ref_loc_offsets, [&] { walkReferenceLayerOffsets(w); });
    if (w.needFlag(HEVCField::colour_mapping_enabled_flag)) walkColourMapping(w);
    return w.status();
}
