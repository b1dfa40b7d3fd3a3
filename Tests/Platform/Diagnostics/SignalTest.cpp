#include <gtest/gtest.h>
#include <sys/time.h>

#include <algorithm>
#include <regex>
#include <thread>

#include "Foundation/Collections/ZoArray.h"
#include "Platform/Ostra/OstraDebug.h"
#include "Tests/Platform/Diagnostics/DiagnosticsSupport.h"
#include "Tests/Support/SignalProbe.h"

namespace {

using luvia_test::LogDestination;
using luvia_test::SignalProbe;

OSStatus failHere() { return TAV_SIGNAL(kTavNoteError_UnknownName, "nobody knows it"); }
OSStatus passUp()
{
    TAV_TRY(failHere());
    return 0;
}

// What the call writes to standard error, without the time stamp.
template <typename Call>
std::string lineOf(Call call)
{
    LogDestination destination("stderr");
    testing::internal::CaptureStderr();
    call();
    return std::regex_replace(testing::internal::GetCapturedStderr(), std::regex(R"(^\[[\d:.]+\] )"), "");
}

TEST(Signal, isOneLineOneCountAndTheRecord)
{
    SignalProbe probe;
    OSStatus status = 0;
    const std::string line = lineOf([&] { status = passUp(); });
    EXPECT_EQ(status, kTavNoteError_UnknownName);
    EXPECT_EQ(probe.count(), 1u) << "passing up does not signal again";
    EXPECT_TRUE(
        std::regex_match(line, std::regex(R"(\(Tav\) failHere signalled err=-16682 \(kTavNoteError_UnknownName\) )"
                                          R"(\(nobody knows it\) at Tests/Platform/Diagnostics/SignalTest.cpp:\d+\n)")))
        << line;
    EXPECT_EQ(probe.message(), "nobody knows it");
    EXPECT_EQ(probe.errorName(), "kTavNoteError_UnknownName");
    // With logging off it counts all the same.
    luvia_test::setPreference(ZOSTR("tav_notes"), "off");
    EXPECT_EQ(failHere(), kTavNoteError_UnknownName);
    EXPECT_EQ(probe.count(), 2u);
}

TEST(Signal, showsWhatIsAbsentAsNothingAndReplacesAFormatThatDoesNotFit)
{
    const auto at3 = [](const char* format, bool isWhole, int32_t backtrace = 0) {
        return lineOf([=] {
            const auto text = [isWhole](const char* value) { return isWhole ? value : nullptr; };
            TavSignalErrorAt3(format, 0, -5, text("n"), text("m"), text("s"), text("f"), text("x.cpp"), 7, nullptr,
                              backtrace);
        });
    };
    EXPECT_EQ(at3(kTavSignalFormat, false), "(Tav) signalled err=-5 () () at :7\n");
    EXPECT_EQ(at3("%d%d%d%d%d%d%d%d", true), "s   f -5 n m x.cpp 7\n");
    EXPECT_EQ(at3(nullptr, true), "s   f -5 n m x.cpp 7\n");
    EXPECT_EQ(at3(kTavSignalFormat, true, 1).find("s f signalled err=-5 (n) (m) at x.cpp:7\n 1  0x"), 0u);
    EXPECT_EQ(at3("%d%d%d%d%d%d%d%d", true, 1).find("s f -5 n m x.cpp 7\n 1  0x"), 0u);
    EXPECT_EQ(lineOf([] { TavSignalErrorAt2("%s err %d %s %s in %s:%d", -6, "n", "m", "s", nullptr, "x.cpp", 8, 0); }),
              "s err -6 n m in x.cpp:8\n");
    EXPECT_EQ(lineOf([] { TavSignalErrorAt2("%n", -6, "n", nullptr, nullptr, nullptr, nullptr, 8, 0); }),
              "(Tav) -6 n   8\n");
    EXPECT_EQ(lineOf([] { TavSignalErrorAt(-7, nullptr, nullptr, nullptr, nullptr, nullptr, 9, 0); }),
              "(Tav) signalled err=-7\n");
    const std::string longMessage(3000, 'm');
    const std::string cut =
        lineOf([&] { TavSignalErrorAt(-7, "n", longMessage.c_str(), nullptr, "f", "x.cpp", 9, 0); });
    EXPECT_EQ(cut.find("f signalled err=-7 (n) (mmm"), 0u);
    EXPECT_EQ(cut.size(), 1024u);
}

TEST(Signal, recordsBeginningsOfNamesAndEndsOfPlaces)
{
    luvia_test::setPreference(ZOSTR("tav_notes"), "off");
    const std::string name(40, 'n'), message(200, 'm'), subsystem(40, 's');
    const std::string function = std::string(37, 'x') + std::string(63, 'f'),
                      file = std::string(10, 'y') + std::string(63, 'p');
    struct timeval before = {}, recorded = {};
    gettimeofday(&before, nullptr);
    TavSignalErrorAt3(kTavSignalFormat, 0, -9, name.c_str(), message.c_str(), subsystem.c_str(), function.c_str(),
                      file.c_str(), int64_t{1} << 40, nullptr, 0);
    OSStatus code = 0;
    int64_t line = 0;
    ZoRef<ZoStringRef> texts[5];
    EXPECT_EQ(TavCopyLastSignaledErrorInfo(&code, texts[0].outParam(), texts[1].outParam(), texts[2].outParam(),
                                           texts[3].outParam(), texts[4].outParam(), &line, &recorded),
              0);
    EXPECT_EQ(code, -9);
    EXPECT_EQ(line, int64_t{1} << 40);
    EXPECT_GE(recorded.tv_sec * 1000000 + recorded.tv_usec, before.tv_sec * 1000000 + before.tv_usec);
    const std::string expected[] = {std::string(31, 'n'), std::string(127, 'm'), std::string(31, 's'),
                                    std::string(63, 'f'), std::string(63, 'p')};
    for (int i = 0; i < 5; ++i) {
        const auto text = zoAdopt(ZoStringCreateWithCString(nullptr, expected[i].c_str(), kZoStringEncodingASCII));
        EXPECT_TRUE(ZoEqual(texts[i].get(), text.get())) << expected[i];
    }
    EXPECT_EQ(TavCopyLastSignaledErrorInfo(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
}

TEST(Signal, isCountedAndRecordedWholeFromManyThreads)
{
    luvia_test::setPreference(ZOSTR("tav_notes"), "off");
    constexpr int kThreads = 8, kFailures = 2000;
    SignalProbe probe;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([i] {
            const std::string text(30, static_cast<char>('a' + i));
            for (int n = 0; n < kFailures; ++n) {
                TavSignalErrorAt3(kTavSignalFormat, 0, -i, text.c_str(), text.c_str(), text.c_str(), text.c_str(),
                                  text.c_str(), i, nullptr, 0);
                OSStatus code = 0;
                ZoRef<ZoStringRef> name, message;
                TavCopyLastSignaledErrorInfo(&code, name.outParam(), message.outParam(), nullptr, nullptr, nullptr,
                                             nullptr, nullptr);
                ASSERT_TRUE(ZoEqual(name.get(), message.get())) << "parts of two failures";
            }
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(probe.count(), uint32_t{kThreads} * kFailures);
}

TEST(Assertions, reportAndGoOn)
{
    EXPECT_EQ(lineOf([] { TavDebugAssert("(Sub)", "a == b", "f", "why", "x.cpp", 3, -1); }),
              "(Sub) assert: \"a == b\" at f (x.cpp line 3) - why (err=-1)\n");
    EXPECT_EQ(lineOf([] { TavDebugAssert(nullptr, nullptr, nullptr, nullptr, nullptr, 3, -1); }), "(Tav) - (err=-1)\n");
    EXPECT_EQ(lineOf([] { TavDebugAssert2("%d", nullptr, "e", nullptr, nullptr, "x.cpp", 3, -1); }),
              "(Tav) assert: \"e\" at  (x.cpp:3) -  (err=-1)\n");
    EXPECT_EQ(lineOf([] { TavDebugAssert2(nullptr, "s", "e", "f", "m", "x.cpp", 3, -1); }),
              "s assert: \"e\" at f (x.cpp:3) - m (err=-1)\n");
    EXPECT_EQ(
        lineOf([] { TavDebugAssert3("%s|%s|%s|%s|%d|%s|%s|%d", 0, "s", "e", "f", "m", "x.cpp", 3, -1, nullptr); }),
        "s|e|f|x.cpp|3|m| |-1\n");
    luvia_test::takeSyslog();
    TavDebugAssertSyslog("s", "e", "f", "m", "x.cpp", 3, -1);
    TavDebugAssertSyslog2("nonsense %d", "s", "e", "f", nullptr, "x.cpp", 3, -1);
    const auto lines = luvia_test::takeSyslog();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], std::make_pair(3, std::string("s assert: \"e\" at f (x.cpp line 3) - m (err=-1)")));
    EXPECT_EQ(lines[1], std::make_pair(3, std::string("s assert: \"e\" at f (x.cpp:3) - (err=-1)")));
}

TEST(Backtraces, tellTheirFramesOutermostFirst)
{
    ZoRef<ZoArrayRef> addresses, symbols;
    const ZoIndex count = TavCopyBacktrace(nullptr, addresses.outParam(), symbols.outParam());
    ASSERT_GT(count, 2);
    EXPECT_EQ(ZoArrayGetCount(addresses.get()), count);
    EXPECT_EQ(ZoArrayGetCount(symbols.get()), count);
    for (ZoIndex i = 0; i < count; ++i) {
        const auto ending = zoAdopt(
            ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("    [%p]"), ZoArrayGetValueAtIndex(addresses.get(), i)));
        EXPECT_TRUE(ZoStringHasSuffix(static_cast<ZoStringRef>(ZoArrayGetValueAtIndex(symbols.get(), i)), ending.get()))
            << i;
    }
    const std::string logged = lineOf([] { TavLogBacktraceWithMsg("here"); });
    EXPECT_TRUE(std::regex_search(logged, std::regex("^here\n 1  0x[0-9a-f]+  .*\n 2   0x"))) << logged;
    char outermost[32];
    snprintf(outermost, sizeof(outermost), " 1  %p ", ZoArrayGetValueAtIndex(addresses.get(), count - 1));
    EXPECT_NE(logged.find(outermost), std::string::npos) << logged;
    EXPECT_TRUE(std::regex_search(lineOf([] { TavLogBacktrace(); }), std::regex("^ 1  0x")));

    EXPECT_EQ(lineOf([] { TavLogBacktraceFrames(nullptr, "m"); }), "m\nTavLogBacktrace passed NULL backtrace\n");
    const std::string frames = lineOf([&] { TavLogBacktraceFrames(addresses.get(), "m"); });
    EXPECT_EQ(std::count(frames.begin(), frames.end(), '\n'), count + 2);
    const std::vector<const void*> many(60, ZoArrayGetValueAtIndex(addresses.get(), 0));
    const auto tooMany = zoAdopt(ZoArrayCreate(nullptr, const_cast<const void**>(many.data()), 60, nullptr));
    const std::string cut = lineOf([&] { TavLogBacktraceFrames(tooMany.get(), nullptr); });
    EXPECT_EQ(cut.find("Too many frames\n"), 0u);
    EXPECT_NE(cut.find("TavBacktrace Truncated"), std::string::npos);
}

}  // namespace
