#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "Core/TavAttachmentBearer/TavAttachmentBearer.h"
#include "Core/TavBlockBuffer/TavBlockBuffer.h"
#include "Foundation/Images/YxImageBuffer.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

ZoRef<ZoTypeRef> blockBuffer()
{
    LuBlockBufferRef buffer = nullptr;
    EXPECT_EQ(LuBlockBufferCreateEmpty(nullptr, 1, 0, &buffer), 0);
    return ZoRef<ZoTypeRef>::adopt(buffer);
}
ZoRef<ZoTypeRef> pixelBuffer()
{
    return ZoRef<ZoTypeRef>::adopt(YxPixelBufferCreate(nullptr, 2, 2, LU_FOURCC('g', 'r', 'e', 'y'), 2));
}
ZoIndex countOf(const ZoRef<ZoTypeRef>& bearer, LuAttachmentMode mode)
{
    const ZoRef<ZoDictionaryRef> all = zoAdopt(LuCopyDictionaryOfAttachments(nullptr, bearer.get(), mode));
    return all ? ZoDictionaryGetCount(all.get()) : 0;
}
// One signal since the probe began, which begins anew.
void expectSignal(SignalProbe& probe, const char* message)
{
    EXPECT_EQ(probe.count(), 1u);
    EXPECT_EQ(probe.message(), message);
    EXPECT_EQ(probe.errorName(), "0");
    EXPECT_EQ(probe.code(), 0);
    probe = SignalProbe();
}

// The same promises on every kind of bearer.
class AttachmentBearer : public ::testing::TestWithParam<ZoRef<ZoTypeRef> (*)()> {
protected:
    void SetUp() override
    {
        bearer_ = GetParam()();
        probe_ = SignalProbe();
    }
    SignalProbe probe_;
    ZoRef<ZoTypeRef> bearer_;
    ZoStringRef key_ = ZOSTR("key"), other_ = ZOSTR("other");
    ZoStringRef one_ = ZOSTR("one"), two_ = ZOSTR("two");
};

}  // namespace

TEST_P(AttachmentBearer, keepsOneValueInOneModeForEachKey)
{
    LuAttachmentMode mode = 7;
    EXPECT_EQ(LuGetAttachment(bearer_.get(), key_, &mode), nullptr);
    LuSetAttachment(bearer_.get(), key_, one_, kLuAttachmentMode_ShouldPropagate);
    EXPECT_EQ(LuGetAttachment(bearer_.get(), key_, &mode), one_);
    EXPECT_EQ(mode, 1u);
    LuSetAttachment(bearer_.get(), key_, two_, kLuAttachmentMode_ShouldNotPropagate);
    EXPECT_EQ(LuGetAttachment(bearer_.get(), key_, &mode), two_);
    EXPECT_EQ(mode, 0u);
    EXPECT_EQ(countOf(bearer_, 0), 1);
    EXPECT_EQ(countOf(bearer_, 1), 0);
    LuSetAttachment(bearer_.get(), other_, one_, kLuAttachmentMode_ShouldPropagate);
    LuSetAttachment(bearer_.get(), key_, nullptr, kLuAttachmentMode_ShouldNotPropagate);
    EXPECT_EQ(LuGetAttachment(bearer_.get(), key_, nullptr), nullptr);
    LuRemoveAttachment(bearer_.get(), other_);
    EXPECT_EQ(countOf(bearer_, 0) + countOf(bearer_, 1), 0);
    LuSetAttachment(bearer_.get(), key_, one_, 0);
    LuSetAttachment(bearer_.get(), other_, one_, 1);
    LuRemoveAllAttachments(bearer_.get());
    EXPECT_EQ(countOf(bearer_, 0) + countOf(bearer_, 1), 0);
    EXPECT_EQ(probe_.count(), 0u);
}

TEST_P(AttachmentBearer, signalsAndRefusesAbsentKeysAndUnknownModes)
{
    LuSetAttachment(bearer_.get(), key_, one_, 0);
    LuSetAttachment(bearer_.get(), nullptr, one_, 2);
    expectSignal(probe_, "NULL key");
    LuSetAttachment(bearer_.get(), key_, two_, 2);
    expectSignal(probe_, "attachmentMode out of range");
    EXPECT_EQ(LuGetAttachment(nullptr, nullptr, nullptr), nullptr);
    expectSignal(probe_, "NULL key");
    LuRemoveAttachment(bearer_.get(), nullptr);
    expectSignal(probe_, "NULL key");
    EXPECT_EQ(LuCopyDictionaryOfAttachments(nullptr, bearer_.get(), 2), nullptr);
    expectSignal(probe_, "attachmentMode out of range");
    EXPECT_EQ(LuGetAttachment(bearer_.get(), key_, nullptr), one_);

    // All pairs at once are not tested on the way, and change nothing in a mode that there is not.
    const auto pairs = dictionary({{key_, two_}});
    LuSetAttachments(bearer_.get(), pairs.get(), 2);
    EXPECT_EQ(LuGetAttachment(bearer_.get(), key_, nullptr), one_);
    LuSetAttachments(bearer_.get(), pairs.get(), 1);
    EXPECT_EQ(LuGetAttachment(bearer_.get(), key_, nullptr), two_);
    EXPECT_EQ(probe_.count(), 0u);
}

TEST_P(AttachmentBearer, propagatesOneModeToBearersOfEveryKind)
{
    LuSetAttachment(bearer_.get(), key_, one_, kLuAttachmentMode_ShouldPropagate);
    LuSetAttachment(bearer_.get(), other_, one_, kLuAttachmentMode_ShouldNotPropagate);
    for (auto make : {blockBuffer, pixelBuffer}) {
        const ZoRef<ZoTypeRef> destination = make();
        LuSetAttachment(destination.get(), ZOSTR("own"), two_, kLuAttachmentMode_ShouldNotPropagate);
        LuPropagateAttachments(bearer_.get(), destination.get());
        LuAttachmentMode mode = 0;
        EXPECT_EQ(LuGetAttachment(destination.get(), key_, &mode), one_);
        EXPECT_EQ(mode, 1u);
        EXPECT_EQ(LuGetAttachment(destination.get(), other_, nullptr), nullptr);
        EXPECT_EQ(LuGetAttachment(destination.get(), ZOSTR("own"), nullptr), two_);
    }
    LuPropagateAttachments(bearer_.get(), nullptr);
    LuPropagateAttachments(nullptr, bearer_.get());
}

INSTANTIATE_TEST_SUITE_P(Kinds, AttachmentBearer, ::testing::Values(blockBuffer, pixelBuffer), [](const auto& kind) {
    return std::string(kind.param == blockBuffer ? "blockBuffer" : "pixelBuffer");
});

TEST(AttachmentRegistry, leavesObjectsAloneThatAreNoBearers)
{
    SignalProbe probe;
    const ZoRef<ZoDataRef> data = zoAdopt(ZoDataCreate(nullptr, nullptr, 0));
    LuSetAttachment(data.get(), ZOSTR("key"), ZOSTR("value"), 0);
    LuSetAttachments(data.get(), nullptr, 0);
    LuRemoveAllAttachments(data.get());
    LuPropagateAttachments(data.get(), data.get());
    EXPECT_EQ(LuGetAttachment(data.get(), ZOSTR("key"), nullptr), nullptr);
    EXPECT_EQ(probe.count(), 0u);
}

TEST(AttachmentRegistry, entersATypeOnceAndWhole)
{
    const TavAttachmentBearerCallbacks* first =
        TavRuntimeGetAttachmentBearerCallbacksWithTypeID(YxPixelBufferGetTypeID());
    ASSERT_NE(first, nullptr);
    TavAttachmentBearerCallbacks table = *first;
    SignalProbe probe;
    EXPECT_EQ(TavRuntimeRegisterAttachmentBearerWithTypeID(&table, YxPixelBufferGetTypeID()), 0);
    expectSignal(probe, "typeID already registered");
    EXPECT_EQ(TavRuntimeGetAttachmentBearerCallbacksWithTypeID(YxPixelBufferGetTypeID()), first);
    table.version = 1;
    EXPECT_EQ(TavRuntimeRegisterAttachmentBearerWithTypeID(&table, ZoDataGetTypeID()), 0);
    expectSignal(probe, "unrecognised callbacks->version (expected 0)");
    table.version = 0;
    table.removeAttachment = nullptr;
    EXPECT_EQ(TavRuntimeRegisterAttachmentBearerWithTypeID(&table, ZoDataGetTypeID()), 0);
    expectSignal(probe, "missing callback");
    EXPECT_EQ(TavRuntimeGetAttachmentBearerCallbacksWithTypeID(ZoDataGetTypeID()), nullptr);
    TavRuntimeUnregisterAttachmentBearerWithTypeID(first, YxPixelBufferGetTypeID());
    expectSignal(probe, "TavRuntimeUnregisterAttachmentBearerWithTypeID() is a no-op");
}

TEST(AttachmentRegistry, isReadWhileOthersRegister)
{
    const TavAttachmentBearerCallbacks* table =
        TavRuntimeGetAttachmentBearerCallbacksWithTypeID(YxPixelBufferGetTypeID());
    constexpr ZoTypeID kFirstUnused = 1u << 20;
    std::vector<std::thread> threads;
    for (ZoTypeID t = 0; t < 4; ++t) {
        threads.emplace_back([=] {
            for (ZoTypeID i = 0; i < 50; ++i) {
                const ZoTypeID typeID = kFirstUnused + 4 * i + t;
                TavRuntimeRegisterAttachmentBearerWithTypeID(table, typeID);
                EXPECT_EQ(TavRuntimeGetAttachmentBearerCallbacksWithTypeID(typeID), table);
                EXPECT_EQ(TavRuntimeGetAttachmentBearerCallbacksWithTypeID(YxPixelBufferGetTypeID()), table);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
}
