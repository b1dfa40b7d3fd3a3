#include <gtest/gtest.h>

#include <vector>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264AVCCEntry.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Tests/Support/Bytes.h"
#include "Tests/Support/H264Builder.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"

namespace {

using luvia_test::be16;
using luvia_test::dataOf;
using luvia_test::h264PPS;
using luvia_test::H264SPS;
using luvia_test::SignalProbe;

const uint8_t* bytes(const std::string& text) { return reinterpret_cast<const uint8_t*>(text.data()); }

struct Written {
    OSStatus status;
    std::string record;
    uint32_t width = 99, height = 99;
};

Written write(const std::vector<std::string>& sets, int32_t lengthSize = 4)
{
    std::vector<const uint8_t*> pointers;
    std::vector<size_t> sizes;
    for (const std::string& set : sets) {
        pointers.push_back(bytes(set));
        sizes.push_back(set.size());
    }
    Written out;
    ZoRef<ZoDataRef> data;
    out.status = TavH264Bridge_CreateAVCCFromH264ParameterSets(nullptr, sets.size(), pointers.data(), sizes.data(),
                                                               lengthSize, &out.width, &out.height, data.outParam());
    if (data) out.record = luvia_test::bytesOf(data.get());
    return out;
}

std::string entry(const std::string& set) { return be16(static_cast<uint16_t>(set.size())) + set; }

std::vector<std::string> setsOf(const std::string& record, OSStatus* status, size_t* count = nullptr)
{
    std::vector<std::string> sets;
    *status = TavH264Bridge_VisitAllH264ParameterSets(
        dataOf(record).get(), count, nullptr,
        [](void* context, size_t index, const uint8_t* set, size_t size) {
            auto& out = *static_cast<std::vector<std::string>*>(context);
            EXPECT_EQ(index, out.size());
            out.emplace_back(reinterpret_cast<const char*>(set), size);
        },
        &sets);
    return sets;
}

TEST(H264AVCCWriter, sortsByIdAndKeepsEachSetAsGiven)
{
    const std::string sps = H264SPS{}.unit(), pps0 = h264PPS(0, 0), pps1 = h264PPS(1, 0);
    const Written out = write({pps1, sps, pps0}, 2);
    ASSERT_EQ(out.status, 0);
    EXPECT_EQ(out.record, std::string("\x01\x42\x00\x1E\xFD\xE1", 6) + entry(sps) + "\x02" + entry(pps0) + entry(pps1));
    EXPECT_TRUE(out.width == 640 && out.height == 480);

    // Equal ids stay in the caller's order, however many there are.
    std::vector<std::string> sets = {sps};
    std::string entries;
    for (int i = 0; i < 99; ++i) {
        sets.push_back(h264PPS(5, 0) + static_cast<char>(i));
        entries += entry(sets.back());
    }
    EXPECT_TRUE(write(sets).record.ends_with(entries));
}

TEST(H264AVCCWriter, givesHighProfilesTheirTail)
{
    const std::string base = H264SPS{.id = 1}.unit(), pps = h264PPS(0, 0);
    const std::string high =
        H264SPS{.profile = 110, .constraints = 0x10, .level = 41, .bit_depth_luma_minus8 = 2}.unit();
    const std::string extension = luvia_test::BitWriter().u(8, 0x6D).ue(0).u(8, 0).trailing().escaped();
    const Written out = write({base, pps, extension, high});
    ASSERT_EQ(out.status, 0);
    EXPECT_EQ(out.record, std::string("\x01\x6E\x00\x29\xFF\xE2", 6) + entry(high) + entry(base) + "\x01" + entry(pps) +
                              "\xFD\xFA\xF8\x01" + entry(extension));
    // Below these profiles there is no tail: extensions stand among the SPS.
    const Written low = write({pps, extension, H264SPS{}.unit()});
    ASSERT_EQ(low.status, 0);
    EXPECT_EQ(low.record, std::string("\x01\x42\x00\x1E\xFF\xE2", 6) + entry(H264SPS{}.unit()) + entry(extension) +
                              "\x01" + entry(pps));
}

TEST(H264AVCCWriter, givesNoSizeWhereTheSetsDisagree)
{
    const Written out = write({H264SPS{}.unit(), H264SPS{.id = 1, .widthInMbs = 20}.unit(), h264PPS(0, 0)});
    EXPECT_EQ(out.status, 0);
    EXPECT_TRUE(out.width == 0 && out.height == 0);
}

TEST(H264AVCCWriter, storesAnSPSThatItCannotReadToItsEndAndSaysNothing)
{
    H264SPS broken{.pic_order_cnt_type = 0, .log2_max_pic_order_cnt_lsb_minus4 = 13};
    SignalProbe probe;
    const Written out = write({broken.unit(), h264PPS(0, 0)});
    EXPECT_EQ(out.status, 0);
    EXPECT_TRUE(out.width == 0 && out.height == 0);
    EXPECT_EQ(probe.count(), 0u);
}

TEST(H264AVCCWriter, refusesWhatARecordCannotHold)
{
    const std::string sps = H264SPS{}.unit(), pps = h264PPS(0, 0);
    std::vector<std::string> manySPS(32, sps), manyPPS(256, pps), manyExtensions(256, "\x6D\x80");
    manySPS.push_back(pps);
    manyPPS.push_back(sps);
    manyExtensions.insert(manyExtensions.end(), {H264SPS{.profile = 100}.unit(), pps});
    struct Row {
        const char* message;
        std::vector<std::string> sets;
        int32_t lengthSize = 4;
        OSStatus status = kTavBridgeParameterErr;
    };
    const Row rows[] = {
        {"need at least 2 parameter sets (1SPS+1PPS)", {sps}},
        {"NALUnitHeaderLength is not 1, 2 or 4", {sps, pps}, 3},
        {"parameterSetSizes[i] must be less than UINT16_MAX", {sps + std::string(65536, 'x'), pps}},
        {"parameterSetSizes[i] too small", {sps, ""}},
        {"not a parameter set NAL unit", {sps, "\xE8\x80"}},
        {"not a parameter set NAL unit", {sps, "\x08\x80"}},
        {"NAL unit type must be SPS, PPS or SPSExt", {sps, "\x65\x80"}},
        {"UE_PULL should :numZeros<=12",
         {sps, std::string("\x68\0\0\0", 4)},
         4,
         kTavBridgeInvalidSerializedSampleDescriptionErr},
        {"end of bitstream", {sps, "\x68\x08"}, 4, kTavBridgeInvalidSerializedSampleDescriptionErr},
        {"no SPS NAL unit found", {pps, pps}},
        {"no PPS NAL unit found", {sps, sps}},
        {"inconsistent chroma_format",
         {H264SPS{.profile = 100}.unit(), H264SPS{.profile = 122, .chroma_format_idc = 2}.unit(), pps}},
        {"inconsistent bit_depth_luma_minus8",
         {H264SPS{.profile = 110}.unit(), H264SPS{.profile = 110, .bit_depth_luma_minus8 = 2}.unit(), pps}},
        {"inconsistent bit_depth_chroma_minus8",
         {H264SPS{.profile = 110}.unit(), H264SPS{.profile = 110, .bit_depth_chroma_minus8 = 2}.unit(), pps}},
        {"SPSCount must be less than or equal to 0x1F", manySPS},
        {"PPSCount must be less than or equal to 0xFF", manyPPS},
        {"SPSExtCount must be less than or equal to 0xFF", manyExtensions},
    };
    for (const Row& row : rows) {
        SignalProbe probe;
        const Written out = write(row.sets, row.lengthSize);
        EXPECT_EQ(out.status, row.status) << row.message;
        EXPECT_EQ(probe.message(), row.message);
        EXPECT_EQ(probe.function(), "TavH264Bridge_CreateAVCCFromH264ParameterSets");
        EXPECT_EQ(out.record, "") << row.message;
    }
    EXPECT_EQ(write({sps + std::string(65535 - sps.size(), 'x'), pps}).status, 0) << "65535 bytes are taken";
}

TEST(H264AVCCReader, givesBackWhatWasWritten)
{
    const std::string high = H264SPS{.profile = 100}.unit(), base = H264SPS{.id = 1}.unit(), pps = h264PPS(3, 1);
    const std::string extension = "\x6D\x80";
    const std::string record = write({high, base, pps, extension}, 1).record;
    OSStatus status = -1;
    size_t count = 0;
    EXPECT_EQ(setsOf(record, &status, &count), (std::vector<std::string>{high, base, pps, extension}));
    EXPECT_TRUE(status == 0 && count == 4);

    const uint8_t* set = nullptr;
    size_t size = 0, spsCount = 0, ppsCount = 0;
    int32_t lengthSize = 0;
    EXPECT_EQ(TavH264Bridge_GetSPSAndPPSCountFromAVCC(dataOf(record).get(), &spsCount, &ppsCount), 0);
    EXPECT_TRUE(spsCount == 2 && ppsCount == 1);
    EXPECT_EQ(TavH264Bridge_GetNALUnitHeaderLengthFromAVCC(bytes(record), record.size(), &lengthSize), 0);
    EXPECT_EQ(lengthSize, 1);
    EXPECT_EQ(TavH264Bridge_GetSPSFromAVCC(bytes(record), record.size(), 1, &set, &size), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(set), size), base);
    EXPECT_EQ(TavH264Bridge_GetPPSFromAVCC(bytes(record), record.size(), 0, &set, &size), 0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(set), size), pps);

    SignalProbe probe;
    EXPECT_EQ(TavH264Bridge_GetSPSFromAVCC(bytes(record), record.size(), 2, &set, &size), kTavBridgeParameterErr);
    EXPECT_EQ(probe.message(), "SPS not found for given index");
    EXPECT_EQ(TavH264Bridge_GetPPSFromAVCC(bytes(record), record.size(), 1, &set, &size), kTavBridgeParameterErr);
    EXPECT_EQ(probe.message(), "PPS not found for given index");
    const auto data = dataOf(record);
    EXPECT_EQ(TavH264Bridge_GetAndVisitH264ParameterSetAtIndex(data.get(), 3, &set, &size, nullptr, nullptr, nullptr,
                                                               nullptr),
              0);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(set), size), extension);
    EXPECT_EQ(TavH264Bridge_GetAndVisitH264ParameterSetAtIndex(data.get(), 4, &set, &size, nullptr, nullptr, nullptr,
                                                               nullptr),
              kTavBridgeParameterErr);
    EXPECT_EQ(probe.message(), "parameterSetIndex requested exceeding parameterSetCount");
}

TEST(H264AVCCReader, stopsBehindThePPSWhereAHighProfileHasNoTail)
{
    const std::string sps = H264SPS{.profile = 100}.unit(), pps = h264PPS(0, 0);
    const std::string record = write({sps, pps}).record;
    OSStatus status = -1;
    EXPECT_EQ(setsOf(record.substr(0, record.size() - 4), &status).size(), 2u);
    EXPECT_EQ(status, 0);
    for (size_t cut = 1; cut <= 3; ++cut) {
        SignalProbe probe;
        setsOf(record.substr(0, record.size() - cut), &status);
        EXPECT_EQ(status, kTavBridgeParameterErr) << cut;
        EXPECT_EQ(probe.message(), "avcCData too short") << cut;
    }
}

TEST(H264AVCCReader, refusesOtherVersionsAndObjects)
{
    SignalProbe probe;
    EXPECT_EQ(TavH264Bridge_GetSPSAndPPSCountFromAVCC(nullptr, nullptr, nullptr), kTavBridgeParameterErr);
    EXPECT_EQ(probe.message(), "no avcCData or not a ZoData");
    EXPECT_EQ(TavH264Bridge_GetSPSAndPPSCountFromAVCC(dataOf("\2\0\0\0\0\0\0").get(), nullptr, nullptr),
              kTavBridgeParameterErr);
    EXPECT_EQ(probe.message(), "avcCData too short");
    EXPECT_EQ(TavH264Bridge_GetSPSAndPPSCountFromAVCC(dataOf(std::string("\2\0\0\0\0\0\0", 7)).get(), nullptr, nullptr),
              kTavBridgeParameterErr);
    EXPECT_EQ(probe.message(), "avcCData configurationVersion is not 1");
}

}  // namespace
