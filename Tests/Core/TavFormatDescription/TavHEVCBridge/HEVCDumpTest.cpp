#include <gtest/gtest.h>

#include <optional>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeDump.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "HEVCRecorder.h"
#include "Tests/Support/BitWriter.h"

using namespace std::string_literals;
using luvia_test::BitWriter;
using luvia_test::nalHeader;

namespace {

std::string dump(const std::string& unit, const HEVCWalkers& walkers)
{
    ZoRef<ZoStringRef> text;
    EXPECT_EQ(hevcbridgeCopyParsingInformationWith(reinterpret_cast<const uint8_t*>(unit.data()), unit.size(), nullptr,
                                                   walkers, text.outParam()),
              0);
    char buffer[4096] = "";
    EXPECT_TRUE(text && ZoStringGetCString(text.get(), buffer, sizeof(buffer), kZoStringEncodingASCII));
    return buffer;
}

// Elements of every kind that the dump writes in a form of its own.
OSStatus walkOddities(HEVCBitstream* reader, const HEVCBridgeParseContext* context, uint32_t layer)
{
    HEVCWalker w(reader, context);
    w.flag(HEVCField::sps_temporal_id_nesting_flag);
    w.flag(HEVCField::conformance_window_flag);
    w.ue(HEVCField::chroma_format_idc);
    w.ue(HEVCField::chroma_format_idc);
    w.u(3, HEVCField::video_format);
    w.ue(HEVCField::slice_type);
    w.u(8, HEVCField::general_level_idc);
    w.u(8, HEVCField::sei_payload_type);
    w.u(8, HEVCField::sei_payload_type);
    w.u(32, HEVCField::vui_time_scale);
    w.se(HEVCField::init_qp_minus26);
    for (const ZoIndex length : {2, 24, 25}) {
        uint8_t bytes[25];
        for (uint8_t i = 0; i < 25; ++i) bytes[i] = static_cast<uint8_t>(0xE8 + i);
        const auto data = zoAdopt(ZoDataCreate(kZoAllocatorDefault, bytes, length));
        w.report(HEVCField::sei_payload, data.get());
    }
    if (w.ok()) context->flagCallback(context->refcon, HEVCField::layer_id_included_flag, 1, 5);
    if (w.ok()) context->unsignedCallback(context->refcon, UINT32_MAX, layer, -1);
    w.u(25, HEVCField::sps_seq_parameter_set_id);
    return w.status();
}

}  // namespace

TEST(HEVCDump, writesEachElementInItsForm)
{
    BitWriter w;
    w.flag(true).flag(false).ue(1).ue(4).u(3, 5).ue(2).u(8, 93).u(8, 176).u(8, 2).u(32, 0xFFFFFFFF).se(-7);
    EXPECT_EQ(dump(nalHeader(33, 0, 2) + w.trailing().bytes(), {.sequenceParameterSet = walkOddities}),
              "nal_unit_type: SPS_NUT (33)\n"
              "nuh_layer_id: 0\n"
              "nuh_temporal_id_plus1: 2\n"
              "sps_temporal_id_nesting_flag: SET\n"
              "conformance_window_flag: not set\n"
              "chroma_format_idc: 4:2:0 (1)\n"
              "chroma_format_idc: ? (4)\n"
              "video_format: Unspecified video format (5)\n"
              "slice_type: I (2)\n"
              "general_level_idc: 93 (3.100000)\n"
              "sei_payload_type: three_dimensional_reference_displays_info (176)\n"
              "sei_payload_type: ? (2)\n"
              "vui_time_scale: 4294967295\n"
              "init_qp_minus26: -7\n"
              "sei_payload: {length = 2, bytes = 0xe8e9}\n"
              "sei_payload: {length = 24, bytes = 0xe8e9eaebecedeeeff0f1f2f3f4f5f6f7f8f9fafbfcfdfeff}\n"
              "sei_payload: {length = 25, bytes = 0xe8e9eaebecedeeeff0f1f2f3f4f5f6f7 ... f9fafbfcfdfeff00}\n"
              "layer_id_included_flag[5]: SET\n"
              "unknown field: 0\n"
              "Error found: -12714\n");
}

TEST(HEVCDump, tellsErrorsInTheText)
{
    ZoRef<ZoStringRef> text;
    EXPECT_EQ(TavHEVCBridge_CopyParsingInformation(nullptr, 0, nullptr, text.outParam()), 0);
    EXPECT_EQ(ZoStringGetLength(text.get()), static_cast<ZoIndex>("Error found: -12714\n"s.size()));
    EXPECT_EQ(TavHEVCBridge_CopyParsingInformation(nullptr, 0, nullptr, nullptr), 0);
    EXPECT_EQ(dump("\x46"s, {}), "nal_unit_type: AUD_NUT (35)\nError found: -12714\n");
    EXPECT_EQ(dump("\x46\x01\x50"s, kHEVCWalkers),
              "nal_unit_type: AUD_NUT (35)\nnuh_layer_id: 0\nnuh_temporal_id_plus1: 1\n");
}

// The parameter sets of a stream reach the walkers.
TEST(HEVCDump, handsParameterSetsOver)
{
    static uint64_t sCount;
    static HEVCDigest* const* sDigests;
    alignas(HEVCBridgeParsingInfo) char storage[sizeof(HEVCBridgeParsingInfo) + sizeof(HEVCDigest*)] = {};
    auto* info = new (storage) HEVCBridgeParsingInfo{.digestCount = 1};
    const HEVCWalkers walkers = {.videoParameterSet = [](HEVCBitstream*, const HEVCBridgeParseContext* context) {
        sCount = context->digestCount;
        sDigests = context->digests;
        return context->ignoreVPSExtension && !context->digestOut ? OSStatus{0} : OSStatus{-1};
    }};
    const std::string unit = nalHeader(32);
    EXPECT_EQ(hevcbridgeCopyParsingInformationWith(reinterpret_cast<const uint8_t*>(unit.data()), unit.size(), info,
                                                   walkers, nullptr),
              0);
    EXPECT_EQ(sCount, 1u);
    EXPECT_EQ(sDigests, info->digests);
}
