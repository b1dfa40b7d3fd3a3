// Image buffers: attachments with a mode, pixel buffers, and the keys under which colour and geometry are attached.
// Attachments are guarded by the buffer's own lock and may be used from any thread; a value that is lent lives until
// it is replaced or removed, so a thread that shares the buffer takes a copy.

#pragma once

#include "Foundation/Images/WnGeometry.h"

ZO_EXTERN_C_BEGIN

/// A pixel buffer is an image buffer, and that is a buffer: one object, three views of it.
typedef struct YxBuffer_* YxBufferRef;
typedef YxBufferRef YxImageBufferRef;
typedef YxBufferRef YxPixelBufferRef;

typedef uint32_t YxAttachmentMode;
enum {
    kYxAttachmentModeShouldNotPropagate = 0,
    kYxAttachmentModeShouldPropagate = 1,
};

/// Borrowed; nothing if there is none. `mode` may be absent.
ZoTypeRef YxBufferGetAttachment(YxBufferRef buffer, ZoStringRef key, YxAttachmentMode* mode);
/// The same with a reference that the caller owns.
ZoTypeRef YxBufferCopyAttachment(YxBufferRef buffer, ZoStringRef key, YxAttachmentMode* mode);
/// A new dictionary of the attachments with that mode, or nothing if there is none.
ZoDictionaryRef YxBufferCopyAttachments(YxBufferRef buffer, YxAttachmentMode mode);
/// Adds or replaces, value and mode. An absent key or value and a mode of 2 or more change nothing.
void YxBufferSetAttachment(YxBufferRef buffer, ZoStringRef key, ZoTypeRef value, YxAttachmentMode mode);
void YxBufferRemoveAttachment(YxBufferRef buffer, ZoStringRef key);
void YxBufferRemoveAllAttachments(YxBufferRef buffer);

ZoTypeID YxPixelBufferGetTypeID(void);
/// A buffer of one plane of `height` rows of `bytesPerRow` zeroed bytes. Nothing if a number is 0, or memory is out.
YxPixelBufferRef YxPixelBufferCreate(ZoAllocatorRef allocator, size_t width, size_t height, uint32_t pixelFormatType,
                                     size_t bytesPerRow);
size_t YxPixelBufferGetWidth(YxPixelBufferRef pixelBuffer);
size_t YxPixelBufferGetHeight(YxPixelBufferRef pixelBuffer);
size_t YxPixelBufferGetBytesPerRow(YxPixelBufferRef pixelBuffer);
/// A four-character code.
uint32_t YxPixelBufferGetPixelFormatType(YxPixelBufferRef pixelBuffer);
/// The first row; the bytes live as long as the buffer, and the caller orders who reads and writes them.
void* YxPixelBufferGetBaseAddress(YxPixelBufferRef pixelBuffer);
/// Width and height in pixels.
WnSize YxImageBufferGetEncodedSize(YxImageBufferRef imageBuffer);

// A time as a dictionary: a signed 64-bit and a signed 32-bit number.
extern const ZoStringRef kYxBufferTimeValueKey;  ///< "TimeValue"
extern const ZoStringRef kYxBufferTimeScaleKey;  ///< "TimeScale"

// Texts are those that format descriptions use for the same things, so that a value moves between an attachment and
// an extension under one key.
extern const ZoStringRef kYxImageBufferCleanApertureKey;                  ///< "YxCleanAperture"
extern const ZoStringRef kYxImageBufferCleanApertureWidthKey;             ///< "Width"
extern const ZoStringRef kYxImageBufferCleanApertureHeightKey;            ///< "Height"
extern const ZoStringRef kYxImageBufferCleanApertureHorizontalOffsetKey;  ///< "HorizontalOffset"
extern const ZoStringRef kYxImageBufferCleanApertureVerticalOffsetKey;    ///< "VerticalOffset"

extern const ZoStringRef kYxImageBufferPixelAspectRatioKey;                   ///< "YxPixelAspectRatio"
extern const ZoStringRef kYxImageBufferPixelAspectRatioHorizontalSpacingKey;  ///< "HorizontalSpacing"
extern const ZoStringRef kYxImageBufferPixelAspectRatioVerticalSpacingKey;    ///< "VerticalSpacing"

extern const ZoStringRef kYxImageBufferFieldCountKey;                     ///< "YxFieldCount"
extern const ZoStringRef kYxImageBufferFieldDetailKey;                    ///< "YxFieldDetail"
extern const ZoStringRef kYxImageBufferFieldDetailTemporalTopFirst;       ///< "TemporalTopFirst"
extern const ZoStringRef kYxImageBufferFieldDetailTemporalBottomFirst;    ///< "TemporalBottomFirst"
extern const ZoStringRef kYxImageBufferFieldDetailSpatialFirstLineEarly;  ///< "SpatialFirstLineEarly"
extern const ZoStringRef kYxImageBufferFieldDetailSpatialFirstLineLate;   ///< "SpatialFirstLineLate"

extern const ZoStringRef kYxImageBufferColorPrimariesKey;           ///< "YxImageBufferColorPrimaries"
extern const ZoStringRef kYxImageBufferColorPrimaries_ITU_R_709_2;  ///< "ITU_R_709_2"
extern const ZoStringRef kYxImageBufferColorPrimaries_EBU_3213;     ///< "EBU_3213"
extern const ZoStringRef kYxImageBufferColorPrimaries_SMPTE_C;      ///< "SMPTE_C"

extern const ZoStringRef kYxImageBufferTransferFunctionKey;               ///< "YxImageBufferTransferFunction"
extern const ZoStringRef kYxImageBufferTransferFunction_ITU_R_709_2;      ///< "ITU_R_709_2"
extern const ZoStringRef kYxImageBufferTransferFunction_SMPTE_240M_1995;  ///< "SMPTE_240M_1995"
extern const ZoStringRef kYxImageBufferTransferFunction_UseGamma;         ///< "UseGamma"
extern const ZoStringRef kYxImageBufferGammaLevelKey;                     ///< "YxImageBufferGammaLevel"

extern const ZoStringRef kYxImageBufferYCbCrMatrixKey;               ///< "YxImageBufferYCbCrMatrix"
extern const ZoStringRef kYxImageBufferYCbCrMatrix_ITU_R_709_2;      ///< "ITU_R_709_2"
extern const ZoStringRef kYxImageBufferYCbCrMatrix_ITU_R_601_4;      ///< "ITU_R_601_4"
extern const ZoStringRef kYxImageBufferYCbCrMatrix_SMPTE_240M_1995;  ///< "SMPTE_240M_1995"

extern const ZoStringRef kYxImageBufferChromaLocationTopFieldKey;     ///< "YxImageBufferChromaLocationTopField"
extern const ZoStringRef kYxImageBufferChromaLocationBottomFieldKey;  ///< "YxImageBufferChromaLocationBottomField"
extern const ZoStringRef kYxImageBufferChromaLocation_Left;           ///< "Left"
extern const ZoStringRef kYxImageBufferChromaLocation_Center;         ///< "Center"
extern const ZoStringRef kYxImageBufferChromaLocation_TopLeft;        ///< "TopLeft"
extern const ZoStringRef kYxImageBufferChromaLocation_Top;            ///< "Top"
extern const ZoStringRef kYxImageBufferChromaLocation_BottomLeft;     ///< "BottomLeft"
extern const ZoStringRef kYxImageBufferChromaLocation_Bottom;         ///< "Bottom"
extern const ZoStringRef kYxImageBufferChromaLocation_DV420;          ///< "DV 4:2:0"

ZO_EXTERN_C_END
