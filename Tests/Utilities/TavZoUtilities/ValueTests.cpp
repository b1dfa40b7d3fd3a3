// Values read leniently, from any object and from preferences.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "Foundation/Services/ZoPreferences.h"
#include "Tests/Utilities/TavZoUtilities/Support.h"
#include "Utilities/TavZoUtilities_Preferences.h"

using namespace collection_test;

namespace {

// What each reader makes of a word; -1 stands for the default.
struct Word {
    const char* text;
    int number;
    double real;
    int boolean;
};

const Word kWords[] = {
    {"2", 2, 2, -1},     {"0", 0, 0, 0},       {"1", 1, 1, 1},
    {"-7", -7, -7, -1},  {"true", 1, -1, 1},   {"YES", 1, -1, 1},
    {"False", 0, -1, 0}, {"no", 0, -1, 0},     {"off", -1, -1, -1},
    {"", -1, -1, -1},    {"0.0", -1, 0, -1},   {"1.5", 1, 1.5, -1},
    {"00", -1, -1, -1},  {"yes!", -1, -1, -1}, {"99999999999", INT32_MAX, 99999999999.0, -1},
};

constexpr Boolean kNeither = 42;

int boolean(ZoTypeRef object)
{
    const Boolean value = TavGetBooleanFromZoTypeWithDefault(object, kNeither);
    return value == kNeither ? -1 : value;
}

TEST(LenientValues, readWords)
{
    for (const Word& word : kWords) {
        const auto string = str(word.text);
        EXPECT_EQ(TavGetNumberFromZoTypeWithDefault(string.get(), -1), word.number) << word.text;
        EXPECT_EQ(TavGetDoubleFromZoTypeWithDefault(string.get(), -1), word.real) << word.text;
        EXPECT_EQ(boolean(string.get()), word.boolean) << word.text;
    }
}

TEST(LenientValues, readNumbersAndBooleansAndNothingElse)
{
    const auto three = number(3), zero = number(0), halfNumber = luvia_test::real(0.5),
               wideNumber = number(int64_t{1} << 40);
    EXPECT_EQ(TavGetNumberFromZoTypeWithDefault(three.get(), -1), 3);
    EXPECT_EQ(TavGetNumberFromZoTypeWithDefault(wideNumber.get(), -1), -1);
    EXPECT_EQ(TavGetNumberFromZoTypeWithDefault(kZoBooleanTrue, -1), 1);
    EXPECT_EQ(TavGetNumberFromZoTypeWithDefault(kZoBooleanFalse, -1), 0);
    EXPECT_EQ(TavGetDoubleFromZoTypeWithDefault(halfNumber.get(), -1), 0.5);
    EXPECT_EQ(TavGetDoubleFromZoTypeWithDefault(kZoBooleanTrue, -1), -1);
    EXPECT_EQ(boolean(three.get()), 1);
    EXPECT_EQ(boolean(wideNumber.get()), 1);
    EXPECT_EQ(boolean(zero.get()), 0);
    EXPECT_EQ(boolean(kZoBooleanTrue), 1);
    const auto list = array({});
    const ZoTypeRef others[] = {nullptr, kZoNull, list.get()};
    for (const ZoTypeRef other : others) {
        EXPECT_EQ(TavGetNumberFromZoTypeWithDefault(other, -1), -1);
        EXPECT_EQ(TavGetDoubleFromZoTypeWithDefault(other, -1), -1);
        EXPECT_EQ(boolean(other), -1);
    }
}

TEST(LenientValues, readPreferences)
{
    char place[] = "/tmp/luvia-preferences-XXXXXX";
    ASSERT_NE(mkdtemp(place), nullptr);
    setenv("LUVIA_PREFERENCES_DIR", place, 1);
    const ZoStringRef domain = ZOSTR("com.orvane.luvia.test");
    const auto keys = dictionary({{ZOSTR("level"), ZOSTR("12")},
                                  {ZOSTR("rate"), ZOSTR("2.5")},
                                  {ZOSTR("on"), kZoBooleanTrue},
                                  {ZOSTR("size"), ZOSTR("640X480")}});
    ZoPreferencesSetMultiple(keys.get(), nullptr, domain, kZoPreferencesCurrentUser, kZoPreferencesAnyHost);
    EXPECT_EQ(TavGetZoPreferenceNumberWithDefault(ZOSTR("level"), domain, 3), 12);
    EXPECT_EQ(TavGetZoPreferenceNumberWithDefault(ZOSTR("missing"), domain, 3), 3);
    EXPECT_EQ(TavGetZoPreferenceDoubleWithDefault(ZOSTR("rate"), domain, 0), 2.5);
    EXPECT_TRUE(TavGetZoPreferenceBooleanWithDefault(ZOSTR("on"), domain, false));
    EXPECT_TRUE(TavGetZoPreferenceBooleanWithDefault(ZOSTR("rate"), domain, true));
    EXPECT_EQ(TavGetZoPreferenceSizeWithDefault(ZOSTR("size"), domain, 1, 2).height, 480);
    EXPECT_EQ(TavGetZoPreferenceSizeWithDefault(ZOSTR("level"), domain, 1, 2).height, 2);
    EXPECT_EQ(TavGetZoPreferenceOrOptionNumberWithDefault(keys.get(), ZOSTR("level"), domain, 3), 12);
    EXPECT_EQ(TavGetZoPreferenceOrOptionNumberWithDefault(keys.get(), ZOSTR("level"), ZOSTR("other"), 3), 12);
    std::filesystem::remove_all(place);
}

}  // namespace
