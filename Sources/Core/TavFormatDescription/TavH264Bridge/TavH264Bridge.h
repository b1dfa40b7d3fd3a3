// What a container stores about an H.264 stream: the `avcC` record (ISO/IEC 14496-15 5.3.3.1) and the parameter sets in
// it (ITU-T H.264 7.3.2). Free functions over bytes and data objects; nothing is kept between calls, so that all of
// them may be called from any thread.
//
// A pointer to a parameter set points at its NAL unit header, without start code or length; the unit is as it is
// stored, with emulation prevention. Statuses of all operations, signalled where they are found:
//
// kTavBridgeParameterErr                           an argument that cannot be, or what was asked for is not there
// kTavBridgeAllocationFailedErr                    no memory
// kTavBridgeInvalidSerializedSampleDescriptionErr  the bytes are not what they should be
//
// A query that fails writes no output.

#pragma once

#include "Core/TavFormatDescription/FormatDescriptionBridge_Common/TavBridgeErrors.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

// Records of `avcC`.

/// How many bytes the length in front of each NAL unit has: 1 to 4.
OSStatus TavH264Bridge_GetNALUnitHeaderLengthFromAVCC(const uint8_t* avcC, size_t avcCSize,
                                                      int32_t* nalUnitHeaderLengthOut);
/// The two below give a pointer into the record.
OSStatus TavH264Bridge_GetSPSFromAVCC(const uint8_t* avcC, size_t avcCSize, size_t index, const uint8_t** spsOut,
                                      size_t* spsSizeOut);
OSStatus TavH264Bridge_GetPPSFromAVCC(const uint8_t* avcC, size_t avcCSize, size_t index, const uint8_t** ppsOut,
                                      size_t* ppsSizeOut);
/// Either count may be absent.
OSStatus TavH264Bridge_GetSPSAndPPSCountFromAVCC(ZoDataRef avcCData, size_t* spsCountOut, size_t* ppsCountOut);

/// Is told of each parameter set of a record: SPS, then PPS, then SPS extensions, counted through.
typedef void (*TavH264BridgeParameterSetVisitor)(void* context, size_t index, const uint8_t* parameterSet,
                                                 size_t parameterSetSize);
/// Every output and the visitor may be absent. The pointer points into the record.
OSStatus TavH264Bridge_GetAndVisitH264ParameterSetAtIndex(ZoDataRef avcCData, size_t parameterSetIndex,
                                                          const uint8_t** parameterSetOut, size_t* parameterSetSizeOut,
                                                          size_t* parameterSetCountOut, int32_t* nalUnitHeaderLengthOut,
                                                          TavH264BridgeParameterSetVisitor visitor, void* context);
OSStatus TavH264Bridge_VisitAllH264ParameterSets(ZoDataRef avcCData, size_t* parameterSetCountOut,
                                                 int32_t* nalUnitHeaderLengthOut,
                                                 TavH264BridgeParameterSetVisitor visitor, void* context);

/// A record of SPS, PPS and SPS extensions in any order; at least one SPS and one PPS. They are stored as given, sorted
/// by id. `widthOut` and `heightOut`, which may be absent, get the size that all SPS agree on, else 0. The caller
/// releases the data.
OSStatus TavH264Bridge_CreateAVCCFromH264ParameterSets(ZoAllocatorRef allocator, size_t parameterSetCount,
                                                       const uint8_t* const* parameterSetPointers,
                                                       const size_t* parameterSetSizes, int32_t nalUnitHeaderLength,
                                                       uint32_t* widthOut, uint32_t* heightOut, ZoDataRef* avcCDataOut);
OSStatus TavH264Bridge_CreateAVCCFromSPSAndPPS(ZoAllocatorRef allocator, const uint8_t* sps, size_t spsSize,
                                               const uint8_t* pps, size_t ppsSize, int32_t nalUnitHeaderLength,
                                               ZoDataRef* avcCDataOut);

// Questions about one parameter set.

OSStatus TavH264Bridge_GetSPSSequenceID(const uint8_t* sps, size_t spsSize, uint32_t* spsIDOut);
OSStatus TavH264Bridge_GetPPSSequenceID(const uint8_t* pps, size_t ppsSize, uint32_t* spsIDOut, uint32_t* ppsIDOut);
/// In luma samples, cropped. A monochrome picture is never cropped.
OSStatus TavH264Bridge_GetSPSWidthAndHeight(const uint8_t* sps, size_t spsSize, int32_t* widthOut, int32_t* heightOut);
OSStatus TavH264Bridge_GetSPSIsInterlaced(const uint8_t* sps, size_t spsSize, Boolean* isInterlacedOut);
/// chroma_format_idc, and depths in bits. Each may be absent.
OSStatus TavH264Bridge_GetSPSChromaFormatAndBitDepths(const uint8_t* sps, size_t spsSize, uint8_t* chromaFormatOut,
                                                      uint8_t* lumaBitDepthOut, uint8_t* chromaBitDepthOut);

// Questions about its VUI (ITU-T H.264 E.1.1). kTavBridgeParameterErr where the stream does not say.

/// Frames a second; `delayBitsOut` is the length in bits of cpb_removal_delay and dpb_output_delay together, 0 without
/// HRD.
OSStatus TavH264Bridge_GetSPS_VUI_Framerate(const uint8_t* sps, size_t spsSize, float* frameRateOut,
                                            Boolean* fixedFrameRateOut, Boolean* picStructPresentOut,
                                            Boolean* hrdPresentOut, uint32_t* delayBitsOut);
OSStatus TavH264Bridge_GetSPS_VUI_ChromaLocation(const uint8_t* sps, size_t spsSize, uint32_t* topFieldOut,
                                                 uint32_t* bottomFieldOut);
/// Untouched outputs and success for aspect_ratio_idc 0 and for values that the table does not have.
OSStatus TavH264Bridge_GetSPS_VUI_AspectRatio(const uint8_t* sps, size_t spsSize, uint32_t* horizontalOut,
                                              uint32_t* verticalOut);
OSStatus TavH264Bridge_GetSPS_VUI_NCLC(const uint8_t* sps, size_t spsSize, uint32_t* colourPrimariesOut,
                                       uint32_t* transferCharacteristicsOut, uint32_t* matrixCoefficientsOut);
OSStatus TavH264Bridge_GetSPS_VUI_FullRangeVideo(const uint8_t* sps, size_t spsSize, Boolean* fullRangeOut);

enum { kTavH264BridgeSPSDescriptionSize = 160 };
/// One line for people: size, chroma format and depths, and of colour, range and frame rate what the stream says; or
/// "unreadable". `text` has room for kTavH264BridgeSPSDescriptionSize bytes.
void TavH264Bridge_DescribeSPS(const uint8_t* sps, size_t spsSize, char* text);

/// The bytes without emulation prevention (ITU-T H.264 7.3.1): a copy, or the object itself where there is none. The
/// caller releases it. Both names are one operation.
OSStatus TavH264Bridge_CopyDataWithEmulationPreventionBytesRemoved(ZoDataRef data, ZoDataRef* dataOut);
OSStatus H264Bridge_CopyDataWithEmulationPreventionBytesRemoved(ZoDataRef data, ZoDataRef* dataOut);

/// Table E-1: width and height of a sample, by aspect_ratio_idc.
extern const uint8_t kH264SampleAspectRatioIndicators[17][2];

ZO_EXTERN_C_END
