// What the bridges need of a protected sample description: reads of the 'sinf' box (ISO/IEC 14496-12 8.12.1) and of the
// common encryption boxes in it (ISO/IEC 23001-7). Structure only; nothing is decrypted. No state.
//
// `sinf` points at the payload of the box, without its 8-byte header. What is absent or malformed gives 0.

#pragma once

#include "Core/TavFormatDescription/TavFormatDescriptionKeys.h"
#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// 'cenc', 'cbc2' or 'cbcs', from a scheme box of scheme version 0x00010000; else 0.
OSType TavBridgeGetCommonEncryptionScheme(const void* sinf, size_t sinfLength);
/// What the sample description's format was before protection, or 0.
OSType TavBridgeGetOriginalFormatFromSinf(const void* sinf, size_t sinfLength);
/// Puts the track encryption box's payload (version and flags included) in `values[*count]`, as a data object, and its
/// extension key in `keys[*count]`; the caller releases both. Each array may be absent. Counts even where the data
/// object could not be made: kTavBridgeAllocationFailedErr. Without such a box of 24 bytes or more, does nothing.
OSStatus TavBridgeExtractCommonEncryptionTrackEncryptionExtension(ZoAllocatorRef allocator, const void** keys,
                                                                  const void** values, ZoIndex* count, const void* sinf,
                                                                  size_t sinfLength);

ZO_EXTERN_C_END
