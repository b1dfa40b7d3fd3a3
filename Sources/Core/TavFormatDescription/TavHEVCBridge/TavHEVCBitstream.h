// Reads the syntax elements of one NAL unit (ITU-T H.265 7.3.1.1, 9.2) in place: emulation prevention bytes are stepped
// over while reading, at most five bytes ahead. A reader belongs to one thread; it neither owns nor changes the buffer.
//
//     HEVCBitstream reader = hevcbridgeBitstreamOver(nalUnit, nalUnitLength, true);
//     TAV_TRY(hevcbridgeAdvanceInBitstream(&reader, 0));               // primes it
//     TAV_TRY(hevcbridgeUPull(&reader, 6, &type));
//
// Every failure is kTavBridgeInvalidSerializedSampleDescriptionErr, signalled where it is found; a pull that fails
// writes 0. After a failure a reader is not to be used again.

#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Core/TavFormatDescription/FormatDescriptionBridge_Common/TavBridgeErrors.h"
#include "Platform/Common/LuBase.h"

struct HEVCBitstream {
    const uint8_t* data;                ///< the first byte
    uint64_t size;                      ///< in bytes
    Boolean removeEmulationPrevention;  ///< true for a NAL unit as stored, false for an RBSP
    Boolean endOfData;                  ///< the read position has reached or passed the end
    const uint8_t* position;            ///< the byte of the buffer that holds the next unread bit
    const uint8_t* rawNext;             ///< the next byte of the buffer not yet in the look-ahead (escaped mode only)
    uint8_t lookahead[8];               ///< unescaped bytes from the position on; four of them while the buffer lasts
    int32_t lookaheadCount;             ///< bytes valid in it; negative once a read has run past the end
    uint32_t bitOffset;                 ///< bits of the first look-ahead byte already consumed, 0 to 7
    uint32_t bits;                      ///< the next bits from the top; 25 of them are always meaningful
    uint32_t removedCount;              ///< emulation prevention bytes removed so far
    uint32_t removedMask;               ///< look-ahead positions behind which one was removed, from bit 0 on
    /// The reader's own; 0 in a fresh one. While `position` moves by fewer bytes than this there is no emulation
    /// prevention and no end to look for: the look-ahead is just the four bytes there.
    uint32_t clearBytes;
};

/// A reader at the start of the buffer, not yet primed.
constexpr HEVCBitstream hevcbridgeBitstreamOver(const uint8_t* data, uint64_t size, bool removeEmulationPrevention)
{
    return {.data = data,
            .size = size,
            .removeEmulationPrevention = removeEmulationPrevention,
            .position = data,
            .rawNext = data};
}

// Out of line: what is rare.

OSStatus hevcbridgeAdvanceWithCare(HEVCBitstream* reader, uint32_t numBits);
OSStatus hevcbridgeUEPullLongBitByBit(HEVCBitstream* reader, uint32_t* out);
OSStatus hevcbridgeUESkipBitByBit(HEVCBitstream* reader);
/// Signals for the operation named, and gives the code.
OSStatus hevcbridgeSignalBitstreamError(const char* operation, const char* message) noexcept
    __attribute__((cold, noinline));
/// The same, with `status`, for what a walker finds wrong with the syntax.
OSStatus hevcbridgeSignalSyntaxError(const char* operation, const char* message, OSStatus status) noexcept
    __attribute__((cold, noinline));
/// Logs what a walker finds odd and passes over. `text` is a format for two numbers at most.
void hevcbridgeLogRemark(const char* operation, const char* text, uint32_t first, uint32_t second) noexcept
    __attribute__((cold, noinline));
/// The same, while this bridge's trace is on.
void hevcbridgeTraceRemark(const char* operation, const char* text, uint32_t first, uint32_t second) noexcept
    __attribute__((cold, noinline));

/// Moves the read position forward and refreshes `bits`; by 0 bits it primes a fresh reader. To stand exactly at the
/// end is no failure. "end of bitstream"
inline OSStatus hevcbridgeAdvanceInBitstream(HEVCBitstream* reader, uint32_t numBits)
{
    const uint64_t total = uint64_t{reader->bitOffset} + numBits;
    const uint64_t bytes = total >> 3;
    if (ZO_UNLIKELY(bytes >= reader->clearBytes)) return hevcbridgeAdvanceWithCare(reader, numBits);
    reader->clearBytes -= static_cast<uint32_t>(bytes);
    reader->position += bytes;
    reader->rawNext = reader->position + 4;
    reader->bitOffset = total & 7;
    uint32_t word;
    memcpy(&word, reader->position, sizeof(word));
    memcpy(reader->lookahead, &word, sizeof(word));
    reader->bits = __builtin_bswap32(word) << (total & 7);
    return 0;
}

/// Steps over 0 or more bits.
inline OSStatus hevcbridgeUSkip(HEVCBitstream* reader, uint32_t numBits)
{
    return hevcbridgeAdvanceInBitstream(reader, numBits);
}

/// u(n), 1 to 25 bits.
inline OSStatus hevcbridgeUPull(HEVCBitstream* reader, int32_t numBits, uint32_t* out)
{
    *out = 0;
    if (ZO_UNLIKELY(reader->endOfData)) return hevcbridgeSignalBitstreamError(__func__, "end of bit stream");
    if (ZO_UNLIKELY(numBits < 1)) return hevcbridgeSignalBitstreamError(__func__, "U_PULL should: (numBits)>0");
    if (ZO_UNLIKELY(numBits > 25)) return hevcbridgeSignalBitstreamError(__func__, "U_PULL should: (numBits)<=25");
    const uint32_t value = reader->bits >> (32 - numBits);
    const OSStatus status = hevcbridgeAdvanceInBitstream(reader, static_cast<uint32_t>(numBits));
    if (ZO_LIKELY(status == 0)) *out = value;
    return status;
}

/// u(n), 1 to 32 bits.
inline OSStatus hevcbridgeUPullLong(HEVCBitstream* reader, int32_t numBits, uint32_t* out)
{
    *out = 0;
    if (ZO_UNLIKELY(reader->endOfData)) return hevcbridgeSignalBitstreamError(__func__, "end of bit stream");
    if (ZO_UNLIKELY(numBits < 1)) return hevcbridgeSignalBitstreamError(__func__, "U_PULLlong should: numBits>0");
    if (ZO_UNLIKELY(numBits > 32)) return hevcbridgeSignalBitstreamError(__func__, "U_PULLlong should: numBits<=32");
    if (numBits <= 24) return hevcbridgeUPull(reader, numBits, out);
    uint32_t high, low;
    OSStatus status = hevcbridgeUPull(reader, numBits - 16, &high);
    if (ZO_LIKELY(status == 0)) status = hevcbridgeUPull(reader, 16, &low);
    if (ZO_LIKELY(status == 0)) *out = high << 16 | low;
    return status;
}

/// The number whose two's complement stands in the low `numBits`; 0 for a width that cannot be.
constexpr int32_t hevcbridgeSignedOf(uint32_t value, int32_t numBits)
{
    if (numBits < 1 || numBits > 32) return 0;
    return static_cast<int32_t>(value << (32 - numBits)) >> (32 - numBits);
}

/// The value of an se(v) by its code number (9.2.2).
constexpr int32_t hevcbridgeSignedOf(uint32_t codeNum)
{
    return codeNum & 1 ? static_cast<int32_t>(codeNum / 2 + 1) : -static_cast<int32_t>(codeNum / 2);
}

/// Two's complement of a fixed width, 1 to 32 bits.
inline OSStatus hevcbridgeSPullLong(HEVCBitstream* reader, int32_t numBits, int32_t* out)
{
    uint32_t value;
    const OSStatus status = hevcbridgeUPullLong(reader, numBits, &value);
    *out = hevcbridgeSignedOf(value, numBits);
    return status;
}

/// ue(v) of at most 31 leading zeros.
inline OSStatus hevcbridgeUEPullLong(HEVCBitstream* reader, uint32_t* out)
{
    *out = 0;
    if (ZO_UNLIKELY(reader->endOfData)) return hevcbridgeSignalBitstreamError(__func__, "end of bit stream");
    const uint32_t bits = reader->bits;
    if (ZO_UNLIKELY(bits < 1u << (31 - 12))) return hevcbridgeUEPullLongBitByBit(reader, out);
    const auto zeros = static_cast<uint32_t>(__builtin_clz(bits));  // 12 at most: the code word lies in the 25 bits
    const OSStatus status = hevcbridgeAdvanceInBitstream(reader, 2 * zeros + 1);
    if (ZO_LIKELY(status == 0)) *out = (bits >> (31 - 2 * zeros)) - 1;
    return status;
}

/// Steps over one ue(v) or se(v).
inline OSStatus hevcbridgeUESkip(HEVCBitstream* reader)
{
    if (ZO_UNLIKELY(reader->endOfData)) return hevcbridgeSignalBitstreamError(__func__, "end of bit stream");
    if (ZO_UNLIKELY(reader->bits < 1u << (31 - 24))) return hevcbridgeUESkipBitByBit(reader);
    return hevcbridgeAdvanceInBitstream(reader, 2 * static_cast<uint32_t>(__builtin_clz(reader->bits)) + 1);
}

inline OSStatus hevcbridgeSESkip(HEVCBitstream* reader) { return hevcbridgeUESkip(reader); }

/// se(v).
inline OSStatus hevcbridgeSEPullLong(HEVCBitstream* reader, int32_t* out)
{
    uint32_t codeNum;
    const OSStatus status = hevcbridgeUEPullLong(reader, &codeNum);
    *out = hevcbridgeSignedOf(codeNum);
    return status;
}

/// more_rbsp_data (7.2): whether anything but trailing bits is left. Moves nothing and signals nothing.
/// `nonZeroBehind`, which may be absent and points at null before the first call, remembers what was found, so that a
/// walk that asks again and again takes time in proportion to the unit's length.
bool hevcbridgeMoreRBSPData(const HEVCBitstream* reader, const uint8_t** nonZeroBehind);

// What a walker reads with: bits in registers, taken from a run of bytes without emulation prevention, while the record
// stays behind where it was. Functions out of line take it apart, so that it stays in registers.

struct HEVCBitRun {
    uint64_t bits = 0;   ///< the next bits from the top; behind `count` of them stand zeros or those that follow
    uint32_t count = 0;  ///< below 64
    const uint8_t* next = nullptr;  ///< the byte behind those counted; null: there is no run
    const uint8_t* end = nullptr;   ///< of the run
};

/// A run from where the record stands, as far as nothing has to be looked for.
inline HEVCBitRun hevcbridgeBeginRun(const HEVCBitstream* reader)
{
    constexpr uint32_t kLongest = 1 << 24;  // the bits of a run fit 32 bits
    if (reader->clearBytes == 0) return {};
    return {.bits = uint64_t{reader->bits} << 32,
            .count = 32 - reader->bitOffset,
            .next = reader->position + 4,
            .end = reader->position + (reader->clearBytes < kLongest ? reader->clearBytes : kLongest) + 3};
}

/// Moves the record to where a run stands whose `count` bits end at `next`; the run may be read on.
void hevcbridgeSettle(HEVCBitstream* reader, const uint8_t* next, uint32_t count) noexcept;
/// A run with more bits, 56 unless its bytes end before; where they have ended, the next one that the record can begin.
HEVCBitRun hevcbridgeContinueRun(HEVCBitstream* reader, const uint8_t* next, uint32_t count, uint64_t bits,
                                 const uint8_t* end) noexcept;

// What a run has no bits for, by the record: settle, if there is a run, and read.

OSStatus hevcbridgeSettleAndSkip(HEVCBitstream* reader, const uint8_t* next, uint32_t count, uint32_t numBits) noexcept;
OSStatus hevcbridgeSettleAndPull(HEVCBitstream* reader, const uint8_t* next, uint32_t count, int32_t numBits,
                                 uint32_t* out) noexcept;
OSStatus hevcbridgeSettleAndSkipUE(HEVCBitstream* reader, const uint8_t* next, uint32_t count) noexcept;
OSStatus hevcbridgeSettleAndPullUE(HEVCBitstream* reader, const uint8_t* next, uint32_t count, uint32_t* out) noexcept;
