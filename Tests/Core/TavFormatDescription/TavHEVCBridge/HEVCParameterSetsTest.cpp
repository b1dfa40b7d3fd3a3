#include <gtest/gtest.h>

#include <chrono>
#include <sstream>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCParameterSets.h"
#include "HEVCRecorder.h"
#include "Tests/Support/BitWriter.h"
#include "Tests/Support/SignalProbe.h"

using luvia_test::BitWriter;
using luvia_test::HEVCRecorder;
using luvia_test::nalHeader;
using luvia_test::Report;
using luvia_test::SignalProbe;

namespace {

constexpr OSStatus kInvalid = kTavBridgeInvalidSerializedSampleDescriptionErr;
constexpr uint32_t kLastField = HEVCField::dpb_output_delay_length_minus1;

// The elements of a parameter set, and what a walk has to report of them. A word is an element: 4:9 is u(4) of 9, e3
// and s-2 are codes, digits are flags. In front stands the field that it is reported as: "10=" field 10, "+" the one
// behind the last, "=" the last again; nothing, if it is not reported. "27!512@0" is a report without an element, with
// its index, and "align" fills a byte with ones.
struct Elements {
    BitWriter bits;
    std::vector<Report> reports;

    Elements(const std::string& text)
    {
        std::istringstream words(text);
        int64_t field = 0;
        for (std::string word; words >> word;) {
            const size_t end = word.find_first_of("=+!");
            if (word == "align")
                while (bits.bitCount() % 8) bits.flag(true);
            else if (end == std::string::npos)
                add(word, -1);
            else {
                if (end > 0) field = std::stoll(word);
                if (word[end] == '+') ++field;
                if (word[end] == '!')
                    reports.emplace_back(field, std::stoll(word.substr(end + 1)),
                                         std::stoi(word.substr(word.find('@') + 1)));
                else
                    add(word.substr(end + 1), field);
            }
        }
    }
    std::string unit(uint32_t type, uint32_t layer = 0) const
    {
        return nalHeader(type, layer) + BitWriter(bits).trailing().escaped();
    }

private:
    void add(const std::string& word, int64_t field)
    {
        const size_t colon = word.find(':');
        const bool isCode = word[0] == 'e' || word[0] == 's';
        if (!isCode && colon == std::string::npos) {
            for (const char bit : word) note(field, (bits.flag(bit == '1'), bit == '1'));
            return;
        }
        const int64_t value = std::stoll(word.substr(isCode ? 1 : colon + 1));
        if (!isCode)
            bits.u(std::stoi(word), static_cast<uint64_t>(value));
        else
            word[0] == 'e' ? bits.ue(static_cast<uint64_t>(value)) : bits.se(value);
        note(field, value);
    }
    void note(int64_t field, int64_t value) { field < 0 ? void() : void(reports.emplace_back(field, value, -1)); }
};

// What a walk gives: all that it reports of a parameter set, and the digest.
struct Walked {
    explicit Walked(const std::string& unit, bool asks = true, HEVCBridgeParseContext other = {},
                    std::function<OSStatus(uint32_t)> answer = nullptr)
    {
        HEVCRecorder recorder;
        if (asks) recorder.request(3, 311).request(314, kLastField);
        recorder.context.digestOut = &digest;
        recorder.context.digestCount = other.digestCount;
        recorder.context.digests = other.digests;
        recorder.context.ignoreVPSExtension = other.ignoreVPSExtension;
        recorder.answer = std::move(answer);
        status = recorder.unit(unit, kHEVCWalkers);
        reports = recorder.reports;
    }
    ~Walked() { free(digest); }

    template <typename Digest>
    const Digest& as() const
    {
        static const Digest kNone = {};
        EXPECT_TRUE(digest && digest->nalUnitType == Digest::kNALUnitType);
        return digest ? *static_cast<const Digest*>(digest) : kNone;
    }

    OSStatus status;
    HEVCDigest* digest = nullptr;
    std::vector<Report> reports;
};

void expectExact(const Elements& elements, const Walked& walked)
{
    EXPECT_EQ(walked.status, 0);
    EXPECT_EQ(walked.reports, elements.reports);
}

std::string times(uint32_t count, const std::string& words)
{
    std::string all;
    while (count--) all += words + " ";
    return all;
}

const std::string kProfile = "308=2:0 +0 +5:8 +32:0 314=1 +1 +1 +1 44:0 328=8:93 ";

// A VPS to its extension, and that to its layers' identifiers.
std::string vps(uint32_t maxLayersMinus1, const char* isInternal = "1", const std::string& layerSets = "10=6:0 +e0 ",
                const std::string& timing = "13=0 ")
{
    return "3=4:5 +" + std::string(isInternal) + " +1 +6:" + std::to_string(maxLayersMinus1) + " +3:0 +1 16:65535 " +
           kProfile + "9=1 e4 e2 e0 " + layerSets + timing + "19=1 align " +
           (maxLayersMinus1 > 0 && *isInternal == '1' ? "328=8:90 " : "");
}

// Layers 0, view 1 (identifier 2), another one (4), and its alpha plane (6), which alone depends on one, on 4. Layer
// sets {0}, {0, 2}, {0, 2, 4, 6}, {4}, {2, 4, 6}, and that again by its number.
const std::string kLayeredVPS =
    vps(3, "1", "10=6:6 +e2 +1010000 =1010101 ") +
    "21=0 +0101000000000000 +3:1 =3:7 +1 25=6:2 +2:1 =8:0 25=6:4 +2:0 =8:0 25=6:6 +2:1 =8:200 27!512@0 27!1024@1 "
    "27!1736@2 28=4:9 +9:300 30!300@-1 30!262444@-1 29=9:17 30!131089@-1 30!393233@-1 31=0 =00 =001 "
    "+e2 +0 =2:1 =1 =2:2 +1 +3:0 =3:6 =3:3 =3:2 +1 +3:1 +0 +e2 +0 328=8:60 41=e1 +2:1 "
    "45=2:1 =2:1 =2:2 +0 44=1 +2:1 44=011 +2:1 =2:2 43=2:3 +001 +2:0 =2:1 +1 "
    "+e2 53=16:1920 +16:1080 +1 +2:3 +1 +4:2 +4:1 +1 +e1 +e2 +e3 +e4 "
    "53=16:640 +16:480 +0 60=0 53=16:320 +16:480 +0 60=0 48=1 +2:1 =2:2 =2:3 +1 +0 +1 =0";

std::string spsToPics()
{
    return "65=4:5 +3:0 68=1 " + kProfile +
           "69=e3 72=e1 74=e64 +e32 +0 81=e0 +e0 +e4"
           " +1 e4 e2 e0 +e1 +e2 +e0 +e1 +e0 +e0 +0 95=0 +1 +0 ";
}
const std::string kSPSBehindPics = " 106=1 +0 +0 148=0";

std::string ppsToExtensions()
{
    return "163=e9 +e3 +1 +0 +3:5 +0 +1 +e14 +e14 +s-3 +0 +0 +0 177=s1 +s2 +0 +1 +0 +0 +0 +0 189=1 +0 195=0 +1 +e0 +0 "
           "+1 ";
}
std::string layeredPPS(const char* outputDepth = "e1")
{
    return ppsToExtensions() +
           "+0 +1 +0 +0 +4:0 212=1 +1 +6:33 +e2 +6:1 +1 +s-1 +s2 +s-3 +s4 +1 +s5 +s-6 +s7 +s-8 "
           "+1 +e1 +e2 +e3 +e4 216=6:2 +0 222=0 227=0 232=1 +e1 +6:3 =6:4 +2:1 +2:1 +e0 +e2 +" +
           outputDepth + " +e3 +2:3 +2:2 +s-4 +s9 +1 " + times(37, "246=0") +
           "246=1 +e0 +3:0 247=e0 +3:5 +1 247=e9 +3:0 +0 " + times(26, "246=0");
}

}  // namespace

TEST(HEVCVPSExtension, walksLayersSetsAndFormats)
{
    const Elements elements(kLayeredVPS);
    const Walked walked(elements.unit(32));
    expectExact(elements, walked);
    const auto& digest = walked.as<HEVCVPSDigest>();
    EXPECT_EQ(digest.parameterSetId, 5u);
    ASSERT_EQ(digest.numRepFormatsMinus1, 2u);
    EXPECT_TRUE(digest.repFormats()[0].chromaFormat == 3 && digest.repFormats()[0].separateColourPlane);
    EXPECT_TRUE(digest.repFormats()[2].picWidth == 320 && digest.repFormats()[2].chromaFormat == 0);
    const auto of = [](const uint8_t* table) { return std::vector<int>{table[0], table[2], table[4], table[6]}; };
    EXPECT_EQ(of(digest.repFormatIdxForLayer), (std::vector{0, 1, 2, 3}));
    EXPECT_EQ(of(digest.numDirectRefLayers), (std::vector{0, 0, 0, 1}));
    EXPECT_EQ(of(digest.pocLsbNotPresent), (std::vector{0, 1, 0, 0}));
    EXPECT_EQ(of(digest.lastRefLayerIdx), (std::vector{0, 0, 0, 2}));
    EXPECT_EQ(of(digest.layerIdxInVps), (std::vector{0, 0, 0, 3}));
    EXPECT_EQ(digest.subLayersVpsMaxMinus1[1], 6);
    const auto& most = digest.maxTidIlRefPicsPlus1;
    EXPECT_TRUE(most[0][1] == 7 && most[2][3] == 1);
    EXPECT_EQ(digest.maxOneActiveRefLayer, 1);

    const Walked ignored(elements.unit(32), true, {.ignoreVPSExtension = true});
    EXPECT_EQ(ignored.status, 0);
    EXPECT_EQ(std::get<0>(ignored.reports.back()), HEVCField::default_output_layer_idc);
    EXPECT_FALSE(ignored.digest);

    // An SPS whose format is one of these.
    const Elements sps("65=4:5 67=3:7 69=e1 +1 +8:2 83=e12 85=e1 +e2 +e0 +e1 +e0 +e0 +1 +1 +6:9 95=0 +0 +0 103=e0 +0" +
                       kSPSBehindPics);
    HEVCDigest* known[] = {nullptr, walked.digest};
    const Walked layered(sps.unit(33, 2), true, {.digestCount = 2, .digests = known});
    expectExact(sps, layered);
    const auto& kept = layered.as<HEVCSPSDigest>();
    EXPECT_TRUE(kept.multiLayerExtSps && kept.updateRepFormat && kept.nuhLayerId == 2 && kept.repFormatIdx == 2);
}

// Dimensions out of the identifier, an external base layer, 63 layers at most in a chain, the most formats.
TEST(HEVCVPSExtension, derivesWhatIsAbsent)
{
    std::string text = vps(63, "0") + "21=1 +0101000000000000 +3:3 +0 ";
    for (int i = 1; i <= 62; ++i) text += "27!" + std::to_string(i << 8 | i >> 4) + "@" + std::to_string(i - 1) + " ";
    text += "28=4:0 ";
    for (uint32_t i = 1; i <= 62; ++i) text += "31=" + std::string(i - 1, '0') + "1 ";
    const Elements elements(text + "34=0 36=0 38=1 +e0 47=e255 " + times(256, "53=16:7 +16:1 +0 60=0") +
                            "48=0 50=0 +1");
    const Walked walked(elements.unit(32));
    expectExact(elements, walked);
    const auto& digest = walked.as<HEVCVPSDigest>();
    EXPECT_EQ(digest.repFormats()[255].picWidth, 7u);
    EXPECT_TRUE(digest.repFormatIdxForLayer[62] == 62 && digest.lastRefLayerIdx[62] == 61);
}

TEST(HEVCSPS, keepsWhatSlicesNeed)
{
    // Sets: given; that by -1, without its picture; the second by 3. Then two long-term pictures.
    const Elements elements(
        spsToPics() + "103=e3 e2 e1 e0 1 e3 0 e1 1 11 e0 101100 10 e2 10111 104=1 +e2 8:77 0 8:5 1" + kSPSBehindPics);
    const Walked walked(elements.unit(33));
    expectExact(elements, walked);
    const auto& sps = walked.as<HEVCSPSDigest>();
    EXPECT_TRUE(sps.parameterSetId == 3 && sps.videoParameterSetId == 5 && sps.picWidth == 64 && sps.picHeight == 32);
    EXPECT_TRUE(sps.log2DiffMaxMinLumaCodingBlockSize == 2 && sps.chromaArrayType == 1);
    EXPECT_TRUE(sps.usedByCurrPicLtSps[1] && sps.temporalMvpEnabled && sps.sampleAdaptiveOffsetEnabled);
    using Pics = std::vector<std::pair<int, int>>;
    const Pics sets[] = {{{-1, 1}, {-5, 0}, {2, 1}}, {{-2, 1}, {-6, 0}, {1, 1}}, {{-3, 0}, {1, 1}, {3, 1}, {4, 1}}};
    for (const auto& set : sps.shortTermRefPicSets()) {
        Pics pics;
        for (int i = 0; i < set.numNegativePics; ++i) pics.emplace_back(set.deltaPocS0[i], set.usedByCurrPicS0[i]);
        for (int i = 0; i < set.numPositivePics; ++i) pics.emplace_back(set.deltaPocS1[i], set.usedByCurrPicS1[i]);
        EXPECT_EQ(pics, sets[&set - sps.shortTermRefPicSets().data()]);
    }
}

TEST(HEVCPPS, walksItsExtensions)
{
    // Of extension data, what lies in front of the last byte.
    std::string data = ppsToExtensions() + "+0 +0 +0 +0 +4:5 ";
    data += "262=" + std::string(8 - Elements(data).bits.bitCount() % 8, '0') + "11010000 0101010";
    for (const auto& text : {layeredPPS(), data}) {
        const Elements elements(text);
        const Walked walked(elements.unit(34));
        expectExact(elements, walked);
        const auto& pps = walked.as<HEVCPPSDigest>();
        EXPECT_TRUE(pps.parameterSetId == 9 && pps.seqParameterSetId == 3 && pps.numExtraSliceHeaderBits == 5);
        EXPECT_EQ(pps.numRefIdxL1DefaultActiveMinus1, 14u);
        EXPECT_TRUE(pps.dependentSliceSegmentsEnabled && pps.cabacInitPresent && pps.weightedPred);
        EXPECT_TRUE(pps.loopFilterAcrossSlicesEnabled && pps.listsModificationPresent);
        EXPECT_FALSE(pps.weightedBipred || pps.tilesEnabled || pps.currPicRefEnabled || pps.outputFlagPresent);
    }
}

// A stop keeps what was read until then; another answer, or an end of the bits, keeps nothing.
TEST(HEVCParameterSets, keepNothingOfAWalkThatFails)
{
    const std::tuple<std::string, uint32_t> rows[] = {
        {Elements(kLayeredVPS).unit(32), HEVCField::poc_lsb_not_present_flag},
        {Elements(spsToPics() + "103=e1 e0 e0 +0" + kSPSBehindPics).unit(33), HEVCField::sps_temporal_mvp_enabled_flag},
        {Elements(layeredPPS()).unit(34), HEVCField::colour_mapping_enabled_flag},
    };
    for (const auto& [unit, field] : rows) {
        SCOPED_TRACE(field);
        for (const OSStatus answer : {OSStatus{kTavBridgeStopParsing}, OSStatus{-50}}) {
            const Walked walked(unit, true, {}, [&, last = field](uint32_t told) { return told == last ? answer : 0; });
            EXPECT_EQ(walked.status, answer == 1 ? 0 : -50);
            EXPECT_EQ(walked.digest != nullptr, answer == 1);
            EXPECT_EQ(std::get<0>(walked.reports.back()), field);
        }
        for (size_t size = 2; size + 1 < unit.size(); ++size) {
            const Walked walked(unit.substr(0, size), size % 2);
            EXPECT_EQ(walked.status, kInvalid) << size;
            EXPECT_FALSE(walked.digest);
        }
    }
}

TEST(HEVCParameterSets, refuseWhatIsOutOfRange)
{
    const std::string full = "e0 e15 " + times(15, "e0 1");  // 15 pictures
    const std::string plain = "21=0 +0000000000000000 24=0 28=4:0 ";
    const std::tuple<uint32_t, std::string, const char*> rows[] = {
        // with part of the message, unless it is taken
        {33, spsToPics() + "e64 " + full + times(63, "11 e0 111111111111111100") + "1 e32 " + times(32, "9:1") + "1000",
         nullptr},
        {33, "4:0 3:7 0", "maxNumSubLayersMinus1 out of range"},
        {33, spsToPics() + "e65", "num_short_term_ref_pic_sets out of range"},
        {33, spsToPics() + "e0 1 e33", "num_long_term_ref_pics_sps out of range"},
        {33, spsToPics() + "e1 e16", "num_negative_pics out of range"},
        {33, spsToPics() + "e1 e8 e8", "num_negative_pics + num_positive_pics out of range"},
        {33, spsToPics() + "e2 " + full + "10 e9 1111111111111111", "+ num_positive_pics out of range"},
        {33, spsToPics() + "e2 e0 e0 10 e32768", "abs_delta_rps_minus1 out of range"},
        {34, ppsToExtensions() + "0010 0000", "3D extension (Annex I) not supported."},
        {34, layeredPPS("e5"), "U_PULLlong should: numBits>0"},
        {34, ppsToExtensions() + "0001 0000 001 e1 1 e25", "U_PULLlong should: numBits<=32"},
        {32, vps(0) + "1 1100000000000000 3:5", "Wrong dimBitOffset[NumScalabilityTypes - 1] in VPS extension"},
        {32, vps(2) + plain + "001 e1 2:3", "highest_layer_idx_plus1 shall be in the range"},
        {32, vps(1) + plain + "0 e3 111 000 e0 e1 2:0 111 11", "layer_set_idx_for_ols_minus1 shall be in the range"},
    };
    for (const auto& [type, text, message] : rows) {
        SCOPED_TRACE(text);
        SignalProbe probe;
        const Walked walked(Elements(text).unit(type));
        EXPECT_EQ(walked.status, message ? kInvalid : 0);
        EXPECT_EQ(walked.digest == nullptr, message != nullptr);
        EXPECT_NE(probe.message().find(message ? message : ""), std::string::npos) << probe.message();
    }
}

// Counts that a few bytes claim take no time, whether someone asks for the elements or not.
TEST(HEVCParameterSets, endWhereTheBytesDo)
{
    const std::string most = "e4294967294 ";
    const std::pair<uint32_t, std::string> rows[] = {
        {34, ppsToExtensions() + "1000 0000 01 e0 " + most},
        {34, ppsToExtensions() + "0001 0000 001 " + most + "0 e4294967288 e4294967288"},
        {32, vps(0, "1", "6:0 e0 ", "1 32:1 32:1 0 " + most + "e0 110 23:0 1 e0 " + most)},
        {32, vps(0) + "0 0000000000000000 0 4:0 000 " + most},
        {32, vps(63, "1", "6:63 e0 ") + "0 0000000000000000 1 " + times(62, "6:0") + "4:0 "},  // all are one layer
    };
    const auto start = std::chrono::steady_clock::now();
    for (const auto& [type, text] : rows)
        for (const bool asks : {true, false}) EXPECT_EQ(Walked(Elements(text).unit(type), asks).status, kInvalid);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
}
