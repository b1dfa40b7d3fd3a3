// The texts of the image buffer keys and values, and nothing else: whoever names a key carries no buffer code.

#include "Foundation/Images/YxImageBuffer.h"

ZO_DEFINE_STRING(kYxBufferTimeValueKey, "TimeValue");
ZO_DEFINE_STRING(kYxBufferTimeScaleKey, "TimeScale");
ZO_DEFINE_STRING(kYxImageBufferCleanApertureKey, "YxCleanAperture");
ZO_DEFINE_STRING(kYxImageBufferCleanApertureWidthKey, "Width");
ZO_DEFINE_STRING(kYxImageBufferCleanApertureHeightKey, "Height");
ZO_DEFINE_STRING(kYxImageBufferCleanApertureHorizontalOffsetKey, "HorizontalOffset");
ZO_DEFINE_STRING(kYxImageBufferCleanApertureVerticalOffsetKey, "VerticalOffset");
ZO_DEFINE_STRING(kYxImageBufferPixelAspectRatioKey, "YxPixelAspectRatio");
ZO_DEFINE_STRING(kYxImageBufferPixelAspectRatioHorizontalSpacingKey, "HorizontalSpacing");
ZO_DEFINE_STRING(kYxImageBufferPixelAspectRatioVerticalSpacingKey, "VerticalSpacing");
ZO_DEFINE_STRING(kYxImageBufferFieldCountKey, "YxFieldCount");
ZO_DEFINE_STRING(kYxImageBufferFieldDetailKey, "YxFieldDetail");
ZO_DEFINE_STRING(kYxImageBufferFieldDetailTemporalTopFirst, "TemporalTopFirst");
ZO_DEFINE_STRING(kYxImageBufferFieldDetailTemporalBottomFirst, "TemporalBottomFirst");
ZO_DEFINE_STRING(kYxImageBufferFieldDetailSpatialFirstLineEarly, "SpatialFirstLineEarly");
ZO_DEFINE_STRING(kYxImageBufferFieldDetailSpatialFirstLineLate, "SpatialFirstLineLate");
ZO_DEFINE_STRING(kYxImageBufferColorPrimariesKey, "YxImageBufferColorPrimaries");
ZO_DEFINE_STRING(kYxImageBufferColorPrimaries_ITU_R_709_2, "ITU_R_709_2");
ZO_DEFINE_STRING(kYxImageBufferColorPrimaries_EBU_3213, "EBU_3213");
ZO_DEFINE_STRING(kYxImageBufferColorPrimaries_SMPTE_C, "SMPTE_C");
ZO_DEFINE_STRING(kYxImageBufferTransferFunctionKey, "YxImageBufferTransferFunction");
ZO_DEFINE_STRING(kYxImageBufferTransferFunction_ITU_R_709_2, "ITU_R_709_2");
ZO_DEFINE_STRING(kYxImageBufferTransferFunction_SMPTE_240M_1995, "SMPTE_240M_1995");
ZO_DEFINE_STRING(kYxImageBufferTransferFunction_UseGamma, "UseGamma");
ZO_DEFINE_STRING(kYxImageBufferGammaLevelKey, "YxImageBufferGammaLevel");
ZO_DEFINE_STRING(kYxImageBufferYCbCrMatrixKey, "YxImageBufferYCbCrMatrix");
ZO_DEFINE_STRING(kYxImageBufferYCbCrMatrix_ITU_R_709_2, "ITU_R_709_2");
ZO_DEFINE_STRING(kYxImageBufferYCbCrMatrix_ITU_R_601_4, "ITU_R_601_4");
ZO_DEFINE_STRING(kYxImageBufferYCbCrMatrix_SMPTE_240M_1995, "SMPTE_240M_1995");
ZO_DEFINE_STRING(kYxImageBufferChromaLocationTopFieldKey, "YxImageBufferChromaLocationTopField");
ZO_DEFINE_STRING(kYxImageBufferChromaLocationBottomFieldKey, "YxImageBufferChromaLocationBottomField");
ZO_DEFINE_STRING(kYxImageBufferChromaLocation_Left, "Left");
ZO_DEFINE_STRING(kYxImageBufferChromaLocation_Center, "Center");
ZO_DEFINE_STRING(kYxImageBufferChromaLocation_TopLeft, "TopLeft");
ZO_DEFINE_STRING(kYxImageBufferChromaLocation_Top, "Top");
ZO_DEFINE_STRING(kYxImageBufferChromaLocation_BottomLeft, "BottomLeft");
ZO_DEFINE_STRING(kYxImageBufferChromaLocation_Bottom, "Bottom");
ZO_DEFINE_STRING(kYxImageBufferChromaLocation_DV420, "DV 4:2:0");
