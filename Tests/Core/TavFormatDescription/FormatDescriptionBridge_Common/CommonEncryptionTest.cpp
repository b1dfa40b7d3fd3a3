#include "Core/TavFormatDescription/FormatDescriptionBridge_Common/TavCommonEncryption.h"

#include <gtest/gtest.h>

#include "Core/TavFormatDescription/FormatDescriptionBridge_Common/TavBridgeErrors.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoData.h"
#include "Tests/Support/AtomBuilder.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

std::string schemeBox(const std::string& scheme, uint32_t version)
{
    return fullAtom("schm", 0, 0, scheme + be32(version));
}
// In a block of its own, so that a read past it is noticed.
std::vector<char> exactly(const std::string& bytes) { return {bytes.begin(), bytes.end()}; }

TEST(CommonEncryption, knowsItsSchemes)
{
    struct Row {
        std::string sinf;
        OSType scheme;
    };
    const Row rows[] = {
        {schemeBox("cenc", 0x10000), fourCC("cenc")},
        {atom("frma", "avc1") + schemeBox("cbcs", 0x10000), fourCC("cbcs")},
        {fullAtom("schm", 0, 1, "cbc2" + be32(0x10000) + "https://a\0"), fourCC("cbc2")},
        {schemeBox("cens", 0x10000), 0},
        {schemeBox("cbc1", 0x10000), 0},
        {schemeBox("cenc", 0x10001), 0},
        {atom("schm", zeros(4) + "cenc" + zeros(3)), 0},
        {atomHeader(0, "schm") + zeros(4) + "cenc" + be32(0x10000), fourCC("cenc")},
        {schemeBox("cenc", 0x10000).substr(0, 19), 0},
        {"short", 0},
        {"", 0},
    };
    for (const Row& row : rows) {
        const auto bytes = exactly(row.sinf);
        EXPECT_EQ(TavBridgeGetCommonEncryptionScheme(bytes.data(), bytes.size()), row.scheme);
    }
    EXPECT_EQ(TavBridgeGetCommonEncryptionScheme(nullptr, 20), 0u);
}

TEST(CommonEncryption, findsTheOriginalFormat)
{
    struct Row {
        std::string sinf;
        OSType format;
    };
    const Row rows[] = {
        {atom("frma", "hvc1"), fourCC("hvc1")},
        {schemeBox("cenc", 0x10000) + atom("frma", "mp4a"), fourCC("mp4a")},
        {atom("frma", "avc1x"), 0},
        {atom("frma", "avc"), 0},
        {schemeBox("cenc", 0x10000), 0},
    };
    for (const Row& row : rows) {
        const auto bytes = exactly(row.sinf);
        SignalProbe probe;
        EXPECT_EQ(TavBridgeGetOriginalFormatFromSinf(bytes.data(), bytes.size()), row.format);
        EXPECT_EQ(probe.count(), 0u);
    }
}

TEST(CommonEncryption, takesTheTrackEncryptionBoxOut)
{
    const std::string payload = be32(0) + "0123456789abcdefWXYZ" + "tail";
    const auto whole = exactly(atom("frma", "avc1") + atom("schi", atom("free") + atom("tenc", payload)));
    const void* keys[3] = {};
    const void* values[3] = {};
    ZoIndex count = 1;
    EXPECT_EQ(TavBridgeExtractCommonEncryptionTrackEncryptionExtension(nullptr, keys, values, &count, whole.data(),
                                                                       whole.size()),
              0);
    EXPECT_EQ(count, 2);
    const auto data = ZoRef<ZoDataRef>::adopt(static_cast<ZoDataRef>(values[1]));
    const auto key = ZoRef<ZoTypeRef>::adopt(keys[1]);
    EXPECT_EQ(key.get(), kTavFormatDescriptionExtension_CommonEncryptionTrackEncryptionBox);
    ASSERT_EQ(ZoDataGetLength(data.get()), static_cast<ZoIndex>(payload.size()));
    EXPECT_EQ(memcmp(ZoDataGetBytePtr(data.get()), payload.data(), payload.size()), 0);
    EXPECT_EQ(TavBridgeExtractCommonEncryptionTrackEncryptionExtension(nullptr, nullptr, nullptr, &count, whole.data(),
                                                                       whole.size()),
              0);
    EXPECT_EQ(count, 3) << "counts also where nothing is asked for";

    for (const std::string& without : {atom("schi", atom("tenc", zeros(23))), atom("frma", "avc1"), atom("schi")}) {
        const auto bytes = exactly(without);
        SignalProbe probe;
        EXPECT_EQ(TavBridgeExtractCommonEncryptionTrackEncryptionExtension(nullptr, keys, values, &count, bytes.data(),
                                                                           bytes.size()),
                  0);
        EXPECT_EQ(count, 3);
    }
    FailingAllocator allocator(1);
    SignalProbe probe;
    EXPECT_EQ(TavBridgeExtractCommonEncryptionTrackEncryptionExtension(allocator.get(), nullptr, values, &(count = 0),
                                                                       whole.data(), whole.size()),
              kTavBridgeAllocationFailedErr);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(values[0], nullptr);
    EXPECT_EQ(probe.message(), "ZoDataCreate failed");
}

}  // namespace
