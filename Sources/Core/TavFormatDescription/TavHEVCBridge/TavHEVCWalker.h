// What a syntax walker is written with: reader, context and the first status that was not 0, held together.
//
// Each element is one line that names its descriptor and its field. The rule for every element stands here once: what
// is neither requested nor needed is skipped without decoding; what is needed for the syntax is read whatever the
// filter says; what is requested is read and reported. After the first failure, or a callback's stop, elements give 0
// and do nothing, so that no line needs a test of its own, and times() turns no more.
//
// While it walks, bits stand in the walker and the reader's record stays behind. The record is right wherever it can be
// looked at: in callbacks, in structure(), through reader(), and once the walker is gone.

#pragma once

#include <span>
#include <type_traits>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBitstream.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParseContext.h"
#include "Utilities/TavBigEndian.h"

// An element is some thirty instructions, whose bits are in registers only where no call stands between two of them.
#define HEVC_INLINE __attribute__((always_inline)) inline

// A callback's answer, with the record right while it is asked.

OSStatus hevcbridgeTellFlag(HEVCBitstream* reader, const uint8_t* next, uint32_t count,
                            const HEVCBridgeParseContext* context, uint32_t field, uint32_t value,
                            int32_t index) noexcept;
OSStatus hevcbridgeTellUnsigned(HEVCBitstream* reader, const uint8_t* next, uint32_t count,
                                const HEVCBridgeParseContext* context, uint32_t field, uint32_t value,
                                int32_t index) noexcept;
OSStatus hevcbridgeTellSigned(HEVCBitstream* reader, const uint8_t* next, uint32_t count,
                              const HEVCBridgeParseContext* context, uint32_t field, int32_t value,
                              int32_t index) noexcept;

/// An element of a fixed width, for syntax that is written as a table.
struct HEVCFieldRow {
    HEVCFieldPlace field;
    uint8_t bits;
    bool isSigned = false;
};

class HEVCWalker {
public:
    static constexpr int32_t kNoIndex = -1;

    /// Failures are signalled with the name of the operation, which is the function that makes the walker.
    HEVCWalker(HEVCBitstream* reader, const HEVCBridgeParseContext* context,
               const char* operation = __builtin_FUNCTION())
        : reader_(reader), context_(context), operation_(operation), run_(hevcbridgeBeginRun(reader))
    {}
    ~HEVCWalker() { settle(); }
    HEVCWalker(const HEVCWalker&) = delete;
    HEVCWalker& operator=(const HEVCWalker&) = delete;

    bool ok() const { return status_ == 0; }
    OSStatus status() const { return status_; }

    // Elements that are only reported.

    HEVC_INLINE void flag(HEVCFieldPlace field, int32_t index = kNoIndex)
    {
        element<Descriptor::kFlag>(field, index, false);
    }
    HEVC_INLINE void u(int32_t bits, HEVCFieldPlace field, int32_t index = kNoIndex)
    {
        element<Descriptor::kU>(field, index, false, bits);
    }
    HEVC_INLINE void ue(HEVCFieldPlace field, int32_t index = kNoIndex)
    {
        element<Descriptor::kUE>(field, index, false);
    }
    HEVC_INLINE void se(HEVCFieldPlace field, int32_t index = kNoIndex)
    {
        element<Descriptor::kSE>(field, index, false);
    }
    HEVC_INLINE void s(int32_t bits, HEVCFieldPlace field, int32_t index = kNoIndex)
    {
        element<Descriptor::kS>(field, index, false, bits);
    }
    void rows(std::span<const HEVCFieldRow> table, int32_t index = kNoIndex)
    {
        for (const HEVCFieldRow& row : table)
            row.isSigned ? s(row.bits, row.field, index) : u(row.bits, row.field, index);
    }

    // Elements that the syntax behind them depends on.

    HEVC_INLINE bool needFlag(HEVCFieldPlace field, int32_t index = kNoIndex)
    {
        return element<Descriptor::kFlag>(field, index, true) != 0;
    }
    HEVC_INLINE uint32_t needU(int32_t bits, HEVCFieldPlace field, int32_t index = kNoIndex)
    {
        return element<Descriptor::kU>(field, index, true, bits);
    }
    HEVC_INLINE uint32_t needUE(HEVCFieldPlace field, int32_t index = kNoIndex)
    {
        return element<Descriptor::kUE>(field, index, true);
    }
    HEVC_INLINE int32_t needSE(HEVCFieldPlace field, int32_t index = kNoIndex)
    {
        return element<Descriptor::kSE>(field, index, true);
    }

    // Elements that are no fields: nobody can ask for them.

    HEVC_INLINE void skip(uint32_t bits)
    {
        if (ZO_LIKELY(bits <= kMostBits && has(bits)))
            take(bits);
        else if (ok())
            moved(hevcbridgeSettleAndSkip(reader_, run_.next, run_.count, bits));
    }
    HEVC_INLINE void skipUE()
    {
        if (const uint32_t length = codeLength(); ZO_LIKELY(length != 0))
            take(length);
        else if (ok())
            moved(hevcbridgeSettleAndSkipUE(reader_, run_.next, run_.count));
    }
    HEVC_INLINE void skipSE() { skipUE(); }
    HEVC_INLINE uint32_t pull(int32_t bits)
    {
        const auto count = static_cast<uint32_t>(bits);
        if (ZO_LIKELY(count - 1 < kMostBits && has(count))) {
            const auto value = static_cast<uint32_t>(run_.bits >> (64 - count));
            take(count);
            return value;
        }
        uint32_t value = 0;
        if (ok()) moved(hevcbridgeSettleAndPull(reader_, run_.next, run_.count, bits, &value));
        return value;
    }
    HEVC_INLINE uint32_t pullUE()
    {
        if (const uint32_t length = codeLength(); ZO_LIKELY(length != 0)) {
            const auto value = static_cast<uint32_t>(run_.bits >> (64 - length));
            take(length);
            return value - 1;
        }
        uint32_t value = 0;
        if (ok()) moved(hevcbridgeSettleAndPullUE(reader_, run_.next, run_.count, &value));
        return value;
    }

    // Values that a walker works out, reported where they are requested.

    void report(HEVCFieldPlace field, uint32_t value, int32_t index = kNoIndex)
    {
        if (ok() && isRequested(field))
            answer(hevcbridgeTellUnsigned(reader_, run_.next, run_.count, context_, field.identifier, value, index));
    }
    void report(HEVCFieldPlace field, ZoDataRef value)
    {
        if (!ok() || !isRequested(field)) return;
        settle();
        answer(context_->dataCallback(context_->refcon, field.identifier, value));
    }

    bool isRequested(HEVCFieldPlace field) const { return hevcbridgeIsRequested(context_, field); }

    /// Part of the syntax that stands in a walker of its own: `walk(reader, context, arguments...)`.
    template <typename Walk, typename... Arguments>
    void structure(Walk walk, Arguments... arguments)
    {
        if (!ok()) return;
        settle();
        moved(walk(reader_, context_, arguments...));
    }

    /// The one loop over a count from the stream: `turn(i)`, or `turn()`, until the first failure. 2^32 turns that a
    /// few bytes ask for end where the bytes do.
    template <typename Turn>
    void times(uint32_t count, Turn turn)
    {
        for (uint32_t i = 0; i < count && ok(); ++i) {
            if constexpr (std::is_invocable_v<Turn, uint32_t>)
                turn(i);
            else
                turn();
        }
    }

    /// Fails with `status` unless the condition holds.
    HEVC_INLINE void require(bool condition, const char* message,
                             OSStatus status = kTavBridgeInvalidSerializedSampleDescriptionErr)
    {
        if (ok() && ZO_UNLIKELY(!condition)) end(hevcbridgeSignalSyntaxError(operation_, message, status));
    }
    /// Logs, and no more, unless the condition holds. `text` is a format for two numbers at most.
    void remark(bool condition, const char* text, uint32_t first = 0, uint32_t second = 0) const
    {
        if (ok() && ZO_UNLIKELY(!condition)) hevcbridgeLogRemark(operation_, text, first, second);
    }
    /// As remark, for whoever has set the note "hevc_bridge_trace".
    void trace(bool condition, const char* text, uint32_t first = 0, uint32_t second = 0) const
    {
        if (ok() && ZO_UNLIKELY(!condition)) hevcbridgeTraceRemark(operation_, text, first, second);
    }
    /// Ends the walk, without a signal.
    void end(OSStatus status)
    {
        if (!ok()) return;
        settle();
        moved(status);
    }

    // Where the walk stands.

    bool isByteAligned() const { return (run_.next ? run_.count % 8 : reader_->bitOffset) == 0; }
    const HEVCBitstream& reader()
    {
        settle();
        return *reader_;
    }
    /// more_rbsp_data (7.2); see hevcbridgeMoreRBSPData.
    bool moreRBSPData(const uint8_t** nonZeroBehind)
    {
        return ok() && hevcbridgeMoreRBSPData(&reader(), nonZeroBehind);
    }

private:
    // What is read from registers at once: no element moves the record past its look-ahead.
    static constexpr uint32_t kMostBits = 32;

    // Bits by register. A walk that has failed has none, so that what follows does nothing.

    HEVC_INLINE bool has(uint32_t bits)
    {
        if (ZO_LIKELY(run_.count >= bits)) return true;
        if (ZO_LIKELY(run_.end - run_.next >= 8)) {
            run_.bits |= loadBE64(run_.next) >> run_.count;
            run_.next += (63 - run_.count) >> 3;
            run_.count |= 56;
            return true;
        }
        if (run_.next) run_ = hevcbridgeContinueRun(reader_, run_.next, run_.count, run_.bits, run_.end);
        return run_.count >= bits;
    }
    HEVC_INLINE void take(uint32_t bits)
    {
        run_.bits <<= bits;
        run_.count -= bits;
    }
    // How long the code word of an ue(v) is that stands in the run; 0 where it is none, or too long to be read at once.
    HEVC_INLINE uint32_t codeLength()
    {
        uint32_t length = wholeCodeLength();
        if (ZO_LIKELY(length <= run_.count)) return length;
        has(kMostBits);
        length = wholeCodeLength();
        return length <= run_.count ? length : 0;
    }
    HEVC_INLINE uint32_t wholeCodeLength() const
    {
        const auto zeros = static_cast<uint32_t>(__builtin_clzll(run_.bits | 1));
        return ZO_LIKELY(2 * zeros + 1 < kMostBits) ? 2 * zeros + 1 : 64;
    }
    HEVC_INLINE void settle()
    {
        if (run_.next) hevcbridgeSettle(reader_, run_.next, run_.count);
    }

    // What a callback said. One that stops the walk leaves nothing to read.
    HEVC_INLINE void answer(OSStatus status)
    {
        status_ = status;
        if (ZO_UNLIKELY(status != 0)) run_ = {};
    }

    // What was done by the record, which the run goes on from.
    HEVC_INLINE void moved(OSStatus status)
    {
        status_ = status;
        run_ = status == 0 ? hevcbridgeBeginRun(reader_) : HEVCBitRun();
    }

    enum class Descriptor { kFlag, kU, kUE, kSE, kS };  // the signed ones last
    template <bool kIsSigned>
    using Number = std::conditional_t<kIsSigned, int32_t, uint32_t>;

    // The rule for elements.
    template <Descriptor kDescriptor>
    HEVC_INLINE Number<(kDescriptor >= Descriptor::kSE)> element(HEVCFieldPlace field, int32_t index, bool isNeeded,
                                                                 int32_t bits = 1)
    {
        constexpr bool kIsCode = kDescriptor == Descriptor::kUE || kDescriptor == Descriptor::kSE;
        constexpr bool kIsSigned = kDescriptor >= Descriptor::kSE;
        const bool isAskedFor = isRequested(field);
        if (!isAskedFor && !isNeeded) {
            kIsCode ? skipUE() : skip(static_cast<uint32_t>(bits));
            return 0;
        }
        const uint32_t read = kIsCode ? pullUE() : pull(bits);
        const auto value = static_cast<Number<kIsSigned>>(!kIsSigned ? read
                                                          : kIsCode  ? hevcbridgeSignedOf(read)
                                                                     : hevcbridgeSignedOf(read, bits));
        if (isAskedFor && ok()) {
            constexpr auto kTell = [] {
                if constexpr (kIsSigned)
                    return hevcbridgeTellSigned;
                else
                    return kDescriptor == Descriptor::kFlag ? hevcbridgeTellFlag : hevcbridgeTellUnsigned;
            }();
            answer(kTell(reader_, run_.next, run_.count, context_, field.identifier, value, index));
        }
        return value;
    }

    HEVCBitstream* reader_;
    const HEVCBridgeParseContext* context_;
    const char* operation_;
    HEVCBitRun run_;
    OSStatus status_ = 0;
};

#undef HEVC_INLINE
