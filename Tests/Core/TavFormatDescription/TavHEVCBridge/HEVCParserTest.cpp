#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <utility>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeTrace.h"
#include "HEVCRecorder.h"
#include "Tests/Support/BitWriter.h"
#include "Tests/Support/SignalProbe.h"

using namespace std::string_literals;
using luvia_test::BitWriter;
using luvia_test::HEVCRecorder;
using luvia_test::nalHeader;
using luvia_test::Report;
using luvia_test::SignalProbe;
using Reports = std::vector<Report>;

namespace {

constexpr OSStatus kInvalid = kTavBridgeInvalidSerializedSampleDescriptionErr;

// Which walker was called last, with what.
std::string sCalled;

const HEVCWalkers kTellingWalkers = {
    .sliceSegmentLayer =
        [](HEVCBitstream*, const HEVCBridgeParseContext*, uint32_t type, uint32_t layer, uint32_t temporal) {
            sCalled = "slice " + std::to_string(type) + " " + std::to_string(layer) + " " + std::to_string(temporal);
            return OSStatus{0};
        },
    .videoParameterSet = [](HEVCBitstream*, const HEVCBridgeParseContext*) { return sCalled = "vps", OSStatus{0}; },
    .sequenceParameterSet = [](HEVCBitstream*, const HEVCBridgeParseContext*,
                               uint32_t layer) { return sCalled = "sps " + std::to_string(layer), OSStatus{0}; },
    .pictureParameterSet = [](HEVCBitstream*, const HEVCBridgeParseContext*) { return sCalled = "pps", OSStatus{0}; },
    .seiMessage =
        [](HEVCBitstream* reader, const HEVCBridgeParseContext* context, uint32_t type) {
            sCalled = "sei " + std::to_string(type);
            return luvia_test::walkPlainSEIMessage(reader, context, type);
        },
    .dolbyRPUData = [](HEVCBitstream*, const HEVCBridgeParseContext*) { return sCalled = "rpu", OSStatus{0}; },
};

std::string expectedCall(uint32_t type)
{
    if (type <= 9 || (type >= 16 && type <= 21)) return "slice " + std::to_string(type) + " 37 5";
    static const std::map<uint32_t, std::string> kCalls = {{32, "vps"},    {33, "sps 37"}, {34, "pps"},
                                                           {39, "sei 39"}, {40, "sei 40"}, {62, "rpu"}};
    const auto found = kCalls.find(type);
    return found == kCalls.end() ? "" : found->second;
}

// general part with one value an element; then the level.
BitWriter profile(uint32_t idc, uint32_t compatibility, uint64_t constraints, uint32_t level)
{
    BitWriter w;
    w.u(2, 1).flag(true).u(5, idc).u(32, compatibility).u(48, constraints).u(8, level);
    return w;
}

OSStatus walkProfile(HEVCRecorder& recorder, const std::string& bytes, bool isPresent, uint32_t subLayers)
{
    return recorder.over(bytes, [=](HEVCBitstream* reader, const HEVCBridgeParseContext* context) {
        return hevcbridgeParseProfileTierLevel(reader, context, isPresent, subLayers);
    });
}

std::vector<uint32_t> fieldsOf(const Reports& reports)
{
    std::vector<uint32_t> fields;
    for (const Report& report : reports) fields.push_back(std::get<0>(report));
    return fields;
}

}  // namespace

// The first and the last field of groups, by name and by bit: a name too many or too few moves all behind it.
TEST(HEVCFieldTable, standsWhereTheGroupsSay)
{
    struct Row {
        uint32_t field;
        const char* name;
        uint64_t HEVCBridgeParseContext::*filter;
        uint32_t bit;
    };
    using Context = HEVCBridgeParseContext;
    const Row rows[] = {
        {2, "nuh_temporal_id_plus1", &Context::headerFilter, 2},
        {308, "general_profile_space", &Context::profileTierLevelFilter, 0},
        {328, "general_level_idc", &Context::profileTierLevelFilter, 20},
        {341, "dpb_output_delay_length_minus1", &Context::hrdFilter, 12},
        {355, "alpha_channel_clip_type_flag", &Context::alphaFilter, 7},
        {358, "ambient_light_y", &Context::ambientFilter, 2},
        {371, "three_dimensional_reference_displays_extension_flag", &Context::threeDFilter, 12},
        {375, "itu_t_t35_terminal_provider_oriented_code", &Context::t35Filter, 3},
        {411, "color_saturation_weight", &Context::st2094Filter, 35},
        {495, "num_ext_blocks", &Context::rpuDmFilter, 35},
        {498, "diff_pred_part_idx_mapping_minus1", &Context::rpuMappingFilter, 2},
        {511, "pow_coef", &Context::rpuMappingParamFilter, 12},
        {513, "ext_block_level", &Context::rpuExtHeaderFilter, 1},
        {577, "level_10_target_primary_white_x", &Context::rpuExtBlockFilter, 63},
        {578, "level_10_target_primary_white_y", &Context::rpuExtBlockHighFilter, 0},
        {593, "ext_block_level2", &Context::rpuExtHeader2Filter, 2},
    };
    for (const Row& row : rows) {
        HEVCBridgeParseContext context = {};
        hevcbridgeRequest(&context, HEVCFieldPlace::of(row.field));
        EXPECT_STREQ(NALFieldsStrings[row.field], row.name);
        EXPECT_EQ(context.*row.filter, uint64_t{1} << row.bit) << row.name;
        hevcbridgeRequest(&context, HEVCFieldPlace::of(row.field), false);
        EXPECT_EQ(context.*row.filter, 0u) << row.name;
    }
    for (const auto& [last, bit] : {std::pair{64u, 61u}, {162, 97}, {262, 99}, {307, 44}, {347, 5}, {459, 47}}) {
        HEVCBridgeParseContext context = {};
        hevcbridgeRequest(&context, HEVCFieldPlace::of(last));
        EXPECT_EQ(context.syntaxFilter[bit / 64], uint64_t{1} << bit % 64) << last;
    }
    EXPECT_STREQ(nalUnitTypeString(40), "SUFFIX_SEI_NUT");
    EXPECT_STREQ(nalUnitTypeString(64), "?");
}

TEST(HEVCNALUnit, reachesTheWalkerOfItsKind)
{
    for (uint32_t type = 0; type < 64; ++type) {
        SCOPED_TRACE(type);
        sCalled.clear();
        HEVCRecorder recorder;
        recorder.request(0, 2);
        const std::string unit = nalHeader(type, 37, 5) + "\x04\x00\x80"s;
        EXPECT_EQ(recorder.unit(unit, kTellingWalkers), 0);
        EXPECT_EQ(recorder.reports, (Reports{{0, type, -1}, {1, 37, -1}, {2, 5, -1}}));
        EXPECT_EQ(sCalled, expectedCall(type));
        EXPECT_EQ(HEVCRecorder().unit(nalHeader(type)), 0) << "without walkers";
    }
}

TEST(HEVCNALUnit, endsInItsHeader)
{
    struct Row {
        const char* what;
        std::string bytes;
        const char* message;
    };
    const Row rows[] = {
        {"an empty buffer", "", "end of bit stream"},
        {"one byte", "\x46"s, "end of bitstream"},
        {"a forbidden bit", "\xC6\x01"s, "{hevcbridgeParseNALUnit} ERROR: Wrong forbidden_bit in NAL unit"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        SignalProbe probe;
        EXPECT_EQ(HEVCRecorder().unit(row.bytes), kInvalid);
        EXPECT_EQ(probe.message(), row.message);
        EXPECT_EQ(probe.count(), 1u);
    }
    // A callback's answer on each field: a stop is no error, and nothing is dispatched behind it.
    for (uint32_t field = 0; field < 3; ++field) {
        for (const OSStatus answer : {OSStatus{kTavBridgeStopParsing}, OSStatus{-50}}) {
            sCalled.clear();
            HEVCRecorder recorder;
            recorder.request(0, 2).answer = [=](uint32_t told) { return told == field ? answer : 0; };
            EXPECT_EQ(recorder.unit(nalHeader(32), kTellingWalkers), answer == 1 ? 0 : answer);
            EXPECT_EQ(recorder.reports.size(), field + 1);
            EXPECT_EQ(sCalled, "");
        }
    }
    HEVCRecorder late;
    late.request(0, 0).answer = [&](uint32_t) {
        hevcbridgeRequest(&late.context, HEVCField::nuh_temporal_id_plus1);
        return 0;
    };
    EXPECT_EQ(late.unit(nalHeader(35, 0, 3)), 0);
    EXPECT_EQ(late.reports, (Reports{{0, 35, -1}, {2, 3, -1}}));
}

TEST(HEVCNALUnit, leavesRPUsAloneWhereThePreferenceSaysSo)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");  // the process decides once: this needs one of its own
    EXPECT_EXIT(
        {
            const auto folder = std::filesystem::temp_directory_path() / ("hevc_rpu_" + std::to_string(getpid()));
            std::filesystem::create_directories(folder);
            std::ofstream(folder / "com.orvane.luvia.plist")
                << "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>dolbyrpu</key><integer>0</integer></dict>"
                   "</plist>";
            setenv("LUVIA_PREFERENCES_DIR", folder.c_str(), 1);
            sCalled.clear();
            const OSStatus status = HEVCRecorder().unit(nalHeader(62), kTellingWalkers);
            std::filesystem::remove_all(folder);
            _exit(status == 0 && sCalled.empty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(HEVCSEI, walksMessageAfterMessage)
{
    const HEVCWalkers walkers = {.seiMessage = luvia_test::walkPlainSEIMessage};
    const char* const kTrailing = "{hevcbridgeParseSEIRBSP} ERROR: Wrong rbps_trailing_bits in SEI RBSP";
    struct Row {
        const char* what;
        std::string payload;
        size_t messages;
        const char* message;
    };
    const Row rows[] = {
        {"one", "\x05\x01\xAA\x80"s, 1, ""},
        {"three, one of them of zeros", "\x05\x01\xAA\x00\x00\x03\x06\x01\x00\x80"s, 3, ""},
        {"zeros behind the trailing bits", "\x05\x00\x80\x00\x00"s, 1, ""},
        {"trailing bits that are not", "\x05\x00\x40"s, 1, kTrailing},
        {"no trailing bits", "\x05\x00"s, 1, "end of bit stream"},
        {"a payload past the end", "\x05\x09\x01\x80"s, 1, "end of bitstream"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        HEVCRecorder recorder;
        recorder.request(HEVCField::sei_payload_type, HEVCField::sei_payload_type);
        SignalProbe probe;
        EXPECT_EQ(recorder.unit(nalHeader(39) + row.payload, walkers), *row.message ? kInvalid : 0);
        EXPECT_EQ(recorder.reports.size(), row.messages);
        EXPECT_EQ(probe.message(), row.message);
    }
    HEVCRecorder stopping;
    stopping.request(344, 344).answer = [](uint32_t) { return kTavBridgeStopParsing; };
    EXPECT_EQ(stopping.unit(nalHeader(40) + "\x05\x01\xAA\x06\x01\xAA\x80"s, walkers), 0);
    EXPECT_EQ(stopping.reports.size(), 1u);
}

// Half a million messages of nothing in front of one set bit: looking for it from each would take minutes.
TEST(HEVCSEI, takesTimeInProportionToItsLength)
{
    const std::string unit = nalHeader(39) + std::string(1 << 20, '\0') + "\x80";
    EXPECT_EQ(HEVCRecorder().unit(unit, {.seiMessage = luvia_test::walkPlainSEIMessage}), 0);
}

TEST(HEVCWalker, skipsReadsOrReportsEachElement)
{
    const std::string bytes =
        BitWriter().flag(true).u(8, 77).u(32, 0xFFFFFFFE).ue(500).se(-9).u(4, 13).ue(3).u(5, 9).trailing().escaped();
    const auto walk = [](HEVCBitstream* reader, const HEVCBridgeParseContext* context) {
        HEVCWalker w(reader, context);
        w.flag(HEVCField::conformance_window_flag);
        w.u(8, HEVCField::aspect_ratio_idc);
        w.u(32, HEVCField::vui_time_scale);
        w.ue(HEVCField::conf_win_left_offset);
        w.se(HEVCField::bit_depth_luma_minus8);
        w.s(4, HEVCField::bit_depth_chroma_minus8);
        EXPECT_TRUE(!w.ok() || w.needUE(HEVCField::chroma_format_idc) == 3);
        w.report(HEVCField::video_format, 4, 2);
        w.require(!w.ok() || w.pull(5) == 9, "misread");
        w.require(false, "nothing more");
        return w.status();
    };
    const Reports all = {{76, 1, -1},  {110, 77, -1}, {135, 0xFFFFFFFE, -1}, {77, 500, -1},
                         {81, -9, -1}, {82, -3, -1},  {72, 3, -1},           {116, 4, 2}};
    for (const bool isRequested : {true, false}) {
        HEVCRecorder recorder;
        if (isRequested) recorder.request(65, 162);
        SignalProbe probe;
        EXPECT_EQ(recorder.over(bytes, walk), kInvalid);
        EXPECT_EQ(probe.message(), "nothing more");
        EXPECT_EQ(probe.errorName().substr(0, 16), "err = kTavBridge");  // the record keeps its beginning
        EXPECT_EQ(recorder.reports, isRequested ? all : Reports{});
    }
    for (size_t last = 0; last < all.size(); ++last) {  // a stop on each
        HEVCRecorder recorder;
        const uint32_t field = std::get<0>(all[last]);
        recorder.request(65, 162).answer = [=](uint32_t told) { return told == field ? kTavBridgeStopParsing : 0; };
        EXPECT_EQ(recorder.over(bytes, walk), kTavBridgeStopParsing);
        EXPECT_EQ(recorder.reports, Reports(all.begin(), all.begin() + static_cast<ptrdiff_t>(last) + 1));
    }
}

// Counts and tables of the syntax: an index for each element, and an end where the bits end.
TEST(HEVCWalker, turnsOverACountUntilTheFirstFailure)
{
    static constexpr HEVCFieldRow kRows[] = {{HEVCField::aspect_ratio_idc, 8}, {HEVCField::video_format, 3, true}};
    HEVCRecorder recorder;
    recorder.request(65, 162);
    uint32_t turns = 0;
    SignalProbe probe;
    EXPECT_EQ(recorder.over(BitWriter().u(8, 200).u(3, 5).u(8, 7).u(3, 2).u(2, 3).bytes(),
                            [&](HEVCBitstream* reader, const HEVCBridgeParseContext* context) {
                                HEVCWalker w(reader, context);
                                w.times(0, [&] { ++turns; });
                                w.times(UINT32_MAX, [&](uint32_t i) {
                                    ++turns;
                                    w.rows(kRows, static_cast<int32_t>(i));
                                });
                                return w.status();
                            }),
              kInvalid);
    EXPECT_EQ(turns, 3u);
    EXPECT_EQ(recorder.reports, (Reports{{110, 200, 0}, {116, -3, 0}, {110, 7, 1}, {116, 2, 1}}));
    EXPECT_EQ(probe.count(), 1u);
}

TEST(HEVCWalker, failsWithTheStatusAndInTheNameThatItsFunctionGives)
{
    for (const OSStatus status : {OSStatus{kTavBridgeParameterErr}, OSStatus{kTavBridgeStopParsing}}) {
        SignalProbe probe;
        HEVCRecorder recorder;
        recorder.request(65, 162);
        EXPECT_EQ(recorder.over("\x80\xFF"s,
                                [=](HEVCBitstream* reader, const HEVCBridgeParseContext* context) {
                                    HEVCWalker w(reader, context, "walkThis");
                                    w.remark(w.pull(1) == 0, "only logged: %d of %d", 1, 2);
                                    if (status == kTavBridgeStopParsing) w.end(status);
                                    w.require(false, "too big", status);
                                    w.flag(HEVCField::conformance_window_flag);
                                    EXPECT_EQ(w.reader().bitOffset, 1u);
                                    return w.status();
                                }),
                  status);
        EXPECT_EQ(probe.function(), status < 0 ? "walkThis" : "");
        EXPECT_EQ(probe.errorName(), status < 0 ? "err = kTavBridgeParameterErr" : "");
        EXPECT_TRUE(recorder.reports.empty());
    }
}

TEST(HEVCWalker, tracesWhileTheNoteIsSetAndGoesOn)
{
    hevcbridgeRegisterTrace();
    TavNote_RefreshControlPreferences();
    const int32_t control = std::exchange(gTavLogControl, kTavLogControl_StandardOutput);
    for (const int32_t level : {0, 1}) {
        gTavHEVCBridgeTrace.level = level;
        HEVCRecorder recorder;
        recorder.request(419, 419);
        testing::internal::CaptureStdout();
        EXPECT_EQ(recorder.over("\xBF"s,
                                [](HEVCBitstream* reader, const HEVCBridgeParseContext* context) {
                                    HEVCWalker w(reader, context, "walkThis");
                                    const uint32_t type = w.needU(2, HEVCField::coefficient_data_type);
                                    w.trace(type == 2, "not traced");
                                    w.trace(type < 2, "type %d is reserved", type);
                                    return w.pull(6) == 0x3F ? w.status() : kInvalid;
                                }),
                  0);
        fflush(stdout);
        const std::string logged = testing::internal::GetCapturedStdout();
        EXPECT_EQ(logged.find("not traced"), std::string::npos);
        EXPECT_EQ(logged.find("<<<< HEVCBridge >>>> walkThis: type 2 is reserved") != std::string::npos, level != 0);
        EXPECT_EQ(recorder.reports.size(), 1u);
    }
    gTavHEVCBridgeTrace.level = 0;
    gTavLogControl = control;
}

// A callback may look at the record and ask for what is still to come.
TEST(HEVCWalker, keepsTheRecordRightWhereItIsLookedAt)
{
    std::vector<uint32_t> seen;
    HEVCRecorder recorder;
    const HEVCBitstream* looked = nullptr;
    recorder.request(110, 110).answer = [&](uint32_t) {
        seen.push_back(static_cast<uint32_t>(looked->position - looked->data) * 8 + looked->bitOffset);
        hevcbridgeRequest(&recorder.context, HEVCField::video_format);
        return 0;
    };
    const auto inner = [](HEVCBitstream* reader, const HEVCBridgeParseContext* context, uint32_t bits) {
        HEVCWalker w(reader, context);
        w.u(static_cast<int32_t>(bits), HEVCField::video_format);
        return w.status();
    };
    EXPECT_EQ(recorder.over(std::string(40, '\x55'),
                            [&](HEVCBitstream* reader, const HEVCBridgeParseContext* context) {
                                looked = reader;
                                HEVCWalker w(reader, context);
                                w.skip(3);
                                w.u(8, HEVCField::aspect_ratio_idc);
                                w.structure(inner, 5);
                                w.u(8, HEVCField::aspect_ratio_idc);
                                return w.status();
                            }),
              0);
    EXPECT_EQ(seen, (std::vector<uint32_t>{11, 16, 24}));
}

TEST(HEVCWalker, pullsASignedCodeIfRequested)
{
    for (const bool requested : {true, false}) {
        HEVCRecorder recorder;
        EXPECT_EQ(recorder.over(BitWriter().se(-4).trailing().bytes(),
                                [=](HEVCBitstream* reader, const HEVCBridgeParseContext* context) {
                                    return hevcbridgeSEPullIfRequested(reader, context, requested, 172);
                                }),
                  0);
        EXPECT_EQ(recorder.reports, requested ? (Reports{{172, -4, -1}}) : Reports{});
    }
}

TEST(HEVCProfileTierLevel, reportsTheFlagsThatTheProfileHas)
{
    struct Row {
        const char* what;
        uint32_t idc, compatibility;
        bool hasRangeFlags, hasInbld;
    };
    const Row rows[] = {
        {"Main by compatibility", 0, 1u << 30, false, true},
        {"High throughput", 5, 0, true, true},
        {"Multiview", 6, 0, true, false},
        {"7 by compatibility", 31, 1u << 24, true, false},
        {"8 has neither", 8, 1u << 23, false, false},
        {"none, but flag 0", 0, 1u << 31, false, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        const std::string bytes = profile(row.idc, row.compatibility, 0xAAAAAAAAAAAB, 93).bytes();
        std::vector<uint32_t> expected = {308, 309, 310, 311, 314, 315, 316, 317};
        if (row.hasRangeFlags) expected.insert(expected.end(), {318, 319, 320, 321, 322, 323, 324, 325, 326});
        if (row.hasInbld) expected.push_back(327);
        expected.push_back(328);
        HEVCRecorder recorder;
        recorder.request(308, 311).request(314, 328);
        EXPECT_EQ(walkProfile(recorder, bytes, true, 0), 0);
        EXPECT_EQ(fieldsOf(recorder.reports), expected);
        for (const auto& [field, value, index] : recorder.reports) {
            if (field < 314 || field > 327) continue;
            EXPECT_EQ(value, field % 2 == 0 || field == 327) << field;
        }
        EXPECT_EQ(recorder.reports.back(), Report(328, 93, -1));

        // Either word of the constraint bits takes the flags' place.
        for (const uint32_t word : {312u, 313u}) {
            HEVCRecorder words;
            words.request(314, 328).request(word, word);
            EXPECT_EQ(walkProfile(words, bytes, true, 0), 0);
            EXPECT_EQ(words.reports, (Reports{{word, word == 312 ? 0xAAAA : 0xAAAAAAAB, -1}, {328, 93, -1}}));
        }
    }
}
