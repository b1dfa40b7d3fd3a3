#include "Utilities/TavAssetAnalysisSupport.h"

#include <gtest/gtest.h>

#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SignalProbe.h"

using namespace luvia_test;

namespace {

using Reporter = ZoRef<TavAssetAnalysisReporterRef>;
using Message = ZoRef<ZoMutableDictionaryRef>;

Reporter makeReporter()
{
    Reporter reporter;
    TavAssetAnalysisReporterCreate(nullptr, reporter.outParam());
    return reporter;
}

Message message(ZoStringRef text, int trackID = 0)
{
    Message out = dictionary({{kTavAssetAnalysisKey_AnalysisType, number(LU_FOURCC('a', 't', 'o', 'm')).get()}});
    if (trackID != 0) ZoDictionarySetValue(out.get(), kTavAssetAnalysisMovieMessageKey_TrackID, number(trackID).get());
    if (text) ZoDictionarySetValue(out.get(), kTavAssetAnalysisKey_DiagnosticInformation, text);
    return out;
}

ZoRef<ZoArrayRef> messagesOf(const Reporter& reporter)
{
    ZoRef<ZoArrayRef> out;
    TavAssetAnalysisReporterCopyMessages(reporter.get(), out.outParam());
    return out;
}
ZoDictionaryRef only(const ZoRef<ZoArrayRef>& messages)
{
    EXPECT_EQ(ZoArrayGetCount(messages.get()), 1);
    return static_cast<ZoDictionaryRef>(ZoArrayGetValueAtIndex(messages.get(), 0));
}
int64_t numberIn(ZoDictionaryRef dictionary, ZoStringRef key)
{
    int64_t value = -1;
    if (const void* number = ZoDictionaryGetValue(dictionary, key))
        ZoNumberGetValue(static_cast<ZoNumberRef>(number), kZoNumberSInt64Type, &value);
    return value;
}

TEST(AssetAnalysisReporter, refusesWhatIsNoMessage)
{
    const auto reporter = makeReporter();
    const Message bare = message(nullptr);
    const Message untyped = dictionary({{ZOSTR("a"), ZOSTR("a")}, {ZOSTR("b"), ZOSTR("b")}});
    struct Row {
        ZoDictionaryRef message;
        const char* text;
    };
    const Row rows[] = {{bare.get(), "Empty messageDict"},
                        {untyped.get(), "messageDict must contain kTavAssetAnalysisKey_AnalysisType"}};
    for (const Row& row : rows) {
        SignalProbe probe;
        EXPECT_EQ(TavAssetAnalysisReporterAddMessage(reporter.get(), row.message), -17751);
        EXPECT_EQ(TavAssetAnalysisReporterEditAndAppendMessage(reporter.get(), row.message, 1), -17751);
        EXPECT_EQ(TavAssetAnalysisReporterEditAndCombineMessage(reporter.get(), row.message), -17751);
        EXPECT_EQ(probe.message(), row.text);
        EXPECT_EQ(probe.subsystem(), "<<< TavAssetAnalysis >>>");
    }
    EXPECT_EQ(TavAssetAnalysisReporterAddMessage(nullptr, message(ZOSTR("text")).get()), -17751);
    EXPECT_EQ(TavAssetAnalysisReporterAddMessage(reporter.get(), nullptr), -17751);
    EXPECT_EQ(ZoArrayGetCount(messagesOf(reporter).get()), 0);
}

TEST(AssetAnalysisReporter, foldsMessagesIntoTheNewest)
{
    const auto reporter = makeReporter();
    ASSERT_EQ(TavAssetAnalysisReporterEditAndCombineMessage(reporter.get(), message(ZOSTR("B"), 1).get()), 0);
    const auto snapshot = messagesOf(reporter);
    ASSERT_EQ(TavAssetAnalysisReporterEditAndCombineMessage(reporter.get(), message(ZOSTR("A"), 2).get()), 0);
    ASSERT_EQ(TavAssetAnalysisReporterEditAndAppendMessage(reporter.get(), message(ZOSTR("x")).get(), 7), 0);
    const auto afterOne = messagesOf(reporter);
    ASSERT_EQ(TavAssetAnalysisReporterEditAndAppendMessage(reporter.get(), message(ZOSTR("y")).get(), 8), 0);

    const auto messages = messagesOf(reporter);
    const ZoDictionaryRef newest = only(messages);
    EXPECT_TRUE(ZoEqual(ZoDictionaryGetValue(newest, kTavAssetAnalysisKey_DiagnosticInformation), ZOSTR("AB")));
    EXPECT_EQ(numberIn(newest, kTavAssetAnalysisMovieMessageKey_TrackID), 2);
    EXPECT_EQ(numberIn(newest, kTavAssetAnalysisMovieMessageKey_MessageType), 8);
    const auto nestedIn = [](ZoDictionaryRef dictionary) {
        return ZoArrayGetCount(
            static_cast<ZoArrayRef>(ZoDictionaryGetValue(dictionary, kTavAssetAnalysisMovieMessageKey_AtomContainer)));
    };
    EXPECT_EQ(nestedIn(newest), 2);
    EXPECT_EQ(nestedIn(only(afterOne)), 1) << "what was given out does not change";
    EXPECT_TRUE(ZoEqual(ZoDictionaryGetValue(only(snapshot), kTavAssetAnalysisKey_DiagnosticInformation), ZOSTR("B")));
    EXPECT_EQ(textOf(ZoCopyDescription(reporter.get())), "TavAssetAnalysisReporter 1 messages");
}

// A step that could not be done whole is not done.
TEST(AssetAnalysisReporter, keepsTheNewestWhereMemoryRunsOut)
{
    sweepAllocationFailures([](FailingAllocator& allocator) {
        Reporter reporter;
        if (TavAssetAnalysisReporterCreate(allocator.get(), reporter.outParam()) != 0) return;
        if (TavAssetAnalysisReporterAddMessage(reporter.get(), message(ZOSTR("B")).get()) != 0) return;
        TavAssetAnalysisReporterEditAndAppendMessage(reporter.get(), message(ZOSTR("x")).get(), 7);
        TavAssetAnalysisReporterEditAndCombineMessage(reporter.get(), message(ZOSTR("A"), 2).get());
        allocator.failAt(0);
        const auto messages = messagesOf(reporter);
        const ZoDictionaryRef newest = only(messages);
        EXPECT_EQ(numberIn(newest, kTavAssetAnalysisMovieMessageKey_MessageType) == 7,
                  ZoDictionaryContainsKey(newest, kTavAssetAnalysisMovieMessageKey_AtomContainer));
        const bool combined = numberIn(newest, kTavAssetAnalysisMovieMessageKey_TrackID) == 2;
        EXPECT_TRUE(ZoEqual(ZoDictionaryGetValue(newest, kTavAssetAnalysisKey_DiagnosticInformation),
                            combined ? ZOSTR("AB") : ZOSTR("B")));
    });
}

}  // namespace
