// The sequence parameter set of ITU-T H.264 as the bridge keeps it: element names are those of the standard, and an
// element that was not there is 0. Scaling lists, offsets of reference frames and values of single coded picture
// buffers are read and not kept.

#pragma once

#include "Core/TavFormatDescription/TavH264Bridge/TavH264BitReader.h"

/// Annex E.1.1 and E.1.2. With two HRD structures the second, of the VCL, leaves its values.
struct VUIParamSet {
    uint32_t aspect_ratio_info_present_flag;
    uint32_t aspect_ratio_idc;
    uint32_t sar_width;
    uint32_t sar_height;
    uint32_t overscan_info_present_flag;
    uint32_t overscan_appropriate_flag;
    uint32_t video_signal_type_present_flag;
    uint32_t video_format;
    uint32_t video_full_range_flag;
    uint32_t colour_description_present_flag;
    uint32_t colour_primaries;
    uint32_t transfer_characteristics;
    uint32_t matrix_coefficients;
    uint32_t chroma_loc_info_present_flag;
    uint32_t chroma_sample_loc_type_top_field;
    uint32_t chroma_sample_loc_type_bottom_field;
    uint32_t timing_info_present_flag;
    uint32_t num_units_in_tick;
    uint32_t time_scale;
    uint32_t fixed_frame_rate_flag;
    uint32_t nal_hrd_parameters_present_flag;
    uint32_t vcl_hrd_parameters_present_flag;
    uint32_t low_delay_hrd_flag;
    uint32_t pic_struct_present_flag;
    uint32_t bitstream_restriction_flag;
    uint32_t motion_vectors_over_pic_boundaries_flag;
    uint32_t max_bytes_per_pic_denom;
    uint32_t max_bits_per_mb_denom;
    uint32_t log2_max_mv_length_horizontal;
    uint32_t log2_max_mv_length_vertical;
    uint32_t max_num_reorder_frames;
    uint32_t max_dec_frame_buffering;
    uint32_t cpb_cnt_minus1;
    uint32_t bit_rate_scale;
    uint32_t cpb_size_scale;
    uint32_t initial_cpb_removal_delay_length_minus1;
    uint32_t cpb_removal_delay_length_minus1;
    uint32_t dpb_output_delay_length_minus1;
    uint32_t time_offset_length;
};

/// 7.3.2.1.1.
struct SeqParamSet {
    uint32_t profile_idc;
    uint32_t level_idc;
    uint32_t constraint_set0_flag;
    uint32_t constraint_set1_flag;
    uint32_t constraint_set2_flag;
    uint32_t constraint_set3_flag;
    uint32_t seq_parameter_set_id;
    uint8_t chroma_format_idc;  ///< 1 where the profile has no such element
    uint8_t separate_colour_plane_flag;
    uint8_t bit_depth_luma_minus8;
    uint8_t bit_depth_chroma_minus8;
    uint8_t qpprime_y_zero_transform_bypass_flag;
    uint8_t seq_scaling_matrix_present_flag;
    uint32_t log2_max_frame_num_minus4;
    uint32_t pic_order_cnt_type;
    uint32_t log2_max_pic_order_cnt_lsb_minus4;
    uint32_t delta_pic_order_always_zero_flag;
    int32_t offset_for_non_ref_pic;
    int32_t offset_for_top_to_bottom_field;
    uint32_t num_ref_frames_in_pic_order_cnt_cycle;
    uint32_t max_num_ref_frames;
    uint32_t gaps_in_frame_num_value_allowed_flag;
    uint32_t pic_width_in_mbs_minus1;
    uint32_t pic_height_in_map_units_minus1;
    uint32_t frame_mbs_only_flag;
    uint32_t mb_adaptive_frame_field_flag;
    uint32_t direct_8x8_inference_flag;
    uint32_t frame_cropping_flag;
    uint32_t frame_crop_left_offset;
    uint32_t frame_crop_right_offset;
    uint32_t frame_crop_top_offset;
    uint32_t frame_crop_bottom_offset;
    uint32_t vui_parameters_present_flag;
    VUIParamSet vui;
    uint32_t MaxPicOrderCntLsb;  ///< derived; 0 unless pic_order_cnt_type is 0
};

/// Reads a whole SPS, NAL unit header included, into the cleared record. The reader's status.
OSStatus PullParamSetSPS(TavH264BitReader& r, SeqParamSet& sps);

/// In luma samples, cropped by frame_crop_*_offset (7.4.2.1.1), but for monochrome.
struct H264PictureSize {
    uint32_t width;
    uint32_t height;
};
H264PictureSize h264BridgePictureSize(const SeqParamSet& sps);
/// Frames a second, as the VUI's timing information says.
float h264BridgeFrameRate(const SeqParamSet& sps);

/// The profiles whose records carry chroma format, bit depths and SPS extensions (ISO/IEC 14496-15 5.3.3.1.2).
constexpr bool h264BridgeProfileHasRecordTail(uint32_t profile)
{
    return profile == 100 || profile == 110 || profile == 122 || profile == 144;
}

constexpr uint32_t kH264NALUnitType_SPS = 7, kH264NALUnitType_PPS = 8, kH264NALUnitType_SPSExtension = 13;
constexpr uint32_t h264BridgeNALUnitType(uint8_t header) { return header & 0x1F; }
