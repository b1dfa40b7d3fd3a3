// Numbers, the two booleans, and the null object.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

typedef ZoIndex ZoNumberType;
enum {
    kZoNumberSInt8Type = 1,
    kZoNumberSInt16Type = 2,
    kZoNumberSInt32Type = 3,
    kZoNumberSInt64Type = 4,
    kZoNumberFloat32Type = 5,
    kZoNumberFloat64Type = 6,
    kZoNumberIntType = 9,
    kZoNumberFloatType = 12,  ///< 32 bits
    kZoNumberDoubleType = 13,
    kZoNumberZoIndexType = 14,
    kZoNumberGeometryFloatType = 16,  ///< 64 bits
    kZoNumberSInt128Type = 17,        ///< a ZoSInt128; only for reading an unsigned 64-bit value out of a number
};

typedef struct ZoSInt128 {
    int64_t high;
    uint64_t low;
} ZoSInt128;

extern const ZoBooleanRef kZoBooleanTrue;
extern const ZoBooleanRef kZoBooleanFalse;
extern const ZoNullRef kZoNull;

ZoTypeID ZoNumberGetTypeID(void);
/// `value` points to a value of `type`. Nothing for a type that is not in the list above.
ZoNumberRef ZoNumberCreate(ZoAllocatorRef allocator, ZoNumberType type, const void* value);
/// Converts to `type`; false if the value does not fit exactly (what fits best is stored all the same).
Boolean ZoNumberGetValue(ZoNumberRef number, ZoNumberType type, void* value);

ZoTypeID ZoBooleanGetTypeID(void);
Boolean ZoBooleanGetValue(ZoBooleanRef boolean);
ZoTypeID ZoNullGetTypeID(void);

ZO_EXTERN_C_END
