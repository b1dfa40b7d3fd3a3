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
        : bytes_(bytes), next_(bytes), end_(bytes + size), operation_(operation), onFailure_(onFailure)
    {}

    bool ok() const noexcept { return status_ == 0; }
    OSStatus status() const noexcept { return status_; }

    /// Where the next bit stands: the byte, and the bits of it already read.
    size_t byteOffset() const noexcept { return static_cast<size_t>(position() / 8); }
    uint32_t bitOffset() const noexcept { return static_cast<uint32_t>(position() % 8); }

    /// u(n), 1 to 25 bits.
    uint32_t u(int bits) noexcept
    {
        if (bits <= 0) return fail("U_PULL should: (numBits)>0");
        if (bits > kMostBits) return fail("U_PULL should: (numBits)<=25");
        const auto count = static_cast<uint32_t>(bits);
        if (!has(count)) return fail("end of bitstream");
        const auto value = static_cast<uint32_t>(bits_ >> (64 - count));
        take(count);
        return value;
    }
    /// u(32), as two halves.
    uint32_t u32() noexcept
    {
        const uint32_t high = u(16);
        return high << 16 | u(16);
    }
    bool flag() noexcept { return u(1) != 0; }
    void skip(uint32_t bits) noexcept
    {
        for (; bits > 32 && ok(); bits -= 32) skip(32);
        has(bits) ? take(bits) : static_cast<void>(fail("end of bitstream"));
    }

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

    uint64_t position() const noexcept { return ok() ? static_cast<uint64_t>(next_ - bytes_) * 8 - count_ : failedAt_; }

    // Whether that many bits are left. After a failure there are none.
    bool has(uint32_t bits) noexcept
    {
        if (ZO_LIKELY(count_ >= bits)) return true;
        if (ZO_LIKELY(end_ - next_ >= 8)) {
            bits_ |= loadBE64(next_) >> count_;
            next_ += (63 - count_) >> 3;
            count_ |= 56;
        } else {
            for (; count_ < 56 && next_ != end_; count_ += 8) bits_ |= uint64_t{*next_++} << (56 - count_);
        }
        return count_ >= bits;
    }
    void take(uint32_t bits) noexcept
    {
        bits_ <<= bits;
        count_ -= bits;
    }

    uint32_t codeNumber(const char* complaint) noexcept
    {
        constexpr uint32_t kMostZeros = 12;
        has(2 * kMostZeros + 1);
        const auto zeros = static_cast<uint32_t>(__builtin_clzll(bits_ | 1));
        if (ZO_UNLIKELY(zeros > kMostZeros)) return fail(complaint);
        const uint32_t length = 2 * zeros + 1;
        if (ZO_UNLIKELY(length > count_)) return fail("end of bitstream");
        const auto value = static_cast<uint32_t>(bits_ >> (64 - length)) - 1;
        take(length);
        return value;
    }

    /// Gives 0.
    uint32_t fail(const char* message, OSStatus status = kTavBridgeInvalidSerializedSampleDescriptionErr) noexcept
        __attribute__((cold, noinline));

    const uint8_t* bytes_;
    const uint8_t* next_;  // behind the bytes whose bits are counted
    const uint8_t* end_;
    uint64_t bits_ = 0;   // the next bits from the top; behind `count_` of them stand zeros or those that follow
    uint32_t count_ = 0;  // below 64
    OSStatus status_ = 0;
    uint64_t failedAt_ = 0;
    const char* operation_;
    OnFailure onFailure_;
};
