// Errors, UUIDs and the log line.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "Foundation/Values/ZoError.h"
#include "Foundation/Values/ZoUUID.h"
#include "Tests/Support/Objects.h"

namespace {

TEST(Error, keepsWhatItWasMadeFrom)
{
    const auto info = luvia_test::dictionary({{kZoErrorLocalizedFailureReasonKey, ZOSTR("the disk is full")}});
    auto error = zoAdopt(ZoErrorCreate(nullptr, ZOSTR("files"), -36, info.get()));
    auto same = zoAdopt(ZoErrorCreate(nullptr, ZOSTR("files"), -36, info.get()));
    EXPECT_TRUE(ZoEqual(error.get(), same.get()));
    EXPECT_EQ(ZoHash(error.get()), ZoHash(same.get()));
    ZoDictionarySetValue(info.get(), kZoErrorLocalizedFailureReasonKey, kZoNull);
    EXPECT_EQ(ZoErrorGetCode(error.get()), -36);
    EXPECT_TRUE(ZoEqual(ZoErrorGetDomain(error.get()), ZOSTR("files")));
    EXPECT_TRUE(ZoEqual(zoAdopt(ZoErrorCopyFailureReason(error.get())).get(), ZOSTR("the disk is full")));
    EXPECT_EQ(ZoDictionaryGetCount(zoAdopt(ZoErrorCopyUserInfo(error.get())).get()), 1);

    auto odd = zoAdopt(ZoErrorCreate(nullptr, ZOSTR("files"), -36, info.get()));
    EXPECT_EQ(ZoErrorCopyFailureReason(odd.get()), nullptr) << "not a string";
    EXPECT_FALSE(ZoEqual(error.get(), odd.get()));
    auto bare = zoAdopt(ZoErrorCreate(nullptr, ZOSTR("files"), 1, nullptr));
    EXPECT_EQ(ZoErrorCopyFailureReason(bare.get()), nullptr);
    EXPECT_EQ(ZoDictionaryGetCount(zoAdopt(ZoErrorCopyUserInfo(bare.get())).get()), 0);
}

TEST(UUID, readsAndWritesItsText)
{
    const ZoStringRef upper = ZOSTR("68753A44-4D6F-1226-9C60-0050E4C00067");
    const uint8_t expected[16] = {0x68, 0x75, 0x3A, 0x44, 0x4D, 0x6F, 0x12, 0x26,
                                  0x9C, 0x60, 0x00, 0x50, 0xE4, 0xC0, 0x00, 0x67};
    for (ZoStringRef text : {upper, ZOSTR("68753a44-4d6f-1226-9c60-0050e4c00067")}) {
        auto uuid = zoAdopt(ZoUUIDCreateFromString(nullptr, text));
        const ZoUUIDBytes bytes = ZoUUIDGetUUIDBytes(uuid.get());
        EXPECT_EQ(std::memcmp(&bytes, expected, 16), 0);
        EXPECT_TRUE(ZoEqual(zoAdopt(ZoUUIDCreateString(nullptr, uuid.get())).get(), upper));
        EXPECT_TRUE(ZoEqual(uuid.get(), zoAdopt(ZoUUIDCreateFromUUIDBytes(nullptr, bytes)).get()));
    }
    for (ZoStringRef bad :
         {ZOSTR(""), ZOSTR("68753A44-4D6F-1226-9C60-0050E4C0006"), ZOSTR("68753A444D6F12269C600050E4C00067"),
          ZOSTR("68753A44-4D6F-1226-9C60-0050E4C00067 "), ZOSTR("68753A44-4D6F-1226-9C60-0050E4C0006G"),
          ZOSTR("68753A44-4D6F-1226-9C60+0050E4C00067")})
        EXPECT_EQ(ZoUUIDCreateFromString(nullptr, bad), nullptr);
}

TEST(UUID, isRandomOfVersion4)
{
    auto a = zoAdopt(ZoUUIDCreate(nullptr)), b = zoAdopt(ZoUUIDCreate(nullptr));
    EXPECT_FALSE(ZoEqual(a.get(), b.get()));
    const ZoUUIDBytes bytes = ZoUUIDGetUUIDBytes(a.get());
    EXPECT_EQ(bytes.byte6 >> 4, 4);
    EXPECT_EQ(bytes.byte8 >> 6, 2);
}

TEST(Log, writesOneLine)
{
    const struct {
        const char* name;
        void (*log)();
        std::string text;
    } rows[] = {
        {"plain", [] { ZoLog(3, ZOSTR("%s and %d"), "text", 5); }, "text and 5"},
        {"its own line end", [] { ZoLog(3, ZOSTR("done\n")); }, "done"},
        {"object", [] { ZoLog(3, ZOSTR("<%@>"), static_cast<ZoTypeRef>(kZoBooleanTrue)); }, "<true>"},
        {"long", [] { ZoLog(3, ZOSTR("%05000d"), 7); }, std::string(4999, '0') + "7"},
    };
    for (const auto& row : rows) {
        testing::internal::CaptureStderr();
        row.log();
        const std::string line = testing::internal::GetCapturedStderr();
        const std::string head = std::string(program_invocation_short_name) + "[" + std::to_string(getpid()) + "]: ";
        EXPECT_EQ(line, head + row.text + "\n") << row.name;
    }
}

}  // namespace
