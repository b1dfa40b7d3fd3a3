// Collections made of others: copies, lists, merges, combinations, text.

#include <gtest/gtest.h>

#include "Foundation/Objects/ZoAllocator.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Utilities/TavZoUtilities/Support.h"
#include "Utilities/TavZoUtilities_Times.h"

using namespace collection_test;

namespace {

TEST(CollectionConversions, copyAndConcatenate)
{
    const auto list = array({ZOSTR("a"), ZOSTR("b")}), other = array({ZOSTR("c")});
    const auto both = zoAdopt(TavZoArrayCreateConcatenationOfTwoArrays(list.get(), other.get()));
    const auto alone = zoAdopt(TavZoArrayCreateConcatenationOfTwoArrays(nullptr, list.get()));
    ZoArrayRemoveAllValues(list.get());
    EXPECT_EQ(compact(both.get()), "[a, b, c]");
    EXPECT_EQ(compact(alone.get()), "[a, b]");
    EXPECT_EQ(compact(zoAdopt(TavZoArrayCreateConcatenationOfTwoArrays(nullptr, nullptr)).get()), "[]");

    // Identity as the key's equality is not carried over, so that the new dictionary finds by value.
    const auto key = number(70001), sameKey = number(70001);
    const auto byIdentity = zoAdopt(ZoDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
    ZoDictionarySetValue(byIdentity.get(), key.get(), ZOSTR("x"));
    const auto byValue = zoAdopt(TavZoDictionaryCreateMutableCopyWithZoTypeCallbacks(nullptr, 0, byIdentity.get()));
    EXPECT_EQ(ZoDictionaryGetValue(byIdentity.get(), sameKey.get()), nullptr);
    EXPECT_EQ(compact(ZoDictionaryGetValue(byValue.get(), sameKey.get())), "x");
}

TEST(CollectionConversions, listKeysAndValues)
{
    const auto pairs = dictionary({{ZOSTR("a"), ZOSTR("1")}, {ZOSTR("b"), ZOSTR("2")}, {ZOSTR("c"), ZOSTR("3")}});
    EXPECT_EQ(compact(zoAdopt(TavZoDictionaryCopyArrayOfKeys(pairs.get())).get()), "[a, b, c]");
    EXPECT_EQ(compact(zoAdopt(TavZoDictionaryCopyArrayOfValues(pairs.get())).get()), "[1, 2, 3]");
    EXPECT_EQ(compact(zoAdopt(TavZoDictionaryCopyArrayOfKeys(nullptr)).get()), "[]");

    const auto keys = array({ZOSTR("c"), ZOSTR("x"), ZOSTR("a")});
    const auto mapped = zoAdopt(TavZoDictionaryCreateMappedArray(pairs.get(), keys.get()));
    EXPECT_EQ(ZoArrayGetCount(mapped.get()), 3);
    EXPECT_EQ(compact(ZoArrayGetValueAtIndex(mapped.get(), 0)), "3");
    EXPECT_EQ(ZoArrayGetValueAtIndex(mapped.get(), 1), kZoNull);
    const auto nulls = zoAdopt(TavZoDictionaryCreateMappedArray(nullptr, keys.get()));
    EXPECT_EQ(TavZoArrayGetLastValue(nulls.get()), kZoNull);
    EXPECT_EQ(ZoArrayGetCount(nulls.get()), 3);
    EXPECT_EQ(compact(zoAdopt(TavZoDictionaryCreateMappedArray(pairs.get(), nullptr)).get()), "[]");

    const void* removed[] = {ZOSTR("c"), ZOSTR("x"), ZOSTR("a")};
    EXPECT_EQ(compact(zoAdopt(TavZoDictionaryCreateCopyRemovingKeys(pairs.get(), removed, 3)).get()), "[b = 2]");
    EXPECT_EQ(compact(zoAdopt(TavZoDictionaryCreateCopyRemovingKeys(pairs.get(), removed, -1)).get()),
              "[a = 1, b = 2, c = 3]");
    EXPECT_EQ(ZoDictionaryGetCount(pairs.get()), 3);
}

TEST(CollectionConversions, turnSetsIntoArraysAndBack)
{
    const auto list = array({ZOSTR("a"), ZOSTR("b"), ZOSTR("a")});
    ZoRef<ZoSetRef> set;
    ZoRef<ZoArrayRef> back;
    EXPECT_EQ(TavZoArrayCopyValuesAsZoSet(list.get(), set.outParam()), 0);
    EXPECT_EQ(TavZoSetCopyValuesAsZoArray(set.get(), back.outParam()), 0);
    EXPECT_EQ(compact(back.get()), "[a, b]");

    ZoArrayRef untouchedArray = back.get();
    ZoSetRef untouchedSet = set.get();
    EXPECT_EQ(TavZoSetCopyValuesAsZoArray(nullptr, &untouchedArray), 0);
    EXPECT_EQ(TavZoArrayCopyValuesAsZoSet(nullptr, &untouchedSet), 0);
    EXPECT_TRUE(untouchedArray == back.get() && untouchedSet == set.get());
    EXPECT_EQ(TavZoSetCopyValuesAsZoArray(set.get(), nullptr), kTavZoUtilitiesError_InvalidParameter);
    EXPECT_EQ(takeSignals(), "-12990 NULL valuesOut");
    EXPECT_EQ(TavZoArrayCopyValuesAsZoSet(list.get(), nullptr), kTavZoUtilitiesError_InvalidParameter);
    EXPECT_EQ(takeSignals(), "-12990 NULL valuesOut");
}

TEST(CollectionConversions, mergeWithAndWithoutOverwriting)
{
    const auto make = [](bool overwrite) {
        const auto innerSource = dictionary({{ZOSTR("x"), ZOSTR("new")}, {ZOSTR("y"), ZOSTR("new")}});
        const auto alsoInner = dictionary({{ZOSTR("z"), ZOSTR("new")}});
        const auto source = dictionary({{ZOSTR("both"), innerSource.get()},
                                        {ZOSTR("flat"), ZOSTR("new")},
                                        {ZOSTR("kind"), alsoInner.get()},
                                        {ZOSTR("only"), ZOSTR("new")}});
        const auto innerTarget = dictionary({{ZOSTR("x"), ZOSTR("old")}});
        auto target = dictionary(
            {{ZOSTR("both"), innerTarget.get()}, {ZOSTR("flat"), ZOSTR("old")}, {ZOSTR("kind"), ZOSTR("old")}});
        TavZoDictionaryAddEntriesToDictionaryWithRecursion(source.get(), target.get(), overwrite);
        EXPECT_EQ(TavZoDictionaryGetCount(innerSource.get()), 2);
        return compact(target.get());
    };
    EXPECT_EQ(make(true), "[both = [x = new, y = new], flat = new, kind = [z = new], only = new]");
    EXPECT_EQ(make(false), "[both = [x = old, y = new], flat = old, kind = old, only = new]");
    TavZoDictionaryAddEntriesToDictionaryWithRecursion(nullptr, dictionary({}).get(), true);
    const auto self = dictionary({{ZOSTR("a"), ZOSTR("1")}});
    TavZoDictionaryAddEntriesToDictionaryWithRecursion(self.get(), self.get(), true);
    EXPECT_EQ(compact(self.get()), "[a = 1]");
}

TEST(CollectionConversions, combineDictionaries)
{
    const auto first = dictionary({{ZOSTR("a"), ZOSTR("1")}, {ZOSTR("b"), ZOSTR("2")}}),
               second = dictionary({{ZOSTR("c"), ZOSTR("3")}});
    const ZoDictionaryRef list[] = {first.get(), nullptr, second.get()};
    ZoRef<ZoDictionaryRef> combined;
    EXPECT_EQ(TavZoCreateCombinedDictionary(nullptr, list, 3, combined.outParam()), 0);
    EXPECT_EQ(compact(combined.get()), "[a = 1, b = 2, c = 3]");
    EXPECT_EQ(TavZoCreateCombinedDictionary(nullptr, nullptr, 0, combined.outParam()), 0);
    EXPECT_EQ(compact(combined.get()), "[]");
    EXPECT_EQ(takeSignals(), "");
    EXPECT_EQ(TavZoCreateCombinedDictionary(nullptr, list, 3, nullptr), kTavZoUtilitiesError_InvalidParameter);
    EXPECT_EQ(takeSignals(), "-12990 ! dictOut");
    EXPECT_EQ(TavZoCreateCombinedDictionary(nullptr, nullptr, 1, combined.outParam()),
              kTavZoUtilitiesError_InvalidParameter);
    EXPECT_EQ(takeSignals(), "-12990 numDicts > 0 && ! dicts");

    luvia_test::FailingAllocator allocator(1);
    EXPECT_EQ(TavZoCreateCombinedDictionary(allocator.get(), list, 3, combined.outParam()),
              kTavZoUtilitiesError_AllocationFailed);
    EXPECT_FALSE(combined);
    EXPECT_EQ(takeSignals().substr(0, 24), "-12991 allocation failed");
    const auto colour = zoAdopt(TavCreateZoArrayFromColorValues(nullptr, 0.25, 0.5, 1, 2));
    double green = 0;
    EXPECT_TRUE(TavZoArrayGetWnFloatAtIndex(colour.get(), 1, &green) && green == 0.5);
}

TEST(CollectionConversions, describeCompactly)
{
    const auto list = array({});
    TavZoArrayAppendLuTime(list.get(), LuTimeMake(3, 2));
    EXPECT_EQ(compact(list.get()), "[1.500]");
    TavZoArrayAppendLuTime(list.get(), kLuTimePositiveInfinity);
    TavZoArrayAppendLuTime(list.get(), kLuTimeNegativeInfinity);
    TavZoArrayAppendLuTime(list.get(), kLuTimeIndefinite);
    ZoArrayAppendValue(list.get(),
                       dictionary({{ZOSTR("k"), array({number(1).get()}).get()}, {ZOSTR("l"), ZOSTR("text")}}).get());
    EXPECT_EQ(compact(list.get()), "[1.500, +inf, -inf, indef, [k = [1], l = text]]");
    const auto range = dictionary({});
    TavZoDictionarySetLuTimeRange(range.get(), ZOSTR("r"), LuTimeRangeMake(LuTimeMake(1, 1), LuTimeMake(1, 4)));
    EXPECT_EQ(compact(range.get()), "[r = [start = 1.000, duration = 0.250]]");
    ZoRef<ZoSetRef> set;
    EXPECT_EQ(TavZoArrayCopyValuesAsZoSet(array({ZOSTR("a"), ZOSTR("b")}).get(), set.outParam()), 0);
    EXPECT_EQ(compact(set.get()), "{a, b}");
    EXPECT_EQ(compact(nullptr), "NULL");
}

}  // namespace
