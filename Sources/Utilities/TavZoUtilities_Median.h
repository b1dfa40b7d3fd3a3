// The median of values behind pointers. As thread-safe as the values.

#pragma once

#include "Foundation/Objects/ZoBase.h"

ZO_EXTERN_C_BEGIN

/// -1, 0 or 1; `context` is absent.
typedef int32_t (*TavMedianCompareFunction)(const void* value1, const void* value2, void* context);
/// A new block, which the caller of the median gives to free(3).
typedef void* (*TavMedianAverageFunction)(const void* upper, const void* lower);

/// A new block, which the caller gives to free(3): a copy of the middle value's `size` bytes, or for an even count what
/// `average` gives for the two in the middle. The pointers are put in another order. Nothing for an absent array, a
/// count below 1, and without memory. Time is linear in the count whatever `compare` says; where it contradicts itself
/// the answer is one of the values.
void* TavGetMedianValueOfCArray(const void** values, ZoIndex count, TavMedianCompareFunction compare,
                                TavMedianAverageFunction average, size_t size);

ZO_EXTERN_C_END
