// Hashing of words and bytes for the types of the object library. The same on every run, so that enumeration and
// descriptions are too; nothing outside the process may rely on the values.

#pragma once

#include <cstring>

#include "Foundation/Objects/ZoBase.h"

/// Spreads the bits of two words over one.
inline uint64_t zoHashMix(uint64_t a, uint64_t b) noexcept
{
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a ^ 0x9E3779B97F4A7C15u) * (b ^ 0xE7037ED1A0B428DBu);
    return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

template <typename Word>
inline Word zoHashLoad(const uint8_t* bytes) noexcept
{
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline ZoHashCode zoHashBytes(const void* data, size_t length) noexcept
{
    const auto* bytes = static_cast<const uint8_t*>(data);
    uint64_t hash = length;
    size_t left = length;
    for (; left > 16; left -= 16, bytes += 16)
        hash = zoHashMix(zoHashLoad<uint64_t>(bytes) ^ hash, zoHashLoad<uint64_t>(bytes + 8));
    if (left >= 8) return zoHashMix(zoHashLoad<uint64_t>(bytes) ^ hash, zoHashLoad<uint64_t>(bytes + left - 8));
    if (left >= 4) return zoHashMix(zoHashLoad<uint32_t>(bytes) ^ hash, zoHashLoad<uint32_t>(bytes + left - 4));
    if (left == 0) return zoHashMix(hash, 0);
    return zoHashMix(hash, bytes[0] | uint64_t{bytes[left / 2]} << 8 | uint64_t{bytes[left - 1]} << 16);
}
