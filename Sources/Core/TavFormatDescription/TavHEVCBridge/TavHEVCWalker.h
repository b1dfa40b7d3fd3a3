// What a syntax walker is written with: reader, context and the first status that was not 0, held together.
//
// Each element is one line that names its descriptor and its field. The rule for every element stands here once: what
// is neither requested nor needed is skipped without decoding; what is needed for the syntax is read whatever the
// filter says; what is requested is read and reported. After the first failure, or a callback's stop, elements give 0
// and do nothing, so that no line needs a test of its own; a loop whose count comes from the stream asks ok() once a
// turn.

#pragma once

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBitstream.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParseContext.h"

class HEVCWalker {
public:
    HEVCWalker(HEVCBitstream* reader, const HEVCBridgeParseContext* context) : reader_(reader), context_(context) {}

    bool ok() const { return status_ == 0; }
    OSStatus status() const { return status_; }

    // Elements that are only reported.

    void flag(HEVCFieldPlace field) { one(field, false); }
    void u(int32_t bits, HEVCFieldPlace field) { fixed(bits, field, false); }
    void ue(HEVCFieldPlace field) { exponential(field, false); }
    void se(HEVCFieldPlace field) { signedExponential(field, false); }
    void s(int32_t bits, HEVCFieldPlace field) { signedFixed(bits, field, false); }

    // Elements that the syntax behind them depends on.

    bool needFlag(HEVCFieldPlace field) { return one(field, true) != 0; }
    uint32_t needU(int32_t bits, HEVCFieldPlace field) { return fixed(bits, field, true); }
    uint32_t needUE(HEVCFieldPlace field) { return exponential(field, true); }
    int32_t needSE(HEVCFieldPlace field) { return signedExponential(field, true); }

    // Elements that are no fields: nobody can ask for them.

    void skip(uint32_t bits) { step(hevcbridgeUSkip, bits); }
    void skipUE() { step(hevcbridgeUESkip); }
    void skipSE() { step(hevcbridgeSESkip); }
    uint32_t pull(int32_t bits)
    {
        uint32_t value = 0;
        step(hevcbridgeUPullLong, bits, &value);
        return value;
    }
    uint32_t pullUE()
    {
        uint32_t value = 0;
        step(hevcbridgeUEPullLong, &value);
        return value;
    }

    // Values that a walker works out, reported where they are requested.

    void report(HEVCFieldPlace field, uint32_t value, int32_t index)
    {
        if (ok() && isRequested(field))
            status_ = context_->unsignedCallback(context_->refcon, field.identifier, value, index);
    }
    void report(HEVCFieldPlace field, ZoDataRef value)
    {
        if (ok() && isRequested(field)) status_ = context_->dataCallback(context_->refcon, field.identifier, value);
    }

    bool isRequested(HEVCFieldPlace field) const { return hevcbridgeIsRequested(context_, field); }

    /// Part of the syntax that stands in a walker of its own: `walk(reader, context, arguments...)`.
    template <typename Walk, typename... Arguments>
    void structure(Walk walk, Arguments... arguments)
    {
        if (ok()) status_ = walk(reader_, context_, arguments...);
    }

    /// Fails unless the condition holds; signals with the name of the function that asks.
    void require(bool condition, const char* message, const char* operation = __builtin_FUNCTION())
    {
        if (ok() && ZO_UNLIKELY(!condition)) status_ = hevcbridgeSignalSyntaxError(operation, message);
    }

private:
    // The rule for elements. `stepOver` takes the reader; `read` the reader and where the value goes; `tell` the value.
    template <typename Value, typename StepOver, typename Read, typename Tell>
    Value element(HEVCFieldPlace field, bool isNeeded, StepOver stepOver, Read read, Tell tell)
    {
        Value value = 0;
        if (ZO_UNLIKELY(!ok())) return value;
        const bool isAskedFor = isRequested(field);
        if (!isAskedFor && !isNeeded) {
            status_ = stepOver(reader_);
            return value;
        }
        status_ = read(reader_, &value);
        if (isAskedFor && ok()) status_ = tell(value);
        return value;
    }

    uint32_t one(HEVCFieldPlace field, bool isNeeded)
    {
        return element<uint32_t>(
            field, isNeeded, [](HEVCBitstream* reader) { return hevcbridgeUSkip(reader, 1); },
            [](HEVCBitstream* reader, uint32_t* value) { return hevcbridgeUPull(reader, 1, value); },
            [&](uint32_t value) {
                return context_->flagCallback(context_->refcon, field.identifier, static_cast<Boolean>(value),
                                              kNoIndex);
            });
    }
    uint32_t fixed(int32_t bits, HEVCFieldPlace field, bool isNeeded)
    {
        return element<uint32_t>(
            field, isNeeded,
            [&](HEVCBitstream* reader) { return hevcbridgeUSkip(reader, static_cast<uint32_t>(bits)); },
            [&](HEVCBitstream* reader, uint32_t* value) { return hevcbridgeUPullLong(reader, bits, value); },
            [&](uint32_t value) { return tellUnsigned(field, value); });
    }
    uint32_t exponential(HEVCFieldPlace field, bool isNeeded)
    {
        return element<uint32_t>(field, isNeeded, hevcbridgeUESkip, hevcbridgeUEPullLong,
                                 [&](uint32_t value) { return tellUnsigned(field, value); });
    }
    int32_t signedExponential(HEVCFieldPlace field, bool isNeeded)
    {
        return element<int32_t>(field, isNeeded, hevcbridgeSESkip, hevcbridgeSEPullLong,
                                [&](int32_t value) { return tellSigned(field, value); });
    }
    void signedFixed(int32_t bits, HEVCFieldPlace field, bool isNeeded)
    {
        element<int32_t>(
            field, isNeeded,
            [&](HEVCBitstream* reader) { return hevcbridgeUSkip(reader, static_cast<uint32_t>(bits)); },
            [&](HEVCBitstream* reader, int32_t* value) { return hevcbridgeSPullLong(reader, bits, value); },
            [&](int32_t value) { return tellSigned(field, value); });
    }

    OSStatus tellUnsigned(HEVCFieldPlace field, uint32_t value) const
    {
        return context_->unsignedCallback(context_->refcon, field.identifier, value, kNoIndex);
    }
    OSStatus tellSigned(HEVCFieldPlace field, int32_t value) const
    {
        return context_->signedCallback(context_->refcon, field.identifier, value, kNoIndex);
    }

    template <typename Operation, typename... Arguments>
    void step(Operation operation, Arguments... arguments)
    {
        if (ok()) status_ = operation(reader_, arguments...);
    }

    static constexpr int32_t kNoIndex = -1;

    HEVCBitstream* reader_;
    const HEVCBridgeParseContext* context_;
    OSStatus status_ = 0;
};
