// Sequence parameter sets of H.264 with one element changed at a time.

#pragma once

#include <functional>
#include <optional>

#include "Tests/Support/BitWriter.h"

namespace luvia_test {

/// The elements of ITU-T H.264 7.3.2.1.1 that tests vary; the rest is plain. 640 by 480 unless changed.
struct H264SPS {
    uint32_t header = 0x67, profile = 66, constraints = 0, level = 30, id = 0;
    uint32_t chroma_format_idc = 1, bit_depth_luma_minus8 = 0, bit_depth_chroma_minus8 = 0;
    std::function<void(BitWriter&)> scaling;  ///< the lists, when there are any
    uint32_t pic_order_cnt_type = 2, log2_max_pic_order_cnt_lsb_minus4 = 4, refFramesInCycle = 0;
    uint32_t widthInMbs = 40, heightInMapUnits = 30;
    bool frame_mbs_only_flag = true;
    struct Crop {
        uint32_t left, right, top, bottom;
    };
    std::optional<Crop> crop;
    std::function<void(BitWriter&)> vui;

    bool hasChromaInfo() const
    {
        for (uint32_t p : {44, 83, 86, 100, 110, 118, 122, 128, 134, 135, 138, 139, 244})
            if (p == profile) return true;
        return false;
    }

    BitWriter write() const
    {
        BitWriter w;
        w.u(8, header).u(8, profile).u(8, constraints).u(8, level).ue(id);
        if (hasChromaInfo()) {
            w.ue(chroma_format_idc);
            if (chroma_format_idc == 3) w.flag(false);
            w.ue(bit_depth_luma_minus8).ue(bit_depth_chroma_minus8).flag(false).flag(bool(scaling));
            if (scaling) scaling(w);
        }
        w.ue(0).ue(pic_order_cnt_type);
        if (pic_order_cnt_type == 0) w.ue(log2_max_pic_order_cnt_lsb_minus4);
        if (pic_order_cnt_type == 1) {
            w.flag(false).se(-3).se(4).ue(refFramesInCycle);
            for (uint32_t i = 0; i < refFramesInCycle && i < 256; ++i) w.se(1);
        }
        w.ue(1).flag(false).ue(widthInMbs - 1).ue(heightInMapUnits - 1).flag(frame_mbs_only_flag);
        if (!frame_mbs_only_flag) w.flag(true);
        w.flag(true).flag(crop.has_value());
        if (crop) w.ue(crop->left).ue(crop->right).ue(crop->top).ue(crop->bottom);
        w.flag(bool(vui));
        if (vui) vui(w);
        return w;
    }
    std::string unit() const { return write().trailing().escaped(); }
};

inline std::string h264PPS(uint32_t id, uint32_t spsID)
{
    return BitWriter().u(8, 0x68).ue(id).ue(spsID).u(16, 0xFFFF).trailing().escaped();
}

}  // namespace luvia_test
