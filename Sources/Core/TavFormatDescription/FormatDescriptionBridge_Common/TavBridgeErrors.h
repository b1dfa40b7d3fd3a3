// The statuses that all bridges between format descriptions, codec records and file records share, under both names.

#pragma once

#include "Platform/Common/LuBase.h"

enum {
    kTavBridgeStopParsing = 1,  ///< no error: a callback ends a walk

    kTavBridgeParameterErr = -12712,
    kTavBridgeAllocationFailedErr = -12713,
    kTavBridgeInvalidSerializedSampleDescriptionErr = -12714,
    kTavBridgeIncompatibleFormatDescriptionErr = -12716,
    kTavBridgeUnsupportedSampleDescriptionFlavorErr = -12717,
    kTavBridgeInvalidSliceErr = -12719,

    kLuFormatDescriptionBridgeError_InvalidParameter = kTavBridgeParameterErr,
    kLuFormatDescriptionBridgeError_AllocationFailed = kTavBridgeAllocationFailedErr,
    kLuFormatDescriptionBridgeError_InvalidSerializedSampleDescription =
        kTavBridgeInvalidSerializedSampleDescriptionErr,
    kLuFormatDescriptionBridgeError_InvalidFormatDescription = -12715,
    kLuFormatDescriptionBridgeError_IncompatibleFormatDescription = kTavBridgeIncompatibleFormatDescriptionErr,
    kLuFormatDescriptionBridgeError_UnsupportedSampleDescriptionFlavor =
        kTavBridgeUnsupportedSampleDescriptionFlavorErr,
    kLuFormatDescriptionBridgeError_InvalidSlice = kTavBridgeInvalidSliceErr,
};
