// Short spellings of big-endian bytes, for inputs that a test builds by hand.

#pragma once

#include <cstdint>
#include <string>

namespace luvia_test {

inline std::string be(uint64_t value, int bytes)
{
    std::string out;
    for (int i = bytes - 1; i >= 0; --i) out.push_back(static_cast<char>(value >> (8 * i)));
    return out;
}
inline std::string be16(uint16_t value) { return be(value, 2); }
inline std::string be24(uint32_t value) { return be(value, 3); }
inline std::string be32(uint32_t value) { return be(value, 4); }
inline std::string be64(uint64_t value) { return be(value, 8); }
inline std::string zeros(size_t count) { return std::string(count, '\0'); }

}  // namespace luvia_test
