#include <gtest/gtest.h>

#include <random>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBitstream.h"
#include "Tests/Support/BitWriter.h"
#include "Tests/Support/HEVCReaderModel.h"
#include "Tests/Support/SignalProbe.h"

using namespace std::string_literals;
using luvia_test::BitWriter;
using luvia_test::SignalProbe;

namespace {

HEVCBitstream primed(const std::string& bytes, bool escaped = true)
{
    HEVCBitstream reader =
        hevcbridgeBitstreamOver(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size(), escaped);
    EXPECT_EQ(hevcbridgeAdvanceInBitstream(&reader, 0), 0);
    return reader;
}

}  // namespace

// Random operations over random bytes, a third of them zeros and threes, until the first failure.
TEST(HEVCBitstream, agreesWithANaiveReader)
{
    const uint32_t seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 6000; ++round) {
        const uint32_t density = random() % 4;
        const bool isLong = round % 50 == 0;  // past the windows in which the reader looks ahead
        std::string bytes(random() % (isLong ? 2000 : 200), '\0'), operations(isLong ? 2400 : 120, '\0');
        for (char& c : bytes) c = random() % 4 < density ? "\0\0\0\3"[random() % 4] : static_cast<char>(random() % 256);
        for (char& c : operations) c = static_cast<char>(random() % 256);
        for (size_t i = 1; i < operations.size(); i += 2)  // mostly short skips and reads that can be
            if (random() % 8 != 0) operations[i] = static_cast<char>(random() % 24 + 1);
        SignalProbe probe;
        const std::string what =
            luvia_test::readerDisagrees(bytes, round % 3 != 0, operations, [&] { return probe.message(); });
        ASSERT_EQ(what, "") << "round " << round;
    }
}

// Where random bytes seldom come: the longest code and one bit more, a skip past every integer; and a failure's record.
TEST(HEVCBitstream, readsCodesOf31ZerosAndSignalsLongerOnes)
{
    constexpr OSStatus kInvalid = kTavBridgeInvalidSerializedSampleDescriptionErr;
    const std::string longest = BitWriter().ue(0xFFFFFFFE).align().bytes();
    const std::string tooLong = BitWriter().zeros(32).flag(true).zeros(39).bytes();
    for (const bool escaped : {true, false}) {
        HEVCBitstream reader = primed(longest, escaped), pulling = primed(tooLong, escaped), skipping = pulling;
        uint32_t value = 0;
        EXPECT_EQ(hevcbridgeUEPullLong(&reader, &value), 0);
        EXPECT_EQ(value, 0xFFFFFFFEu);
        SignalProbe probe;
        EXPECT_EQ(hevcbridgeUEPullLong(&pulling, &value), kInvalid);
        EXPECT_EQ(value, 0u);
        EXPECT_EQ(probe.message(), "UE_PULLlong: data too large for UINT");
        EXPECT_EQ(probe.function(), "hevcbridgeUEPullLong");
        EXPECT_EQ(probe.subsystem(), "<<<< HEVCBridge >>>>");
        EXPECT_TRUE(probe.file().ends_with("/Sources/Core/TavFormatDescription/TavHEVCBridge")) << probe.file();
        EXPECT_EQ(hevcbridgeUESkip(&skipping), kInvalid);
        EXPECT_EQ(probe.message(), "UE_SKIPlong: data too large for UINT");
        EXPECT_EQ(hevcbridgeUSkip(&skipping, UINT32_MAX), kInvalid);
        EXPECT_EQ(probe.function(), "hevcbridgeAdvanceInBitstream");
        EXPECT_EQ(probe.count(), 3u);
    }
}

TEST(HEVCBitstream, readsTheWidestSignedValues)
{
    const int32_t values[] = {0, 1, -1, 2, -2, 4095, -4096, INT32_MAX, -INT32_MAX};
    BitWriter w;
    for (const int32_t value : values) w.se(value).u(32, static_cast<uint32_t>(value));
    const std::string bytes = w.u(3, 4).trailing().escaped();
    HEVCBitstream reader = primed(bytes);
    int32_t value = 0;
    for (const int32_t expected : values) {
        ASSERT_EQ(hevcbridgeSEPullLong(&reader, &value), 0);
        EXPECT_EQ(value, expected);
        ASSERT_EQ(hevcbridgeSPullLong(&reader, 32, &value), 0);
        EXPECT_EQ(value, expected);
    }
    ASSERT_EQ(hevcbridgeSPullLong(&reader, 3, &value), 0);
    EXPECT_EQ(value, -4);
}
