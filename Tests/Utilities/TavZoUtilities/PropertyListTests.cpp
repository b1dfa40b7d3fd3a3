// Property lists as such and out of bundles, errors, medians.

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <random>
#include <vector>

#include "Foundation/URLs/ZoURL.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/Utilities/TavZoUtilities/Support.h"
#include "Utilities/TavZoUtilities_Errors.h"
#include "Utilities/TavZoUtilities_Median.h"
#include "Utilities/TavZoUtilities_PropertyLists.h"

using namespace collection_test;

namespace {

TEST(PropertyLists, tellWhatTheyCanCarry)
{
    auto deep = array({}), cycle = array({});
    for (int i = 1; i < kZoPropertyListMaximumDepth; ++i) deep = array({deep.get()});
    EXPECT_TRUE(TavZoTypeIsPListSerializable(deep.get()));
    ZoArrayAppendValue(cycle.get(), cycle.get());
    takeSignals();
    EXPECT_FALSE(TavZoTypeIsPListSerializable(cycle.get()));
    EXPECT_EQ(takeSignals(), "-12990 value is nested too deeply to be serializable");
    EXPECT_FALSE(TavZoTypeIsPListSerializable(array({dictionary({{number(1).get(), ZOSTR("v")}}).get()}).get()));
    EXPECT_EQ(takeSignals(), "-12990 Dictionary key type is not serializable");
    EXPECT_FALSE(TavZoTypeIsPListSerializable(array({kZoNull, kZoNull}).get()));
    EXPECT_EQ(takeSignals(), "-12990 Value type is not serializable");
    ZoArrayRemoveAllValues(cycle.get());
}

TEST(PropertyLists, comeOutOfABundleOrSayWhatFailed)
{
    const luvia_test::TemporaryFolder folder;
    setenv("LUVIA_RESOURCES_DIR", folder.path().c_str(), 1);
    const auto resources = folder / "com.example.lists" / "Resources";
    std::filesystem::create_directories(resources / "sub dir");
    luvia_test::writeFile(resources / "good.plist", "<plist version=\"1.0\"><array><string>v</string></array></plist>");
    luvia_test::writeFile(resources / "bad.plist", "<plist><array>");
    const auto bundle = ZOSTR("com.example.lists"), noBundle = ZOSTR("com.example.nothing");

    takeSignals();
    for (const auto create : {TavCreatePropertyListFromBundleIdentifier, TavZoCreatePropertyListFromBundleIdentifier}) {
        const auto list = [create](ZoStringRef bundleID, ZoStringRef name) {
            const auto made = zoAdopt(create(nullptr, bundleID, name, ZOSTR("plist")));
            return made ? compact(made.get()) : takeSignals();
        };
        EXPECT_EQ(list(bundle, ZOSTR("good")), "[v]");
        EXPECT_EQ(list(bundle, ZOSTR("bad")), "-12992 ZoPropertyListCreateFromStream failed");
        EXPECT_EQ(list(bundle, ZOSTR("missing")), "-12992 ZoReadStreamCreateWithFile failed");
        EXPECT_EQ(list(bundle, nullptr), "-12992 ZoReadStreamCreateWithFile failed");
        EXPECT_EQ(list(noBundle, ZOSTR("good")), "-12992 ZoBundleGetBundleWithIdentifier failed");
        EXPECT_EQ(list(nullptr, ZOSTR("good")), "-12992 ZoBundleGetBundleWithIdentifier failed");
    }

    EXPECT_TRUE(TavZoBundleIDResourceSubdirExists(bundle, ZOSTR("sub dir")));
    EXPECT_FALSE(TavZoBundleIDResourceSubdirExists(bundle, ZOSTR("good.plist")));
    EXPECT_FALSE(TavZoBundleIDResourceSubdirExists(bundle, ZOSTR("missing")));
    EXPECT_EQ(takeSignals(), "");
    EXPECT_FALSE(TavZoBundleIDResourceSubdirExists(bundle, nullptr));
    EXPECT_EQ(takeSignals(), "-12992 ZoURLCreateCopyAppendingPathComponent failed");
    EXPECT_FALSE(TavZoBundleIDResourceSubdirExists(noBundle, ZOSTR("sub dir")));
    EXPECT_EQ(takeSignals(), "-12992 ZoBundleGetBundleWithIdentifier failed");
    unsetenv("LUVIA_RESOURCES_DIR");
}

TEST(ExtendedDictionaries, keepTheirOwnPairs)
{
    const void *keys[] = {ZOSTR("a"), ZOSTR("b")}, *values[] = {ZOSTR("other"), ZOSTR("2")};
    const auto own = dictionary({{ZOSTR("a"), ZOSTR("1")}});
    ZoRef<ZoDictionaryRef> made;
    EXPECT_EQ(TavZoCreateExtendedDictionary(nullptr, own.get(), keys, values, 2, made.outParam()), 0);
    EXPECT_EQ(compact(made.get()), "[a = 1, b = 2]");
    for (const ZoIndex count : {ZoIndex{-1}, INTPTR_MIN, INTPTR_MAX})
        EXPECT_EQ(TavZoCreateExtendedDictionary(nullptr, own.get(), keys, values, count, made.outParam()), -12991);
}

ZoRef<ZoErrorRef> errorBehind(ZoErrorRef underlying, ZoIndex code)
{
    const auto url = zoAdopt(ZoURLCreateWithString(nullptr, ZOSTR("http://h/p"), nullptr));
    const auto info = dictionary({{kZoErrorLocalizedFailureReasonKey, ZOSTR("why")},
                                  {kZoErrorDescriptionKey, number(7).get()},
                                  {kZoErrorURLKey, url.get()}});
    TavZoDictionarySetValue(info.get(), kZoErrorUnderlyingErrorKey, underlying);
    return zoAdopt(ZoErrorCreate(nullptr, ZOSTR("domain"), code, info.get()));
}

TEST(Errors, goThroughPropertyListsAndBack)
{
    const auto error = errorBehind(errorBehind(nullptr, -2).get(), INT64_MIN);
    const auto list = zoAdopt(TavZoCopyZoErrorAsPropertyList(error.get()));
    EXPECT_EQ(compact(list.get()),
              "[ZoError_Code = -9223372036854775808, ZoError_Domain = domain, ZoError_LocalizedFailureReason = why, "
              "ZoError_URL = http://h/p, ZoError_UnderlyingError = [ZoError_Code = -2, ZoError_Domain = domain, "
              "ZoError_LocalizedFailureReason = why, ZoError_URL = http://h/p]]");
    const auto back = zoAdopt(TavZoErrorCreateFromPropertyList(list.get()));
    EXPECT_TRUE(ZoEqual(zoAdopt(TavZoCopyZoErrorAsPropertyList(back.get())).get(), list.get()));

    // What comes from outside: wrong types, and more errors behind one another than a stack holds.
    auto deep = dictionary({{kTavZoErrorPropertyListKey_Code, number(1).get()}});
    for (int i = 0; i < 20000; ++i)
        deep = dictionary({{kTavZoErrorPropertyListKey_Code, number(1).get()},
                           {kTavZoErrorPropertyListKey_Domain, ZOSTR("d")},
                           {kTavZoErrorPropertyListKey_UnderlyingError, deep.get()}});
    EXPECT_TRUE(zoAdopt(TavZoErrorCreateFromPropertyList(deep.get())));
    ZoDictionarySetValue(list.get(), kTavZoErrorPropertyListKey_URL, number(1).get());
    ZoDictionarySetValue(list.get(), kTavZoErrorPropertyListKey_UnderlyingError, ZOSTR("x"));
    const auto partial = zoAdopt(TavZoErrorCreateFromPropertyList(list.get()));
    EXPECT_EQ(ZoDictionaryGetCount(zoAdopt(ZoErrorCopyUserInfo(partial.get())).get()), 1);
}

std::mt19937 sRandom;
int64_t sComparisons;

template <auto kOrder>
int32_t compare(const void* a, const void* b, void*)
{
    ++sComparisons;
    return kOrder(*static_cast<const int*>(a), *static_cast<const int*>(b));
}
constexpr auto kHonest = [](int a, int b) { return (a > b) - (a < b); };

int median(const std::vector<int>& values, TavMedianCompareFunction compareFunction)
{
    std::vector<const void*> pointers;
    for (const int& value : values) pointers.push_back(&value);
    sComparisons = 0;
    const TavMedianAverageFunction join = [](const void* upper, const void* lower) -> void* {
        auto* both = static_cast<int*>(malloc(sizeof(int)));
        *both = 1000 * *static_cast<const int*>(upper) + *static_cast<const int*>(lower);
        return both;
    };
    void* block = TavGetMedianValueOfCArray(pointers.data(), static_cast<ZoIndex>(pointers.size()), compareFunction,
                                            join, sizeof(int));
    const int value = block ? *static_cast<int*>(block) : -1;
    free(block);
    return value;
}

TEST(Median, agreesWithASortAndIsLinearAlsoForLiars)
{
    for (unsigned count = 1; count < 300; ++count) {
        std::vector<int> values(count);
        for (int& value : values) value = static_cast<int>(sRandom() % (1 + count / (1 + count % 3)));
        auto sorted = values;
        std::sort(sorted.begin(), sorted.end());
        const int upper = sorted[count / 2];
        ASSERT_EQ(median(values, compare<kHonest>), count % 2 ? upper : 1000 * upper + sorted[count / 2 - 1]) << count;
    }
    std::vector<int> many(100001);
    std::iota(many.begin(), many.end(), 0);
    for (const TavMedianCompareFunction function :
         {compare<kHonest>, compare<[](int, int) { return -1; }>, compare<[](int, int) { return 1; }>,
          compare<[](int, int) { return static_cast<int>(sRandom() % 3) - 1; }>}) {
        median(many, function);
        EXPECT_LT(sComparisons, 40 * 100001);
    }
}

}  // namespace
