// Writes syntax elements of ITU-T H.264 and H.265 bit by bit, so that an input reads like the clause that describes it.
//
//     BitWriter w;
//     w.u(8, 0x67).u(8, 66).u(8, 0).u(8, 30).ue(0);
//     const std::string unit = w.trailing().escaped();

#pragma once

#include <cstdint>
#include <string>

namespace luvia_test {

class BitWriter {
public:
    BitWriter& u(int bits, uint64_t value)
    {
        for (int i = bits - 1; i >= 0; --i) bit(value >> i & 1);
        return *this;
    }
    BitWriter& flag(bool value) { return u(1, value); }
    BitWriter& ue(uint64_t value)
    {
        int zeros = 0;
        while ((value + 1) >> (zeros + 1)) ++zeros;
        return u(zeros, 0).u(zeros + 1, value + 1);
    }
    BitWriter& se(int64_t value)
    {
        return ue(value > 0 ? 2 * static_cast<uint64_t>(value) - 1 : 2 * static_cast<uint64_t>(-value));
    }
    BitWriter& zeros(int bits) { return u(bits, 0); }
    /// rbsp_trailing_bits.
    BitWriter& trailing() { return flag(true).align(); }
    BitWriter& align()
    {
        while (bits_ % 8) bit(false);
        return *this;
    }

    size_t bitCount() const { return bits_; }
    /// The bytes as written; the last one filled with zeros.
    std::string bytes() const { return bytes_; }
    /// The same with emulation prevention.
    std::string escaped() const { return escape(bytes_); }

    static std::string escape(const std::string& bytes)
    {
        std::string out;
        int zeros = 0;
        for (char c : bytes) {
            if (zeros == 2 && static_cast<uint8_t>(c) <= 3) {
                out.push_back(3);
                zeros = 0;
            }
            out.push_back(c);
            zeros = c == 0 ? zeros + 1 : 0;
        }
        return out;
    }

private:
    void bit(bool value)
    {
        if (bits_ % 8 == 0) bytes_.push_back(0);
        if (value) bytes_.back() = static_cast<char>(static_cast<uint8_t>(bytes_.back()) | 0x80 >> bits_ % 8);
        ++bits_;
    }

    std::string bytes_;
    size_t bits_ = 0;
};

}  // namespace luvia_test
