// How the sources of this bridge signal and trace.

#pragma once

#define TAV_SUBSYSTEM "<<<< HEVCBridge >>>>"

#include "Platform/Common/TavNote.h"
#include "Platform/Common/TavSignal.h"

extern TavTraceNote gTavHEVCBridgeTrace;

/// For entry points that trace.
void hevcbridgeRegisterTrace(void);
