#include <algorithm>
#include <cstdio>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBitstream.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeTrace.h"
#include "Platform/Common/TavLog.h"

// Every failure of reader and walkers is signalled as this bridge's, whichever of its sources found it.
static constexpr char kSource[] = "/workspace/tav/Sources/Core/TavFormatDescription/TavHEVCBridge";

static OSStatus signal(OSStatus status, const char* errorName, const char* operation, const char* message, int64_t line)
{
    return TavSignalErrorAt3(kTavSignalFormat, gTavHEVCBridgeTrace.emitter, status, errorName, message, TAV_SUBSYSTEM,
                             operation, kSource, line, __builtin_return_address(0), 0);
}

OSStatus hevcbridgeSignalBitstreamError(const char* operation, const char* message) noexcept
{
    return signal(kTavBridgeInvalidSerializedSampleDescriptionErr, "kTavBridgeInvalidSerializedSampleDescriptionErr",
                  operation, message, __LINE__);
}

OSStatus hevcbridgeSignalSyntaxError(const char* operation, const char* message, OSStatus status) noexcept
{
    const char* name = "err";
    switch (status) {
        case kTavBridgeParameterErr: name = "err = kTavBridgeParameterErr"; break;
        case kTavBridgeAllocationFailedErr: name = "err = kTavBridgeAllocationFailedErr"; break;
        case kTavBridgeInvalidSerializedSampleDescriptionErr:
            name = "err = kTavBridgeInvalidSerializedSampleDescriptionErr";
            break;
        case kTavBridgeUnsupportedSampleDescriptionFlavorErr:
            name = "err = kTavBridgeUnsupportedSampleDescriptionFlavorErr";
            break;
        default: break;
    }
    return signal(status, name, operation, message, __LINE__);
}

void hevcbridgeLogRemark(const char* operation, const char* text, uint32_t first, uint32_t second) noexcept
{
    char remark[256];
    snprintf(remark, sizeof(remark), text, first, second);
    tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, TAV_SUBSYSTEM " %s: %s", operation, remark);
}

void hevcbridgeTraceRemark(const char* operation, const char* text, uint32_t first, uint32_t second) noexcept
{
    hevcbridgeRegisterTrace();
    if (tavTraceIsOn(&gTavHEVCBridgeTrace)) hevcbridgeLogRemark(operation, text, first, second);
}

static uint64_t bytesFrom(const HEVCBitstream* reader, const uint8_t* place)
{
    return reader->size - static_cast<uint64_t>(place - reader->data);
}

static bool isEscapeAt(const uint8_t* place) { return place[0] == 0 && place[1] == 0 && place[2] == 3; }

// How many of `count` bytes stand in front of the first emulation prevention sequence that begins among them. `left`
// bytes follow in all. 03 is rarer than zeros, and memchr as fast as memory.
static uint64_t bytesBeforeEscape(const uint8_t* bytes, uint64_t count, uint64_t left)
{
    if (left < 3) return count;
    const uint8_t* const end = bytes + std::min(left, count + 2);
    for (const uint8_t* from = bytes + 2; from < end;) {
        const auto* three = static_cast<const uint8_t*>(memchr(from, 3, static_cast<size_t>(end - from)));
        if (!three) break;
        if (isEscapeAt(three - 2)) return static_cast<uint64_t>(three - 2 - bytes);
        from = three + 1;
    }
    return count;
}

// How far the position may move with nothing to look for, and one more. Looked at are a few bytes at the start of a
// unit, which is all that a walk of a slice's header reads, and some more once it goes on.
static uint32_t clearBytesAhead(const HEVCBitstream* reader)
{
    constexpr uint64_t kFirstWindow = 32, kWindow = 256;
    if (!reader->removeEmulationPrevention) {
        const uint64_t left = bytesFrom(reader, reader->position);
        return left < 4 ? 0 : static_cast<uint32_t>(std::min<uint64_t>(left - 4, UINT32_MAX - 1)) + 1;
    }
    if (reader->lookaheadCount != 4 || reader->removedMask != 0) return 0;
    // A long skip may land between 00 and its emulation prevention byte, which no bit of the mask then tells of.
    if (memcmp(reader->lookahead, reader->position, 4) != 0) return 0;
    const uint64_t left = bytesFrom(reader, reader->rawNext);
    const bool isFirst = reader->position - reader->data < static_cast<ptrdiff_t>(kFirstWindow);
    const uint64_t most = std::min(left, isFirst ? kFirstWindow : kWindow);
    return static_cast<uint32_t>(bytesBeforeEscape(reader->rawNext, most, left)) + 1;
}

static void append(HEVCBitstream* reader, uint8_t byte)
{
    if (reader->lookaheadCount >= 0) reader->lookahead[reader->lookaheadCount] = byte;
    ++reader->lookaheadCount;
}

static void refill(HEVCBitstream* reader)
{
    const uint8_t* end = reader->data + reader->size;
    while (reader->rawNext != end && reader->lookaheadCount < 4) {
        if (end - reader->rawNext >= 3 && isEscapeAt(reader->rawNext)) {
            append(reader, 0);
            append(reader, 0);
            reader->rawNext += 3;
            ++reader->removedCount;
            if (reader->lookaheadCount - 1 > 0) reader->removedMask |= 1u << (reader->lookaheadCount - 1);
        } else {
            append(reader, *reader->rawNext++);
        }
    }
}

// The first `count` bytes, followed by zeros, without the bits already consumed.
static uint32_t nextBits(const uint8_t* bytes, uint64_t count, uint32_t bitOffset)
{
    uint32_t word = 0;
    for (uint64_t i = 0; i < std::min<uint64_t>(count, 4); ++i) word |= uint32_t{bytes[i]} << (24 - 8 * i);
    return word << bitOffset;
}

static OSStatus advanceEscaped(HEVCBitstream* reader, uint32_t numBits, uint64_t bytes)
{
    const int32_t held = std::max(reader->lookaheadCount, 0);
    reader->lookaheadCount -= static_cast<int32_t>(bytes);
    if (numBits == 0 || bytes != 0) {
        reader->removedMask >>= std::min<uint64_t>(bytes, 8);
        if (reader->lookaheadCount > 0 && bytes != 0)
            memmove(reader->lookahead, reader->lookahead + (held - reader->lookaheadCount),
                    static_cast<size_t>(reader->lookaheadCount));
        refill(reader);
    }
    const int32_t ahead = std::max(reader->lookaheadCount, 0);
    reader->position = reader->rawNext - ahead - __builtin_popcount(reader->removedMask);
    if (reader->lookaheadCount < 1) {
        reader->endOfData = true;
        if (reader->lookaheadCount != 0 || reader->bitOffset != 0)
            return hevcbridgeSignalBitstreamError("hevcbridgeAdvanceInBitstream", "end of bitstream");
    }
    reader->bits = nextBits(reader->lookahead, static_cast<uint64_t>(ahead), reader->bitOffset);
    return 0;
}

static OSStatus advancePlain(HEVCBitstream* reader, uint64_t bytes)
{
    const uint64_t held = bytesFrom(reader, reader->position);
    reader->position += std::min(bytes, held);
    const uint64_t left = bytesFrom(reader, reader->position);
    reader->bits = nextBits(reader->position, left, reader->bitOffset);
    if (left != 0) return 0;
    reader->endOfData = true;
    if (bytes > held || reader->bitOffset != 0)
        return hevcbridgeSignalBitstreamError("hevcbridgeAdvanceInBitstream", "end of bitstream");
    return 0;
}

OSStatus hevcbridgeAdvanceWithCare(HEVCBitstream* reader, uint32_t numBits)
{
    const uint64_t total = uint64_t{reader->bitOffset} + numBits;
    const uint64_t bytes = total >> 3;
    reader->bitOffset = total & 7;
    reader->clearBytes = 0;
    const OSStatus status =
        reader->removeEmulationPrevention ? advanceEscaped(reader, numBits, bytes) : advancePlain(reader, bytes);
    if (status == 0) reader->clearBytes = clearBytesAhead(reader);
    return status;
}

// The leading zeros of a code word that is too long for `bits`, and the 1 behind them. `tooLarge` says what 32 are.
static OSStatus pullLeadingZeros(HEVCBitstream* reader, const char* operation, const char* tooLarge,
                                 uint32_t* leadingZerosOut)
{
    OSStatus status = hevcbridgeAdvanceInBitstream(reader, 1);
    uint32_t count = 0;
    for (uint32_t bit = 0; status == 0 && bit == 0; ++count) status = hevcbridgeUPull(reader, 1, &bit);
    if (status == 0 && count >= 32) status = hevcbridgeSignalBitstreamError(operation, tooLarge);
    *leadingZerosOut = count;
    return status;
}

OSStatus hevcbridgeUEPullLongBitByBit(HEVCBitstream* reader, uint32_t* out)
{
    *out = 0;
    uint32_t zeros, suffix;
    OSStatus status = pullLeadingZeros(reader, "hevcbridgeUEPullLong", "UE_PULLlong: data too large for UINT", &zeros);
    if (status == 0) status = hevcbridgeUPullLong(reader, static_cast<int32_t>(zeros), &suffix);
    if (status == 0) *out = (1u << zeros) - 1 + suffix;
    return status;
}

OSStatus hevcbridgeUESkipBitByBit(HEVCBitstream* reader)
{
    uint32_t zeros;
    const OSStatus status =
        pullLeadingZeros(reader, "hevcbridgeUESkip", "UE_SKIPlong: data too large for UINT", &zeros);
    return status == 0 ? hevcbridgeAdvanceInBitstream(reader, zeros) : status;
}

bool hevcbridgeMoreRBSPData(const HEVCBitstream* reader, const uint8_t** nonZeroBehind)
{
    if (nonZeroBehind && *nonZeroBehind && reader->position < *nonZeroBehind) return true;
    if (bytesFrom(reader, reader->position) <= 1) return false;

    HEVCBitstream ahead = *reader;
    uint32_t value = 0;
    const uint8_t* found = ahead.position;
    if (hevcbridgeUSkip(&ahead, 1) != 0) return false;
    if (ahead.bitOffset != 0 && hevcbridgeUPull(&ahead, static_cast<int32_t>(8 - ahead.bitOffset), &value) != 0)
        return false;
    while (value == 0) {
        found = ahead.position;
        if (ahead.endOfData || hevcbridgeUPull(&ahead, 8, &value) != 0) return false;
    }
    if (nonZeroBehind) *nonZeroBehind = found;
    return true;
}

// MARK: runs

void hevcbridgeSettle(HEVCBitstream* reader, const uint8_t* next, uint32_t count) noexcept
{
    if (!next) return;
    const uint64_t taken = static_cast<uint64_t>(next - reader->position) * 8 - count;
    if (taken == reader->bitOffset) return;
    const auto bits = static_cast<uint32_t>(taken - reader->bitOffset);
    // The last bytes of a run are stepped over apart: what follows them in the look-ahead is not theirs.
    const uint64_t clearBits = reader->clearBytes == 0 ? 0 : uint64_t{reader->clearBytes} * 8 - 1 - reader->bitOffset;
    if (clearBits == 0 || bits <= clearBits) {
        hevcbridgeAdvanceInBitstream(reader, bits);
    } else {
        hevcbridgeAdvanceInBitstream(reader, static_cast<uint32_t>(clearBits));
        hevcbridgeAdvanceInBitstream(reader, static_cast<uint32_t>(bits - clearBits));
    }
}

HEVCBitRun hevcbridgeContinueRun(HEVCBitstream* reader, const uint8_t* next, uint32_t count, uint64_t bits,
                                 const uint8_t* end) noexcept
{
    if (next == end) {
        hevcbridgeSettle(reader, next, count);
        return hevcbridgeBeginRun(reader);
    }
    for (; count < 56 && next != end; count += 8) bits |= uint64_t{*next++} << (56 - count);
    return {.bits = bits, .count = count, .next = next, .end = end};
}

OSStatus hevcbridgeSettleAndSkip(HEVCBitstream* reader, const uint8_t* next, uint32_t count, uint32_t numBits) noexcept
{
    hevcbridgeSettle(reader, next, count);
    return hevcbridgeUSkip(reader, numBits);
}

OSStatus hevcbridgeSettleAndPull(HEVCBitstream* reader, const uint8_t* next, uint32_t count, int32_t numBits,
                                 uint32_t* out) noexcept
{
    hevcbridgeSettle(reader, next, count);
    return hevcbridgeUPullLong(reader, numBits, out);
}

OSStatus hevcbridgeSettleAndSkipUE(HEVCBitstream* reader, const uint8_t* next, uint32_t count) noexcept
{
    hevcbridgeSettle(reader, next, count);
    return hevcbridgeUESkip(reader);
}

OSStatus hevcbridgeSettleAndPullUE(HEVCBitstream* reader, const uint8_t* next, uint32_t count, uint32_t* out) noexcept
{
    hevcbridgeSettle(reader, next, count);
    return hevcbridgeUEPullLong(reader, out);
}
