#include "id3tag/ConsoleLog.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/time.h>

#include "LogCapture.h"

static const timeval* gFixedTime;

extern "C" int __real_gettimeofday(timeval* now, void* zone);
extern "C" int __wrap_gettimeofday(timeval* now, void* zone)
{
    if (!gFixedTime) return __real_gettimeofday(now, zone);
    *now = *gFixedTime;
    return 0;
}

namespace {

TEST(ConsoleLog, passesLevelsUpToTheThreshold)
{
    LogCapture log;
    const auto passing = [&log] {
        for (int32_t level = 0; level <= 3; level++) OutputMessage(level, "%d%s", level, "!");
        return log.take();
    };
    EXPECT_EQ(passing(), "0!\n");
    OutputInit(0);
    EXPECT_EQ(passing(), "0!\n1!\n");
    EXPECT_FALSE(OutputIsDebug());
    OutputAllowDebug();
    EXPECT_TRUE(OutputIsDebug());
    EXPECT_EQ(passing(), "0!\n1!\n2!\n");
    OutputBeQuiet();
    EXPECT_FALSE(OutputIsDebug());
    EXPECT_EQ(passing(), "0!\n");
}

TEST(ConsoleLog, stampsLinesWithLocalTime)
{
    setenv("TZ", "XYZ-2", 1);
    tzset();
    const timeval fixed = {.tv_sec = 1706943907, .tv_usec = 42999};  // 3 February 2024 07:05:07 UTC
    LogCapture log;
    OutputInit(1);
    gFixedTime = &fixed;
    OutputMessage(0, "hello");
    gFixedTime = nullptr;
    OutputInit(0);
    EXPECT_EQ(log.take(), "Feb  3 2024 09:05:07.042: hello\n");
}

TEST(ConsoleLog, fallsBackToStandardOutputAndLeavesItOpen)
{
    OutputInit(0);
    OutputBeQuiet();
    testing::internal::CaptureStdout();
    OutputSetFile("/nowhere/log");
    OutputMessage(0, "one");
    OutputClose();
    OutputMessage(0, "two");
    OutputClose();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Cannot open /nowhere/log - using stdout\none\ntwo\n");
}

TEST(ConsoleLog, appendsToItsFile)
{
    char path[] = "/tmp/id3tag-append-XXXXXX";
    close(mkstemp(path));
    OutputInit(0);
    for (int turn = 0; turn < 2; turn++) {
        OutputSetFile(path);
        OutputMessage(0, "line");
        OutputClose();
    }
    struct stat status = {};
    ASSERT_EQ(stat(path, &status), 0);
    EXPECT_EQ(status.st_size, 10);
    unlink(path);
}

TEST(ConsoleLog, countsMillisecondsSinceBoot)
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    const uint64_t before = static_cast<uint64_t>(now.tv_sec) * 1000 + static_cast<uint64_t>(now.tv_nsec) / 1000000;
    const uint64_t time = GetCurrentTime();
    EXPECT_GE(time, before);
    EXPECT_LT(time, before + 60000);
}

}  // namespace
