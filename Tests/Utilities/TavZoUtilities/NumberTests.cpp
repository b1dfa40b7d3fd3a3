// Numbers, booleans, times and geometry in collections, and what each operation signals.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "Tests/Utilities/TavZoUtilities/Support.h"
#include "Utilities/TavZoUtilities_Geometry.h"
#include "Utilities/TavZoUtilities_Times.h"

using namespace collection_test;

namespace {

const void* const kText = ZOSTR("text");
const auto kNoDictionary = static_cast<ZoMutableDictionaryRef>(const_cast<void*>(kText));
const auto kNoArray = static_cast<ZoMutableArrayRef>(const_cast<void*>(kText));
const ZoStringRef kKey = ZOSTR("key");

/// The four operations of one kind of value, and the messages that set it apart.
template <typename Value>
struct Operations {
    const char* name;
    Boolean (*get)(ZoDictionaryRef, const void*, Value*);
    OSStatus (*set)(ZoMutableDictionaryRef, const void*, Value);
    Boolean (*getAtIndex)(ZoArrayRef, ZoIndex, Value*);
    OSStatus (*append)(ZoMutableArrayRef, Value);
    std::string missingOut, missingOutAtIndex, wrongTypeAtIndex;
};

template <typename Value>
void checkSignals(const Operations<Value>& o, Value value)
{
    SCOPED_TRACE(o.name);
    const auto pairs = dictionary({{kKey, ZOSTR("no number")}});
    const auto list = array({ZOSTR("no number")});
    const auto signalsOf = [](auto result, int expected) {
        EXPECT_EQ(result, expected);
        return takeSignals();
    };
    EXPECT_EQ(signalsOf(o.get(nullptr, nullptr, nullptr), 0), "");
    EXPECT_EQ(signalsOf(o.get(kNoDictionary, kKey, &value), 0), "-12990 not a dict");
    EXPECT_EQ(signalsOf(o.get(pairs.get(), nullptr, &value), 0), "-12990 NULL key");
    EXPECT_EQ(signalsOf(o.get(pairs.get(), kKey, nullptr), 0), "-12990 " + o.missingOut + "");
    EXPECT_EQ(signalsOf(o.get(pairs.get(), kKey, &value), 0), "");
    if (!o.set) return;
    EXPECT_EQ(signalsOf(o.set(nullptr, kKey, value), -12990), "-12990 NULL dict");
    EXPECT_EQ(signalsOf(o.set(kNoDictionary, kKey, value), -12990), "-12990 not a dict");
    EXPECT_EQ(signalsOf(o.set(pairs.get(), nullptr, value), -12990), "-12990 NULL key");
    if (!o.append) return;
    EXPECT_EQ(signalsOf(o.getAtIndex(nullptr, 0, &value), 0), "-12990 NULL array");
    EXPECT_EQ(signalsOf(o.getAtIndex(kNoArray, 0, &value), 0), "-12990 not an array");
    EXPECT_EQ(signalsOf(o.getAtIndex(list.get(), 0, nullptr), 0), "-12990 " + o.missingOutAtIndex + "");
    EXPECT_EQ(signalsOf(o.getAtIndex(list.get(), 1, &value), 0), "-12990 invalid index");
    EXPECT_EQ(signalsOf(o.getAtIndex(list.get(), -1, &value), 0), "-12990 invalid index");
    EXPECT_EQ(signalsOf(o.getAtIndex(list.get(), 0, &value), 0), "-12990 " + o.wrongTypeAtIndex + "");
    EXPECT_EQ(signalsOf(o.append(nullptr, value), -12990), "-12990 NULL array");
    EXPECT_EQ(signalsOf(o.append(kNoArray, value), -12990), "-12990 not an array");
}

template <typename Value>
void checkRoundTrip(const Operations<Value>& o, Value value)
{
    SCOPED_TRACE(o.name);
    const auto pairs = dictionary({});
    const auto list = array({kZoNull});
    Value fromDictionary{}, fromArray{};
    EXPECT_EQ(o.set(pairs.get(), kKey, value), 0);
    EXPECT_TRUE(o.get(pairs.get(), kKey, &fromDictionary));
    EXPECT_EQ(memcmp(&fromDictionary, &value, sizeof value), 0);
    if (!o.append) return;
    EXPECT_EQ(o.append(list.get(), value), 0);
    EXPECT_TRUE(o.getAtIndex(list.get(), 1, &fromArray));
    EXPECT_EQ(memcmp(&fromArray, &value, sizeof value), 0);
    EXPECT_EQ(takeSignals(), "");
}

TEST(ValuesInCollections, numbersOfEveryTypeGoInAndComeOut){
#define CHECK_NUMBERS(Suffix, type, numberType)                                     \
    {                                                                               \
        const Operations<type> operations = {#Suffix,                               \
                                             TavZoDictionaryGet##Suffix##IfPresent, \
                                             TavZoDictionarySet##Suffix,            \
                                             TavZoArrayGet##Suffix##AtIndex,        \
                                             TavZoArrayAppend##Suffix,              \
                                             "NULL valuePtr",                       \
                                             "NULL dOut",                           \
                                             "value at index not a ZoNumber"};      \
        checkSignals<type>(operations, 1);                                          \
        checkRoundTrip<type>(operations, std::numeric_limits<type>::max());         \
        checkRoundTrip<type>(operations, std::numeric_limits<type>::lowest());      \
    }
    TAV_ZO_FOR_EACH_NUMBER_TYPE(CHECK_NUMBERS)
#undef CHECK_NUMBERS
}

TEST(ValuesInCollections, aNumberThatDoesNotFitIsThereAllTheSame)
{
    const auto pairs = dictionary({});
    int16_t narrow = 0;
    EXPECT_EQ(TavZoDictionarySetDouble(pairs.get(), kKey, 2.75), 0);
    EXPECT_TRUE(TavZoDictionaryGetInt16IfPresent(pairs.get(), kKey, &narrow));
    EXPECT_EQ(narrow, 2);
    TavZoDictionarySetBoolean(pairs.get(), kKey, true);
    EXPECT_FALSE(TavZoDictionaryGetInt16IfPresent(pairs.get(), kKey, &narrow));
}

TEST(ValuesInCollections, booleans)
{
    const Operations<Boolean> operations = {
        "Boolean", TavZoDictionaryGetBooleanIfPresent, nullptr, nullptr, nullptr, "NULL bOut", "", ""};
    checkSignals<Boolean>(operations, 1);
    Boolean value = 0;
    const auto one = number(1);
    EXPECT_TRUE(TavZoDictionaryGetBooleanIfPresent(dictionary({{kKey, kZoBooleanTrue}}).get(), kKey, &value));
    EXPECT_TRUE(value);
    EXPECT_FALSE(TavZoDictionaryGetBooleanIfPresent(dictionary({{kKey, one.get()}}).get(), kKey, &value));
}

TEST(ValuesInCollections, timesAndRanges)
{
    const Operations<LuTime> times = {"LuTime",
                                      TavZoDictionaryGetLuTimeIfPresent,
                                      TavZoDictionarySetLuTime,
                                      TavZoArrayGetLuTimeAtIndex,
                                      TavZoArrayAppendLuTime,
                                      "NULL tOut",
                                      "NULL tOut",
                                      "value at index not a ZoDictionary"};
    const Operations<LuTimeRange> ranges = {"LuTimeRange",
                                            TavZoDictionaryGetLuTimeRangeIfPresent,
                                            TavZoDictionarySetLuTimeRange,
                                            nullptr,
                                            nullptr,
                                            "NULL trOut",
                                            "",
                                            ""};
    checkSignals(times, kLuTimeZero);
    checkSignals(ranges, kLuTimeRangeZero);
    checkRoundTrip(times, LuTimeMakeWithEpoch(3, 4, 5));
    checkRoundTrip(times, kLuTimeIndefinite);
    checkRoundTrip(ranges, LuTimeRangeMake(LuTimeMake(1, 2), kLuTimePositiveInfinity));

    // Any dictionary is taken for a time, even if it makes an invalid one.
    LuTime time = kLuTimeZero;
    EXPECT_TRUE(TavZoDictionaryGetLuTimeIfPresent(dictionary({{kKey, dictionary({}).get()}}).get(), kKey, &time));
    EXPECT_FALSE(LuTimeIsValid(time));
}

TEST(ValuesInCollections, rectanglesAndSizes)
{
    const Operations<WnRect> rects = {"WnRect",
                                      TavZoDictionaryGetWnRectIfPresent,
                                      TavZoDictionarySetWnRect,
                                      TavZoArrayGetWnRectAtIndex,
                                      TavZoArrayAppendWnRect,
                                      "NULL rOut",
                                      "NULL rOut",
                                      "value at index not a ZoDictionary"};
    const Operations<WnSize> sizes = {"WnSize",
                                      TavZoDictionaryGetWnSizeIfPresent,
                                      TavZoDictionarySetWnSize,
                                      TavZoArrayGetWnSizeAtIndex,
                                      TavZoArrayAppendWnSize,
                                      "NULL sOut",
                                      "NULL sOut",
                                      "value at index not a ZoDictionary"};
    const WnRect rect = {{1, -2.5}, {1920, 1080}};
    checkSignals(rects, rect);
    checkSignals(sizes, rect.size);
    checkRoundTrip(rects, rect);
    checkRoundTrip(sizes, rect.size);

    WnRect out;
    const auto empty = dictionary({});
    EXPECT_FALSE(TavZoDictionaryGetWnRectIfPresent(dictionary({{kKey, empty.get()}}).get(), kKey, &out));
    EXPECT_EQ(takeSignals(), "-12990 invalid dictionary for WnRectMakeWithDictionaryRepresentation");
    EXPECT_FALSE(TavZoArrayGetWnSizeAtIndex(array({empty.get()}).get(), 0, &out.size));
    EXPECT_EQ(takeSignals(), "-12990 invalid dictionary for WnSizeMakeWithDictionaryRepresentation");
}

TEST(ValuesInCollections, base64TextChecksItsArguments)
{
    const auto data = luvia_test::dataOf("foo\xFF");
    EXPECT_EQ(TavZoDictionarySetBase64Data(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(takeSignals(), "");
    EXPECT_EQ(TavZoDictionarySetBase64Data(kNoDictionary, kKey, data.get()), -12990);
    EXPECT_EQ(takeSignals(), "-12990 not a dict");
    EXPECT_EQ(TavZoDictionarySetBase64Data(dictionary({}).get(), nullptr, data.get()), -12990);
    EXPECT_EQ(takeSignals(), "-12990 NULL key");
    EXPECT_EQ(TavZoDictionarySetBase64Data(dictionary({}).get(), kKey, nullptr), -12990);
    EXPECT_EQ(takeSignals(), "-12990 NULL data");
    const auto encoded = dictionary({});
    EXPECT_EQ(TavZoDictionarySetBase64Data(encoded.get(), kKey, data.get()), 0);
    EXPECT_TRUE(ZoEqual(ZoDictionaryGetValue(encoded.get(), kKey), ZOSTR("Zm9v/w==")));
}

}  // namespace
