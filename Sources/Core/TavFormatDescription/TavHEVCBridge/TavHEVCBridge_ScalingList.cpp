// scaling_list_data, ITU-T H.265 7.3.4.

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParameterSets.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

OSStatus hevcbridgeParseScalingListData(HEVCBitstream* reader, const HEVCBridgeParseContext* context)
{
    HEVCWalker w(reader, context);
    for (uint32_t sizeId = 0; sizeId < 4; ++sizeId) {
        for (uint32_t matrixId = 0; matrixId < 6; matrixId += sizeId == 3 ? 3 : 1) {
            const bool scaling_list_pred_mode_flag = w.pull(1);
            if (!scaling_list_pred_mode_flag) {
                w.skipUE();  // scaling_list_pred_matrix_id_delta
                continue;
            }
            if (sizeId > 1) w.skipSE();                           // scaling_list_dc_coef_minus8
            w.times(sizeId == 0 ? 16 : 64, [&] { w.skipSE(); });  // scaling_list_delta_coef
        }
    }
    return w.status();
}
