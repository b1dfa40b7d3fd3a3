// The host clock: nanoseconds of CLOCK_MONOTONIC. A host time unit is one nanosecond, so conversions change nothing;
// callers convert all the same, and stay right where a host counts differently. May be called from any thread.

#pragma once

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

/// Host time units since an arbitrary start, usually the system's.
uint64_t TavGetUpTime(void);
/// The same in nanoseconds.
uint64_t TavGetUpTimeNanoseconds(void);
/// Nanoseconds are host time units times `*outNumerator` over `*outDenominator`: 1 and 1. Either may be absent.
void TavGetHostTimeToNanosecondsScale(uint32_t* outNumerator, uint32_t* outDenominator);

static inline uint64_t TavHostTimeToNanoseconds(uint64_t value) { return value; }
static inline uint64_t TavNanosecondsToHostTime(uint64_t value) { return value; }

ZO_EXTERN_C_END
