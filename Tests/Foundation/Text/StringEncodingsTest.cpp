#include <gtest/gtest.h>
#include <unicode/uchar.h>
#include <unicode/ucnv.h>

#include <memory>

#include "Foundation/Dates/ZoLocale.h"
#include "Tests/Foundation/Text/TextSupport.h"
#include "Tests/Support/SeededRandom.h"

using namespace luvia_test;
using namespace std::string_literals;

/// Numbers of the encodings, with names that IANA or ICU has for them.
struct Encoding {
    ZoStringEncoding number;
    const char* name;
};

// All that are built in; of the others one of each kind: a byte a character, several bytes, escapes between states.
static const Encoding kEncodings[] = {{0x0600, "US-ASCII"},     {0x0201, "latin1"},       {0x08000100, "utf8"},
                                      {0x10000100, "UTF-16BE"}, {0x14000100, "UTF-16LE"}, {0x18000100, "UTF-32BE"},
                                      {0x1C000100, "UTF-32LE"}, {0x0000, "x-mac-roman"},  {0x0920, "eucjis"},
                                      {0x0820, "csISO2022JP"}};

using Converter = std::unique_ptr<UConverter, decltype(&ucnv_close)>;

static Converter openConverter(const char* name)
{
    UErrorCode error = U_ZERO_ERROR;
    Converter converter(ucnv_open(name, &error), ucnv_close);
    EXPECT_TRUE(U_SUCCESS(error)) << name;
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    return converter;
}

/// ICU's bytes for `text`, or "(none)".
static std::string encodedByICU(UConverter* converter, std::u16string_view text)
{
    char buffer[64];
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length =
        ucnv_fromUChars(converter, buffer, sizeof buffer, text.data(), static_cast<int32_t>(text.size()), &error);
    return U_FAILURE(error) ? "(none)" : std::string(buffer, static_cast<size_t>(length));
}

static std::string encoded(ZoStringRef string, ZoStringEncoding encoding)
{
    uint8_t buffer[64];
    ZoIndex used = 0;
    const ZoIndex length = ZoStringGetLength(string);
    if (ZoStringGetBytes(string, {0, length}, encoding, 0, false, buffer, sizeof buffer, &used) != length)
        return "(none)";
    return std::string(buffer, buffer + used);
}

static std::u16string decodedByICU(UConverter* converter, const std::string& bytes)
{
    char16_t units[64];
    UErrorCode error = U_ZERO_ERROR;
    const int32_t length =
        ucnv_toUChars(converter, units, 64, bytes.data(), static_cast<int32_t>(bytes.size()), &error);
    return U_FAILURE(error) ? u"(none)" : std::u16string(units, static_cast<size_t>(length));
}

static std::u16string decoded(const std::string& bytes, ZoStringEncoding encoding, bool isExternal = false)
{
    const auto string = zoAdopt(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(bytes.data()),
                                                        static_cast<ZoIndex>(bytes.size()), encoding, isExternal));
    return string ? toUTF16(string.get()) : u"(none)";
}

static std::u16string utf16Of(uint32_t character)
{
    if (character < 0x10000) return std::u16string(1, static_cast<char16_t>(character));
    return {static_cast<char16_t>(0xD7C0 + (character >> 10)), static_cast<char16_t>(0xDC00 | (character & 0x3FF))};
}

class EveryEncoding : public testing::TestWithParam<Encoding> {};
INSTANTIATE_TEST_SUITE_P(Encodings, EveryEncoding, testing::ValuesIn(kEncodings), [](const auto& row) {
    char name[16];
    snprintf(name, sizeof name, "x%08X", row.param.number);
    return std::string(name);
});

TEST_P(EveryEncoding, agreesWithICUOnCharacters)
{
    const Converter converter = openConverter(GetParam().name);
    ASSERT_TRUE(converter);
    int there = 0;
    for (uint32_t character = 0; character < 0x10FFFF; character += character < 0x3200    ? 1
                                                                    : character < 0x10000 ? 37
                                                                                          : 4999) {
        // ICU leaves such characters out without saying so.
        if (u_hasBinaryProperty(static_cast<UChar32>(character), UCHAR_DEFAULT_IGNORABLE_CODE_POINT)) continue;
        const std::u16string units = utf16Of(character);
        const std::string expected = encodedByICU(converter.get(), units);
        ASSERT_EQ(encoded(fromUTF16(units).get(), GetParam().number), expected) << std::hex << character;
        if (expected == "(none)") continue;
        ++there;
        ASSERT_EQ(decoded(expected, GetParam().number), decodedByICU(converter.get(), expected)) << character;
        ASSERT_LE(static_cast<ZoIndex>(expected.size()),
                  ZoStringGetMaximumSizeForEncoding(static_cast<ZoIndex>(units.size()), GetParam().number));
    }
    EXPECT_GE(there, 96);
}

TEST_P(EveryEncoding, agreesWithICUOnArbitraryBytes)
{
    const Converter converter = openConverter(GetParam().name);
    SeededRandom random;
    for (int round = 0; round < 4000; ++round) {
        std::string bytes(random.below(6), '\0');
        for (char& byte : bytes) byte = static_cast<char>(random.below(3) ? random() : 0xC0 | random());
        ASSERT_EQ(decoded(bytes, GetParam().number), decodedByICU(converter.get(), bytes))
            << testing::PrintToString(bytes);
    }
}

TEST_P(EveryEncoding, putsTheLossByteAndStopsWhereRoomEnds)
{
    const ZoStringEncoding encoding = GetParam().number;
    const auto text = fromUTF16(
        u"ab\xD800"
        u"cd\u4e2d\u0416\u00e9\u20acx");  // a lone surrogate has no bytes anywhere
    const ZoIndex length = ZoStringGetLength(text.get());
    ZoIndex whole = 0, used = 0;
    EXPECT_EQ(ZoStringGetBytes(text.get(), {0, length}, encoding, 0, false, nullptr, 0, &used), 2);
    ASSERT_EQ(ZoStringGetBytes(text.get(), {0, length}, encoding, '?', false, nullptr, 0, &whole), length);
    ZoIndex before = 0;
    for (ZoIndex room = 0; room <= whole; ++room) {
        std::vector<uint8_t> bytes(static_cast<size_t>(room) + 1);
        const ZoIndex converted =
            ZoStringGetBytes(text.get(), {0, length}, encoding, '?', false, bytes.data(), room, &used);
        EXPECT_LE(used, room);
        EXPECT_GE(converted, before);
        before = converted;
        const auto back = zoAdopt(ZoStringCreateWithBytes(nullptr, bytes.data(), used, encoding, false));
        ASSERT_TRUE(back) << room;
        EXPECT_EQ(ZoStringGetLength(back.get()), converted);
    }
    EXPECT_EQ(before, length);
}

TEST(Encodings, unknownOnesGiveNothing)
{
    for (ZoStringEncoding encoding : {0x020Cu, 0x0210u, 0x0BFFu, 0xFFFFu, 0xFFFFFFFFu}) {
        EXPECT_FALSE(zoAdopt(ZoStringCreateWithCString(nullptr, "a", encoding))) << std::hex << encoding;
        EXPECT_EQ(ZoStringGetMaximumSizeForEncoding(1, encoding), kZoNotFound);
        char buffer[10];
        EXPECT_FALSE(ZoStringGetCString(ZOSTR("a"), buffer, 10, encoding));
    }
    EXPECT_EQ(ZoStringGetMaximumSizeForEncoding(INTPTR_MAX, kZoStringEncodingUTF8), kZoNotFound);
}

TEST(Encodings, utf8IsTheShortestAndOfCharactersOnly)
{
    for (const char* malformed :
         {"\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF0\x80\x80\x80",
          "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80"})
        EXPECT_FALSE(fromUTF8(malformed)) << testing::PrintToString(malformed);
    EXPECT_EQ(toUTF16(fromUTF8("\xE0\xA0\x80\xED\x9F\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF").get()),
              u"\u0800\uD7FF\U00010000\U0010FFFF");
}

TEST(Encodings, marksDecideTheOrderOfExternalUnits)
{
    const struct {
        std::string bytes;
        ZoStringEncoding encoding;
        bool isExternal;
        std::u16string text;
    } rows[] = {
        {"\xFE\xFF\0a"s, 0x0100, true, u"a"},
        {"\xFF\xFE\x61\0"s, 0x0100, true, u"a"},
        {"\0a"s, 0x0100, true, u"a"},
        {"a\0"s, 0x0100, false, u"a"},
        {"\xFF\xFE"s, 0x0100, false, u"\uFEFF"},
        {"\xFE\xFF\0a"s, 0x10000100, true, u"\uFEFFa"},
        {"\xEF\xBB\xBFz"s, 0x08000100, true, u"z"},
        {"\xEF\xBB\xBFz"s, 0x08000100, false, u"\uFEFFz"},
        {"\0\0\xFE\xFF\0\1\xF6\0"s, 0x0C000100, true, u"\U0001F600"},
        {"\xFF\xFE\0\0a\0\0\0"s, 0x0C000100, true, u"a"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(decoded(row.bytes, row.encoding, row.isExternal), row.text) << testing::PrintToString(row.bytes);
}

TEST(Cases, lowercaseFollowsTheLocale)
{
    const struct {
        const char *text, *locale, *result;
    } rows[] = {
        {"ABC xyz", nullptr, "abc xyz"},
        {"TITLE", "tr", "t\u0131tle"},
        {"TITLE", "en", "title"},
        {"\u0130", nullptr, "i\u0307"},
        {"\u00c9T\u00c9 \u03a3\u03a3", nullptr, "\u00e9t\u00e9 \u03c3\u03c2"},
        {"\U00010400", nullptr, "\U00010428"},
        {"", "tr", ""},
    };
    for (const auto& row : rows) {
        const auto string = mutableFrom(fromUTF8(row.text).get());
        const auto locale = row.locale ? zoAdopt(ZoLocaleCreate(nullptr, fromUTF8(row.locale).get())) : nullptr;
        ZoStringLowercase(string.get(), locale.get());
        EXPECT_EQ(toUTF8(string.get()), row.result);
    }
}
