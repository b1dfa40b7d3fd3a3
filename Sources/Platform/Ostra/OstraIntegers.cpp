#include "Platform/Ostra/OstraIntegers.h"

#include <bit>

uint32_t TavUInt32NearestPowerOfTwo(uint32_t value)
{
    uint32_t next = value;
    for (uint32_t shift = 1; shift < 32; shift *= 2) next |= next >> shift;
    next += 1;
    return value & (next / 4) ? next : next / 2;
}

uint32_t TavFloat32ConvertToFloat16(float value)
{
    constexpr uint32_t kInfinity16 = 0x7C00;
    const uint32_t bits = std::bit_cast<uint32_t>(value);
    const uint32_t sign = (bits >> 16) & 0x8000;
    const uint32_t mantissa = bits & 0x7FFFFF;
    const int exponentField = static_cast<int>((bits >> 23) & 0xFF);
    const int exponent = exponentField - 127;
    if (exponentField == 255 && mantissa != 0)
        return sign | kInfinity16 | ((mantissa & 0x3FF) ? (mantissa & 0x3FF) : 0x200);
    if (exponent >= 16) return sign | kInfinity16;
    if (exponent >= -14) return sign | static_cast<uint32_t>(exponent + 15) << 10 | mantissa >> 13;
    return sign;
}

float TavFloat16ConvertToFloat32(uint32_t bits)
{
    const uint32_t sign = (bits & 0x8000) << 16;
    const uint32_t exponent = (bits >> 10) & 0x1F;
    const uint32_t mantissa = bits & 0x3FF;
    uint32_t magnitude;
    if (exponent == 31)
        magnitude = 0x7F800000 | mantissa;
    else if (exponent != 0)
        magnitude = (exponent - 15 + 127) << 23 | mantissa << 13;
    else
        magnitude = std::bit_cast<uint32_t>(static_cast<float>(mantissa) * 0x1p-24f);
    return std::bit_cast<float>(sign | magnitude);
}
