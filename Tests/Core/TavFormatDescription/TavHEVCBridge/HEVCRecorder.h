// Callbacks that note what a walk reports, and small walkers that stand in for those of parameter sets and SEI.

#pragma once

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"
#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCWalker.h"

namespace luvia_test {

/// Field, value, index.
using Report = std::tuple<uint32_t, int64_t, int32_t>;

struct HEVCRecorder {
    HEVCBridgeParseContext context = {.refcon = this,
                                      .flagCallback = take<Boolean>,
                                      .unsignedCallback = take<uint32_t>,
                                      .signedCallback = take<int32_t>};
    std::vector<Report> reports;
    /// What the callbacks answer; 0 where absent.
    std::function<OSStatus(uint32_t field)> answer;

    HEVCRecorder& request(uint32_t first, uint32_t last)
    {
        for (uint32_t field = first; field <= last; ++field) hevcbridgeRequest(&context, HEVCFieldPlace::of(field));
        return *this;
    }

    /// The status of a walk over bytes as they are stored.
    template <typename Walk>
    OSStatus over(const std::string& bytes, Walk walk)
    {
        const std::vector<uint8_t> data(bytes.begin(), bytes.end());
        HEVCBitstream reader = hevcbridgeBitstreamOver(data.data(), data.size(), true);
        const OSStatus status = hevcbridgeAdvanceInBitstream(&reader, 0);
        return status != 0 ? status : walk(&reader, &context);
    }
    OSStatus unit(const std::string& bytes, const HEVCWalkers& walkers = {})
    {
        return over(bytes, [&](HEVCBitstream* reader, const HEVCBridgeParseContext* wanted) {
            return hevcbridgeParseNALUnitWith(reader, wanted, walkers);
        });
    }

private:
    template <typename Value>
    static OSStatus take(void* refcon, uint32_t field, Value value, int32_t index)
    {
        auto* self = static_cast<HEVCRecorder*>(refcon);
        self->reports.emplace_back(field, value, index);
        return self->answer ? self->answer(field) : 0;
    }
};

/// The two bytes of a NAL unit's header.
inline std::string nalHeader(uint32_t type, uint32_t layer = 0, uint32_t temporalIdPlus1 = 1)
{
    return {static_cast<char>(type << 1 | layer >> 5), static_cast<char>((layer & 31) << 3 | temporalIdPlus1)};
}

/// sei_message (7.3.5) without payload: type and size.
inline OSStatus walkPlainSEIMessage(HEVCBitstream* reader, const HEVCBridgeParseContext* context, uint32_t)
{
    HEVCWalker w(reader, context);
    w.u(8, HEVCField::sei_payload_type);
    const uint32_t size = w.needU(8, HEVCField::sei_payload_size);
    w.skip(8 * size);
    return w.status();
}

}  // namespace luvia_test
