#define TAV_SUBSYSTEM "<<<< H264Bridge >>>>"

#include <iterator>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264ParameterSets.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264Unescaped.h"
#include "Platform/Common/TavLog.h"

const uint8_t kH264SampleAspectRatioIndicators[17][2] = {
    {0, 0},   {1, 1},   {12, 11}, {10, 11}, {16, 11},  {40, 33}, {24, 11}, {20, 11}, {32, 11},
    {80, 33}, {18, 11}, {15, 11}, {64, 33}, {160, 99}, {4, 3},   {3, 2},   {2, 1},
};

static OSStatus parseSPS(const uint8_t* bytes, size_t size, const char* operation, SeqParamSet& sps)
{
    H264Unescaped unit;
    TAV_TRY(unit.set(bytes, bytes ? size : 0));
    TavH264BitReader r(unit.bytes(), unit.size(), operation);
    return PullParamSetSPS(r, sps);
}

// MARK: ids

OSStatus TavH264Bridge_GetSPSSequenceID(const uint8_t* sps, size_t spsSize, uint32_t* spsIDOut)
{
    constexpr size_t kLeastSize = 6, kIDOffset = 4;
    if (!sps || !spsIDOut || spsSize < kLeastSize || h264BridgeNALUnitType(sps[0]) != kH264NALUnitType_SPS)
        return TAV_SIGNAL(kTavBridgeParameterErr, "not an SPS");
    H264Unescaped unit;
    TAV_TRY(unit.set(sps, spsSize));
    TavH264BitReader r(unit.bytes(), unit.size(), __func__);
    r.skip(8 * kIDOffset);
    const uint32_t seq_parameter_set_id = r.ue();
    TAV_TRY(r.status());
    *spsIDOut = seq_parameter_set_id;
    return 0;
}

OSStatus TavH264Bridge_GetPPSSequenceID(const uint8_t* pps, size_t ppsSize, uint32_t* spsIDOut, uint32_t* ppsIDOut)
{
    if (!pps || ppsSize == 0 || !spsIDOut || !ppsIDOut || h264BridgeNALUnitType(pps[0]) != kH264NALUnitType_PPS)
        return TAV_SIGNAL(kTavBridgeParameterErr, "not a PPS");
    H264Unescaped unit;
    TAV_TRY(unit.set(pps, ppsSize));
    TavH264BitReader r(unit.bytes(), unit.size(), __func__);
    r.skip(8);
    const uint32_t pic_parameter_set_id = r.ue();
    const uint32_t seq_parameter_set_id = r.ue();
    TAV_TRY(r.status());
    *ppsIDOut = pic_parameter_set_id;
    *spsIDOut = seq_parameter_set_id;
    return 0;
}

// MARK: the picture

OSStatus TavH264Bridge_GetSPSWidthAndHeight(const uint8_t* bytes, size_t size, int32_t* widthOut, int32_t* heightOut)
{
    SeqParamSet sps;
    TAV_TRY(parseSPS(bytes, size, __func__, sps));
    const H264PictureSize picture = h264BridgePictureSize(sps);
    *widthOut = static_cast<int32_t>(picture.width);
    *heightOut = static_cast<int32_t>(picture.height);
    return 0;
}

OSStatus TavH264Bridge_GetSPSIsInterlaced(const uint8_t* bytes, size_t size, Boolean* isInterlacedOut)
{
    SeqParamSet sps;
    TAV_TRY(parseSPS(bytes, size, __func__, sps));
    *isInterlacedOut = !sps.frame_mbs_only_flag;
    return 0;
}

OSStatus TavH264Bridge_GetSPSChromaFormatAndBitDepths(const uint8_t* bytes, size_t size, uint8_t* chromaFormatOut,
                                                      uint8_t* lumaBitDepthOut, uint8_t* chromaBitDepthOut)
{
    SeqParamSet sps;
    TAV_TRY(parseSPS(bytes, size, __func__, sps));
    if (chromaFormatOut) *chromaFormatOut = sps.chroma_format_idc;
    if (lumaBitDepthOut) *lumaBitDepthOut = static_cast<uint8_t>(sps.bit_depth_luma_minus8 + 8);
    if (chromaBitDepthOut) *chromaBitDepthOut = static_cast<uint8_t>(sps.bit_depth_chroma_minus8 + 8);
    return 0;
}

// MARK: VUI

OSStatus TavH264Bridge_GetSPS_VUI_Framerate(const uint8_t* bytes, size_t size, float* frameRateOut,
                                            Boolean* fixedFrameRateOut, Boolean* picStructPresentOut,
                                            Boolean* hrdPresentOut, uint32_t* delayBitsOut)
{
    SeqParamSet sps;
    TAV_TRY(parseSPS(bytes, size, __func__, sps));
    const VUIParamSet& vui = sps.vui;
    if (!vui.timing_info_present_flag) return TAV_SIGNAL(kTavBridgeParameterErr, "no timing info in SPS VUI");
    const bool hrdPresent = vui.nal_hrd_parameters_present_flag || vui.vcl_hrd_parameters_present_flag;
    *frameRateOut = h264BridgeFrameRate(sps);
    *fixedFrameRateOut = vui.fixed_frame_rate_flag != 0;
    *picStructPresentOut = vui.pic_struct_present_flag != 0;
    *hrdPresentOut = hrdPresent;
    *delayBitsOut = hrdPresent ? vui.cpb_removal_delay_length_minus1 + vui.dpb_output_delay_length_minus1 + 2 : 0;
    return 0;
}

OSStatus TavH264Bridge_GetSPS_VUI_ChromaLocation(const uint8_t* bytes, size_t size, uint32_t* topFieldOut,
                                                 uint32_t* bottomFieldOut)
{
    SeqParamSet sps;
    TAV_TRY(parseSPS(bytes, size, __func__, sps));
    if (!sps.vui_parameters_present_flag || !sps.vui.chroma_loc_info_present_flag)
        return TAV_SIGNAL(kTavBridgeParameterErr, "no chroma location in SPS VUI");
    *topFieldOut = sps.vui.chroma_sample_loc_type_top_field;
    *bottomFieldOut = sps.vui.chroma_sample_loc_type_bottom_field;
    return 0;
}

OSStatus TavH264Bridge_GetSPS_VUI_AspectRatio(const uint8_t* bytes, size_t size, uint32_t* horizontalOut,
                                              uint32_t* verticalOut)
{
    constexpr uint32_t Unspecified = 0, Extended_SAR = 255;
    SeqParamSet sps;
    TAV_TRY(parseSPS(bytes, size, __func__, sps));
    const VUIParamSet& vui = sps.vui;
    if (!sps.vui_parameters_present_flag || !vui.aspect_ratio_info_present_flag)
        return TAV_SIGNAL(kTavBridgeParameterErr, "no aspect ratio in SPS VUI");
    if (vui.aspect_ratio_idc == Extended_SAR) {
        *horizontalOut = vui.sar_width;
        *verticalOut = vui.sar_height;
    } else if (vui.aspect_ratio_idc < std::size(kH264SampleAspectRatioIndicators)) {
        if (vui.aspect_ratio_idc == Unspecified) return 0;
        *horizontalOut = kH264SampleAspectRatioIndicators[vui.aspect_ratio_idc][0];
        *verticalOut = kH264SampleAspectRatioIndicators[vui.aspect_ratio_idc][1];
    } else {
        tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0,
                "<<<< H264Bridge >>>> %s: unexpected H.264 SPS VUI Sample Aspect Ratio code %d", __func__,
                static_cast<int>(vui.aspect_ratio_idc));
    }
    return 0;
}

OSStatus TavH264Bridge_GetSPS_VUI_NCLC(const uint8_t* bytes, size_t size, uint32_t* colourPrimariesOut,
                                       uint32_t* transferCharacteristicsOut, uint32_t* matrixCoefficientsOut)
{
    SeqParamSet sps;
    TAV_TRY(parseSPS(bytes, size, __func__, sps));
    if (!sps.vui_parameters_present_flag || !sps.vui.colour_description_present_flag)
        return TAV_SIGNAL(kTavBridgeParameterErr, "no colour description in SPS VUI");
    *colourPrimariesOut = sps.vui.colour_primaries;
    *transferCharacteristicsOut = sps.vui.transfer_characteristics;
    *matrixCoefficientsOut = sps.vui.matrix_coefficients;
    return 0;
}

OSStatus TavH264Bridge_GetSPS_VUI_FullRangeVideo(const uint8_t* bytes, size_t size, Boolean* fullRangeOut)
{
    SeqParamSet sps;
    TAV_TRY(parseSPS(bytes, size, __func__, sps));
    if (!sps.vui_parameters_present_flag) return TAV_SIGNAL(kTavBridgeParameterErr, "no VUI in SPS");
    *fullRangeOut = sps.vui.video_full_range_flag != 0;
    return 0;
}
