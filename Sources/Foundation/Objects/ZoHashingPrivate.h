// Hashing of words and bytes for the types of the object library. It is keyed: whoever writes the keys of a file does
// not know the seed, and cannot choose keys that collide. Values differ from process to process; what is enumerated or
// described stands in the order of insertion, which does not depend on them.

#pragma once

#include <cstring>

#include "Foundation/Objects/ZoBase.h"

struct ZoHashSeed {
    uint64_t first;
    uint64_t second;
};

/// Random and odd. Filled before constructors of static objects run, and never changed.
extern "C" ZoHashSeed __ZoHashSeed;

/// Spreads the bits of two words over one. The factors go into the result beside their product, so that not even one
/// that happens to be 0 hides the other.
inline uint64_t zoHashMix(uint64_t a, uint64_t b) noexcept
{
    __extension__ using Wide = unsigned __int128;
    a ^= __ZoHashSeed.first;
    b ^= __ZoHashSeed.second;
    const Wide product = static_cast<Wide>(a) * b;
    return a ^ static_cast<uint64_t>(product) ^ b ^ static_cast<uint64_t>(product >> 64);
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
    uint64_t hash = length * __ZoHashSeed.first;  // no byte can make up for another length
    size_t left = length;
    for (; left > 16; left -= 16, bytes += 16)
        hash = zoHashMix(zoHashLoad<uint64_t>(bytes) ^ hash, zoHashLoad<uint64_t>(bytes + 8));
    if (left >= 8) return zoHashMix(zoHashLoad<uint64_t>(bytes) ^ hash, zoHashLoad<uint64_t>(bytes + left - 8));
    if (left >= 4) return zoHashMix(zoHashLoad<uint32_t>(bytes) ^ hash, zoHashLoad<uint32_t>(bytes + left - 4));
    if (left == 0) return zoHashMix(hash, 0);
    return zoHashMix(hash, bytes[0] | uint64_t{bytes[left / 2]} << 8 | uint64_t{bytes[left - 1]} << 16);
}
