// Reads the syntax elements of ITU-T H.264 7.2 from bytes without emulation prevention, a word at a time.
//
// The reader latches its first failure, which it signals with the name of the operation that it reads for: later reads
// give 0 and do nothing, so that a walker needs no test behind each element. A reader may stand exactly at the end. One
// that is to stay silent signals nothing, whatever the status.

#pragma once

#include <cstddef>
#include <cstdint>

#include "Core/TavFormatDescription/FormatDescriptionBridge_Common/TavBridgeErrors.h"
#include "Platform/Common/LuBase.h"
#include "Utilities/TavBigEndian.h"

class TavH264BitReader {
public:
    enum class OnFailure { kSignal, kStaySilent };

    /// `operation` is the name that failures are signalled with.
    TavH264BitReader(const uint8_t* bytes, size_t size, const char* operation,
                     OnFailure onFailure = OnFailure::kSignal) noexcept
        : bytes_(bytes), bitCount_(uint64_t{size} * 8), operation_(operation), onFailure_(onFailure)
    {}

    bool ok() const noexcept { return status_ == 0; }
    OSStatus status() const noexcept { return status_; }

    /// Where the next bit stands: the byte, and the bits of it already read.
    size_t byteOffset() const noexcept { return static_cast<size_t>(position_ / 8); }
    uint32_t bitOffset() const noexcept { return static_cast<uint32_t>(position_ % 8); }

    /// u(n), 1 to 25 bits.
    uint32_t u(int bits) noexcept
    {
        if (bits <= 0) return fail("U_PULL should: (numBits)>0");
        if (bits > kMostBits) return fail("U_PULL should: (numBits)<=25");
        const uint32_t value = peek() >> (32 - bits);
        return advance(static_cast<uint32_t>(bits)) ? value : 0;
    }
    /// u(32), as two halves.
    uint32_t u32() noexcept
    {
        const uint32_t high = u(16);
        return high << 16 | u(16);
    }
    bool flag() noexcept { return u(1) != 0; }
    void skip(uint32_t bits) noexcept { advance(bits); }

    /// ue(v) of at most 12 leading zeros: the code word lies in one word.
    uint32_t ue() noexcept { return codeNumber("UE_PULL should :numZeros<=12"); }
    void skipUE() noexcept { codeNumber("UE_SKIP should :numZeros<=12"); }
    int32_t se() noexcept
    {
        const uint32_t codeNum = ue();
        const auto half = static_cast<int32_t>((codeNum + 1) / 2);
        return codeNum & 1 ? half : -half;
    }
    /// ue(v) of at most 31 leading zeros.
    uint32_t ueLong() noexcept
    {
        int zeros = 0;
        while (ok() && !flag() && ok())
            if (++zeros == 32) return fail("UE_PULLlong: data too large for UINT");
        if (!ok() || zeros == 0) return 0;
        const uint32_t suffix = uLong(zeros);
        return ok() ? (uint32_t{1} << zeros) - 1 + suffix : 0;
    }

    /// Latches `status` as the failure unless `condition` holds.
    void require(bool condition, const char* message,
                 OSStatus status = kTavBridgeInvalidSerializedSampleDescriptionErr) noexcept
    {
        if (ZO_UNLIKELY(!condition)) fail(message, status);
    }

private:
    static constexpr int kMostBits = 25;  // what a word holds at any bit offset

    uint32_t uLong(int bits) noexcept
    {
        if (bits <= 24) return u(bits);
        const uint32_t high = u(bits - 16);
        return high << 16 | u(16);
    }

    // The next bits, left-aligned, with zeros behind the end; the upper 25 are always right.
    uint32_t peek() const noexcept
    {
        const uint64_t byte = position_ / 8;
        const uint64_t left = bitCount_ / 8 - byte;
        if (ZO_LIKELY(left >= 8)) return static_cast<uint32_t>(loadBE64(bytes_ + byte) << (position_ % 8) >> 32);
        uint32_t word = 0;
        for (uint64_t i = 0; i < left && i < 4; ++i) word |= static_cast<uint32_t>(bytes_[byte + i]) << (24 - 8 * i);
        return word << (position_ % 8);
    }

    bool advance(uint32_t bits) noexcept
    {
        if (ZO_UNLIKELY(status_ != 0)) return false;
        if (ZO_UNLIKELY(bits > bitCount_ - position_)) {
            fail("end of bitstream");
            return false;
        }
        position_ += bits;
        return true;
    }

    uint32_t codeNumber(const char* complaint) noexcept
    {
        constexpr int kMostZeros = 12;
        const uint32_t next = peek();
        const int zeros = next == 0 ? 32 : __builtin_clz(next);
        if (ZO_UNLIKELY(zeros > kMostZeros)) return fail(complaint);
        const uint32_t value = (next >> (31 - 2 * zeros)) - 1;
        return advance(static_cast<uint32_t>(2 * zeros + 1)) ? value : 0;
    }

    /// Gives 0.
    uint32_t fail(const char* message, OSStatus status = kTavBridgeInvalidSerializedSampleDescriptionErr) noexcept
        __attribute__((cold, noinline));

    const uint8_t* bytes_;
    uint64_t bitCount_;
    uint64_t position_ = 0;  // in bits, never past the end
    OSStatus status_ = 0;
    const char* operation_;
    OnFailure onFailure_;
};
