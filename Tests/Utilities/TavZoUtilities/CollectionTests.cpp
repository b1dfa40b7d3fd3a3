// Absent and mistyped collections, values by type, searches.

#include <gtest/gtest.h>

#include <vector>

#include "Foundation/URLs/ZoURL.h"
#include "Tests/Utilities/TavZoUtilities/Support.h"

using namespace collection_test;

namespace {

const auto kNoDictionary =
    reinterpret_cast<ZoMutableDictionaryRef>(const_cast<void*>(static_cast<const void*>(ZOSTR("text"))));

TEST(CollectionHelpers, takeAbsentCollectionsForEmptyOnes)
{
    const auto one = number(1);
    EXPECT_TRUE(TavZoEqual(nullptr, nullptr));
    EXPECT_FALSE(TavZoEqual(one.get(), nullptr));
    EXPECT_FALSE(TavZoEqual(nullptr, one.get()));
    EXPECT_TRUE(TavZoEqual(one.get(), number(1).get()));

    EXPECT_EQ(TavZoDictionaryGetCount(nullptr), 0);
    TavZoDictionaryRemoveAllValues(nullptr);
    TavZoDictionarySetValue(nullptr, one.get(), one.get());
    TavZoDictionarySetAllValuesFromDictionary(nullptr, nullptr);
    EXPECT_EQ(TavZoDictionaryGetValue(nullptr, one.get()), nullptr);
    EXPECT_EQ(compact(zoAdopt(TavZoDictionaryCreateMutableCopy(nullptr, 0, nullptr)).get()), "[]");
    EXPECT_EQ(compact(zoAdopt(TavZoDictionaryCreateCopyRemovingKeys(nullptr, nullptr, 3)).get()), "[]");

    EXPECT_FALSE(TavZoArrayContainsValue(nullptr, one.get()));
    EXPECT_EQ(TavZoArrayGetFirstIndexOfValue(nullptr, one.get()), -1);
    EXPECT_EQ(TavZoArrayGetValueAtIndex(nullptr, 0), nullptr);
    EXPECT_EQ(TavZoArrayGetLastValue(nullptr), nullptr);
    EXPECT_FALSE(TavZoArrayRemoveLastElementOfValue(nullptr, one.get()));
    TavZoArrayAppendArray(nullptr, nullptr);
    TavZoArrayRemoveAllValues(nullptr);
    TavZoArrayApplyFunction(nullptr, nullptr, nullptr);
    TavZoArrayApplyBlock(nullptr, [](const void*) { FAIL(); });
    TavZoDictionaryApplyBlock(nullptr, [](const void*, const void*) { FAIL(); });
    EXPECT_EQ(compact(zoAdopt(TavZoArrayCreateCopy(nullptr, nullptr)).get()), "[]");
    EXPECT_EQ(compact(zoAdopt(TavZoArrayCreateMutableCopy(nullptr, 0, nullptr)).get()), "[]");
    EXPECT_EQ(takeSignals(), "");
}

TEST(CollectionHelpers, lookIntoDictionaries)
{
    const auto one = number(1);
    const auto source = dictionary({{ZOSTR("a"), one.get()}}), target = dictionary({});
    EXPECT_TRUE(TavZoDictionarySetValueFromKeyInDict(target.get(), ZOSTR("b"), source.get(), ZOSTR("a")));
    EXPECT_FALSE(TavZoDictionarySetValueFromKeyInDict(target.get(), ZOSTR("c"), source.get(), ZOSTR("b")));
    EXPECT_FALSE(TavZoDictionarySetValueFromKeyInDict(target.get(), nullptr, source.get(), ZOSTR("a")));
    TavZoDictionarySetBoolean(target.get(), ZOSTR("yes"), true);
    TavZoDictionarySetValue(target.get(), ZOSTR("nothing"), nullptr);
    TavZoDictionarySetValue(kNoDictionary, ZOSTR("a"), one.get());
    EXPECT_EQ(TavZoDictionaryGetCount(target.get()), 2);
    EXPECT_EQ(TavZoDictionaryGetBooleanValue(target.get(), ZOSTR("yes")), kZoBooleanTrue);
    EXPECT_EQ(TavZoDictionaryGetValue(kNoDictionary, ZOSTR("a")), nullptr);

    const void* value = &value;
    EXPECT_FALSE(TavZoDictionaryGetValueIfPresent(target.get(), ZOSTR("a"), &value));
    EXPECT_EQ(value, nullptr);
    EXPECT_TRUE(TavZoDictionaryGetValueIfPresent(target.get(), ZOSTR("b"), &value));
    EXPECT_EQ(value, one.get());
    EXPECT_TRUE(TavZoDictionaryGetValueIfPresent(target.get(), ZOSTR("b"), nullptr));
    EXPECT_EQ(takeSignals(), "");
}

// Each getter finds the one value of its own type among seven.
TEST(CollectionHelpers, giveValuesOfOneType)
{
    const auto one = number(1);
    const auto url = zoAdopt(ZoURLCreateWithString(nullptr, ZOSTR("http://a/b"), nullptr));
    const auto data = luvia_test::dataOf("x");
    const auto inner = dictionary({});
    const auto list = array({});
    const ZoTypeRef values[] = {ZOSTR("text"), url.get(),       inner.get(), list.get(),
                                data.get(),    kZoBooleanFalse, one.get()};
    const auto all = dictionary({});
    for (ZoIndex i = 0; i < 7; ++i) ZoDictionarySetValue(all.get(), number(i).get(), values[i]);
    for (ZoIndex i = 0; i < 7; ++i) {
        const auto key = number(i);
        const ZoTypeRef found[] = {
            TavZoDictionaryGetStringValue(all.get(), key.get()),
            TavZoDictionaryGetURLValue(all.get(), key.get()),
            TavZoDictionaryGetDictionaryValue(all.get(), key.get()),
            TavZoDictionaryGetArrayValue(all.get(), key.get()),
            TavZoDictionaryGetDataValue(all.get(), key.get()),
            TavZoDictionaryGetBooleanValue(all.get(), key.get()),
            TavZoDictionaryGetNumberValue(all.get(), key.get()),
        };
        for (ZoIndex j = 0; j < 7; ++j) EXPECT_EQ(found[j], i == j ? values[i] : nullptr) << i << " as " << j;
    }
    EXPECT_EQ(takeSignals(), "");
}

TEST(CollectionHelpers, findValuesInArrays)
{
    const auto one = number(1), two = number(2);
    const auto list = array({one.get(), two.get(), number(1).get()});
    EXPECT_EQ(TavZoArrayGetFirstIndexOfValue(list.get(), one.get()), 0);
    EXPECT_EQ(TavZoArrayGetLastIndexOfValue(list.get(), one.get()), 2);
    EXPECT_EQ(TavZoArrayGetLastIndexOfValue(list.get(), number(3).get()), -1);
    EXPECT_EQ(TavZoArrayGetFirstIndexOfValue(list.get(), nullptr), -1);
    EXPECT_TRUE(TavZoArrayContainsInt(list.get(), 2) && TavZoArrayContainsInt16(list.get(), 2) &&
                TavZoArrayContainsInt32(list.get(), 2) && TavZoArrayContainsInt64(list.get(), 2));
    EXPECT_FALSE(TavZoArrayContainsInt64(list.get(), (int64_t{1} << 32) + 2));
    EXPECT_TRUE(TavZoArrayRemoveLastElementOfValue(list.get(), one.get()));
    EXPECT_EQ(compact(list.get()), "[1, 2]");
    EXPECT_EQ(TavZoArrayGetValueAtIndex(list.get(), -1), nullptr);
    EXPECT_EQ(TavZoArrayGetValueAtIndex(list.get(), 2), nullptr);
    EXPECT_EQ(TavZoArrayGetFirstValue(list.get()), one.get());
    EXPECT_EQ(TavZoArrayGetLastValue(list.get()), two.get());
    EXPECT_TRUE(TavZoRangeEqual(ZoRangeMake(1, 2), ZoRangeMake(1, 2)));
    EXPECT_FALSE(TavZoRangeEqual(ZoRangeMake(1, 2), ZoRangeMake(1, 3)));
    EXPECT_EQ(TavZoRangeGetLimit(ZoRangeMake(3, 4)), 7);
}

TEST(CollectionHelpers, walkTwoArraysAsFarAsTheShorterOne)
{
    const auto list = array({ZOSTR("a"), ZOSTR("b"), ZOSTR("c")}), shorter = array({ZOSTR("1"), ZOSTR("2")});
    std::string walked;
    const auto append = [](const void* value1, const void* value2, void* context) {
        *static_cast<std::string*>(context) +=
            utf8(static_cast<ZoStringRef>(value1)) + utf8(static_cast<ZoStringRef>(value2));
    };
    TavZoArrayForEach2(list.get(), list.get(), append, &walked);
    EXPECT_EQ(walked, "aabbcc");
    EXPECT_EQ(takeSignals(), "");
    TavZoArrayForEach2(list.get(), shorter.get(), append, &(walked = ""));
    EXPECT_EQ(walked, "a1b2");
    EXPECT_EQ(takeSignals(), "-12990 counts of a1 and a2 do not match");
    TavZoArrayForEach2(nullptr, list.get(), append, &(walked = ""));
    EXPECT_EQ(walked, "");
    EXPECT_EQ(takeSignals(), "-12990 counts of a1 and a2 do not match");
}

TEST(CollectionHelpers, findKeys)
{
    const auto one = number(1), two = number(2);
    const auto pairs = dictionary({{ZOSTR("key"), one.get()},
                                   {ZOSTR("other"), two.get()},
                                   {ZOSTR("KEY"), two.get()},
                                   {two.get(), one.get()},
                                   {ZOSTR("Key"), kZoNull},
                                   {ZOSTR("keys"), two.get()}});
    const void* found = nullptr;
    EXPECT_TRUE(TavZoDictionaryFindAnyKeyForValue(pairs.get(), number(1).get(), &found));
    EXPECT_EQ(found, two.get());  // the last one
    EXPECT_TRUE(TavZoDictionaryFindAnyKeyForValue(pairs.get(), kZoNull, nullptr));
    EXPECT_FALSE(TavZoDictionaryFindAnyKeyForValue(pairs.get(), number(3).get(), &found));
    EXPECT_FALSE(TavZoDictionaryFindAnyKeyForValue(nullptr, one.get(), &found));

    ::testing::internal::CaptureStderr();
    EXPECT_TRUE(TavZoDictionaryGetValueForCaseInsensitiveKeyIfPresent(pairs.get(), ZOSTR("kEY"), &found));
    EXPECT_EQ(found, one.get());  // the first one; two more are logged
    const std::string log = ::testing::internal::GetCapturedStderr();
    const std::string line =
        "Sources/Utilities/TavZoUtilities TavZoDictionaryGetValueForCaseInsensitiveKeyIfPresent: Duplicate key found. "
        "kEY";
    const size_t first = log.find(line), second = log.find(line, first + 1);
    EXPECT_NE(second, std::string::npos) << log;
    EXPECT_EQ(log.find(line, second + 1), std::string::npos) << log;
    EXPECT_FALSE(TavZoDictionaryGetValueForCaseInsensitiveKeyIfPresent(pairs.get(), ZOSTR("ke"), &found));
    EXPECT_FALSE(TavZoDictionaryGetValueForCaseInsensitiveKeyIfPresent(pairs.get(), ZOSTR("key"), nullptr));
}

TEST(CollectionHelpers, walkWithBlocks)
{
    std::string walked;
    const auto pairs = dictionary({{ZOSTR("a"), ZOSTR("1")}, {ZOSTR("b"), ZOSTR("2")}});
    TavZoDictionaryApplyBlock(pairs.get(), [&](const void* key, const void* value) {
        walked += utf8(static_cast<ZoStringRef>(key)) + utf8(static_cast<ZoStringRef>(value));
    });
    TavZoArrayApplyBlock(array({ZOSTR("x"), ZOSTR("y")}).get(),
                         [&](const void* value) { walked += utf8(static_cast<ZoStringRef>(value)); });
    EXPECT_EQ(walked, "a1b2xy");
}

TEST(CollectionHelpers, keepSetsOfStringsThatIgnoreCase)
{
    const auto upper = str("\u00C4BC"), lower = str("\u00E4bc");
    const auto one = number(1), again = number(1);
    const void* members[] = {ZOSTR("ABC"), ZOSTR("abc"), ZOSTR("aBd"), upper.get(), lower.get(), one.get(), kZoNull};
    const void* withNumbers[] = {one.get(), again.get(), ZOSTR("1")};
    const auto set = zoAdopt(ZoSetCreate(nullptr, members, 7, &kTavCaseInsensitiveStringSetCallBacks));
    EXPECT_EQ(ZoSetGetCount(set.get()), 5);
    EXPECT_TRUE(ZoSetContainsValue(set.get(), ZOSTR("AbD")));
    EXPECT_FALSE(ZoSetContainsValue(set.get(), ZOSTR("AbE")));
    EXPECT_EQ(
        ZoSetGetCount(zoAdopt(ZoSetCreate(nullptr, withNumbers, 3, &kTavCaseInsensitiveStringSetCallBacks)).get()), 2);
}

}  // namespace
