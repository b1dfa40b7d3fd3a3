// Integer arithmetic that tells of overflow, multiplication followed by division with all bits kept in between,
// and half-precision floats. Pure functions. Arithmetic is inline: every time conversion passes through here.

#pragma once

#include "Foundation/Objects/ZoBase.h"

ZO_EXTERN_C_BEGIN

/// Each stores the wrapped two's-complement result whatever happens, and is true on overflow.
static inline bool TavAddDidOverflowInt64Int64(int64_t a, int64_t b, int64_t* out)
{
    return __builtin_add_overflow(a, b, out);
}

static inline bool TavSubtractDidOverflowInt64Int64(int64_t a, int64_t b, int64_t* out)
{
    return __builtin_sub_overflow(a, b, out);
}

/// a * b + c. True also where the product overflows and the sum comes back into range.
static inline bool TavMultiplyAndAddDidOverflowInt64Int64Int64(int64_t a, int64_t b, int64_t c, int64_t* out)
{
    int64_t product;
    const bool productOverflowed = __builtin_mul_overflow(a, b, &product);
    const bool sumOverflowed = __builtin_add_overflow(product, c, out);
    return productOverflowed || sumOverflowed;
}

/// dividend / divisor where the caller knows that the quotient fits 32 bits: half the cost of a full 64-bit division.
static inline uint32_t TavUInt64DivideNarrow(uint64_t dividend, uint32_t divisor, uint32_t* outRemainder)
{
#if defined(__x86_64__)
    uint32_t quotient;
    __asm__("divl %[divisor]"
            : "=a"(quotient), "=d"(*outRemainder)
            : "a"((uint32_t)dividend), "d"((uint32_t)(dividend >> 32)), [divisor] "r"(divisor)
            : "cc");
    return quotient;
#else
    *outRemainder = (uint32_t)(dividend % divisor);
    return (uint32_t)(dividend / divisor);
#endif
}

/// value * multiplier / divisor for a product that leaves 64 bits; use TavUInt64MulDiv.
static inline uint64_t TavUInt64MulDivWide(uint64_t value, uint32_t multiplier, uint32_t divisor,
                                           uint32_t* outRemainder)
{
    const uint64_t low = (value & 0xFFFFFFFFu) * multiplier;
    const uint64_t high = (low >> 32) + (value >> 32) * multiplier;
    if ((high >> 32) >= divisor) {
        *outRemainder = 0;
        return UINT64_MAX;
    }
    uint32_t rest;
    const uint64_t upper = TavUInt64DivideNarrow(high, divisor, &rest);
    return upper << 32 | TavUInt64DivideNarrow((uint64_t)rest << 32 | (low & 0xFFFFFFFFu), divisor, outRemainder);
}

/// value * multiplier / divisor, rounded down, with the whole 96-bit product in between. `outRemainder` may be absent.
/// A divisor of 0 and a quotient that leaves 64 bits give UINT64_MAX, remainder 0.
static inline uint64_t TavUInt64MulDiv(uint64_t value, uint32_t multiplier, uint32_t divisor, uint32_t* outRemainder)
{
    uint64_t quotient = UINT64_MAX, product;
    uint32_t remainder = 0;
    if (ZO_UNLIKELY(__builtin_mul_overflow(value, (uint64_t)multiplier, &product))) {
        quotient = TavUInt64MulDivWide(value, multiplier, divisor, &remainder);
    } else if (ZO_LIKELY(divisor != 0)) {
        quotient = product / divisor;
        remainder = (uint32_t)(product % divisor);
    }
    if (outRemainder) *outRemainder = remainder;
    return quotient;
}

/// The same on magnitudes, rounded towards 0; the sign is that of the three operands together, for the remainder too.
/// Overflow and a divisor of 0 saturate to INT64_MAX, or INT64_MIN where the sign is negative. A negative quotient
/// of magnitude INT64_MAX counts as saturated.
static inline int64_t TavInt64MulDiv(int64_t value, int32_t multiplier, int32_t divisor, int32_t* outRemainder)
{
    const bool negative = (value < 0) ^ (multiplier < 0) ^ (divisor < 0);
    uint32_t remainder;
    uint64_t magnitude = TavUInt64MulDiv(value < 0 ? 0 - (uint64_t)value : (uint64_t)value,
                                         multiplier < 0 ? 0 - (uint32_t)multiplier : (uint32_t)multiplier,
                                         divisor < 0 ? 0 - (uint32_t)divisor : (uint32_t)divisor, &remainder);
    if (outRemainder) *outRemainder = negative ? -(int32_t)remainder : (int32_t)remainder;
    if (ZO_UNLIKELY(magnitude >= INT64_MAX)) return negative ? INT64_MIN : INT64_MAX;
    return negative ? -(int64_t)magnitude : (int64_t)magnitude;
}

/// Of the power of two above `value` and the one at or below it the nearer, the upper one from the middle on: 5 gives
/// 4, 6 gives 8, 3 gives 4. 0 gives 0, and so does a value with its top bit set, whose next power leaves 32 bits.
uint32_t TavUInt32NearestPowerOfTwo(uint32_t value);

/// The bits of a half-precision float (ISO/IEC 60559 binary16) in the low 16 bits. The mantissa is cut, not rounded;
/// magnitudes below 2^-14 give a signed zero, and from 2^16 on a signed infinity.
uint32_t TavFloat32ConvertToFloat16(float value);
/// From the low 16 bits of `bits`. The mantissa of a NaN stands in the low bits of the result's.
float TavFloat16ConvertToFloat32(uint32_t bits);

ZO_EXTERN_C_END
