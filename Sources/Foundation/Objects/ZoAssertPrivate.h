// Misuse by the caller: an absent or wrong object, an index out of range. Debug builds say so on standard error and
// abort; release builds go on with the behaviour that the operation defines for it:
//
//     if (!ZO_EXPECT(zoIsOfType(array, kZoTypeIDArray), "not an array")) return 0;
//
// Never for bad input, which is normal and has a status.

#pragma once

#include "Foundation/Objects/ZoBase.h"

ZO_EXTERN_C_BEGIN

/// Gives false, or does not return (debug builds of the library).
bool _ZoReportMisuse(const char* function, const char* message)
#if defined(__GNUC__)
    __attribute__((cold, noinline))
#endif
    ;

ZO_EXTERN_C_END

/// Whether `condition` holds.
#define ZO_EXPECT(condition, message) (ZO_LIKELY(condition) || _ZoReportMisuse(__func__, message))
