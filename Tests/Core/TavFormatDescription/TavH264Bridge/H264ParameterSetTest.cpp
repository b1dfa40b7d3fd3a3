#include <gtest/gtest.h>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264ParameterSets.h"
#include "Foundation/Values/ZoData.h"
#include "Tests/Support/H264Builder.h"
#include "Tests/Support/SignalProbe.h"

namespace {

using luvia_test::BitWriter;
using luvia_test::H264SPS;
using luvia_test::SignalProbe;

const uint8_t* bytes(const std::string& unit) { return reinterpret_cast<const uint8_t*>(unit.data()); }

struct Size {
    int32_t width = -1, height = -1;
    bool operator==(const Size&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Size& size) { return out << size.width << "x" << size.height; }

OSStatus sizeOf(const std::string& unit, Size* size)
{
    return TavH264Bridge_GetSPSWidthAndHeight(bytes(unit), unit.size(), &size->width, &size->height);
}

void writeNoVUIButTiming(BitWriter& w, uint32_t unitsInTick, uint32_t timeScale)
{
    w.flag(0).flag(0).flag(0).flag(0).flag(1).u(32, unitsInTick).u(32, timeScale).flag(1);  // fixed_frame_rate_flag
    w.flag(0).flag(0).flag(1).flag(0);                                                      // pic_struct_present_flag
}

void writeHRD(BitWriter& w, uint32_t cpbCountMinus1, uint64_t bitRate)
{
    w.ue(cpbCountMinus1).u(4, 1).u(4, 2);
    for (uint32_t i = 0; i <= cpbCountMinus1 && i < 32; ++i) w.ue(bitRate).ue(7).flag(true);
    w.u(5, 23).u(5, 15).u(5, 5).u(5, 24);
}

TEST(H264SPSSize, isCroppedInUnitsOfTheChromaFormat)
{
    struct Row {
        const char* what;
        H264SPS sps;
        Size expected;
    };
    const H264SPS::Crop crop = {1, 2, 3, 4};
    const Row rows[] = {
        {"4:2:0 of a profile without chroma info", {.crop = crop}, {640 - 6, 480 - 14}},
        {"4:2:2", {.profile = 122, .chroma_format_idc = 2, .crop = crop}, {640 - 6, 480 - 7}},
        {"4:4:4", {.profile = 244, .chroma_format_idc = 3, .crop = crop}, {640 - 3, 480 - 7}},
        {"monochrome is never cropped", {.profile = 100, .chroma_format_idc = 0, .crop = crop}, {640, 480}},
        {"fields",
         {.heightInMapUnits = 34, .frame_mbs_only_flag = false, .crop = H264SPS::Crop{0, 0, 0, 2}},
         {640, 1080}},
        {"twelve leading zeros, which are the most", {.widthInMbs = 8191}, {8191 * 16, 480}},
    };
    for (const Row& row : rows) {
        Size size;
        EXPECT_EQ(sizeOf(row.sps.unit(), &size), 0) << row.what;
        EXPECT_EQ(size, row.expected) << row.what;
        Boolean interlaced = 2;
        EXPECT_EQ(TavH264Bridge_GetSPSIsInterlaced(bytes(row.sps.unit()), row.sps.unit().size(), &interlaced), 0);
        EXPECT_EQ(interlaced, !row.sps.frame_mbs_only_flag) << row.what;
    }
}

TEST(H264SPS, failsWithTheMessageOfItsFirstFault)
{
    const auto longUE = [](BitWriter& w) { w.zeros(13).u(14, 1 << 13); };
    struct Row {
        const char* message;
        std::string unit;
    };
    H264SPS tooManyBuffers;
    tooManyBuffers.vui = [](BitWriter& w) {
        w.flag(0).flag(0).flag(0).flag(0).flag(0).flag(1);
        writeHRD(w, 32, 1);
    };
    H264SPS rateTooLong;
    rateTooLong.vui = [](BitWriter& w) {
        w.flag(0).flag(0).flag(0).flag(0).flag(0).flag(1).ue(0).u(8, 0).zeros(32).u(8, 0xFF).zeros(64);
    };
    BitWriter longCode;
    longCode.u(8, 0x67).u(8, 66).u(8, 0).u(8, 30);
    longUE(longCode);
    const Row rows[] = {
        {"{PullParamSetSPS} ERROR: Wrong forbidden_bit in SPS NAL unit", H264SPS{.header = 0xE7}.unit()},
        {"{PullParamSetSPS} ERROR: Wrong nal_ref_idc in SPS NAL unit", H264SPS{.header = 0x07}.unit()},
        {"{PullParamSetSPS} ERROR: Wrong nal_unit_type in SPS NAL unit", H264SPS{.header = 0x68}.unit()},
        {"PullParamSetSPS: chroma_format_idc too large", H264SPS{.profile = 100, .chroma_format_idc = 4}.unit()},
        {"PullParamSetSPS: bit_depth_luma_minus8 too large",
         H264SPS{.profile = 100, .bit_depth_luma_minus8 = 7}.unit()},
        {"PullParamSetSPS: bit_depth_chroma_minus8 too large",
         H264SPS{.profile = 100, .bit_depth_chroma_minus8 = 7}.unit()},
        {"PullParamSetSPS: thiss->seq_parameter_set_id too large", H264SPS{.id = 32}.unit()},
        {"PullParamSetSPS: wrong log2_max_pic_order_cnt_lsb_minus4 number",
         H264SPS{.pic_order_cnt_type = 0, .log2_max_pic_order_cnt_lsb_minus4 = 13}.unit()},
        {"PullParamSetSPS: wrong SeqParamSet.num_ref_frames_in_pic_order_cnt_cycle number",
         H264SPS{.pic_order_cnt_type = 1, .refFramesInCycle = 256}.unit()},
        {"thiss->cpb_cnt_minus1 too big", tooManyBuffers.unit()},
        {"UE_PULLlong: data too large for UINT", rateTooLong.unit()},
        {"UE_PULL should :numZeros<=12", longCode.escaped()},
        {"end of bitstream", H264SPS{}.unit().substr(0, 5)},
        {"end of bitstream", ""},
    };
    for (const Row& row : rows) {
        SignalProbe probe;
        Size size;
        EXPECT_EQ(sizeOf(row.unit, &size), kTavBridgeInvalidSerializedSampleDescriptionErr) << row.message;
        EXPECT_EQ(size, Size()) << row.message << " left an output";
        EXPECT_EQ(probe.count(), 1u) << row.message;
        EXPECT_EQ(probe.message(), row.message);
        EXPECT_EQ(probe.function(), "TavH264Bridge_GetSPSWidthAndHeight");
        EXPECT_EQ(probe.subsystem(), "<<<< H264Bridge >>>>");
    }
}

TEST(H264SPS, readsScalingListsAndTheOrderCountCycleToTheSizeBehindThem)
{
    H264SPS sps{.profile = 244, .chroma_format_idc = 3};
    sps.scaling = [](BitWriter& w) {
        for (int list = 0; list < 12; ++list) {
            w.flag(list % 2 == 0);
            if (list % 2) continue;
            if (list == 4) {
                w.se(-8);  // nextScale becomes 0: the rest repeats
                continue;
            }
            for (int i = 0; i < (list < 6 ? 16 : 64); ++i) w.se(i % 2 ? 5 : -5);
        }
    };
    Size size;
    EXPECT_EQ(sizeOf(sps.unit(), &size), 0);
    EXPECT_EQ(size, (Size{640, 480}));
    size = {};
    EXPECT_EQ(sizeOf(H264SPS{.pic_order_cnt_type = 1, .refFramesInCycle = 255}.unit(), &size), 0);
    EXPECT_EQ(size, (Size{640, 480}));
}

TEST(H264SPS, endsExactlyAtItsLastBit)
{
    // Without trailing bits; a longer width's code fills the last byte.
    for (uint32_t widthInMbs = 1; widthInMbs <= 128; widthInMbs *= 2) {
        for (uint32_t id : {0u, 1u, 3u, 7u}) {
            H264SPS sps{.id = id, .widthInMbs = widthInMbs, .heightInMapUnits = 1};
            sps.crop = H264SPS::Crop{};
            if (id & 2) sps.vui = [](BitWriter& w) { w.zeros(9); };
            const BitWriter w = sps.write();
            if (w.bitCount() % 8 != 0) continue;
            Size size;
            EXPECT_EQ(sizeOf(w.escaped(), &size), 0);
            EXPECT_NE(sizeOf(w.escaped().substr(0, w.escaped().size() - 1), &size), 0);
            return;
        }
    }
    FAIL() << "no row ends on a byte";
}

// What no encoder writes: a clock of fields without frames, an HRD of many buffers and long rates.
TEST(H264VUI, tellsFrameRateAndDelayBits)
{
    H264SPS fields{.frame_mbs_only_flag = false}, withHRD;
    fields.vui = [](BitWriter& w) { writeNoVUIButTiming(w, 1001, 60000); };
    withHRD.vui = [](BitWriter& w) {
        w.flag(0).flag(0).flag(0).flag(0).flag(1).u(32, 1).u(32, 50).flag(0).flag(0).flag(1);
        writeHRD(w, 2, 0x7FFFFFFE);  // 30 leading zeros
        w.flag(0).flag(0).flag(0);
    };
    struct Row {
        std::string unit;
        float rate;
        bool isFixed, hasPicStruct, hasHRD;
        uint32_t bits;
    };
    for (const Row& row : {Row{fields.unit(), 60000 / 1001.0f, true, true, false, 0},
                           Row{withHRD.unit(), 25.0f, false, false, true, 15 + 5 + 2}}) {
        float rate = 0;
        Boolean fixed = 2, picStruct = 2, hrd = 2;
        uint32_t bits = 99;
        EXPECT_EQ(TavH264Bridge_GetSPS_VUI_Framerate(bytes(row.unit), row.unit.size(), &rate, &fixed, &picStruct, &hrd,
                                                     &bits),
                  0);
        EXPECT_FLOAT_EQ(rate, row.rate);
        EXPECT_TRUE(fixed == row.isFixed && picStruct == row.hasPicStruct && hrd == row.hasHRD && bits == row.bits);
    }
}

// Beside what encoders write: the rows that say nothing, and those of the table's end.
TEST(H264VUI, tellsTheAspectRatioByTable)
{
    struct Row {
        uint32_t idc, horizontal, vertical;
    };
    for (const Row& row : {Row{2, 12, 11}, Row{13, 160, 99}, Row{16, 2, 1}, Row{0, 77, 88}, Row{17, 77, 88}}) {
        H264SPS sps;
        sps.vui = [&](BitWriter& w) { w.flag(1).u(8, row.idc).zeros(8); };
        uint32_t horizontal = 77, vertical = 88;
        EXPECT_EQ(TavH264Bridge_GetSPS_VUI_AspectRatio(bytes(sps.unit()), sps.unit().size(), &horizontal, &vertical),
                  0);
        EXPECT_TRUE(horizontal == row.horizontal && vertical == row.vertical) << row.idc;
    }
}

TEST(H264VUI, isAParameterErrorWhereTheStreamIsSilent)
{
    const std::string none = H264SPS{}.unit();
    H264SPS emptySPS;
    emptySPS.vui = [](BitWriter& w) { w.zeros(9); };
    const std::string empty = emptySPS.unit();
    for (const std::string& unit : {none, empty}) {
        uint32_t a = 1, b = 2, c = 3;
        float rate = 4;
        Boolean x = 5, y = 5, z = 5;
        EXPECT_EQ(TavH264Bridge_GetSPS_VUI_Framerate(bytes(unit), unit.size(), &rate, &x, &y, &z, &a),
                  kTavBridgeParameterErr);
        EXPECT_EQ(TavH264Bridge_GetSPS_VUI_ChromaLocation(bytes(unit), unit.size(), &a, &b), kTavBridgeParameterErr);
        EXPECT_EQ(TavH264Bridge_GetSPS_VUI_AspectRatio(bytes(unit), unit.size(), &a, &b), kTavBridgeParameterErr);
        EXPECT_EQ(TavH264Bridge_GetSPS_VUI_NCLC(bytes(unit), unit.size(), &a, &b, &c), kTavBridgeParameterErr);
        const OSStatus range = TavH264Bridge_GetSPS_VUI_FullRangeVideo(bytes(unit), unit.size(), &x);
        EXPECT_EQ(range, unit == none ? kTavBridgeParameterErr : 0);
        EXPECT_TRUE(a == 1 && b == 2 && c == 3 && rate == 4 && y == 5 && z == 5 && x == (unit == none ? 5 : 0));
    }
}

// What readers of slices need: a status of their own, the place, silence whatever the status.
TEST(H264BitReader, failsWithTheStatusGivenAndTellsItsPlace)
{
    const uint8_t data[] = {0xA5, 0xFF, 0x80};
    for (const auto onFailure : {TavH264BitReader::OnFailure::kSignal, TavH264BitReader::OnFailure::kStaySilent}) {
        SignalProbe probe;
        TavH264BitReader r(data, sizeof(data), "operation", onFailure);
        EXPECT_EQ(r.u(11), 0x52Fu);
        r.require(true, "holds");
        r.require(false, "no such slice", kTavBridgeInvalidSliceErr);
        r.require(false, "nothing more");
        EXPECT_TRUE(r.u(1) == 0 && r.byteOffset() == 1 && r.bitOffset() == 3);
        EXPECT_EQ(r.status(), kTavBridgeInvalidSliceErr);
        const bool isHeard = onFailure == TavH264BitReader::OnFailure::kSignal;
        EXPECT_EQ(probe.count(), isHeard);
        EXPECT_EQ(probe.message(), isHeard ? "no such slice" : "");
        EXPECT_EQ(probe.errorName(), isHeard ? "kTavBridgeInvalidSliceErr" : "");
    }
}

// Wherever a code word stands in the words that are read, up to the last bit, and one byte short of that.
TEST(H264BitReader, readsCodeWordsAtEachPlace)
{
    for (uint32_t before = 0; before < 128; ++before) {
        for (uint32_t zeros = 0; zeros < 14; ++zeros) {
            BitWriter w;
            for (uint32_t i = 0; i < before; ++i) w.flag(1);
            w.zeros(static_cast<int>(zeros)).u(static_cast<int>(zeros) + 1, (2u << zeros) - 1);
            const uint32_t length = before + 2 * zeros + 1;
            const std::string data = w.bytes();
            SignalProbe probe;
            TavH264BitReader r(bytes(data), data.size(), "operation");
            r.skip(before);
            EXPECT_EQ(r.ue(), zeros <= 12 ? (2u << zeros) - 2 : 0);
            EXPECT_TRUE(zeros <= 12 ? 8 * r.byteOffset() + r.bitOffset() == length && r.u(8) == 0 : !r.ok());
            TavH264BitReader cut(bytes(data), (length - 1) / 8, "operation");
            cut.skip(before);
            EXPECT_EQ(cut.ue(), 0u) << before << " " << zeros;
            EXPECT_FALSE(cut.ok());
        }
    }
}

TEST(H264Ids, standAtTheirPlacesInTheUnescapedUnit)
{
    const std::string sps = H264SPS{.id = 31}.unit();
    uint32_t spsID = 0, ppsID = 0;
    EXPECT_EQ(TavH264Bridge_GetSPSSequenceID(bytes(sps), sps.size(), &spsID), 0);
    EXPECT_EQ(spsID, 31u);
    const std::string pps = luvia_test::h264PPS(200, 7);
    EXPECT_EQ(TavH264Bridge_GetPPSSequenceID(bytes(pps), pps.size(), &spsID, &ppsID), 0);
    EXPECT_TRUE(spsID == 7 && ppsID == 200);
    EXPECT_EQ(TavH264Bridge_GetSPSSequenceID(bytes(sps), 5, &spsID), kTavBridgeParameterErr);
    EXPECT_EQ(TavH264Bridge_GetSPSSequenceID(bytes(pps), pps.size(), &spsID), kTavBridgeParameterErr);
    EXPECT_EQ(TavH264Bridge_GetPPSSequenceID(bytes(sps), sps.size(), &spsID, &ppsID), kTavBridgeParameterErr);
    EXPECT_EQ(TavH264Bridge_GetPPSSequenceID(nullptr, 9, &spsID, &ppsID), kTavBridgeParameterErr);
    EXPECT_EQ(TavH264Bridge_GetPPSSequenceID(bytes(pps), 1, &spsID, &ppsID),
              kTavBridgeInvalidSerializedSampleDescriptionErr);
}

TEST(H264EmulationPrevention, isRemovedWhereverItStands)
{
    struct Row {
        std::string escaped, plain;
    };
    using namespace std::string_literals;
    for (const Row& row : {Row{"ab"s, "ab"s}, Row{"\0\0\3"s, "\0\0"s}, Row{"\0\0\3\1"s, "\0\0\1"s},
                           Row{"\0\0\3\0\0\3"s, "\0\0\0\0"s}, Row{"\0\0\0\3x"s, "\0\0\0x"s},
                           Row{"\0\3\0\3"s, "\0\3\0\3"s}, Row{"\3\0\0\3\3"s, "\3\0\0\3"s}, Row{""s, ""s}}) {
        const ZoRef<ZoDataRef> data =
            zoAdopt(ZoDataCreate(nullptr, bytes(row.escaped), static_cast<ZoIndex>(row.escaped.size())));
        ZoRef<ZoDataRef> out;
        ASSERT_EQ(TavH264Bridge_CopyDataWithEmulationPreventionBytesRemoved(data.get(), out.outParam()), 0);
        const std::string plain(reinterpret_cast<const char*>(ZoDataGetBytePtr(out.get())),
                                static_cast<size_t>(ZoDataGetLength(out.get())));
        EXPECT_EQ(plain, row.plain);
    }
    // An SPS reads the same whether it had to be escaped or not.
    H264SPS sps;
    sps.vui = [](BitWriter& w) { writeNoVUIButTiming(w, 1, 3); };
    ASSERT_NE(sps.write().trailing().bytes(), sps.unit());
    float rate = 0;
    Boolean x;
    uint32_t bits;
    EXPECT_EQ(TavH264Bridge_GetSPS_VUI_Framerate(bytes(sps.unit()), sps.unit().size(), &rate, &x, &x, &x, &bits), 0);
    EXPECT_EQ(rate, 1.5f);
}

}  // namespace
