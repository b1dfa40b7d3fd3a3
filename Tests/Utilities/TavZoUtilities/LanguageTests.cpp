// Text by language code, and codes as strings.

#include <thread>

#include "Foundation/Objects/ZoAllocator.h"
#include "Tests/Utilities/TavZoUtilities/Support.h"
#include "Utilities/TavZoUtilities_Codes.h"
#include "Utilities/TavZoUtilities_Language.h"

using namespace collection_test;
using namespace std::string_view_literals;

namespace {

/// The text and the encoding's number, or the status and what was signalled.
std::string decoded(uint16_t langCode, std::string_view bytes)
{
    takeSignals();
    ZoRef<ZoStringRef> string;
    ZoStringEncoding encoding = 0xABCD;
    const OSStatus status = TavZoStringCreateWithBytesAndMovieLangCode(
        nullptr, reinterpret_cast<const uint8_t*>(bytes.data()), static_cast<ZoIndex>(bytes.size()), langCode,
        &encoding, string.outParam());
    return status == 0 ? utf8(string.get()) + " " + std::to_string(encoding) : takeSignals();
}

std::string encoded(uint16_t langCode, ZoStringRef string, bool terminated)
{
    size_t size = 99;
    uint8_t* bytes = TavCreateBytesFromZoStringAndMovieLangCode(nullptr, string, langCode, terminated, &size);
    const std::string out = bytes ? std::string(bytes, bytes + size) : "(none)";
    ZoAllocatorDeallocate(nullptr, bytes);
    return out;
}

struct LanguageRow {
    uint16_t code;
    std::string_view bytes;
    const char* expected;
};

// The bytes are iconv(1)'s and those of Python's codecs.
const LanguageRow kLanguages[] = {
    {0, "\xA5\x80", "•Ä 0"},
    {11, "\x93\xFA\x96\x7B", "日本 1"},
    {15, "\xDEingvellir \xA0\xE0", "Þingvellir Ýý 37"},
    {17, "\xDC\xDE", "İŞ 35"},
    {18, "\xC8\xE8 \xC6\xE6 \xD0\xF0 \xA9\xB9 \xAE\xBE", "Čč Ćć Đđ Šš Žž 36"},
    {19, "\xA4\xA4\xA4\xE5", "中文 2"},
    {22, "\xE4\xB7\xC2", "ไทย 21"},
    {23, "\xC7\xD1\xB1\xB9", "한국 3"},
    {32, "\x90\xF3\xF1\xFC", "Русь 7"},
    {33, "\xD6\xD0\xCE\xC4", "中文 25"},
    {37, "\xAE\xBE \xAF\xBF \xDE\xDF", "Ăă Șș Țț 38"},
    {148, "\xD8\xDC", "Ίή 6"},
    {151, "\x8E", "é 0"},
    {1024, "\xFF\xFE\x41\x00"sv, "A 256"},
    {1024, "\xFE\xFF\x00\x41"sv, "A 256"},
    {1024, "A", "A 134217984"},
    {0x9000, "\xC3\xA9", "é 134217984"},
    {kTavMovieLangCode_Unspecified, "\x8E", "é 0"},
};

TEST(MovieLanguage, decidesTheEncodingBothWays)
{
    for (const auto& [code, bytes, expected] : kLanguages) {
        EXPECT_EQ(decoded(code, bytes), expected) << code;
        if (code == 1024) continue;
        const std::string text(expected, std::string_view(expected).rfind(' '));
        const auto string = zoAdopt(ZoStringCreateWithCString(nullptr, text.c_str(), kZoStringEncodingUTF8));
        EXPECT_EQ(encoded(code, string.get(), false), bytes) << code;
        EXPECT_EQ(encoded(code, string.get(), true), std::string(bytes) + '\0') << code;
    }
    EXPECT_EQ(decoded(152, "A"), "-12993 Out-of-range langCode");
    EXPECT_EQ(decoded(10, "\xE0"), "-12994 Invalid text") << "an encoding that is not offered";
    EXPECT_EQ(decoded(1024, "\xFF"), "-12994 Invalid text");
    EXPECT_EQ(decoded(0, {}), "-12990 NULL bytes");
    const auto accented = zoAdopt(ZoStringCreateWithCString(nullptr, "\xC3\xA9", kZoStringEncodingUTF8));
    EXPECT_EQ(encoded(152, accented.get(), false), "\x8E");
    EXPECT_EQ(encoded(32, accented.get(), false), "(none)") << "nothing is replaced";
    EXPECT_EQ(encoded(0, ZOSTR(""), false), "");
    size_t size = 0;
    uint8_t* wide = TavCreateBytesFromZoString(nullptr, ZOSTR("A"), kZoStringEncodingUTF32LE, true, &size);
    EXPECT_EQ(std::string(wide, wide + size), "A\0\0\0\0\0\0\0"sv);
    ZoAllocatorDeallocate(nullptr, wide);
}

TEST(Codes, areStringsMadeOnce)
{
    const OSType code = LU_FOURCC('a', 'v', 'c', '1');
    ZoStringRef first = nullptr;
    std::thread other([&] { first = TavGetZoStringForOSTypeValue(code); });
    const ZoStringRef second = TavGetZoStringForOSTypeValue(code);
    other.join();
    EXPECT_EQ(utf8(first), "avc1");
    EXPECT_EQ(first, second);
    EXPECT_EQ(utf8(TavGetZoStringFor3CCValue(0x41656E67)), "eng");
    EXPECT_EQ(TavGetZoStringForOSTypeValue(LU_FOURCC(0xA9, 'n', 'a', 'm')), nullptr);
    ASSERT_NE(TavGetZoStringForOSTypeValue(0), nullptr);
    EXPECT_EQ(ZoStringGetLength(TavGetZoStringForOSTypeValue(0)), 4);

    OSType back = 0;
    EXPECT_TRUE(TavZoStringGetOSTypeValue(first, &back));
    EXPECT_EQ(back, code);
    EXPECT_FALSE(TavZoStringGetOSTypeValue(ZOSTR("avc"), &back));
}

}  // namespace
