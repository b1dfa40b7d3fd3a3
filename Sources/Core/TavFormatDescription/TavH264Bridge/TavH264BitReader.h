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

// Elements are some ten instructions, whose bits are in registers only where no call takes the run's address.
#define H264_INLINE __attribute__((always_inline)) inline

/// What does not change from element to element, and what is left of a reader that failed.
struct TavH264BitRecord {
    const uint8_t* bytes;
    const char* operation;
    bool isToSignal;
    OSStatus status;
    uint64_t failedAt;

    uint64_t position(const uint8_t* next, uint32_t count) const noexcept
    {
        return status == 0 ? static_cast<uint64_t>(next - bytes) * 8 - count : failedAt;
    }
    void fail(const char* message, OSStatus failure, const uint8_t* next, uint32_t count) noexcept
        __attribute__((cold, noinline));
};

/// The bits to come, and the elements read from them. A copy goes its own way, but for failures, which are the
/// reader's.
class TavH264BitRun {
public:
    H264_INLINE bool ok() const noexcept { return status() == 0; }
    H264_INLINE OSStatus status() const noexcept { return record_->status; }

    /// Where the next bit stands: the byte, and the bits of it already read.
    size_t byteOffset() const noexcept { return static_cast<size_t>(record_->position(next_, count_) / 8); }
    uint32_t bitOffset() const noexcept { return static_cast<uint32_t>(record_->position(next_, count_) % 8); }

    /// u(n), 1 to 25 bits.
    H264_INLINE uint32_t u(int bits) noexcept
    {
        if (bits <= 0) return fail("U_PULL should: (numBits)>0");
        const auto count = static_cast<uint32_t>(bits);
        if (count > kMostBits) return fail("U_PULL should: (numBits)<=25");
        if (ZO_UNLIKELY(!has(count))) return fail("end of bitstream");
        const auto value = static_cast<uint32_t>(bits_ >> (64 - count));
        take(count);
        return value;
    }
    /// u(32), as two halves.
    H264_INLINE uint32_t u32() noexcept
    {
        const uint32_t high = u(16);
        return high << 16 | u(16);
    }
    H264_INLINE bool flag() noexcept { return u(1) != 0; }
    H264_INLINE void skip(uint32_t bits) noexcept
    {
        for (; bits > 32 && ok(); bits -= 32) skip32();
        has(bits) ? take(bits) : static_cast<void>(fail("end of bitstream"));
    }

    /// ue(v) of at most 12 leading zeros: the code word lies in one word.
    H264_INLINE uint32_t ue() noexcept { return codeNumber("UE_PULL should :numZeros<=12"); }
    H264_INLINE void skipUE() noexcept { codeNumber("UE_SKIP should :numZeros<=12"); }
    H264_INLINE int32_t se() noexcept
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
    H264_INLINE void require(bool condition, const char* message,
                             OSStatus status = kTavBridgeInvalidSerializedSampleDescriptionErr) noexcept
    {
        if (ZO_UNLIKELY(!condition)) fail(message, status);
    }

    /// What is rare and long, in a function of its own: `read(run, arguments...)`.
    template <typename Read, typename... Arguments>
    H264_INLINE void outOfLine(Read read, Arguments&&... arguments) noexcept
    {
        TavH264BitRun inMemory = *this;
        read(inMemory, arguments...);
        *this = inMemory;
    }

protected:
    TavH264BitRun(TavH264BitRecord* record, const uint8_t* bytes, size_t size) noexcept
        : record_(record), next_(bytes), end_(bytes + size)
    {}

private:
    static constexpr uint32_t kMostBits = 25;  // what a word holds at any bit offset

    struct Refill {
        const uint8_t* next;
        uint64_t bits;
    };
    static Refill refill(const uint8_t* next, const uint8_t* end, uint64_t bits, uint32_t count) noexcept
        __attribute__((noinline));

    uint32_t uLong(int bits) noexcept
    {
        if (bits <= 24) return u(bits);
        const uint32_t high = u(bits - 16);
        return high << 16 | u(16);
    }

    // Whether that many bits are left. After a failure there are none.
    H264_INLINE bool has(uint32_t bits) noexcept
    {
        if (ZO_LIKELY(count_ >= bits)) return true;
        const Refill filled = refill(next_, end_, bits_, count_);
        count_ += static_cast<uint32_t>(filled.next - next_) * 8;
        next_ = filled.next;
        bits_ = filled.bits;
        return count_ >= bits;
    }
    H264_INLINE void take(uint32_t bits) noexcept
    {
        bits_ <<= bits;
        count_ -= bits;
    }
    H264_INLINE void skip32() noexcept { has(32) ? take(32) : static_cast<void>(fail("end of bitstream")); }

    H264_INLINE uint32_t codeLength() const noexcept
    {
        return 2 * static_cast<uint32_t>(__builtin_clzll(bits_ | 1)) + 1;
    }
    H264_INLINE uint32_t codeNumber(const char* complaint) noexcept
    {
        uint32_t length = codeLength();
        if (ZO_UNLIKELY(length > count_ || length > kMostBits)) {
            has(kMostBits);
            length = codeLength();
            if (ZO_UNLIKELY(length > kMostBits)) return fail(complaint);
            if (ZO_UNLIKELY(length > count_)) return fail("end of bitstream");
        }
        const auto value = static_cast<uint32_t>(bits_ >> (64 - length)) - 1;
        take(length);
        return value;
    }

    /// Gives 0.
    H264_INLINE uint32_t fail(const char* message,
                              OSStatus status = kTavBridgeInvalidSerializedSampleDescriptionErr) noexcept
    {
        record_->fail(message, status, next_, count_);
        next_ = end_;
        bits_ = count_ = 0;
        return 0;
    }

    TavH264BitRecord* record_;
    const uint8_t* next_;  // behind the bytes whose bits are counted
    const uint8_t* end_;
    uint64_t bits_ = 0;   // the next bits from the top; behind `count_` of them stand zeros or those that follow
    uint32_t count_ = 0;  // below 64
};

#undef H264_INLINE

class TavH264BitReader : public TavH264BitRun {
public:
    enum class OnFailure { kSignal, kStaySilent };

    /// `operation` is the name that failures are signalled with.
    TavH264BitReader(const uint8_t* bytes, size_t size, const char* operation,
                     OnFailure onFailure = OnFailure::kSignal) noexcept
        : TavH264BitRun(&own_, bytes, size), own_{bytes, operation, onFailure == OnFailure::kSignal, 0, 0}
    {}
    TavH264BitReader(const TavH264BitReader&) = delete;
    TavH264BitReader& operator=(const TavH264BitReader&) = delete;

    /// Goes on from there: a run that was made of this one.
    void goOn(const TavH264BitRun& run) noexcept { TavH264BitRun::operator=(run); }

private:
    TavH264BitRecord own_;
};
