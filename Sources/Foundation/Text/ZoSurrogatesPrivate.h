// The two halves in which UTF-16 writes a character beyond U+FFFF.

#pragma once

#include "Foundation/Objects/ZoBase.h"

namespace zo {

constexpr bool isHighSurrogate(uint32_t unit) { return (unit & 0xFFFFFC00u) == 0xD800; }
constexpr bool isLowSurrogate(uint32_t unit) { return (unit & 0xFFFFFC00u) == 0xDC00; }
constexpr bool isSurrogate(uint32_t unit) { return (unit & 0xFFFFF800u) == 0xD800; }
constexpr uint32_t surrogatePair(uint32_t high, uint32_t low) { return (high << 10) + low - 0x35FDC00u; }

/// Of a character beyond U+FFFF.
constexpr UniChar highSurrogateOf(uint32_t character) { return static_cast<UniChar>(0xD7C0 + (character >> 10)); }
constexpr UniChar lowSurrogateOf(uint32_t character) { return static_cast<UniChar>(0xDC00 | (character & 0x3FF)); }

}  // namespace zo
