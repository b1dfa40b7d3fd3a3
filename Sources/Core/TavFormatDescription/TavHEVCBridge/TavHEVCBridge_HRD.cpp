// hrd_parameters, ITU-T H.265 E.2.2 and E.2.3.

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParameterSets.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

// E.2.2, what all sub-layers have in common.
static HEVCHRDCommon walkCommon(HEVCWalker& w)
{
    HEVCHRDCommon common = {};
    common.hasNAL = w.needFlag(HEVCField::nal_hrd_parameters_present_flag);
    common.hasVCL = w.needFlag(HEVCField::vcl_hrd_parameters_present_flag);
    if (!common.hasNAL && !common.hasVCL) return common;

    common.hasSubPictures = w.needFlag(HEVCField::sub_pic_hrd_params_present_flag);
    if (common.hasSubPictures) {
        w.u(8, HEVCField::tick_divisor_minus2);
        w.u(5, HEVCField::du_cpb_removal_delay_increment_length_minus1);
        w.flag(HEVCField::sub_pic_cpb_params_in_pic_timing_sei_flag);
        w.u(5, HEVCField::dpb_output_delay_du_length_minus1);
    }
    w.u(4, HEVCField::bit_rate_scale);
    w.u(4, HEVCField::cpb_size_scale);
    if (common.hasSubPictures) w.u(4, HEVCField::cpb_size_du_scale);
    w.u(5, HEVCField::initial_cpb_removal_delay_length_minus1);
    w.u(5, HEVCField::au_cpb_removal_delay_length_minus1);
    w.u(5, HEVCField::dpb_output_delay_length_minus1);
    return common;
}

// E.2.3
static void skipSubLayer(HEVCWalker& w, uint32_t cpbCntMinus1, bool hasSubPictures)
{
    w.times(cpbCntMinus1 + 1, [&] {
        w.skipUE();  // bit_rate_value_minus1
        w.skipUE();  // cpb_size_value_minus1
        if (hasSubPictures) {
            w.skipUE();  // cpb_size_du_value_minus1
            w.skipUE();  // bit_rate_du_value_minus1
        }
        w.skip(1);  // cbr_flag
    });
}

// E.2.2
OSStatus hevcbridgeParseHRDParameters(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
                                      bool commonInfPresentFlag, uint32_t maxNumSubLayersMinus1, HEVCHRDCommon* common)
{
    HEVCWalker w(reader, context);
    if (commonInfPresentFlag) *common = walkCommon(w);
    w.times(maxNumSubLayersMinus1 + 1, [&] {
        const bool fixed_pic_rate_general_flag = w.pull(1);
        const bool fixed_pic_rate_within_cvs_flag = fixed_pic_rate_general_flag || w.pull(1);
        bool low_delay_hrd_flag = false;
        if (fixed_pic_rate_within_cvs_flag)
            w.skipUE();  // elemental_duration_in_tc_minus1
        else
            low_delay_hrd_flag = w.pull(1);
        const uint32_t cpb_cnt_minus1 = low_delay_hrd_flag ? 0 : w.pullUE();
        if (common->hasNAL) skipSubLayer(w, cpb_cnt_minus1, common->hasSubPictures);
        if (common->hasVCL) skipSubLayer(w, cpb_cnt_minus1, common->hasSubPictures);
    });
    return w.status();
}
