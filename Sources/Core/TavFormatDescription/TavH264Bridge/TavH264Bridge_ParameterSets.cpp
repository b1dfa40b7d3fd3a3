#define TAV_SUBSYSTEM "<<<< H264Bridge >>>>"

#include <cstring>
#include <utility>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264ParameterSets.h"
#include "Platform/Common/TavSignal.h"

void TavH264BitRecord::fail(const char* message, OSStatus failure, const uint8_t* next, uint32_t count) noexcept
{
    if (status != 0) return;
    failedAt = position(next, count);
    status = failure;
    if (!isToSignal) return;
    const char* name = failure == kTavBridgeInvalidSerializedSampleDescriptionErr
                           ? "kTavBridgeInvalidSerializedSampleDescriptionErr"
                       : failure == kTavBridgeInvalidSliceErr ? "kTavBridgeInvalidSliceErr"
                       : failure == kTavBridgeParameterErr    ? "kTavBridgeParameterErr"
                                                              : "err";
    TavSignalErrorAt3(kTavSignalFormat, 0, failure, name, message, TAV_SUBSYSTEM, operation, __FILE__, __LINE__,
                      __builtin_return_address(0), 0);
}

TavH264BitRun::Refill TavH264BitRun::refill(const uint8_t* next, const uint8_t* end, uint64_t bits,
                                            uint32_t count) noexcept
{
    if (ZO_LIKELY(end - next >= 8)) return {next + ((63 - count) >> 3), bits | loadBE64(next) >> count};
    for (; count < 56 && next != end; count += 8) bits |= uint64_t{*next++} << (56 - count);
    return {next, bits};
}

// What every SPS has, or most of them, is part of PullParamSetSPS, so that the run is in registers from end to end.
#define H264_PART __attribute__((always_inline)) static inline

// 7.3.2.1.1: the profiles that tell chroma format, bit depths and scaling.
static bool profileHasChromaInfo(uint32_t profile)
{
    switch (profile) {
        case 44:
        case 83:
        case 86:
        case 100:
        case 110:
        case 118:
        case 122:
        case 128:
        case 134:
        case 135:
        case 138:
        case 139:
        case 244: return true;
        default: return false;
    }
}

// 7.3.2.1.1.1
static void skipScalingList(TavH264BitRun& r, int sizeOfScalingList)
{
    int32_t lastScale = 8, nextScale = 8;
    for (int j = 0; j < sizeOfScalingList && nextScale != 0 && r.ok(); ++j) {
        const int32_t delta_scale = r.se();
        nextScale = (lastScale + delta_scale + 256) % 256;
        if (nextScale != 0) lastScale = nextScale;
    }
}

H264_PART void pullChromaInfo(TavH264BitRun& r, SeqParamSet& sps)
{
    const uint32_t chroma_format_idc = r.ue();
    r.require(chroma_format_idc < 4, "PullParamSetSPS: chroma_format_idc too large");
    if (chroma_format_idc == 3) sps.separate_colour_plane_flag = r.flag();
    const uint32_t bit_depth_luma_minus8 = r.ue();
    r.require(bit_depth_luma_minus8 < 7, "PullParamSetSPS: bit_depth_luma_minus8 too large");
    const uint32_t bit_depth_chroma_minus8 = r.ue();
    r.require(bit_depth_chroma_minus8 < 7, "PullParamSetSPS: bit_depth_chroma_minus8 too large");
    sps.qpprime_y_zero_transform_bypass_flag = r.flag();
    sps.seq_scaling_matrix_present_flag = r.flag();
    if (sps.seq_scaling_matrix_present_flag) {
        const int listCount = chroma_format_idc != 3 ? 8 : 12;
        for (int i = 0; i < listCount && r.ok(); ++i)
            if (r.flag()) r.outOfLine(skipScalingList, i < 6 ? 16 : 64);
    }
    sps.chroma_format_idc = static_cast<uint8_t>(chroma_format_idc);
    sps.bit_depth_luma_minus8 = static_cast<uint8_t>(bit_depth_luma_minus8);
    sps.bit_depth_chroma_minus8 = static_cast<uint8_t>(bit_depth_chroma_minus8);
}

H264_PART void pullPicOrderCount(TavH264BitRun& r, SeqParamSet& sps)
{
    sps.pic_order_cnt_type = r.ue();
    if (sps.pic_order_cnt_type == 0) {
        sps.log2_max_pic_order_cnt_lsb_minus4 = r.ue();
        r.require(sps.log2_max_pic_order_cnt_lsb_minus4 < 13,
                  "PullParamSetSPS: wrong log2_max_pic_order_cnt_lsb_minus4 number");
        if (r.ok()) sps.MaxPicOrderCntLsb = uint32_t{1} << (sps.log2_max_pic_order_cnt_lsb_minus4 + 4);
    } else if (sps.pic_order_cnt_type == 1) {
        sps.delta_pic_order_always_zero_flag = r.flag();
        sps.offset_for_non_ref_pic = r.se();
        sps.offset_for_top_to_bottom_field = r.se();
        sps.num_ref_frames_in_pic_order_cnt_cycle = r.ue();
        r.require(sps.num_ref_frames_in_pic_order_cnt_cycle <= 255,
                  "PullParamSetSPS: wrong SeqParamSet.num_ref_frames_in_pic_order_cnt_cycle number");
        for (uint32_t i = 0; i < sps.num_ref_frames_in_pic_order_cnt_cycle && r.ok(); ++i) r.skipUE();
    }
}

// E.1.2
static void pullHRDParameters(TavH264BitRun& r, VUIParamSet& vui)
{
    vui.cpb_cnt_minus1 = r.ue();
    r.require(vui.cpb_cnt_minus1 < 32, "thiss->cpb_cnt_minus1 too big");
    vui.bit_rate_scale = r.u(4);
    vui.cpb_size_scale = r.u(4);
    for (uint32_t SchedSelIdx = 0; SchedSelIdx <= vui.cpb_cnt_minus1 && r.ok(); ++SchedSelIdx) {
        r.ueLong();  // bit_rate_value_minus1
        r.ueLong();  // cpb_size_value_minus1
        r.skip(1);   // cbr_flag
    }
    vui.initial_cpb_removal_delay_length_minus1 = r.u(5);
    vui.cpb_removal_delay_length_minus1 = r.u(5);
    vui.dpb_output_delay_length_minus1 = r.u(5);
    vui.time_offset_length = r.u(5);
}

// E.1.1
H264_PART void PullVUIParamSet(TavH264BitRun& r, VUIParamSet& vui)
{
    constexpr uint32_t Extended_SAR = 255;
    vui.aspect_ratio_info_present_flag = r.flag();
    if (vui.aspect_ratio_info_present_flag) {
        vui.aspect_ratio_idc = r.u(8);
        if (vui.aspect_ratio_idc == Extended_SAR) {
            vui.sar_width = r.u(16);
            vui.sar_height = r.u(16);
        }
    }
    vui.overscan_info_present_flag = r.flag();
    if (vui.overscan_info_present_flag) vui.overscan_appropriate_flag = r.flag();
    vui.video_signal_type_present_flag = r.flag();
    if (vui.video_signal_type_present_flag) {
        vui.video_format = r.u(3);
        vui.video_full_range_flag = r.flag();
        vui.colour_description_present_flag = r.flag();
        if (vui.colour_description_present_flag) {
            vui.colour_primaries = r.u(8);
            vui.transfer_characteristics = r.u(8);
            vui.matrix_coefficients = r.u(8);
        }
    }
    vui.chroma_loc_info_present_flag = r.flag();
    if (vui.chroma_loc_info_present_flag) {
        vui.chroma_sample_loc_type_top_field = r.ue();
        vui.chroma_sample_loc_type_bottom_field = r.ue();
    }
    vui.timing_info_present_flag = r.flag();
    if (vui.timing_info_present_flag) {
        vui.num_units_in_tick = r.u32();
        vui.time_scale = r.u32();
        vui.fixed_frame_rate_flag = r.flag();
    }
    vui.nal_hrd_parameters_present_flag = r.flag();
    if (vui.nal_hrd_parameters_present_flag) r.outOfLine(pullHRDParameters, vui);
    vui.vcl_hrd_parameters_present_flag = r.flag();
    if (vui.vcl_hrd_parameters_present_flag) r.outOfLine(pullHRDParameters, vui);
    if (vui.nal_hrd_parameters_present_flag || vui.vcl_hrd_parameters_present_flag) vui.low_delay_hrd_flag = r.flag();
    vui.pic_struct_present_flag = r.flag();
    vui.bitstream_restriction_flag = r.flag();
    if (vui.bitstream_restriction_flag) {
        vui.motion_vectors_over_pic_boundaries_flag = r.flag();
        vui.max_bytes_per_pic_denom = r.ue();
        vui.max_bits_per_mb_denom = r.ue();
        vui.log2_max_mv_length_horizontal = r.ue();
        vui.log2_max_mv_length_vertical = r.ue();
        vui.max_num_reorder_frames = r.ue();
        vui.max_dec_frame_buffering = r.ue();
    }
}

// As `sps = {}`, for which compilers choose a string instruction that takes longer to begin than this to end.
static void clear(SeqParamSet& sps)
{
    constexpr size_t kPiece = 16;
    auto* const bytes = reinterpret_cast<char*>(&sps);
    [bytes]<size_t... kIndex>(std::index_sequence<kIndex...>) { (memset(bytes + kIndex * kPiece, 0, kPiece), ...); }
    (std::make_index_sequence<sizeof(sps) / kPiece>());
    memset(bytes + sizeof(sps) - kPiece, 0, kPiece);
}

// 7.3.2.1.1, from the NAL unit header (7.3.1) on
OSStatus PullParamSetSPS(TavH264BitReader& reader, SeqParamSet& sps)
{
    TavH264BitRun r = reader;
    clear(sps);
    r.require(r.u(1) == 0, "{PullParamSetSPS} ERROR: Wrong forbidden_bit in SPS NAL unit");
    r.require(r.u(2) != 0, "{PullParamSetSPS} ERROR: Wrong nal_ref_idc in SPS NAL unit");
    r.require(r.u(5) == kH264NALUnitType_SPS, "{PullParamSetSPS} ERROR: Wrong nal_unit_type in SPS NAL unit");
    sps.profile_idc = r.u(8);
    sps.constraint_set0_flag = r.flag();
    sps.constraint_set1_flag = r.flag();
    sps.constraint_set2_flag = r.flag();
    sps.constraint_set3_flag = r.flag();
    r.skip(4);
    sps.level_idc = r.u(8);
    sps.seq_parameter_set_id = r.ue();
    sps.chroma_format_idc = 1;
    if (profileHasChromaInfo(sps.profile_idc)) pullChromaInfo(r, sps);
    r.require(sps.seq_parameter_set_id < 32, "PullParamSetSPS: thiss->seq_parameter_set_id too large");
    sps.log2_max_frame_num_minus4 = r.ue();
    pullPicOrderCount(r, sps);
    sps.max_num_ref_frames = r.ue();
    sps.gaps_in_frame_num_value_allowed_flag = r.flag();
    sps.pic_width_in_mbs_minus1 = r.ue();
    sps.pic_height_in_map_units_minus1 = r.ue();
    sps.frame_mbs_only_flag = r.flag();
    if (!sps.frame_mbs_only_flag) sps.mb_adaptive_frame_field_flag = r.flag();
    sps.direct_8x8_inference_flag = r.flag();
    sps.frame_cropping_flag = r.flag();
    if (sps.frame_cropping_flag) {
        sps.frame_crop_left_offset = r.ue();
        sps.frame_crop_right_offset = r.ue();
        sps.frame_crop_top_offset = r.ue();
        sps.frame_crop_bottom_offset = r.ue();
    }
    sps.vui_parameters_present_flag = r.flag();
    if (sps.vui_parameters_present_flag) PullVUIParamSet(r, sps.vui);
    reader.goOn(r);
    return r.status();
}

// Table 6-1, as SubWidthC and SubHeightC; a monochrome picture is not cropped.
H264PictureSize h264BridgePictureSize(const SeqParamSet& sps)
{
    struct Factors {
        uint8_t horizontal, vertical;
    };
    static constexpr Factors kFactors[] = {{0, 0}, {2, 2}, {2, 1}, {1, 1}};
    const uint32_t fieldFactor = 2 - sps.frame_mbs_only_flag;
    H264PictureSize size = {16 * (sps.pic_width_in_mbs_minus1 + 1),
                            16 * (sps.pic_height_in_map_units_minus1 + 1) * fieldFactor};
    if (sps.frame_cropping_flag) {
        const Factors crop = kFactors[sps.chroma_format_idc];
        size.width -= (sps.frame_crop_left_offset + sps.frame_crop_right_offset) * crop.horizontal;
        size.height -= (sps.frame_crop_top_offset + sps.frame_crop_bottom_offset) * crop.vertical * fieldFactor;
    }
    return size;
}

// E.2.1: a tick is the time of a field wherever fields can be told apart in time.
float h264BridgeFrameRate(const SeqParamSet& sps)
{
    const bool ticksAreFields = sps.frame_mbs_only_flag || sps.pic_order_cnt_type != 2;
    const float rate = static_cast<float>(sps.vui.time_scale) / static_cast<float>(sps.vui.num_units_in_tick);
    return ticksAreFields ? rate / 2 : rate;
}
