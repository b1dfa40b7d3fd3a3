// Big-endian loads and stores at any alignment: the one way in which records are read and written.

#pragma once

#include <cstdint>
#include <cstring>

inline uint16_t loadBE16(const void* p)
{
    uint16_t value;
    std::memcpy(&value, p, sizeof(value));
    return __builtin_bswap16(value);
}

inline uint32_t loadBE32(const void* p)
{
    uint32_t value;
    std::memcpy(&value, p, sizeof(value));
    return __builtin_bswap32(value);
}

inline uint64_t loadBE64(const void* p)
{
    uint64_t value;
    std::memcpy(&value, p, sizeof(value));
    return __builtin_bswap64(value);
}

inline uint32_t loadBE24(const void* p)
{
    const auto* bytes = static_cast<const uint8_t*>(p);
    return static_cast<uint32_t>(bytes[0]) << 16 | static_cast<uint32_t>(bytes[1]) << 8 | bytes[2];
}

inline void storeBE16(void* p, uint16_t value)
{
    value = __builtin_bswap16(value);
    std::memcpy(p, &value, sizeof(value));
}

inline void storeBE32(void* p, uint32_t value)
{
    value = __builtin_bswap32(value);
    std::memcpy(p, &value, sizeof(value));
}

inline void storeBE64(void* p, uint64_t value)
{
    value = __builtin_bswap64(value);
    std::memcpy(p, &value, sizeof(value));
}

inline void storeBE24(void* p, uint32_t value)
{
    auto* bytes = static_cast<uint8_t*>(p);
    bytes[0] = static_cast<uint8_t>(value >> 16);
    bytes[1] = static_cast<uint8_t>(value >> 8);
    bytes[2] = static_cast<uint8_t>(value);
}

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the loads and stores above swap unconditionally");
