// video_parameter_set_rbsp, ITU-T H.265 7.3.2.1.

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCVideoParameterSet.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

static void walkSubLayerOrdering(HEVCWalker& w, uint32_t maxSubLayersMinus1)
{
    const bool isForEach = w.needFlag(HEVCField::vps_sub_layer_ordering_info_present_flag);
    w.times(isForEach ? maxSubLayersMinus1 + 1 : 1, [&] {
        w.skipUE();  // vps_max_dec_pic_buffering_minus1
        w.skipUE();  // vps_max_num_reorder_pics
        w.skipUE();  // vps_max_latency_increase_plus1
    });
}

static void walkLayerSets(HEVCWalker& w, HEVCVideoParameterSet& vps)
{
    const uint32_t vps_max_layer_id = w.needU(6, HEVCField::vps_max_layer_id);
    const uint32_t vps_num_layer_sets_minus1 = w.needUE(HEVCField::vps_num_layer_sets_minus1);
    w.require(vps_num_layer_sets_minus1 < 1024,
              "{hevcbridgeParseVideoParameterSet} ERROR: vps_num_layer_sets_minus1 shall be in the range of 0 to 1023, "
              "inclusive");
    w.times(vps_num_layer_sets_minus1, [&] {
        uint64_t layers = 0;
        w.times(vps_max_layer_id + 1,
                [&](uint32_t layer) { layers |= uint64_t{w.needFlag(HEVCField::layer_id_included_flag)} << layer; });
        if (!vps.layerSets.append(layers)) w.end(kTavBridgeAllocationFailedErr);
    });
}

static void walkTiming(HEVCWalker& w, uint32_t maxSubLayersMinus1)
{
    if (!w.needFlag(HEVCField::vps_timing_info_present_flag)) return;
    w.u(32, HEVCField::vps_num_units_in_tick);
    w.u(32, HEVCField::vps_time_scale);
    if (w.needFlag(HEVCField::vps_poc_proportional_to_timing_flag)) w.ue(HEVCField::vps_num_ticks_poc_diff_one_minus1);
    HEVCHRDCommon common = {};
    w.times(w.needUE(HEVCField::vps_num_hrd_parameters), [&](uint32_t i) {
        w.skipUE();  // hrd_layer_set_idx
        const bool cprms_present_flag = i == 0 || w.pull(1);
        w.structure(hevcbridgeParseHRDParameters, cprms_present_flag, maxSubLayersMinus1, &common);
    });
}

static void walkExtension(HEVCWalker& w, HEVCVideoParameterSet& vps, HEVCDigestInMaking<HEVCVPSDigest>& digest)
{
    if (!w.needFlag(HEVCField::vps_extension_flag)) return;
    while (w.ok() && !w.isByteAligned())
        w.require(w.pull(1) == 1,
                  "{hevcbridgeParseVideoParameterSet} ERROR: Wrong vps_extension_alignment_bit_equal_to_one in VPS");
    w.structure(hevcbridgeParseVPSExtension, &vps, &digest);
}

// 7.3.2.1
OSStatus hevcbridgeParseVideoParameterSet(HEVCBitstream* reader, const HEVCBridgeParseContext* context)
{
    HEVCVideoParameterSet vps;
    HEVCDigestInMaking<HEVCVPSDigest> digest(context->digestOut);
    HEVCWalker w(reader, context);
    vps.parameterSetId = w.needU(4, HEVCField::vps_video_parameter_set_id);
    vps.baseLayerInternal = w.needFlag(HEVCField::vps_base_layer_internal_flag);
    w.flag(HEVCField::vps_base_layer_available_flag);
    vps.maxLayersMinus1 = w.needU(6, HEVCField::vps_max_layers_minus1);
    vps.maxSubLayersMinus1 = w.needU(3, HEVCField::vps_max_sub_layers_minus1);
    w.flag(HEVCField::vps_temporal_id_nesting_flag);
    w.skip(16);  // vps_reserved_0xffff_16bits
    w.structure(hevcbridgeParseProfileTierLevel, true, vps.maxSubLayersMinus1);
    walkSubLayerOrdering(w, vps.maxSubLayersMinus1);
    walkLayerSets(w, vps);
    walkTiming(w, vps.maxSubLayersMinus1);
    walkExtension(w, vps, digest);
    return digest.finish(w.status());
}
