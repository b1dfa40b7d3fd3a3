// Pixel buffers as attachment bearers.

#pragma once

#include "Foundation/Objects/ZoBase.h"

ZO_EXTERN_C_BEGIN

/// Enters pixel buffers into the registry of bearers, which must be there.
void TavAttachmentsRegisterYxBuffer(void);

ZO_EXTERN_C_END
