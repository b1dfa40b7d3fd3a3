// Bytes of strings, and the local time.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <thread>
#include <vector>

#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Tests/Utilities/TavZoUtilities/Support.h"
#include "Utilities/TavZoUtilities_Calendar.h"
#include "Utilities/TavZoUtilities_Text.h"

using namespace collection_test;

namespace {

TEST(TextBytes, comeFromTheStringOrABuffer)
{
    char* toFree = reinterpret_cast<char*>(1);
    const ZoStringRef ascii = ZOSTR("plain");
    EXPECT_STREQ(TavZoStringGetCStringPtrAndBufferToFree(ascii, kZoStringEncodingASCII, &toFree), "plain");
    EXPECT_EQ(toFree, nullptr);
    EXPECT_EQ(TavZoStringGetCStringPtrAndBufferToFree(nullptr, kZoStringEncodingASCII, &toFree), nullptr);

    const auto greek = str("\xCE\xB1\xCE\xB2\xCE\xB3");
    ASSERT_EQ(ZoStringGetCStringPtr(greek.get(), kZoStringEncodingUTF8), nullptr) << "not what this test is about";
    EXPECT_STREQ(TavZoStringGetCStringPtrAndBufferToFree(greek.get(), kZoStringEncodingUTF8, &toFree),
                 "\xCE\xB1\xCE\xB2\xCE\xB3");
    EXPECT_NE(toFree, nullptr);
    std::free(toFree);
    EXPECT_EQ(TavZoStringGetCStringPtrAndBufferToFree(greek.get(), kZoStringEncodingUTF8, nullptr), nullptr);
    EXPECT_EQ(TavZoStringGetCStringPtrAndBufferToFree(greek.get(), kZoStringEncodingASCII, &toFree), nullptr);
    EXPECT_EQ(toFree, nullptr);

    char buffer[7];
    const auto inBuffer = [&](ZoStringRef string, size_t size) {
        return TavZoStringGetCStringPtrMaybeUsingPreallocatedBuffer(string, size ? buffer : nullptr, size,
                                                                    kZoStringEncodingUTF8);
    };
    EXPECT_STREQ(inBuffer(greek.get(), 7), "\xCE\xB1\xCE\xB2\xCE\xB3");
    EXPECT_EQ(inBuffer(greek.get(), 6), nullptr);
    EXPECT_EQ(inBuffer(greek.get(), 0), nullptr);
    EXPECT_STREQ(inBuffer(ascii, 0), "plain");
    EXPECT_EQ(inBuffer(nullptr, 7), nullptr);
}

std::string localTime(ZoAbsoluteTime at)
{
    char buffer[32];
    EXPECT_EQ(TavZoGetLocalTimeStringOfAbsoluteTime(at, buffer, sizeof buffer), buffer);
    return buffer;
}

/// What the C library says of the same second.
std::string judged(ZoAbsoluteTime second, const char* milliseconds)
{
    const auto posix = static_cast<time_t>(second + kZoAbsoluteTimeIntervalSince1970);
    tm broken;
    char buffer[32];
    localtime_r(&posix, &broken);
    strftime(buffer, sizeof buffer, "%H:%M:%S", &broken);
    return std::string(buffer) + milliseconds;
}

TEST(LocalTime, agreesWithTheCLibrary)
{
    for (double day = 0; day < 366; day += 13.37) {
        const double second = std::floor(700000000 + day * 86400);
        ASSERT_EQ(localTime(second + 0.25), judged(second, ".250"));
        ASSERT_EQ(localTime(second + 0.0004), judged(second, ".000"));
        ASSERT_EQ(localTime(second + 0.9994), judged(second, ".999"));
        ASSERT_EQ(localTime(second + 0.9996), judged(second + 1, ".000"));
    }
    char cut[6];
    TavZoGetLocalTimeString(cut, sizeof cut);
    EXPECT_EQ(std::string(cut).size(), 5u);
}

// The calendar is shared and knows no threads; its mutex must be held around it.
TEST(LocalTime, mayBeAskedFromManyThreads)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int j = 0; j < 300; ++j) {
                const double second = 700000000 + 7777.0 * (i * 1000 + j);
                ASSERT_EQ(localTime(second), judged(second, ".000"));
            }
        });
    for (std::thread& thread : threads) thread.join();
}

}  // namespace
