// How a number holds its value, for the number type itself and for its description.

#pragma once

#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Values/ZoNumber.h"

__extension__ typedef __int128 ZoInt128;

enum : uint8_t { kNumberIsReal = 1, kNumberIsWide = 2 };  // type flags; neither: a 64-bit integer

struct ZoNumber_ {
    ZoRuntimeBase base;
    union {
        int64_t integer;
        double real;
    };
};

struct ZoWideNumber {
    ZoRuntimeBase base;
    ZoSInt128 halves;
};

struct ZoNumberValue {
    bool isFloat;
    double real;
    ZoInt128 integer;
};

inline ZoNumberValue zoNumberValue(ZoTypeRef object) noexcept
{
    const uint8_t flags = zoTypeFlags(object);
    if (flags & kNumberIsReal) return {true, static_cast<const ZoNumber_*>(object)->real, 0};
    if (!(flags & kNumberIsWide)) return {false, 0, static_cast<const ZoNumber_*>(object)->integer};
    const ZoSInt128 halves = static_cast<const ZoWideNumber*>(object)->halves;
    const auto high = static_cast<unsigned __int128>(static_cast<uint64_t>(halves.high));
    return {false, 0, static_cast<ZoInt128>(high << 64 | halves.low)};
}
