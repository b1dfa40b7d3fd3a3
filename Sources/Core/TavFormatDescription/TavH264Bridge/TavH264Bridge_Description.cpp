#define TAV_SUBSYSTEM "<<<< H264Bridge >>>>"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264ParameterSets.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264Unescaped.h"

namespace {

// Pieces one behind the other, cut at the end of the caller's text.
class Line {
public:
    explicit Line(char* text) : text_(text) { *text_ = 0; }

    void add(const char* format, ...) ZO_PRINTF(2, 3)
    {
        va_list arguments;
        va_start(arguments, format);
        const int length = vsnprintf(text_ + used_, kTavH264BridgeSPSDescriptionSize - used_, format, arguments);
        va_end(arguments);
        used_ =
            std::min<size_t>(used_ + static_cast<size_t>(std::max(length, 0)), kTavH264BridgeSPSDescriptionSize - 1);
    }

private:
    char* text_;
    size_t used_ = 0;
};

}  // namespace

void TavH264Bridge_DescribeSPS(const uint8_t* bytes, size_t size, char* text)
{
    Line line(text);
    H264Unescaped unit;
    SeqParamSet sps;
    if (unit.set(bytes, bytes ? size : 0) != 0) return line.add("unreadable");
    TavH264BitReader r(unit.bytes(), unit.size(), __func__);
    if (PullParamSetSPS(r, sps) != 0) return line.add("unreadable");

    const H264PictureSize picture = h264BridgePictureSize(sps);
    line.add("%dx%d chroma %d depth %d/%d", static_cast<int>(picture.width), static_cast<int>(picture.height),
             sps.chroma_format_idc, sps.bit_depth_luma_minus8 + 8, sps.bit_depth_chroma_minus8 + 8);
    if (sps.vui.colour_description_present_flag)
        line.add(" colour %u/%u/%u", sps.vui.colour_primaries, sps.vui.transfer_characteristics,
                 sps.vui.matrix_coefficients);
    if (sps.vui.video_full_range_flag) line.add(" full range");
    if (sps.vui.num_units_in_tick != 0) line.add(" %g fps", static_cast<double>(h264BridgeFrameRate(sps)));
}
