// pic_parameter_set_rbsp, ITU-T H.265 7.3.2.3, with the extensions for ranges and for screen content.

#include <algorithm>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParameterSets.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCPictureParameterSet.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

namespace {

void walkReferenceCounts(HEVCWalker& w, HEVCPPSDigest& digest)
{
    constexpr uint32_t kMostMinus1 = 14;
    digest.numRefIdxL0DefaultActiveMinus1 = w.needUE(HEVCField::num_ref_idx_l0_default_active_minus1);
    w.require(digest.numRefIdxL0DefaultActiveMinus1 <= kMostMinus1,
              "{hevcbridgeParsePictureParameterSet} ERROR: num_ref_idx_l0_default_active_minus1 out of range");
    digest.numRefIdxL1DefaultActiveMinus1 = w.needUE(HEVCField::num_ref_idx_l1_default_active_minus1);
    w.require(digest.numRefIdxL1DefaultActiveMinus1 <= kMostMinus1,
              "{hevcbridgeParsePictureParameterSet} ERROR: num_ref_idx_l1_default_active_minus1 out of range");
}

void walkTiles(HEVCWalker& w)
{
    const uint32_t num_tile_columns_minus1 = w.needUE(HEVCField::num_tile_columns_minus1);
    const uint32_t num_tile_rows_minus1 = w.needUE(HEVCField::num_tile_rows_minus1);
    if (!w.needFlag(HEVCField::uniform_spacing_flag)) {
        w.times(num_tile_columns_minus1, [&] { w.skipUE(); });  // column_width_minus1
        w.times(num_tile_rows_minus1, [&] { w.skipUE(); });     // row_height_minus1
    }
    w.flag(HEVCField::loop_filter_across_tiles_enabled_flag);
}

void walkDeblocking(HEVCWalker& w, HEVCPPSDigest& digest)
{
    if (!w.needFlag(HEVCField::deblocking_filter_control_present_flag)) return;
    digest.deblockingFilterOverrideEnabled = w.needFlag(HEVCField::deblocking_filter_override_enabled_flag);
    digest.deblockingFilterDisabled = w.needFlag(HEVCField::pps_deblocking_filter_disabled_flag);
    if (digest.deblockingFilterDisabled) return;
    w.se(HEVCField::pps_beta_offset_div2);
    w.se(HEVCField::pps_tc_offset_div2);
}

// From init_qp_minus26 on; whether transform_skip_enabled_flag was set.
bool walkCodingTools(HEVCWalker& w, HEVCPPSDigest& digest)
{
    w.se(HEVCField::init_qp_minus26);
    w.flag(HEVCField::constrained_intra_pred_flag);
    const bool transform_skip_enabled_flag = w.needFlag(HEVCField::transform_skip_enabled_flag);
    if (w.needFlag(HEVCField::cu_qp_delta_enabled_flag)) w.ue(HEVCField::diff_cu_qp_delta_depth);
    w.se(HEVCField::pps_cb_qp_offset);
    w.se(HEVCField::pps_cr_qp_offset);
    digest.sliceChromaQpOffsetsPresent = w.needFlag(HEVCField::pps_slice_chroma_qp_offsets_present_flag);
    digest.weightedPred = w.needFlag(HEVCField::weighted_pred_flag);
    digest.weightedBipred = w.needFlag(HEVCField::weighted_bipred_flag);
    w.flag(HEVCField::transquant_bypass_enabled_flag);
    digest.tilesEnabled = w.needFlag(HEVCField::tiles_enabled_flag);
    digest.entropyCodingSyncEnabled = w.needFlag(HEVCField::entropy_coding_sync_enabled_flag);
    if (digest.tilesEnabled) walkTiles(w);
    digest.loopFilterAcrossSlicesEnabled = w.needFlag(HEVCField::pps_loop_filter_across_slices_enabled_flag);
    walkDeblocking(w, digest);
    if (w.needFlag(HEVCField::pps_scaling_list_data_present_flag)) w.structure(hevcbridgeParseScalingListData);
    digest.listsModificationPresent = w.needFlag(HEVCField::lists_modification_present_flag);
    w.ue(HEVCField::log2_parallel_merge_level_minus2);
    digest.sliceSegmentHeaderExtensionPresent = w.needFlag(HEVCField::slice_segment_header_extension_present_flag);
    return transform_skip_enabled_flag;
}

// 7.3.2.3.2
void walkRangeExtension(HEVCWalker& w, HEVCPPSDigest& digest, bool transformSkipEnabled)
{
    if (transformSkipEnabled) w.ue(HEVCField::log2_max_transform_skip_block_size_minus2);
    w.flag(HEVCField::cross_component_prediction_enabled_flag);
    digest.chromaQpOffsetListEnabled = w.needFlag(HEVCField::chroma_qp_offset_list_enabled_flag);
    if (digest.chromaQpOffsetListEnabled) {
        w.ue(HEVCField::diff_cu_chroma_qp_offset_depth);
        w.times(w.needUE(HEVCField::chroma_qp_offset_list_len_minus1) + 1, [&] {
            w.skipSE();  // cb_qp_offset_list
            w.skipSE();  // cr_qp_offset_list
        });
    }
    w.ue(HEVCField::log2_sao_offset_scale_luma);
    w.ue(HEVCField::log2_sao_offset_scale_chroma);
}

// The width of a palette entry; where it is too wide to be read, wide enough for the bits to end.
int32_t entryBits(uint32_t bitDepthMinus8)
{
    return static_cast<int32_t>(std::min<uint64_t>(uint64_t{bitDepthMinus8} + 8, INT32_MAX));
}

void walkPalette(HEVCWalker& w)
{
    const uint32_t count = w.needUE(HEVCField::pps_num_palette_predictor_initializers);
    if (count == 0) return;
    const bool monochrome_palette_flag = w.needFlag(HEVCField::monochrome_palette_flag);
    const int32_t lumaBits = entryBits(w.needUE(HEVCField::luma_bit_depth_entry_minus8));
    const int32_t chromaBits =
        monochrome_palette_flag ? 0 : entryBits(w.needUE(HEVCField::chroma_bit_depth_entry_minus8));
    w.times(monochrome_palette_flag ? 1 : 3, [&](uint32_t comp) {
        w.times(count, [&] { w.u(comp == 0 ? lumaBits : chromaBits, HEVCField::pps_palette_predictor_initializer); });
    });
}

// 7.3.2.3.3
void walkScreenContentExtension(HEVCWalker& w, HEVCPPSDigest& digest)
{
    digest.currPicRefEnabled = w.needFlag(HEVCField::pps_curr_pic_ref_enabled_flag);
    if (w.needFlag(HEVCField::residual_adaptive_colour_transform_enabled_flag)) {
        w.flag(HEVCField::pps_slice_act_qp_offsets_present_flag);
        w.se(HEVCField::pps_act_y_qp_offset_plus5);
        w.se(HEVCField::pps_act_cb_qp_offset_plus5);
        w.se(HEVCField::pps_act_cr_qp_offset_plus3);
    }
    if (w.needFlag(HEVCField::pps_palette_predictor_initializers_present_flag)) walkPalette(w);
}

void walkExtensions(HEVCWalker& w, HEVCPPSDigest& digest, bool transformSkipEnabled)
{
    const bool pps_range_extension_flag = w.needFlag(HEVCField::pps_range_extension_flag);
    const bool pps_multilayer_extension_flag = w.needFlag(HEVCField::pps_multilayer_extension_flag);
    const bool pps_3d_extension_flag = w.needFlag(HEVCField::pps_3d_extension_flag);
    const bool pps_scc_extension_flag = w.needFlag(HEVCField::pps_scc_extension_flag);
    const uint32_t pps_extension_4bits = w.needU(4, HEVCField::pps_extension_4bits);
    if (pps_range_extension_flag) walkRangeExtension(w, digest, transformSkipEnabled);
    if (pps_multilayer_extension_flag) w.structure(hevcbridgeParsePictureParameterSetMultilayerExtension);
    w.require(!pps_3d_extension_flag,
              "{hevcbridgeParsePictureParameterSet} ERROR: 3D extension (Annex I) not supported.");
    if (pps_scc_extension_flag) walkScreenContentExtension(w, digest);
    if (pps_extension_4bits == 0) return;
    const uint8_t* nonZeroBehind = nullptr;
    while (w.moreRBSPData(&nonZeroBehind)) w.flag(HEVCField::pps_extension_data_flag);
}

}  // namespace

// 7.3.2.3.1
OSStatus hevcbridgeParsePictureParameterSet(HEVCBitstream* reader, const HEVCBridgeParseContext* context)
{
    HEVCPPSDigest unwanted = {};
    HEVCDigestInMaking<HEVCPPSDigest> making(context->digestOut);
    HEVCWalker w(reader, context);
    const uint32_t pps_pic_parameter_set_id = w.needUE(HEVCField::pps_pic_parameter_set_id);
    if (w.ok() && making.isWanted()) w.end(making.allocate(unwanted, pps_pic_parameter_set_id));

    HEVCPPSDigest& digest = making.get() ? *making.get() : unwanted;
    digest.seqParameterSetId = w.needUE(HEVCField::pps_seq_parameter_set_id);
    digest.dependentSliceSegmentsEnabled = w.needFlag(HEVCField::dependent_slice_segments_enabled_flag);
    digest.outputFlagPresent = w.needFlag(HEVCField::output_flag_present_flag);
    digest.numExtraSliceHeaderBits = w.needU(3, HEVCField::num_extra_slice_header_bits);
    w.flag(HEVCField::sign_data_hiding_enabled_flag);
    digest.cabacInitPresent = w.needFlag(HEVCField::cabac_init_present_flag);
    walkReferenceCounts(w, digest);
    const bool transformSkipEnabled = walkCodingTools(w, digest);
    if (w.needFlag(HEVCField::pps_extension_present_flag)) walkExtensions(w, digest, transformSkipEnabled);
    return making.finish(w.status());
}
