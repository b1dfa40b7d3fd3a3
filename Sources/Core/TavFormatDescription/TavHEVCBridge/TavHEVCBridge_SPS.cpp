// seq_parameter_set_rbsp, ITU-T H.265 7.3.2.2 and F.7.3.2.2.1, with vui_parameters, E.2.1.

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParameterSets.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

namespace {

// What later elements depend on, beyond what the digest has.
struct SPS {
    HEVCSPSDigest digest;  // until it has its place
    uint32_t parameterSetId;
    uint32_t maxSubLayersMinus1;
};

// The window's offsets follow each other in the syntax and among the fields.
void walkWindow(HEVCWalker& w, uint32_t leftOffset)
{
    for (uint32_t side = 0; side < 4; ++side) w.ue(HEVCFieldPlace::of(leftOffset + side));
}

// MaxSubLayersMinus1 of a set whose format comes from the VPS.
uint32_t maxSubLayersMinus1Of(const HEVCBridgeParseContext* context, uint32_t videoParameterSetId)
{
    const auto* vps = hevcbridgeFindDigest<HEVCVPSDigest>(context, videoParameterSetId);
    return vps ? vps->maxSubLayersMinus1 : 0;
}

void walkIdentifiers(HEVCWalker& w, const HEVCBridgeParseContext* context, SPS& sps)
{
    HEVCSPSDigest& digest = sps.digest;
    digest.videoParameterSetId = w.needU(4, HEVCField::sps_video_parameter_set_id);
    if (digest.nuhLayerId == 0) {
        sps.maxSubLayersMinus1 = w.needU(3, HEVCField::sps_max_sub_layers_minus1);
    } else {
        sps.maxSubLayersMinus1 = w.needU(3, HEVCField::sps_ext_or_max_sub_layers_minus1);
        digest.multiLayerExtSps = sps.maxSubLayersMinus1 == 7;
    }
    if (digest.multiLayerExtSps) {
        sps.maxSubLayersMinus1 = maxSubLayersMinus1Of(context, digest.videoParameterSetId);
    } else {
        w.flag(HEVCField::sps_temporal_id_nesting_flag);
        w.structure(hevcbridgeParseProfileTierLevel, true, sps.maxSubLayersMinus1);
    }
    sps.parameterSetId = w.needUE(HEVCField::sps_seq_parameter_set_id);
}

void walkFormat(HEVCWalker& w, HEVCSPSDigest& digest)
{
    if (digest.multiLayerExtSps) {
        digest.updateRepFormat = w.needFlag(HEVCField::update_rep_format_flag);
        if (digest.updateRepFormat) digest.repFormatIdx = w.needU(8, HEVCField::sps_rep_format_idx);
        return;
    }
    const uint32_t chroma_format_idc = w.needUE(HEVCField::chroma_format_idc);
    if (chroma_format_idc == 3) digest.separateColourPlane = w.needFlag(HEVCField::separate_colour_plane_flag);
    digest.chromaArrayType = digest.separateColourPlane ? 0 : chroma_format_idc;
    digest.picWidth = w.needUE(HEVCField::pic_width_in_luma_samples);
    digest.picHeight = w.needUE(HEVCField::pic_height_in_luma_samples);
    if (w.needFlag(HEVCField::conformance_window_flag)) walkWindow(w, HEVCField::conf_win_left_offset);
    w.ue(HEVCField::bit_depth_luma_minus8);
    w.ue(HEVCField::bit_depth_chroma_minus8);
}

void walkSubLayerOrdering(HEVCWalker& w, uint32_t maxSubLayersMinus1)
{
    const bool isForEach = w.needFlag(HEVCField::sps_sub_layer_ordering_info_present_flag);
    w.times(isForEach ? maxSubLayersMinus1 + 1 : 1, [&] {
        w.skipUE();  // sps_max_dec_pic_buffering_minus1
        w.skipUE();  // sps_max_num_reorder_pics
        w.skipUE();  // sps_max_latency_increase_plus1
    });
}

void walkScalingLists(HEVCWalker& w, bool multiLayerExtSps)
{
    if (!w.needFlag(HEVCField::scaling_list_enabled_flag)) return;
    if (multiLayerExtSps && w.needFlag(HEVCField::sps_infer_scaling_list_flag))
        w.u(6, HEVCField::sps_scaling_list_ref_layer_id);
    else if (w.needFlag(HEVCField::sps_scaling_list_data_present_flag))
        w.structure(hevcbridgeParseScalingListData);
}

void walkCodingTools(HEVCWalker& w, HEVCSPSDigest& digest)
{
    digest.log2MinLumaCodingBlockSizeMinus3 = w.needUE(HEVCField::log2_min_luma_coding_block_size_minus3);
    digest.log2DiffMaxMinLumaCodingBlockSize = w.needUE(HEVCField::log2_diff_max_min_luma_coding_block_size);
    w.ue(HEVCField::log2_min_luma_transform_block_size_minus2);
    w.ue(HEVCField::log2_diff_max_min_luma_transform_block_size);
    w.ue(HEVCField::max_transform_hierarchy_depth_inter);
    w.ue(HEVCField::max_transform_hierarchy_depth_intra);
    walkScalingLists(w, digest.multiLayerExtSps);
    w.flag(HEVCField::amp_enabled_flag);
    digest.sampleAdaptiveOffsetEnabled = w.needFlag(HEVCField::sample_adaptive_offset_enabled_flag);
    if (w.needFlag(HEVCField::pcm_enabled_flag)) {
        w.u(4, HEVCField::pcm_sample_bit_depth_luma_minus1);
        w.u(4, HEVCField::pcm_sample_bit_depth_chroma_minus1);
        w.ue(HEVCField::log2_min_pcm_luma_coding_block_size_minus3);
        w.ue(HEVCField::log2_diff_max_min_pcm_luma_coding_block_size);
        w.flag(HEVCField::pcm_loop_filter_disabled_flag);
    }
}

// The sets refer to each other, so that they need a place also where nobody wants them.
void walkShortTermSets(HEVCWalker& w, SPS& sps, HEVCDigestInMaking<HEVCSPSDigest>& making)
{
    const uint32_t num_short_term_ref_pic_sets = w.needUE(HEVCField::num_short_term_ref_pic_sets);
    w.require(num_short_term_ref_pic_sets <= HEVCSPSDigest::kMostShortTermSets,
              "{hevcbridgeParseSequenceParameterSet} ERROR: num_short_term_ref_pic_sets out of range");
    if (!w.ok() || (num_short_term_ref_pic_sets == 0 && !making.isWanted())) return;

    sps.digest.numShortTermRefPicSets = num_short_term_ref_pic_sets;
    const OSStatus status =
        making.allocate(sps.digest, sps.parameterSetId, num_short_term_ref_pic_sets * sizeof(HEVCShortTermRPS));
    if (status != 0) return w.end(status);
    HEVCShortTermRPS* sets = making.get()->shortTermRefPicSets();
    w.times(num_short_term_ref_pic_sets, [&](uint32_t i) {
        w.structure(hevcbridgeParseSTRefPicSet, i, num_short_term_ref_pic_sets, sets, sets + i);
    });
}

void walkLongTermPics(HEVCWalker& w, HEVCSPSDigest& digest)
{
    digest.longTermRefPicsPresent = w.needFlag(HEVCField::long_term_ref_pics_present_flag);
    if (!digest.longTermRefPicsPresent) return;
    const uint32_t num_long_term_ref_pics_sps = w.needUE(HEVCField::num_long_term_ref_pics_sps);
    w.require(num_long_term_ref_pics_sps <= HEVCSPSDigest::kMostLongTermPics,
              "{hevcbridgeParseSequenceParameterSet} ERROR: num_long_term_ref_pics_sps out of range");
    if (!w.ok()) return;
    digest.numLongTermRefPicsSps = num_long_term_ref_pics_sps;
    w.times(num_long_term_ref_pics_sps, [&](uint32_t i) {
        w.skip(digest.log2MaxPicOrderCntLsbMinus4 + 4);  // lt_ref_pic_poc_lsb_sps
        digest.usedByCurrPicLtSps[i] = static_cast<uint8_t>(w.pull(1));
    });
}

void walkVideoSignal(HEVCWalker& w)
{
    if (w.needFlag(HEVCField::aspect_ratio_info_present_flag)) {
        constexpr uint32_t kExtendedSAR = 255;
        if (w.needU(8, HEVCField::aspect_ratio_idc) == kExtendedSAR) {
            w.u(16, HEVCField::sar_width);
            w.u(16, HEVCField::sar_height);
        }
    }
    if (w.needFlag(HEVCField::overscan_info_present_flag)) w.flag(HEVCField::overscan_appropriate_flag);
    if (w.needFlag(HEVCField::video_signal_type_present_flag)) {
        w.u(3, HEVCField::video_format);
        w.flag(HEVCField::video_full_range_flag);
        if (w.needFlag(HEVCField::colour_description_present_flag)) {
            w.u(8, HEVCField::colour_primaries);
            w.u(8, HEVCField::transfer_characteristics);
            w.u(8, HEVCField::matrix_coeffs);
        }
    }
    if (w.needFlag(HEVCField::chroma_loc_info_present_flag)) {
        w.ue(HEVCField::chroma_sample_loc_type_top_field);
        w.ue(HEVCField::chroma_sample_loc_type_bottom_field);
    }
}

void walkTiming(HEVCWalker& w, uint32_t maxSubLayersMinus1)
{
    if (!w.needFlag(HEVCField::vui_timing_info_present_flag)) return;
    w.u(32, HEVCField::vui_num_units_in_tick);
    w.u(32, HEVCField::vui_time_scale);
    if (w.needFlag(HEVCField::vui_poc_proportional_to_timing_flag)) w.ue(HEVCField::vui_num_ticks_poc_diff_one_minus1);
    HEVCHRDCommon common = {};
    if (w.needFlag(HEVCField::vui_hrd_parameters_present_flag))
        w.structure(hevcbridgeParseHRDParameters, true, maxSubLayersMinus1, &common);
}

// E.2.1
void walkVUI(HEVCWalker& w, uint32_t maxSubLayersMinus1)
{
    walkVideoSignal(w);
    w.flag(HEVCField::neutral_chroma_indication_flag);
    w.flag(HEVCField::field_seq_flag);
    w.flag(HEVCField::frame_field_info_present_flag);
    if (w.needFlag(HEVCField::default_display_window_flag)) walkWindow(w, HEVCField::def_disp_win_left_offset);
    walkTiming(w, maxSubLayersMinus1);
    if (!w.needFlag(HEVCField::bitstream_restriction_flag)) return;
    w.flag(HEVCField::tiles_fixed_structure_flag);
    w.flag(HEVCField::motion_vectors_over_pic_boundaries_flag);
    w.flag(HEVCField::restricted_ref_pic_lists_flag);
    w.ue(HEVCField::min_spatial_segmentation_idc);
    w.ue(HEVCField::max_bytes_per_pic_denom);
    w.ue(HEVCField::max_bits_per_min_cu_denom);
    w.ue(HEVCField::log2_max_mv_length_horizontal);
    w.ue(HEVCField::log2_max_mv_length_vertical);
}

// The extension for ranges stands first; the others are read by nobody.
void walkExtensions(HEVCWalker& w)
{
    if (!w.needFlag(HEVCField::sps_extension_present_flag)) return;
    const bool sps_range_extension_flag = w.needFlag(HEVCField::sps_range_extension_flag);
    w.flag(HEVCField::sps_multilayer_extension_flag);
    w.flag(HEVCField::sps_3d_extension_flag);
    w.flag(HEVCField::sps_scc_extension_flag);
    w.u(4, HEVCField::sps_extension_4bits);
    if (!sps_range_extension_flag) return;
    w.flag(HEVCField::transform_skip_rotation_enabled_flag);
    w.flag(HEVCField::transform_skip_context_enabled_flag);
    w.flag(HEVCField::implicit_rdpcm_enabled_flag);
    w.flag(HEVCField::explicit_rdpcm_enabled_flag);
    w.flag(HEVCField::extended_precision_processing_flag);
    w.flag(HEVCField::intra_smoothing_disabled_flag);
    w.flag(HEVCField::high_precision_offsets_enabled_flag);
    w.flag(HEVCField::persistent_rice_adaptation_enabled_flag);
    w.flag(HEVCField::cabac_bypass_alignment_enabled_flag);
}

}  // namespace

// 7.3.2.2.1, F.7.3.2.2.1
OSStatus hevcbridgeParseSequenceParameterSet(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                             uint32_t nuhLayerId)
{
    SPS sps = {};
    sps.digest.nuhLayerId = nuhLayerId;
    sps.digest.ignoreVPSExtension = context->ignoreVPSExtension;
    HEVCDigestInMaking<HEVCSPSDigest> making(context->digestOut);
    HEVCWalker w(reader, context);
    walkIdentifiers(w, context, sps);
    walkFormat(w, sps.digest);
    sps.digest.log2MaxPicOrderCntLsbMinus4 = w.needUE(HEVCField::log2_max_pic_order_cnt_lsb_minus4);
    w.require(sps.digest.log2MaxPicOrderCntLsbMinus4 < 13,
              "{hevcbridgeParseSequenceParameterSet} ERROR: log2_max_pic_order_cnt_lsb_minus4 out of range");
    if (!sps.digest.multiLayerExtSps) walkSubLayerOrdering(w, sps.maxSubLayersMinus1);
    walkCodingTools(w, sps.digest);
    walkShortTermSets(w, sps, making);

    HEVCSPSDigest& digest = making.get() ? *making.get() : sps.digest;
    walkLongTermPics(w, digest);
    digest.temporalMvpEnabled = w.needFlag(HEVCField::sps_temporal_mvp_enabled_flag);
    w.flag(HEVCField::strong_intra_smoothing_enabled_flag);
    if (w.needFlag(HEVCField::vui_parameters_present_flag)) walkVUI(w, sps.maxSubLayersMinus1);
    walkExtensions(w);
    return making.finish(w.status());
}
